// What the operator's commands do to the dialogue with the sensor.
#include "sensor/modRVQComm.h"
#include "session/clsMeasurementLoop.h"
#include "texts/modFunctions.h"

namespace {

constexpr int kPasses = 41; // counted from 0 to 40

} // namespace

void clsMeasurementLoop::StartStop(const NextPass& nextPass)
{
    // As the operator sees it: an answer that does not come changes the dialogue.
    const std::int32_t before = m_device.CommStatus();
    if (!mayStart() || !awaitOpenAnswer(PumpEvents)) {
        return;
    }
    if (m_device.Parameters().OutputMode != OutputSingle) {
        startStop(before);
    } else if (m_device.PortIsOpen()) {
        requestOne(nextPass);
    }
    showRule();
}

/// The answer to an idle poll would be taken for the one to the operator's command. False when nothing may be sent any
/// more.
bool clsMeasurementLoop::awaitOpenAnswer(const modRVQComm::PumpEvents& pumpEvents)
{
    // While a recording is loaded no tick runs that would bring the answer.
    if (!pumpEvents || m_playing || !modRVQComm::IsAnswerOpen(m_device)) {
        return true;
    }
    const std::int32_t opening = m_device.Openings();
    {
        const modRVQComm::WaitScope wait(m_device);
        showRule();
        modRVQComm::AwaitOpenAnswer(m_device, pumpEvents);
    }
    return !m_device.Wait().Ended && m_device.PortIsOpen() && m_device.Openings() == opening;
}

void clsMeasurementLoop::startStop(std::int32_t before)
{
    if (before == DialogueIdle) {
        m_listener.ShowStatus(3, {});
        m_listener.ResetChart();
        if (!m_measuring) {
            forgetHistory();
        }
        modRVQComm::StartMeasurement(m_device);
        m_listener.ShowRunning(true);
    } else if (before == DialogueMeasuring) {
        modRVQComm::StopMeasurement(m_device);
        m_listener.ShowRunning(false);
        m_listener.ShowDistance({});
    }
    m_measuring = m_device.CommStatus() == DialogueMeasuring;
}

/// The sensor sends its value when it likes. Nobody else may send meanwhile.
void clsMeasurementLoop::requestOne(const NextPass& nextPass)
{
    const modRVQComm::WaitScope wait(m_device);
    const std::int32_t opening = m_device.Openings();
    const bool found = passesBringDistance(nextPass);
    m_measuring = false;
    if (m_device.Wait().Ended || m_device.Openings() != opening) {
        return; // the window goes, or the operator has chosen another port, which the ticks serve
    }
    m_listener.ShowRunning(false);
    m_device.EndSingleOutput(found);
    if (found) {
        newDistance();
    } else {
        m_listener.ShowStatus(1, modFunctions::GetText(TextId::StatusNoConnection, m_settings.Language));
    }
}

bool clsMeasurementLoop::passesBringDistance(const NextPass& nextPass)
{
    struct Passing {
        bool& passing;
        ~Passing() { passing = false; }
    } const passing{m_passing};
    m_passing = true;
    modRVQComm::StartMeasurement(m_device);
    showRule();
    const std::int32_t opening = m_device.Openings();
    bool found = passBringsDistance();
    for (int pass = 1; pass < kPasses && !found && m_device.PortIsOpen() && m_device.Openings() == opening; ++pass) {
        m_device.CurrentTime(nextPass());
        found = m_device.Openings() == opening && passBringsDistance();
    }
    return found;
}

bool clsMeasurementLoop::passBringsDistance()
{
    if (!m_device.PortIsOpen() || m_device.Wait().Ended) {
        return false;
    }
    readPort();
    evaluate();
    return m_device.NewDistance();
}

void clsMeasurementLoop::SwitchRedLaser(bool on)
{
    const bool isSent = mayStart() && awaitOpenAnswer(PumpEvents) && m_device.CommStatus() != DialogueNone;
    if (!isSent) {
        showSensorSettings();
        return;
    }
    const bool measuring = m_device.CommStatus() == DialogueMeasuring;
    if (measuring) {
        modRVQComm::StopMeasurement(m_device);
    }
    m_device.SwitchLaser(on);
    if (measuring) {
        modRVQComm::StartMeasurement(m_device);
    }
    showSensorSettings(); // what was read meanwhile told of the laser as it was
}

void clsMeasurementLoop::ChangeSetting(std::string_view code, std::int32_t ParameterSet::*setting, std::int32_t value,
                                       const modRVQComm::PumpEvents& pumpEvents)
{
    // Before the value is set: the answer may be the sensor's own set.
    const bool isConnected = mayStart() && awaitOpenAnswer(pumpEvents) && m_device.CommStatus() != DialogueNone;
    if (isConnected) {
        const std::int32_t before = m_device.Parameters().*setting;
        m_device.AssumeParameter(setting, value);
        if (modRVQComm::ChangeParameter(m_device, code, pumpEvents) != EventAcknowledged) {
            m_device.AssumeParameter(setting, before);
        }
    }
    if (!m_device.Wait().Ended) {
        showSensorSettings();
        showRule();
    }
}

void clsMeasurementLoop::RequestSingleValue()
{
    if (mayStart() && m_device.CommStatus() != DialogueMeasuring && awaitOpenAnswer(PumpEvents)) {
        m_device.SendCommand(Request::Single);
        showRule();
    }
}

void clsMeasurementLoop::ChangePort()
{
    m_device.CloseComPort();
    m_backOff.Restart(); // the operator's choice is tried at once, also of the same port
    reopenPort();
}

void clsMeasurementLoop::ChangeBaudrate()
{
    m_device.CommBaudrate(m_settings.Baudrate);
}

void clsMeasurementLoop::Unload()
{
    m_device.EndWaits();
}

bool clsMeasurementLoop::mayStart() const
{
    return !m_device.Wait().Running && !m_device.Wait().Ended;
}
