// The command protocol above single commands: starting and stopping, parameter frames, and the one place where the
// program waits for the sensor.
#pragma once

#include "base/Operation.h"
#include "sensor/clsRVQ.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

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
/// Stops continuous measurement; what is sent next waits for the pause that follows a stop.
void StopMeasurement(clsRVQ& device);

/// Code, a blank, the wire value and a carriage return.
std::string ParameterFrame(const ParameterSet& set, std::string_view code);

// What waits for the sensor is an operation that is driven in steps, one after each tick; what it refers to must
// outlive it. To be driven within a `WaitScope` that is older than the send, where nothing else is said.

/// Waits until the evaluations have brought one of `finals`, which is the result. EventNoAnswer when the sensor does
/// not answer, and at once when the port is closed or the program ends. What has arrived is looked at before it waits.
/// The events from before the send must have been forgotten (`clsRVQ::ForgetEvents`).
Operation<std::int32_t> AwaitingEvent(clsRVQ& device, std::vector<std::int32_t> finals);

/// Whether the sensor owes the answer to a question that the program has asked by itself: an idle poll, or the
/// configuration.
bool IsAnswerOpen(const clsRVQ& device);

/// Waits until no such answer is open: it has come, or its time has passed. Otherwise it would be taken for the answer
/// to the next command. Ends at once when the port is closed or the program ends. Needed before whatever is sent for
/// the operator.
Operation<> AwaitingOpenAnswer(clsRVQ& device);

/// Sends one parameter with the value that `values` has for the code ("999" stores, "000" sets factory defaults) and
/// waits for the verdict, which is left in `EventNr` and is the result: EventNoAnswer, EventAcknowledged or
/// EventRefused. A temperature or a dump in its place counts as refused. What the sensor acknowledges is in `device`
/// afterwards; a refused value leaves it as it was.
Operation<std::int32_t> SendingValueOf(clsRVQ& device, const ParameterSet& values, std::string code);

/// The same with a running measurement stopped before and started again after it, and within a wait of its own. An open
/// answer must be waited for before the value is set: it may be the sensor's own set. Throws std::logic_error as
/// `WaitScope` does.
Operation<std::int32_t> ChangingParameter(clsRVQ& device, std::string code);

// The same for a caller that blocks: it pumps events from one step to the next.

/// See `AwaitingEvent`.
std::int32_t AwaitEvent(clsRVQ& device, std::vector<std::int32_t> finals, const PumpEvents& pumpEvents);
/// See `AwaitingOpenAnswer`.
void AwaitOpenAnswer(clsRVQ& device, const PumpEvents& pumpEvents);
/// `SendingValueOf` the device's own set, within a wait of its own and once no answer is open. Throws std::logic_error
/// as `WaitScope` does, and while the sensor measures, when no verdict would ever come.
std::int32_t SendParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents);
/// See `SendingValueOf`.
std::int32_t SendValueOf(clsRVQ& device, const ParameterSet& values, std::string_view code,
                         const PumpEvents& pumpEvents);
/// See `ChangingParameter`.
std::int32_t ChangeParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents);

} // namespace modRVQComm
