#include "session/clsMeasurementLoop.h"

#include "base/modAPI.h"
#include "sensor/Parameters.h"
#include "sensor/modRVQComm.h"
#include "texts/modFunctions.h"

#include <limits>
#include <utility>

namespace {

constexpr double kClockStep_ms = 500.0;
constexpr double kClockJump_s = 30.0; // ticks are 50 ms apart

} // namespace

clsMeasurementLoop::clsMeasurementLoop(clsRVQ& device, const modGlobals::Settings& settings, SessionListener& listener,
                                       char decimalSeparator)
    : m_device(device), m_settings(settings), m_listener(listener), m_decimalSeparator(decimalSeparator)
{
    for (clsFIFO* history : {&m_values, &m_times}) {
        history->Resize(modGlobals::kHistoryLength);
        history->Reset();
    }
}

void clsMeasurementLoop::Tick(double now)
{
    if (m_device.Wait().Ended) {
        return;
    }
    const modRVQComm::TickScope tick(m_device);
    absorbClockJump(now);
    m_device.CurrentTime(now);
    if (!m_passing) {
        if (m_device.PortIsOpen()) {
            servePort();
        }
        if (m_device.PortIsOpen()) {
            m_backOff.Lasts();
        } else {
            reopenPort();
        }
    }
    if (std::exchange(m_shownDialogue, m_device.CommStatus()) != m_device.CommStatus()) {
        m_listener.ShowDialogue(m_device.CommStatus());
    }
    showRule();
    m_listener.Ticked();
    advanceClock();
    m_previousTick = now;
}

void clsMeasurementLoop::showSensorSettings()
{
    m_listener.ShowSensorSettings({.AverageDepth = m_device.Parameters().AverageDepth,
                                   .MovingAverage = m_device.Parameters().MovingAverage != 0,
                                   .RedLaser = m_device.Identity().HWPointer != "off"});
}

/// A clock set back (summer time ends, a time server corrects) must not put the deadlines out of reach, and one set
/// forward, or a machine that has slept, must not make them all pass at once.
void clsMeasurementLoop::absorbClockJump(double now)
{
    const double before = std::exchange(m_previousTime, now);
    const double jump = now - before;
    const bool forward = before != 0.0 && jump > kClockJump_s / kSecondsPerDay;
    if (jump < 0.0 || forward) {
        m_device.ShiftClock(jump);
        m_previousTick = now;
        breakCurve(now);
    }
}

void clsMeasurementLoop::servePort()
{
    readPort();
    evaluate();
    dispatch();
    while (m_device.HasDue()) {
        m_device.EvaluateInBuffer();
        dispatch();
    }
    pollAfterSilentSingle();
    askForUnit();
}

/// An evaluation ends at the first damaged frame and drops one byte of it. What stands behind it belongs to the same
/// tick, or a noisy fast line would fall behind for ever; of all the damage in it one event tells.
void clsMeasurementLoop::evaluate()
{
    m_device.EvaluateInBuffer();
    if (m_device.EventNr() == EventCrcError) {
        m_device.EvaluateBehindDamage();
    }
}

void clsMeasurementLoop::readPort()
{
    m_device.ReadComportData();
    if (!m_device.NewInData().empty()) {
        m_listener.Echo(m_device.NewInData());
    }
}

void clsMeasurementLoop::reopenPort()
{
    tryPort();
    breakCurve(m_device.CurrentTime());
    if (m_device.CommStatus() == DialogueMeasuring) {
        m_listener.ShowRunning(false);
        m_listener.ShowDistance({});
    }
    if (m_device.PortIsOpen()) {
        m_listener.ShowStatus(1, {});
    } else {
        status(TextId::StatusPortNotOpen);
    }
    m_device.ForgetDialogue();
}

/// One opening at a time: one that takes several ticks is followed to its end. A port that has not opened, or has
/// vanished soon after, is tried with growing pauses; another port, or other devices than at the last try, at once.
void clsMeasurementLoop::tryPort()
{
    const bool isAnother = std::exchange(m_triedPort, m_settings.Comport) != m_settings.Comport;
    if (isAnother) {
        m_device.CloseComPort(); // an opening of the one before
    } else if (m_device.PortIsOpening()) {
        m_device.ContinueOpening();
        return;
    }
    if (isAnother || m_device.DevicesChanged()) {
        m_backOff.Restart();
    }
    if (m_backOff.IsDue()) {
        m_backOff.Tried();
        m_device.OpenComPort(m_settings.Comport, m_settings.Baudrate);
    }
}

