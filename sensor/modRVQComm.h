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

/// Lets the front end handle its events, the measurement timer among them. Waits for an event, so that a waiting loop
/// does not spin.
using PumpEvents = std::function<void()>;

/// Marks a wait for as long as it exists. Throws std::logic_error inside another wait or inside a tick: a timer does
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

/// Marks a tick of the measurement loop for as long as it exists.
class TickScope {
public:
    explicit TickScope(clsRVQ& device);
    ~TickScope();
    TickScope(const TickScope&) = delete;
    TickScope& operator=(const TickScope&) = delete;

private:
    clsRVQ& m_device;
};

/// Marks a question to the user for as long as it exists: silence of the sensor means nothing, and a dump that comes
/// late is still one.
class AskingScope {
public:
    explicit AskingScope(clsRVQ& device) : m_device(device) { device.Asking(true); }
    ~AskingScope() { m_device.Asking(false); }
    AskingScope(const AskingScope&) = delete;
    AskingScope& operator=(const AskingScope&) = delete;

private:
    clsRVQ& m_device;
};

/// Starts continuous measurement.
void StartMeasurement(clsRVQ& device);
/// Stops continuous measurement; what is sent next waits for the pause that follows a stop.
void StopMeasurement(clsRVQ& device);

/// Code, a blank, the wire value and a carriage return.
std::string ParameterFrame(const ParameterSet& set, std::string_view code);

// Every wait for the sensor is an operation, driven one step after each tick; what it refers to must outlive it.
// Unless stated otherwise, drive it within a `WaitScope` that began before the send.

/// Waits until the evaluations bring one of `finals` and returns it. Returns EventNoAnswer when the sensor does not
/// answer, and at once when the port is closed or the program ends. What has already arrived is checked before the
/// wait. Call `clsRVQ::ForgetEvents` before the send.
Operation<std::int32_t> AwaitingEvent(clsRVQ& device, std::vector<std::int32_t> finals);

/// Whether the sensor still owes an answer to a question that the program asked on its own: an idle poll, or the
/// configuration.
bool IsAnswerOpen(const clsRVQ& device);

/// Waits until no such answer is open any more: it has come, or its time has passed. Otherwise it would be taken for
/// the answer to the next command. Ends at once when the port is closed or the program ends. Needed before every
/// command of the operator.
Operation<> AwaitingOpenAnswer(clsRVQ& device);

/// Sends one parameter with the value that `values` has for the code ("999" stores, "000" sets factory defaults) and
/// waits for the verdict. The verdict stays in `EventNr` and is the result: EventNoAnswer, EventAcknowledged or
/// EventRefused. A temperature or a dump in its place counts as refused. An acknowledged value is in `device`
/// afterwards; a refused value leaves `device` as it was.
Operation<std::int32_t> SendingValueOf(clsRVQ& device, const ParameterSet& values, std::string code);

/// The same within a wait of its own; a running measurement is stopped before and restarted afterwards. Wait for an
/// open answer before you set the value, because the answer may be the sensor's own set. Throws std::logic_error as
/// `WaitScope` does.
Operation<std::int32_t> ChangingParameter(clsRVQ& device, std::string code);

/// Like `SendingValueOf` with the device's own set, but within a wait of its own and once no answer is open, and for a
/// caller that blocks: events are pumped between the steps. No window uses it today; it belongs to the protocol.
/// Throws std::logic_error as `WaitScope` does, and while the sensor measures, because no verdict would ever come.
std::int32_t SendParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents);

} // namespace modRVQComm
