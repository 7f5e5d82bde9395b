// What the operator's commands do to the dialogue with the sensor.
#include "sensor/modRVQComm.h"
#include "session/clsMeasurementLoop.h"
#include "session/clsWriteCircle.h"
#include "session/clsWriteKeeper.h"
#include "session/modHandSending.h"
#include "texts/modFunctions.h"

#include <utility>

namespace {

constexpr int kPasses = 41; // counted from 0 to 40

} // namespace

void clsMeasurementLoop::StartStop(const NextPass& nextPass)
{
    RunToEnd(StartingOrStopping(static_cast<bool>(PumpEvents), 1), [&] {
        if (m_passing) {
            m_device.CurrentTime(nextPass());
        } else {
            PumpEvents();
        }
    });
}

Operation<> clsMeasurementLoop::StartingOrStopping(bool waits, int stepsPerPass)
{
    // The state that the operator sees: a missing answer would change it during the wait.
    const std::int32_t before = m_device.CommStatus();
    if (!mayStart()) {
        co_return;
    }
    Operation<bool> waiting = awaitingOpenAnswer(waits);
    if (!co_await waiting) {
        co_return;
    }
    if (m_device.Parameters().OutputMode != OutputSingle) {
        startStop(before);
    } else if (m_device.PortIsOpen()) {
        Operation<> requesting = requestingOne(stepsPerPass);
        co_await requesting;
    }
    showRule();
}

/// Waits for the answer to an idle poll, which would be taken for the answer to the operator's command. False when
/// nothing more may be sent.
Operation<bool> clsMeasurementLoop::awaitingOpenAnswer(bool waits)
{
    // While a recording is being loaded, no tick runs that could bring the answer.
    if (!waits || m_playing || !modRVQComm::IsAnswerOpen(m_device)) {
        co_return true;
    }
    const std::int32_t opening = m_device.Openings();
    {
        const modRVQComm::WaitScope wait(m_device);
        showRule();
        Operation<> waiting = modRVQComm::AwaitingOpenAnswer(m_device);
        co_await waiting;
    }
    co_return !m_device.Wait().Ended && m_device.PortIsOpen() && m_device.Openings() == opening;
}

void clsMeasurementLoop::startStop(std::int32_t before)
{
    if (before == DialogueIdle) {
        m_listener.ShowStatus(PanelClock, {});
        m_listener.ResetChart();
        if (!m_measuring) {
            forgetHistory();
        }
        if (!m_account.IsMeasuring()) {
            m_account.Begin(); // a lost connection does not begin anew
        }
        modRVQComm::StartMeasurement(m_device);
        m_listener.ShowRunning(true);
    } else if (before == DialogueMeasuring) {
        modRVQComm::StopMeasurement(m_device);
        m_listener.ShowRunning(false);
        m_listener.ShowDistance({});
    }
    m_measuring = m_device.CommStatus() == DialogueMeasuring;
    if (!m_measuring) {
        m_account.Stop();
    }
}

/// The sensor sends its value at any time. Nothing else may be sent meanwhile.
Operation<> clsMeasurementLoop::requestingOne(int stepsPerPass)
{
    const modRVQComm::WaitScope wait(m_device);
    const std::int32_t opening = m_device.Openings();
    if (!m_account.IsMeasuring()) {
        m_account.Begin();
    }
    Operation<bool> passes = passingUntilDistance(stepsPerPass);
    const bool found = co_await passes;
    m_measuring = false;
    m_account.Stop();
    if (m_device.Wait().Ended || m_device.Openings() != opening) {
        co_return; // the session ends, or the operator has chosen another port, which the ticks serve
    }
    m_listener.ShowRunning(false);
    m_device.EndSingleOutput(found);
    if (found) {
        newDistance();
    } else {
        m_listener.ShowStatus(PanelMessages, modFunctions::GetText(TextId::StatusNoConnection, m_settings.Language));
    }
}

Operation<bool> clsMeasurementLoop::passingUntilDistance(int stepsPerPass)
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
        for (int step = 0; step < stepsPerPass; ++step) {
            co_await NextStep{};
        }
        found = m_device.Openings() == opening && passBringsDistance();
    }
    co_return found;
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

