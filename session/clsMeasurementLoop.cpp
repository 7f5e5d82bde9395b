#include "session/clsMeasurementLoop.h"

#include "base/modAPI.h"
#include "sensor/Parameters.h"
#include "sensor/modRVQComm.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
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
            followRate();
        } else if (!m_resting) {
            reopenPort();
        }
    }
    if (std::exchange(m_shownDialogue, m_device.CommStatus()) != m_device.CommStatus()) {
        m_listener.ShowDialogue(m_device.CommStatus());
    }
    showRule();
    watchLine(now);
    m_listener.Ticked();
    advanceClock();
    m_previousTick = now;
}

/// What keeps distances from coming, as far as no event tells it.
void clsMeasurementLoop::watchLine(double now)
{
    if (m_device.CommStatus() == DialogueNone) {
        m_account.LineLost();
    } else if (m_account.IsMeasuring() && m_device.CommStatus() == DialogueIdle) {
        m_account.Interrupted(GapReason::Stopped); // for a parameter, or the sensor has restarted
    }
    m_account.Advance(now);
}

void clsMeasurementLoop::showSensorSettings()
{
    m_listener.ShowSensorSettings({.AverageDepth = m_device.Parameters().AverageDepth,
                                   .MovingAverage = m_device.Parameters().MovingAverage != 0,
                                   .RedLaser = m_device.Identity().HWPointer != "off"});
}

