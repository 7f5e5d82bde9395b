// The command protocol above single commands: starting and stopping, parameter frames, and the one place where the
// program waits for the sensor.
#pragma once

#include "sensor/clsRVQ.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

namespace modRVQComm {

/// Lets the window handle its events, among them the measurement timer; waits for one, so that a wait does not spin.
using PumpEvents = std::function<void()>;

/// Marks a wait for as long as it stands. Throws std::logic_error inside another wait or inside a tick: a timer does
/// not fire inside its own slot, so such a wait would never end.
class WaitScope {
public:
    explicit WaitScope(clsRVQ& device);
    ~WaitScope();
    WaitScope(const WaitScope&) = delete;
    WaitScope& operator=(const WaitScope&) = delete;

private:
    clsRVQ& m_device;
};

/// Marks a tick of the measurement loop for as long as it stands.
class TickScope {
public:
    explicit TickScope(clsRVQ& device);
    ~TickScope();
    TickScope(const TickScope&) = delete;
    TickScope& operator=(const TickScope&) = delete;

private:
    clsRVQ& m_device;
};

/// Starts continuous measurement.
void StartMeasurement(clsRVQ& device);
/// Stops continuous measurement; blocks for the pause that follows a stop.
void StopMeasurement(clsRVQ& device);

/// Code, a blank, the wire value and a carriage return.
std::string ParameterFrame(const ParameterSet& set, std::string_view code);

/// Waits until the evaluations have brought one of `finals` and returns it. EventNoAnswer when the sensor does not
/// answer, and at once when the port is closed or the program ends. What has arrived is looked at before it pumps.
/// To be called within a `WaitScope` that is older than the send; clear the journal before that send.
std::int32_t AwaitEvent(clsRVQ& device, std::initializer_list<std::int32_t> finals, const PumpEvents& pumpEvents);

/// Whether the sensor owes the answer to a question that the program has asked by itself: an idle poll, or the
/// configuration.
bool IsAnswerOpen(const clsRVQ& device);

/// Waits until no such answer is open, be it that it has come or that its time has passed: it would be taken for the
/// answer to the next command. Ends at once when the port is closed or the program ends. To be called within a
/// `WaitScope`, before whatever is sent for the operator.
void AwaitOpenAnswer(clsRVQ& device, const PumpEvents& pumpEvents);

/// Sends one parameter ("999" stores, "000" sets factory defaults) and waits for the verdict, which is left in
/// `EventNr` and returned: EventNoAnswer, EventAcknowledged or EventRefused. A temperature or a dump in its place
/// counts as refused. Throws std::logic_error as `WaitScope` does, and while the sensor measures, when no verdict would
/// ever come.
std::int32_t SendParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents);

/// `SendParameter` with the value that `values` has for the code, for a caller that holds a `WaitScope` over several
/// sends of its own. What the sensor acknowledges is in `device` afterwards; a refused value leaves it as it was.
std::int32_t SendValueOf(clsRVQ& device, const ParameterSet& values, std::string_view code,
                         const PumpEvents& pumpEvents);

/// `SendParameter` with a running measurement stopped before and started again after it. An open answer is the caller's
/// to wait for, before it sets the value: it may be the sensor's own set.
std::int32_t ChangeParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents);

} // namespace modRVQComm