bool clsMeasurementLoop::MayBeSentByHand(std::string_view typed) const
{
    const bool measures = m_measuring || m_device.CommStatus() == DialogueMeasuring;
    return !measures || typed == RowOf(Request::Stop).text;
}

Operation<> clsMeasurementLoop::SendingByHand(std::string typed)
{
    Operation<bool> waiting = awaitingOpenAnswer(true);
    if (!co_await waiting || !m_device.PortIsOpen() || !MayBeSentByHand(typed)) {
        co_return;
    }
    const std::string bytes = modHandSending::BytesOf(typed);
    const Request request = RequestOf(bytes);
    const std::int32_t state = m_device.CommStatus();
    m_device.MarkNextByHand(true);
    if (modHandSending::IsFrame(typed)) {
        Operation<> sending = sendingFrame(bytes);
        co_await sending;
    } else if (request == Request::Start && state == DialogueIdle && m_device.Parameters().OutputMode == OutputSingle) {
        Operation<> requesting = requestingOne(kStepsPerPass);
        co_await requesting;
    } else if ((request == Request::Start && state == DialogueIdle) ||
               (request == Request::Stop && state == DialogueMeasuring)) {
        startStop(state);
    } else if ((request == Request::LaserOn || request == Request::LaserOff) && state != DialogueNone) {
        m_device.SwitchLaser(request == Request::LaserOn);
        showSensorSettings();
    } else {
        m_device.SendCommand(bytes);
    }
    m_device.MarkNextByHand(false);
    showRule();
}

/// The verdict comes, or its time passes; then the sensor says itself what it works with now.
Operation<> clsMeasurementLoop::sendingFrame(std::string bytes)
{
    const modRVQComm::WaitScope wait(m_device);
    const std::int32_t opening = m_device.Openings();
    m_device.ForgetEvents();
    m_device.SendCommand(bytes);
    const auto isOpen = [&] {
        return m_device.PortIsOpen() && m_device.Openings() == opening && !m_device.Wait().Ended;
    };
    std::optional<std::int32_t> event;
    while (isOpen() && !event && m_device.LastCommand() == bytes) {
        co_await NextStep{};
        event = m_device.TakeEvent();
    }
    if (isOpen() && event == EventAcknowledged) {
        m_device.TakeVerdict(m_device.Parameters(), std::string_view(bytes).substr(0, 3), EventAcknowledged);
    }
    if (!isOpen() || m_device.CommStatus() == DialogueNone) {
        co_return; // the configuration is read when the sensor answers again
    }
    m_device.ForgetEvents();
    m_device.SendCommand(Request::Configuration);
    Operation<std::int32_t> reading = modRVQComm::AwaitingEvent(m_device, {EventConfiguration});
    co_await reading;
}

void clsMeasurementLoop::SwitchRedLaser(bool on)
{
    RunToEnd(SwitchingRedLaser(on, static_cast<bool>(PumpEvents)), PumpEvents);
}

Operation<> clsMeasurementLoop::SwitchingRedLaser(bool on, bool waits)
{
    bool isSent = mayStart();
    if (isSent) {
        Operation<bool> waiting = awaitingOpenAnswer(waits);
        isSent = co_await waiting;
    }
    if (!isSent || m_device.CommStatus() == DialogueNone) {
        showSensorSettings();
        co_return;
    }
    const bool measuring = m_device.CommStatus() == DialogueMeasuring;
    if (measuring) {
        modRVQComm::StopMeasurement(m_device);
        m_account.Interrupted(GapReason::Stopped);
    }
    m_device.SwitchLaser(on);
    if (measuring) {
        modRVQComm::StartMeasurement(m_device);
    }
    showSensorSettings(); // what was read meanwhile showed the laser's old state
}

void clsMeasurementLoop::ChangeSetting(std::int32_t ParameterSet::*setting, std::int32_t value,
                                       const modRVQComm::PumpEvents& pumpEvents)
{
    RunToEnd(ChangingSetting(setting, value, static_cast<bool>(pumpEvents)), pumpEvents);
}