/// A clock that is set back (summer time ends, a time server corrects it) must not put the deadlines out of reach. A
/// clock that is set forward, or a machine that has slept, must not let them all pass at once.
void clsMeasurementLoop::absorbClockJump(double now)
{
    const double before = std::exchange(m_previousTime, now);
    const double jump = now - before;
    const bool forward = before != 0.0 && jump > kClockJump_s / kSecondsPerDay;
    if (jump < 0.0 || forward) {
        m_device.ShiftClock(jump);
        m_account.ClockJumped(jump);
        m_previousTick = now;
        m_setSincePlaced += jump;
        breakCurve(placeOf(now));
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

/// An evaluation ends at the first damaged frame and drops one byte of it. The bytes behind it are evaluated in the
/// same tick, or a noisy fast line would fall behind for ever. One event reports all the damage in a tick.
void clsMeasurementLoop::evaluate()
{
    m_device.EvaluateInBuffer();
    if (m_device.EventNr() == EventCrcError) {
        m_device.EvaluateBehindDamage();
    }
    tellSamples();
}

/// Every measurement goes into the chart and to the listeners; the number follows the newest one alone.
void clsMeasurementLoop::tellSamples()
{
    const std::int64_t damaged = m_device.DamagedReplies();
    m_account.Damaged(damaged - std::exchange(m_damagedBefore, damaged));
    const std::span<const Measurement> samples = m_device.Samples();
    if (samples.empty()) {
        return;
    }
    m_account.Received(samples);
    std::span<const Gap> ended = m_account.Ended();
    for (const Measurement& sample : samples) {
        const std::span<const Gap> before = TakeEndedBy(sample, ended);
        place(sample.time, IsClockSetIn(before));
        if (!before.empty()) {
            breakCurve(m_place);
        }
        draw(sample);
        m_account.Shown();
    }
    m_listener.Sampled(samples, m_device.sTemperature());
}

/// Takes a sample's time up. Nothing is joined across a clock that was set.
void clsMeasurementLoop::place(double time, bool clockSet)
{
    const std::int64_t settings = m_timeLine.ClockSettings();
    m_place = m_timeLine.Add(time, clockSet);
    m_setSincePlaced = 0.0;
    if (settings != m_timeLine.ClockSettings()) {
        breakCurve(m_place);
    }
}

/// The place of a moment after the last sample, as far as it is known how the clock has gone since.
double clsMeasurementLoop::placeOf(double now) const
{
    return std::max(now - m_setSincePlaced + m_timeLine.Shift(), m_place);
}

/// A sample that was taken up.
void clsMeasurementLoop::draw(const Measurement& sample)
{
    if (sample.unit != m_shownUnit) {
        m_listener.ResetChart();
        forgetHistory();
    }
    m_shownUnit = sample.unit;
    if (!IsCharted(sample, m_settings.ShowZeroValues)) {
        breakCurve(m_place);
        return;
    }
    if (std::exchange(m_breaksAfterPlaying, false)) {
        breakCurve(m_place);
    }
    m_inGap = false;
    m_listener.AddChartPoint(m_place, sample.value);
}

void clsMeasurementLoop::readPort()
{
    m_device.ReadComportData();
    m_account.Bytes(m_device.NewInData().size());
    if (!m_device.NewInData().empty()) {
        m_listener.Echo(m_device.NewInData());
    }
}

void clsMeasurementLoop::reopenPort()
{
    tryPort();
    breakCurve(placeOf(m_device.CurrentTime()));
    if (m_device.CommStatus() == DialogueMeasuring) {
        m_listener.ShowRunning(false);
        m_listener.ShowDistance({});
    }
    if (m_device.PortIsOpen()) {
        m_listener.ShowStatus(PanelMessages, {});
    } else {
        status(TextId::StatusPortNotOpen);
    }
    m_device.ForgetDialogue();
    if (m_device.PortIsOpen() && ListenFirst_ms > 0) {
        m_device.ListenFor(ListenFirst_ms);
    }
}

/// Only one opening runs at a time; one that takes several ticks is followed to its end. A port that does not open, or
/// vanishes soon after, is tried again with growing pauses. Another port, or other devices than at the last attempt, is
/// tried at once.
void clsMeasurementLoop::tryPort()
{
    const bool isAnother = std::exchange(m_triedPort, m_settings.Comport) != m_settings.Comport;
    if (isAnother) {
        m_device.CloseComPort(); // the port before may still be opening
    } else if (m_device.PortIsOpening()) {
        m_device.ContinueOpening();
        return;
    }
    if (isAnother || m_device.DevicesChanged()) {
        m_backOff.Restart();
    }
    if (m_backOff.IsDue()) {
        m_backOff.Tried();
        m_device.OpenComPort(m_settings.Comport, m_rates.RateFor(m_settings.Baudrate));
    }
}

/// A sensor that has fallen silent may have restarted with another rate than the line's, the one that it was set to.
/// Then both are tried in turn. The operator's own choice of a rate ends that.
void clsMeasurementLoop::followRate()
{
    if (m_device.Wait().Running || !m_device.PortHasRate()) {
        return;
    }
    m_rates.RateFor(m_settings.Baudrate);
    if (m_device.CommStatus() != DialogueNone) {
        const ParameterDef& row = RowOf(&ParameterSet::Baudrate);
        const bool isKnown = IsSensorKnown() && m_dumps != m_choiceDumps && m_device.IsInDump(row);
        const auto former =
            isKnown ? m_rates.Connected(RateOfIndex(m_device.Parameters().Baudrate)) : std::optional<std::int32_t>();
        if (former) {
            m_listener.RateFollowed(*former, m_rates.Rate());
        }
    } else if (m_device.Pending() != Request::Configuration) {
        if (const auto rate = m_rates.Silent(m_device.Pending() == Request::None)) {
            m_device.CommBaudrate(*rate);
            m_device.ForgetDialogue(); // asks at once
        }
    }
}

/// What the sensor has said before the operator chose does not count: else his choice would not last.
void clsMeasurementLoop::forgetRates()
{
    m_rates.Forget();
    m_choiceDumps = m_dumps;
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
            newDistance(); // a good value came before the damage
        }
        status(TextId::StatusCrcError);
        break;
    default:
        if (m_device.CommStatus() != DialogueNone) {
            m_listener.ShowStatus(PanelMessages, {});
        }
        break;
    }
}

void clsMeasurementLoop::noAnswer()
{
    if (m_device.Parameters().OutputMode == OutputSingle) {
        return; // a sensor that sends at any time owes no answer
    }
    if (m_device.TempStatus() == 0 && m_measuring && !SilenceIsLoss) {
        m_listener.ShowStatus(PanelMessages, std::string(NameOf(MeasurementKind::TempError)));
        return;
    }
    status(TextId::StatusNoConnection);
    m_account.LineLost();
    breakCurve(placeOf(m_device.CurrentTime()));
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
    showTexts(measurement);
    if (IsCharted(measurement, m_settings.ShowZeroValues)) {
        m_values.Add(measurement.value);
        m_times.Add(measurement.time);
        FitRange();
    }
    m_listener.Measured(measurement, m_device.sTemperature());
    status(TextId::StatusNewDistance);
    showShutDown(m_device.MeasValue() == kMarkerTempError);
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
        // Not while the evaluation reads the configuration; the next poll then resumes the measurement.
        startStop(m_device.CommStatus());
    }
}

void clsMeasurementLoop::newConfiguration()
{
    m_knownOpening = m_device.Openings();
    ++m_dumps;
    showSensorSettings();
    showShutDown(m_device.Identity().HWPointer.find("shutdown") != std::string::npos);
    status(TextId::StatusNewConfiguration);
}

