#include "sensor/modRVQComm.h"

#include "sensor/Parameters.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace modRVQComm {

WaitScope::WaitScope(clsRVQ& device) : m_device(device)
{
    device.BeginWait();
}

WaitScope::~WaitScope()
{
    m_device.EndWait();
}

TickScope::TickScope(clsRVQ& device) : m_device(device)
{
    device.InTick(true);
}

TickScope::~TickScope()
{
    m_device.InTick(false);
}

void StartMeasurement(clsRVQ& device)
{
    device.StartMeasurement();
}

void StopMeasurement(clsRVQ& device)
{
    device.StopMeasurement();
}

std::string ParameterFrame(const ParameterSet& set, std::string_view code)
{
    return std::string(code) + ' ' + WireValue(set, code) + '\r';
}

Operation<std::int32_t> AwaitingEvent(clsRVQ& device, std::vector<std::int32_t> finals)
{
    for (;;) {
        while (const auto event = device.TakeEvent()) {
            if (*event == EventNoAnswer || std::ranges::find(finals, *event) != finals.end()) {
                co_return *event;
            }
        }
        if (!device.PortIsOpen() || device.Wait().Ended) {
            co_return EventNoAnswer;
        }
        co_await NextStep{};
    }
}

bool IsAnswerOpen(const clsRVQ& device)
{
    return device.PortIsOpen() &&
           (device.Pending() == Request::Temperature || device.Pending() == Request::Configuration);
}

Operation<> AwaitingOpenAnswer(clsRVQ& device)
{
    while (IsAnswerOpen(device) && !device.Wait().Ended) {
        co_await NextStep{};
    }
}

Operation<std::int32_t> SendingValueOf(clsRVQ& device, const ParameterSet& values, std::string code)
{
    device.ForgetEvents();
    device.SendCommand(ParameterFrame(values, code));
    std::vector<std::int32_t> finals{EventTemperature, EventConfiguration, EventAcknowledged, EventRefused};
    Operation<std::int32_t> waiting = AwaitingEvent(device, std::move(finals));
    const std::int32_t event = co_await waiting;
    co_return device.TakeVerdict(values, code, event);
}

Operation<std::int32_t> ChangingParameter(clsRVQ& device, std::string code)
{
    const WaitScope wait(device);
    const bool measuring = device.CommStatus() == DialogueMeasuring;
    const std::int32_t opening = device.Openings();
    if (measuring) {
        StopMeasurement(device);
    }
    Operation<std::int32_t> sending = SendingValueOf(device, device.Parameters(), std::move(code));
    const std::int32_t verdict = co_await sending;
    // Nothing more is sent when the program is about to end, when the port has gone, or to another device.
    if (measuring && !device.Wait().Ended && device.PortIsOpen() && device.Openings() == opening) {
        device.StartAfterVerdict(verdict);
    }
    co_return verdict;
}

std::int32_t SendParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents)
{
    if (device.CommStatus() == DialogueMeasuring) {
        throw std::logic_error("a measuring sensor gives no verdict; stop it first");
    }
    const WaitScope wait(device);
    RunToEnd(AwaitingOpenAnswer(device), pumpEvents);
    return RunToEnd(SendingValueOf(device, device.Parameters(), std::string(code)), pumpEvents);
}

} // namespace modRVQComm