Operation<> clsMeasurementLoop::ChangingSetting(std::int32_t ParameterSet::*setting, std::int32_t value, bool waits)
{
    bool isConnected = mayStart();
    if (isConnected) {
        // Waits before the value is set, because the answer may be the sensor's own set.
        Operation<bool> waiting = awaitingOpenAnswer(waits);
        isConnected = co_await waiting;
    }
    if (isConnected && m_device.CommStatus() != DialogueNone) {
        Operation<> work = m_keeper == nullptr ? changing(setting, value) : changingInCircle(setting, value);
        co_await work;
    }
    if (!m_device.Wait().Ended) {
        showSensorSettings();
        showRule();
    }
}

Operation<> clsMeasurementLoop::changing(std::int32_t ParameterSet::*setting, std::int32_t value)
{
    const std::int32_t before = m_device.Parameters().*setting;
    m_device.AssumeParameter(setting, value);
    Operation<std::int32_t> work = modRVQComm::ChangingParameter(m_device, std::string(RowOf(setting).code));
    const std::int32_t verdict = co_await work;
    if (verdict != EventAcknowledged) {
        m_device.AssumeParameter(setting, before);
    }
}

/// Sends the same, between stop and restart, and reads the sensor's set before the restart.
Operation<> clsMeasurementLoop::changingInCircle(std::int32_t ParameterSet::*setting, std::int32_t value)
{
    const modRVQComm::WaitScope wait(m_device);
    const std::int32_t opening = m_device.Openings();
    const std::string code(RowOf(setting).code);
    clsWriteCircle circle(m_device, WriteKind::Single);
    ParameterSet values = m_device.Parameters();
    values.*setting = value;
    circle.Plan(values, {code});
    // A question may have taken its time.
    if (!mayChange(circle) || m_device.CommStatus() == DialogueNone || m_device.Openings() != opening) {
        co_return;
    }
    const bool measuring = m_device.CommStatus() == DialogueMeasuring;
    if (measuring) {
        modRVQComm::StopMeasurement(m_device);
    }
    circle.Watch();
    Operation<std::int32_t> sending = modRVQComm::SendingValueOf(m_device, values, code);
    const std::int32_t verdict = co_await sending;
    circle.Note(code, verdict);
    Operation<bool> reading = circle.ReadingAfter();
    co_await reading;
    if (measuring && !m_device.Wait().Ended && m_device.PortIsOpen() && m_device.Openings() == opening) {
        m_device.StartAfterVerdict(verdict);
    }
    const TextId silence = m_device.PortIsOpen() ? TextId::TransferNoResponse : TextId::StatusPortNotOpen;
    const TextId unread = circle.IsContradictory() ? TextId::TransferContradictory : silence;
    const WriteReport report = circle.Report(verdict == EventRefused ? TextId::TransferInvalidCode : unread, false);
    if (circle.IsSent()) {
        m_keeper->Note(report, circle.Port());
    }
}

/// False when the operator does not want to do without a backup.
bool clsMeasurementLoop::mayChange(clsWriteCircle& circle)
{
    if (circle.BackUp(*m_keeper) || !MayChangeWithoutBackup) {
        return true;
    }
    const modRVQComm::AskingScope asking(m_device);
    return MayChangeWithoutBackup(m_keeper->Kept().backups, circle.NoBackup()) && !m_device.Wait().Ended;
}

void clsMeasurementLoop::RequestSingleValue()
{
    RunToEnd(RequestingSingleValue(static_cast<bool>(PumpEvents)), PumpEvents);
}

Operation<> clsMeasurementLoop::RequestingSingleValue(bool waits)
{
    if (!mayStart() || m_device.CommStatus() == DialogueMeasuring) {
        co_return;
    }
    Operation<bool> waiting = awaitingOpenAnswer(waits);
    if (co_await waiting) {
        m_device.SendCommand(Request::Single);
        showRule();
    }
}

void clsMeasurementLoop::ChangePort()
{
    m_device.CloseComPort();
    forgetRates();
    m_backOff.Restart(); // the operator's choice is tried at once, even if it is the same port
    reopenPort();
}

void clsMeasurementLoop::Rest(bool rest)
{
    if (rest && !m_resting) {
        m_device.CloseComPort();
        m_device.ForgetDialogue();
    }
    m_resting = rest;
    m_backOff.Restart();
}

void clsMeasurementLoop::ChangeBaudrate()
{
    forgetRates();
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
