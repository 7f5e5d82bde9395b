#include "sensor/modRVQComm.h"

#include "sensor/Parameters.h"

#include <algorithm>
#include <stdexcept>

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

std::int32_t AwaitEvent(clsRVQ& device, std::initializer_list<std::int32_t> finals, const PumpEvents& pumpEvents)
{
    for (;;) {
        while (const auto event = device.TakeEvent()) {
            if (*event == EventNoAnswer || std::ranges::find(finals, *event) != finals.end()) {
                return *event;
            }
        }
        if (!device.PortIsOpen() || device.Wait().Ended) {
            return EventNoAnswer;
        }
        pumpEvents();
    }
}

bool IsAnswerOpen(const clsRVQ& device)
{
    return device.PortIsOpen() &&
           (device.Pending() == Request::Temperature || device.Pending() == Request::Configuration);
}

void AwaitOpenAnswer(clsRVQ& device, const PumpEvents& pumpEvents)
{
    while (IsAnswerOpen(device) && !device.Wait().Ended) {
        pumpEvents();
    }
}

std::int32_t SendValueOf(clsRVQ& device, const ParameterSet& values, std::string_view code,
                         const PumpEvents& pumpEvents)
{
    device.ForgetEvents();
    device.SendCommand(ParameterFrame(values, code));
    const std::int32_t event =
        AwaitEvent(device, {EventTemperature, EventConfiguration, EventAcknowledged, EventRefused}, pumpEvents);
    return device.TakeVerdict(values, code, event);
}

std::int32_t SendParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents)
{
    if (device.CommStatus() == DialogueMeasuring) {
        throw std::logic_error("a measuring sensor gives no verdict; stop it first");
    }
    const WaitScope wait(device);
    AwaitOpenAnswer(device, pumpEvents);
    return SendValueOf(device, device.Parameters(), code, pumpEvents);
}

std::int32_t ChangeParameter(clsRVQ& device, std::string_view code, const PumpEvents& pumpEvents)
{
    const WaitScope wait(device);
    const bool measuring = device.CommStatus() == DialogueMeasuring;
    const std::int32_t opening = device.Openings();
    if (measuring) {
        StopMeasurement(device);
    }
    const std::int32_t verdict = SendValueOf(device, device.Parameters(), code, pumpEvents);
    // Nothing more goes out from a program that is about to end, to a port that has gone, or to another device.
    if (measuring && !device.Wait().Ended && device.PortIsOpen() && device.Openings() == opening) {
        device.StartAfterVerdict(verdict);
    }
    return verdict;
}

} // namespace modRVQComm
