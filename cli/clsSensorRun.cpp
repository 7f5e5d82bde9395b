#include "cli/clsSensorRun.h"

#include "base/modAPI.h"
#include "cli/clsProgram.h"
#include "cli/modSignals.h"
#include "port/SerialPort.h"
#include "port/clsPorts.h"
#include "port/modOpenFailure.h"
#include "sensor/Parameters.h"
#include "sensor/clsLineRun.h"
#include "sensor/modHearing.h"
#include "sensor/modReplySteps.h"
#include "session/modPortMemory.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>

namespace {

/// Longer than the longest time between two values: 1024 of them are averaged.
constexpr std::int32_t kListen_ms = 850;
constexpr double kMostListening_s = 2.5; // with values that are too few to be believed
/// From an open port to the configuration, without the time that the dump itself takes: two attempts.
constexpr double kAnswer_s = 6.0;
constexpr double kQuiet_s = 0.2; ///< a sensor that was stopped says nothing for so long
constexpr int kStops = 3;
constexpr double kOperation_s = 10.0; ///< what is under way when the program is to end
constexpr double kSilence_s = 0.7;    ///< with an open question: no answer comes
constexpr int kStarts = 3;
constexpr double kValue_s = 1.2; ///< from a start to the first value
constexpr std::size_t kMostHeard = 4096;
constexpr std::chrono::seconds kPatienceWithDisk{10};

} // namespace

bool CanBeJoined(std::string_view heard)
{
    if (modHearing::HeardIn(heard, false).format != FormatAsciiUnit) {
        return false;
    }
    const std::size_t least = clsLineRun().UsualSize();
    for (std::size_t end = 0; (end = heard.find("\r\n")) != heard.npos; heard.remove_prefix(end + 2)) {
        if (end + 2 >= least && modReplySteps::ReadDistanceLine(heard.substr(0, end))) {
            return true;
        }
    }
    return false;
}

clsSensorRun::clsSensorRun(clsProgram& program, const Options& options)
    : m_program(program), m_joins(options.joinsMeasurement),
      m_session(std::make_unique<clsPorts>(program.Devices()), program.Settings(),
                options.recordings.empty() ? program.Folder() / "REC" : options.recordings, '.')
{
    program.RequirePort();
    m_session.Origin = [this] {
        RecordingInfo info;
        info.program = kProgramName;
        info.version = ProgramVersion();
        info.port = m_program.PortName();
        info.offset_min = modAPI::UtcOffsetNow_min();
        return info;
    };
    if (options.keepsWrites) {
        m_session.Writes().Keep({.backups = program.Folder() / "BACKUP",
                                 .passports = program.Folder() / "PASSPORT",
                                 .user = modAPI::UserName(),
                                 .version = std::string(ProgramVersion())});
    }
    m_session.Loop().ListenFirst_ms = kListen_ms;
    m_session.Listen(*this);
}

clsSensorRun::~clsSensorRun()
{
    Leave();
    m_session.Leave(*this);
}

void clsSensorRun::Echo(std::string_view received)
{
    m_bytes += static_cast<std::int64_t>(received.size());
    if (hears() && m_heard.size() < kMostHeard) {
        m_heard += received;
    }
}

/// The first values of a slow sensor are too few to know it by: the probe, which would end its measurement, waits for
/// more.
void clsSensorRun::listenOn()
{
    const bool isNew = m_heard.size() > std::exchange(m_judged, m_heard.size());
    const bool mayWait = modAPI::UpTime_s() < m_opened_s + kMostListening_s;
    if (hears() && isNew && mayWait && !hearing().format && hearing().isPromising) {
        Device().ListenFor(kListen_ms);
        m_isHeldBack = true;
    }
}

modHearing::Heard clsSensorRun::hearing() const
{
    return modHearing::HeardIn(m_heard, !m_hasLineErrors);
}

void clsSensorRun::RateFollowed(std::int32_t /*former*/, std::int32_t rate)
{
    m_program.Note(m_program.Text(TextId::RateFollowed, {std::to_string(rate)}));
}