void clsMeasurementLoop::dispatch()
{
    switch (m_device.EventNr()) {
    case EventNoAnswer:
        noAnswer();
        break;
    case EventDistance:
        newDistance();
        break;
    case EventTemperature:
        newTemperature();
        break;
    case EventConfiguration:
        newConfiguration();
        break;
    case EventCrcError:
        if (m_device.NewDistance()) {
            newDistance(); // the damage came behind a good value
        }
        status(TextId::StatusCrcError);
        break;
    default:
        if (m_device.CommStatus() != DialogueNone) {
            m_listener.ShowStatus(1, {});
        }
        break;
    }
}

void clsMeasurementLoop::noAnswer()
{
    if (m_device.Parameters().OutputMode == OutputSingle) {
        return; // a sensor that sends when it likes owes no answer
    }
    if (m_device.TempStatus() == 0 && m_measuring) {
        m_listener.ShowStatus(1, std::string(NameOf(MeasurementKind::TempError)));
        return;
    }
    status(TextId::StatusNoConnection);
    breakCurve(m_device.CurrentTime());
    if (m_device.CommStatus() == DialogueIdle) {
        m_listener.ShowTemperature({});
    } else if (m_device.CommStatus() == DialogueMeasuring && !m_measuring) {
        m_listener.ShowRunning(false);
        m_listener.ShowDistance({});
    }
    m_device.StepBack();
}

void clsMeasurementLoop::newDistance()
{
    const Measurement measurement = m_device.LastMeasurement();
    Show(measurement);
    m_listener.Measured(measurement, m_device.sTemperature());
    status(TextId::StatusNewDistance);
    m_listener.ShowShutDown(m_device.MeasValue() == kMarkerTempError);
    interruptForTemperature();
}

void clsMeasurementLoop::newTemperature()
{
    m_listener.ShowTemperature(m_device.sTemperature());
    status(TextId::StatusNewTemperature);
    m_temperaturePending = false;
    if (m_device.Wait().Running) {
        return;
    }
    if (m_device.CommStatus() == DialogueMeasuring) {
        modRVQComm::StartMeasurement(m_device);
    } else if (m_device.CommStatus() == DialogueIdle && m_measuring && m_device.Pending() != Request::Configuration) {
        // Not while the evaluation reads the configuration; the next poll resumes then.
        startStop(m_device.CommStatus());
    }
}

void clsMeasurementLoop::newConfiguration()
{
    showSensorSettings();
    m_listener.ShowShutDown(m_device.Identity().HWPointer.find("shutdown") != std::string::npos);
    status(TextId::StatusNewConfiguration);
}

/// Right after a distance: the stop. The evaluation asks for the temperature once the line is quiet, and the event of
/// the temperature resumes the measurement; the dialogue counts as measuring all the while.
void clsMeasurementLoop::interruptForTemperature()
{
    // A command throws away what is due, so that comes first.
    const bool due = m_pollTemperature && m_device.IsTemperatureDue() && !m_device.HasDue();
    if (!due || m_device.Wait().Running || m_device.CommStatus() != DialogueMeasuring) {
        return;
    }
    m_device.InterruptForTemperature();
    m_temperaturePending = true;
}

/// The sensor has been set up anew by somebody else. A measurement resumes with the next poll.
void clsMeasurementLoop::askForUnit()
{
    const bool mayAsk = m_device.CommStatus() == DialogueMeasuring ||
                        (m_device.CommStatus() == DialogueIdle &&
                         (m_device.Pending() == Request::None || m_device.Pending() == Request::Single));
    if (!m_device.UnitInDoubt() || !mayAsk || m_device.Wait().Running) {
        return;
    }
    if (m_device.CommStatus() == DialogueMeasuring) {
        modRVQComm::StopMeasurement(m_device);
    }
    m_device.SendCommand(Request::Configuration);
}

