#include "session/modSetReading.h"

#include "sensor/modRVQComm.h"
#include "session/clsWriteCircle.h"

namespace modSetReading {

Operation<Outcome> Reading(clsRVQ& device, ParameterSet& set)
{
    const modRVQComm::WaitScope wait(device);
    const bool measuring = device.CommStatus() == DialogueMeasuring;
    const std::int32_t opening = device.Openings();
    Operation<> waiting = modRVQComm::AwaitingOpenAnswer(device);
    co_await waiting;
    const auto isSameLine = [&] { return device.PortIsOpen() && device.Openings() == opening && !device.Wait().Ended; };
    if (measuring && isSameLine()) {
        modRVQComm::StopMeasurement(device);
    }
    clsWriteCircle circle(device, WriteKind::Send);
    Operation<bool> work = circle.ReadingBefore();
    const bool isRead = co_await work;
    if (measuring && isSameLine()) {
        modRVQComm::StartMeasurement(device);
    }
    if (!isRead) {
        co_return circle.IsContradictory() ? Outcome::Contradictory : Outcome::Silent;
    }
    set = circle.Before();
    co_return circle.IsSameSensor() ? Outcome::Read : Outcome::OtherSensor;
}

TextId Reason(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Read:
        return TextId::None;
    case Outcome::Silent:
        return TextId::TransferNoResponse;
    case Outcome::Contradictory:
        return TextId::TransferContradictory;
    case Outcome::OtherSensor:
        break;
    }
    return TextId::TransferOtherSensor;
}

} // namespace modSetReading