int clsSensorRun::Connect()
{
    const std::string connecting = m_program.Text(TextId::PortConnecting, {m_program.PortName()});
    std::optional<double> limit_s;
    const auto isOver = [&] {
        m_program.Progress().Show(connecting);
        if (!Device().PortIsOpen()) {
            limit_s.reset();
            return !Device().PortIsOpening();
        }
        if (!limit_s) {
            m_opened_s = modAPI::UpTime_s();
        }
        listenOn();
        limit_s = m_opened_s + patience_s();
        return isAnswered() || join() || modAPI::UpTime_s() > *limit_s;
    };
    const RunEnd end = Until(isOver);
    if (Device().PortIsOpen()) {
        warnOfPort();
    }
    if (m_wasMeasuring) {
        return ExitDone;
    }
    m_format = hearing().format;
    if (end != RunEnd::Done && m_hasAsked) {
        takeAnswer();
    }
    m_program.Progress().End();
    if (end == RunEnd::Stopped) {
        m_program.Say(m_program.Text(m_hasAsked ? TextId::CliCancelledReading : TextId::CliCancelledFirst));
    }
    m_wasFound = isAnswered();
    m_wasMeasuring = m_format && m_hasAsked && !(m_wasFound && Device().Parameters().OutputMode == OutputSingle);
    m_session.Loop().ListenFirst_ms = 0;
    return end == RunEnd::Done && !m_wasFound ? sayWhyNot() : CodeOf(end, false);
}

/// The program is to end, but it has asked. The probe may have ended a measurement: what it was like is known when the
/// sensor has answered. And what comes after the port is closed would be the first that the next program hears.
void clsSensorRun::takeAnswer()
{
    double lastBytes_s = modAPI::UpTime_s();
    std::int64_t bytes = m_bytes;
    const double silence_s = kSilence_s + Device().Delay_ms() / 1000.0;
    const auto goOn = [&] {
        const double now_s = modAPI::UpTime_s();
        lastBytes_s = std::exchange(bytes, m_bytes) != m_bytes ? now_s : lastBytes_s;
        const bool isSilent = now_s - lastBytes_s > silence_s;
        return Device().PortIsOpen() && !isAnswered() && (m_format || !isSilent);
    };
    tickWhile(goOn, patience_s());
}

/// A start changes nothing for a sensor that measures; a probe would end its measurement.
bool clsSensorRun::join()
{
    if (!m_joins || m_hasAsked || !CanBeJoined(m_heard)) {
        return false;
    }
    Device().AssumeParameter(&ParameterSet::OutputFormat, FormatAsciiUnit);
    Device().ResumeIdle();
    m_session.Loop().ListenFirst_ms = 0;
    m_wasFound = m_wasMeasuring = true;
    return true;
}

/// The number may lead to another device than the one that the operator has connected to in a window.
void clsSensorRun::warnOfPort()
{
    const modGlobals::Settings& settings = m_program.Settings();
    const std::string warning =
        modPortMemory::Warning(settings.Comport, m_program.Devices(), settings.Devices, m_program.Language());
    if (!warning.empty()) {
        m_program.Note(warning);
    }
}

double clsSensorRun::patience_s()
{
    const std::int32_t dump_ms = AnswerTime_ms(RowOf(Request::Configuration).text, m_program.Settings().Baudrate);
    return kAnswer_s + (m_isHeldBack ? kMostListening_s : 0.0) + (2 * dump_ms + 2 * Device().Delay_ms()) / 1000.0;
}

bool clsSensorRun::isAnswered()
{
    return Device().CommStatus() == DialogueIdle && m_session.Loop().IsSensorKnown();
}

int clsSensorRun::sayWhyNot()
{
    const std::string why = modOpenFailure::Text(Device().LastFailure(), m_program.Language());
    const std::string rate = std::to_string(m_program.Settings().Baudrate);
    m_program.Say(!why.empty()     ? why
                  : m_wasMeasuring ? m_program.Text(TextId::SensorOnlyHeard, {m_program.PortName()})
                                   : m_program.Text(TextId::PortNoAnswer, {m_program.PortName(), rate}));
    if (m_program.Ports().empty()) {
        m_program.Note(m_program.Text(TextId::CliTryFind));
    }
    return ExitNoConnection;
}