/// A single value that never came leaves "G" as the last command, in which state the evaluation asks nothing any more
/// and a dead line would look alive. The idle sensor is asked for its temperature again, as at any other time.
void clsMeasurementLoop::pollAfterSilentSingle()
{
    const bool silent = m_device.Pending() == Request::Single && m_device.CommStatus() != DialogueNone &&
                        m_device.InBuffer().empty() && m_device.CurrentTime() > m_device.FailTime();
    if (silent && m_device.PortIsOpen() && !m_device.Wait().Running) {
        m_device.SendCommand(Request::Temperature);
    }
}

void clsMeasurementLoop::Show(const Measurement& measurement)
{
    if (!m_playing) {
        showTexts(measurement);
    }
    if (measurement.unit != m_shownUnit && !m_playing) {
        m_listener.ResetChart();
        forgetHistory();
    }
    m_shownUnit = measurement.unit;
    if (!IsCharted(measurement, m_settings.ShowZeroValues)) {
        breakCurve(measurement.time);
        return;
    }
    if (!m_playing && std::exchange(m_breaksAfterPlaying, false)) {
        breakCurve(measurement.time);
    }
    m_inGap = false;
    m_values.Add(measurement.value);
    m_times.Add(measurement.time);
    if (m_playing) {
        addPlayed({measurement.time, measurement.value});
    } else {
        m_listener.AddChartPoint(measurement.time, measurement.value);
        FitRange();
    }
}

/// Played points go on in pieces: a call for each of millions would take longer than reading them.
void clsMeasurementLoop::addPlayed(const ChartPoint& point)
{
    m_played.push_back(point);
    if (m_played.size() == kPlayedPiece) {
        TellPlayed();
    }
}

void clsMeasurementLoop::TellPlayed()
{
    m_listener.AddPlayedPoints(m_played);
    m_played.clear();
}

void clsMeasurementLoop::showTexts(const Measurement& measurement)
{
    m_listener.ShowDistance(DistanceText(measurement, m_decimalSeparator));
    m_listener.ShowUnit(UnitOf(measurement.unit).name);
}

void clsMeasurementLoop::BeginPlaying()
{
    m_playing = true;
    m_breaksAfterPlaying = false;
    m_played.reserve(kPlayedPiece);
    forgetHistory();
}

void clsMeasurementLoop::EndPlaying(const std::optional<Measurement>& last)
{
    TellPlayed();
    m_playing = false;
    if (last) {
        showTexts(*last);
        FitRange();
        m_breaksAfterPlaying = true;
    }
}

/// However long nothing comes, one mark keeps the curve from being joined across. After a playback it waits for the
/// next value: it takes the place of a played point.
void clsMeasurementLoop::breakCurve(double time)
{
    if (m_breaksAfterPlaying || std::exchange(m_inGap, true)) {
        return;
    }
    if (m_playing) {
        addPlayed({time, std::numeric_limits<double>::quiet_NaN()});
    } else {
        m_listener.AddChartGap(time);
    }
}

void clsMeasurementLoop::FitRange()
{
    if (m_settings.AutoScale && m_shownUnit >= 0) {
        m_listener.FitValueAxis(m_values, UnitOf(m_shownUnit).millimetres);
    }
}

void clsMeasurementLoop::forgetHistory()
{
    m_values.Reset();
    m_times.Reset();
    m_listener.ForgetRange();
    m_inGap = true;
}

void clsMeasurementLoop::showRule()
{
    const ControlRule rule{.Start = mayStart() && m_device.CommStatus() != DialogueNone,
                           .Single = mayStart() && m_device.CommStatus() != DialogueMeasuring,
                           .Settings = mayStart()};
    if (std::exchange(m_shownRule, rule) != rule) {
        m_listener.ShowRule(rule);
    }
}

void clsMeasurementLoop::advanceClock()
{
    // Deliberate: 86000, not 86400. The clock display is paced by this factor.
    m_clock_ms += (m_device.CurrentTime() - m_previousTick) * 86000.0 * 1000.0;
    if (m_clock_ms < kClockStep_ms) {
        return;
    }
    if (m_device.CommStatus() == DialogueMeasuring) {
        m_listener.ShowChartTime(m_device.CurrentTime());
    }
    m_listener.ShowStatus(3, modAPI::TimeOfDayText(m_device.CurrentTime()));
    m_clock_ms = 0.0;
}

void clsMeasurementLoop::status(TextId textId)
{
    m_listener.ShowStatus(1, modFunctions::GetText(textId, m_settings.Language));
}