/// Sends the stop right after a distance. The evaluation asks for the temperature once the line is quiet, and the
/// temperature event resumes the measurement. The dialogue counts as measuring throughout.
void clsMeasurementLoop::interruptForTemperature()
{
    // A command discards replies that are due, so these come first.
    const bool due = m_pollTemperature && m_device.IsTemperatureDue() && !m_device.HasDue();
    if (!due || m_device.Wait().Running || m_device.CommStatus() != DialogueMeasuring) {
        return;
    }
    m_device.InterruptForTemperature();
    m_account.Interrupted(GapReason::TemperaturePoll);
    m_temperaturePending = true;
}

/// Asks for the configuration when the sensor seems to have been set up from elsewhere. A measurement resumes with the
/// next poll.
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

/// A single value that never comes leaves "G" as the last command. In this state the evaluation asks nothing more, and
/// a dead line would look alive. So the idle sensor is asked for its temperature again, as usual.
void clsMeasurementLoop::pollAfterSilentSingle()
{
    const bool silent = m_device.Pending() == Request::Single && m_device.CommStatus() != DialogueNone &&
                        m_device.InBuffer().empty() && m_device.CurrentTime() > m_device.FailTime();
    if (silent && m_device.PortIsOpen() && !m_device.Wait().Running) {
        m_device.SendCommand(Request::Temperature);
    }
}

void clsMeasurementLoop::Play(std::span<const Measurement> measurements, double shift)
{
    for (const Measurement& measurement : measurements) {
        m_shownUnit = measurement.unit;
        if (!IsCharted(measurement, m_settings.ShowZeroValues)) {
            breakCurve(measurement.time + shift);
            continue;
        }
        m_inGap = false;
        addPlayed(measurement.time + shift, measurement.value);
    }
}

/// Played points go on in pieces: a call for each of millions would take longer than reading them.
void clsMeasurementLoop::addPlayed(double place, double value)
{
    // In two stores: a whole point would be read back in one wide load, which stalls on them.
    ChartPoint& point = m_played[m_playedCount];
    point.x = place;
    point.y = value;
    if (++m_playedCount == m_played.size()) {
        TellPlayed();
    }
}

void clsMeasurementLoop::TellPlayed()
{
    const auto points = std::span(m_played).first(m_playedCount);
    noteNewest(points);
    m_listener.AddPlayedPoints(points);
    m_playedCount = 0;
}

/// The histories hold no more than the last of them.
void clsMeasurementLoop::noteNewest(std::span<const ChartPoint> points)
{
    const auto isValue = [](const ChartPoint& point) { return !std::isnan(point.y); };
    std::size_t first = points.size();
    for (std::int32_t values = 0; first > 0 && values < modGlobals::kHistoryLength; --first) {
        values += isValue(points[first - 1]) ? 1 : 0;
    }
    for (const ChartPoint& point : points.subspan(first)) {
        if (isValue(point)) {
            m_values.Add(point.y);
            m_times.Add(point.x);
        }
    }
}

void clsMeasurementLoop::showTexts(const Measurement& measurement)
{
    m_listener.ShowDistance(DistanceText(measurement, m_decimalSeparator));
    if (std::exchange(m_toldUnit, measurement.unit) != measurement.unit) {
        m_listener.ShowUnit(UnitOf(measurement.unit).name);
    }
}

void clsMeasurementLoop::showShutDown(bool shutDown)
{
    if (std::exchange(m_toldShutDown, shutDown) != shutDown) {
        m_listener.ShowShutDown(shutDown);
    }
}

void clsMeasurementLoop::BeginPlaying()
{
    m_playing = true;
    m_breaksAfterPlaying = false;
    m_played.resize(kPlayedPiece);
    m_playedCount = 0;
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

/// One mark keeps the curve from being joined across a gap of any length. After a playback the mark waits for the next
/// value, because it takes the place of a played point.
void clsMeasurementLoop::breakCurve(double place)
{
    if (m_breaksAfterPlaying || std::exchange(m_inGap, true)) {
        return;
    }
    if (m_playing) {
        addPlayed(place, std::numeric_limits<double>::quiet_NaN());
    } else {
        m_listener.AddChartGap(place);
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
        m_listener.ShowChartTime(placeOf(m_device.CurrentTime()));
    }
    m_listener.ShowStatus(PanelClock, modAPI::TimeOfDayText(m_device.CurrentTime()));
    m_clock_ms = 0.0;
}

void clsMeasurementLoop::status(TextId textId)
{
    m_listener.ShowStatus(PanelMessages, modFunctions::GetText(textId, m_settings.Language));
}