RunEnd clsSensorRun::Until(const std::function<bool()>& isDone, std::optional<double> limit_s, bool waitsForLine)
{
    const double end_s = modAPI::UpTime_s() + limit_s.value_or(0.0);
    while (true) {
        double due_s = modAPI::UpTime_s() + clsMeasurementLoop::kInterval_ms / 1000.0;
        tick();
        if (isDone()) {
            return RunEnd::Done;
        }
        if (const RunEnd end = whyEnded(); end != RunEnd::Done) {
            return end;
        }
        if (limit_s && modAPI::UpTime_s() >= end_s) {
            return RunEnd::TimeOver;
        }
        if (m_wasFound && !waitsForLine && !IsConnected()) {
            return RunEnd::ConnectionLost;
        }
        due_s = limit_s ? std::min(due_s, end_s) : due_s;
        waitForTick(due_s);
    }
}

RunEnd clsSensorRun::Perform(Operation<> operation, std::optional<double> limit_s)
{
    m_session.Start(std::move(operation));
    return Until([this] { return m_session.Operations() == 0; }, limit_s, false);
}

RunEnd clsSensorRun::Measure(const std::function<bool()>& isDone, std::optional<double> limit_s)
{
    const double end_s = modAPI::UpTime_s() + limit_s.value_or(0.0);
    while (true) {
        const bool isSingle = Device().Parameters().OutputMode == OutputSingle;
        m_session.Start(m_session.Loop().StartingOrStopping());
        bool isOver = false;
        const RunEnd end = Until(
            [&] {
                isOver = isDone();
                return isOver || (isSingle && IsConnected() && m_session.Operations() == 0);
            },
            limit_s ? std::optional(std::max(end_s - modAPI::UpTime_s(), 0.0)) : std::nullopt);
        if (isOver || end != RunEnd::Done) {
            return end;
        }
    }
}

void clsSensorRun::SayLosses()
{
    const AccountFigures& figures = m_session.Loop().Account().Figures();
    if (figures.damaged + figures.lineLost > 0) {
        m_program.Note(m_program.Text(TextId::MeasuringLosses,
                                      {std::to_string(figures.damaged), std::to_string(figures.lineLost)}));
    }
}

void clsSensorRun::FinishRecording()
{
    m_session.FinishWriting(kPatienceWithDisk);
}

RunEnd clsSensorRun::PerformWhole(Operation<> operation, const std::function<void()>& cancel)
{
    m_session.Start(std::move(operation));
    const bool saysLine = std::exchange(SaysLine, false); // silence while the operator is asked is no loss
    RunEnd end = RunEnd::Done;
    const auto goOn = [&] {
        if (end == RunEnd::Done && modSignals::EndIsWanted()) {
            end = RunEnd::Stopped;
            cancel();
        }
        return m_session.Operations() > 0;
    };
    tickWhile(goOn, std::numeric_limits<double>::infinity());
    SaysLine = saysLine;
    return end;
}

RunEnd clsSensorRun::whyEnded() const
{
    if (modSignals::EndIsWanted()) {
        return RunEnd::Stopped;
    }
    return m_program.Out().IsOpen() || !EndsWithOutput ? RunEnd::Done : RunEnd::OutputClosed;
}

void clsSensorRun::tick()
{
    const double now = modAPI::LocalTime();
    m_session.ServeFiles(now);
    m_session.Tick(now);
    m_hasAsked = m_hasAsked || Device().Pending() != Request::None;
    if (hears()) {
        const bool hasErrors = (Device().PortStatus() & LineErrorFraming) != 0;
        m_hasLineErrors = m_hasLineErrors || (m_bytes > 0 && hasErrors);
    }
    noteLine();
    m_program.Serve();
}

void clsSensorRun::noteLine()
{
    const bool isLost = m_wasFound && !m_isLeft && !IsConnected();
    if (std::exchange(m_isLineLost, isLost) != isLost && SaysLine) {
        m_program.Note(m_program.Text(isLost ? TextId::LineInterrupted : TextId::LineIsBack, {m_program.PortName()}));
    }
}

/// Bytes get their time when they arrive; a line that brings none is left alone until the tick.
void clsSensorRun::waitForTick(double due_s)
{
    modAPI::CollectUntil(
        due_s, [this] { return Device().ArrivalHandle(); },
        [this] { return m_session.Collect(modAPI::LocalTime()) > 0; });
}

void clsSensorRun::tickWhile(const std::function<bool()>& goOn, double limit_s)
{
    const double end_s = modAPI::UpTime_s() + limit_s;
    while (goOn() && modAPI::UpTime_s() < end_s) {
        const double due_s = modAPI::UpTime_s() + clsMeasurementLoop::kInterval_ms / 1000.0;
        tick();
        waitForTick(due_s);
    }
}

void clsSensorRun::tickFor(double seconds)
{
    tickWhile([] { return true; }, seconds);
}

bool clsSensorRun::Leave()
{
    if (std::exchange(m_isLeft, true)) {
        return true;
    }
    static_cast<void>(Device().PortStatus()); // what is heard now has nothing to do with earlier errors of the line
    m_program.Progress().End();
    bool isRestored = true;
    if (m_wasFound || m_wasMeasuring) {
        m_session.Recorder().Stop();
        tickWhile([this] { return IsConnected() && m_session.Operations() > 0; }, kOperation_s);
        isRestored = m_wasMeasuring ? resumes() : stops();
        if (!isRestored) {
            m_program.Say(m_program.Text(m_wasMeasuring ? TextId::SensorNotResumed : TextId::SensorNotRestored,
                                         {m_program.PortName()}));
        }
    }
    m_session.End();
    FinishRecording();
    return isRestored;
}

/// A stop may get lost on the line, and bytes that are on their way come after it.
bool clsSensorRun::stops()
{
    if (!m_session.Loop().IsMeasuring() && Device().CommStatus() == DialogueIdle) {
        tickWhile([this] { return Device().PortIsOpen() && Device().Pending() != Request::None; }, kOperation_s);
        return true;
    }
    const double quiet_s = kQuiet_s + Device().Delay_ms() / 1000.0;
    for (int stop = 0; stop < kStops && IsConnected(); ++stop) {
        Device().StopMeasurement();
        tickFor(quiet_s);
        const std::int64_t before = m_bytes;
        tickFor(quiet_s);
        if (m_bytes == before) {
            return true;
        }
    }
    return false;
}

/// A start may get lost on the line, so the sensor counts as measuring when its values come. Without a dialogue it is
/// started all the same: the probe has stopped it.
bool clsSensorRun::resumes()
{
    m_heard.clear();
    for (int attempt = 0; attempt < kStarts && Device().PortIsOpen(); ++attempt) {
        if (Device().CommStatus() != DialogueMeasuring || attempt > 0) {
            if (!m_wasFound) {
                Device().AssumeParameter(&ParameterSet::OutputFormat, *m_format);
            }
            Device().StartMeasurement();
        }
        const auto measures = [this] { return hearing().format || hearing().isPromising; };
        tickWhile([&] { return Device().PortIsOpen() && !measures(); }, kValue_s + Device().Delay_ms() / 1000.0);
        if (measures()) {
            return true;
        }
    }
    return false;
}

int clsSensorRun::CodeOf(RunEnd end, bool mayEndAnyTime)
{
    switch (end) {
    case RunEnd::Done:
    case RunEnd::TimeOver:
        return ExitDone;
    case RunEnd::OutputClosed:
        return ExitOutputClosed;
    case RunEnd::Stopped:
        return mayEndAnyTime ? ExitDone : ExitFailed;
    case RunEnd::ConnectionLost:
        break;
    }
    return ExitNoConnection;
}
