#include "cli/clsSensorRun.h"

#include "base/Numbers.h"
#include "base/modAPI.h"
#include "cli/clsProgram.h"
#include "cli/modSignals.h"
#include "port/clsPorts.h"
#include "port/modOpenFailure.h"
#include "sensor/Parameters.h"
#include "session/modPortMemory.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <limits>
#include <memory>

namespace {

/// Longer than the longest time between two values: 1024 of them are averaged.
constexpr std::int32_t kListen_ms = 850;
/// From an open port to the configuration, without the time that the dump itself takes: two attempts.
constexpr double kAnswer_s = 6.0;
constexpr double kQuiet_s = 0.2; ///< a sensor that was stopped says nothing for so long
constexpr int kStops = 3;
constexpr double kOperation_s = 10.0; ///< what is under way when the program is to end
constexpr std::size_t kMostHeard = 4096;
constexpr std::chrono::seconds kPatienceWithDisk{10};
constexpr std::size_t kBinaryFrame = 4;

} // namespace

bool AreMeasurements(std::string_view bytes, std::int32_t outputFormat)
{
    if (bytes.find("ready") != bytes.npos) {
        return false; // it was switched on
    }
    if (IsBinary(outputFormat)) {
        return bytes.size() >= kBinaryFrame;
    }
    const bool isWhole = bytes.find('\r') != bytes.npos || bytes.find('\n') != bytes.npos;
    const bool hasNumber = std::ranges::any_of(bytes, [](unsigned char c) { return std::isdigit(c) != 0; });
    return isWhole && (hasNumber || bytes.find("Echo") != bytes.npos || bytes.find("TempErr") != bytes.npos);
}

bool HoldsLineWithUnit(std::string_view bytes)
{
    for (std::size_t end = 0; (end = bytes.find("\r\n")) != bytes.npos; bytes.remove_prefix(end + 2)) {
        const std::string_view line = Trimmed(bytes.substr(0, end));
        const std::size_t blank = line.find(' ');
        const bool isUnit =
            blank != line.npos && std::ranges::find(kUnits, line.substr(blank + 1), &UnitDef::name) != kUnits.end();
        if (isUnit && CDbl(line.substr(0, blank), '.')) {
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
    if (!m_wasFound && Device().CommStatus() == DialogueNone && Device().Pending() == Request::None &&
        m_heard.size() < kMostHeard) {
        m_heard += received;
    }
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
        limit_s = limit_s.value_or(modAPI::UpTime_s() + patience_s());
        return isAnswered() || join() || modAPI::UpTime_s() > *limit_s;
    };
    const RunEnd end = Until(isOver);
    if (Device().PortIsOpen()) {
        warnOfPort();
    }
    if (m_wasMeasuring) {
        return ExitDone;
    }
    if (end != RunEnd::Done && !m_heard.empty()) {
        // The probe may have ended its measurement; what it was like is known when it has answered.
        tickWhile([this] { return Device().PortIsOpen() && !isAnswered(); }, patience_s());
    }
    m_program.Progress().End();
    m_wasFound = isAnswered();
    if (!m_wasFound) {
        return end == RunEnd::Done ? sayWhyNot() : static_cast<int>(ExitFailed);
    }
    m_session.Loop().ListenFirst_ms = 0;
    m_wasMeasuring = AreMeasurements(m_heard, Device().Parameters().OutputFormat) &&
                     Device().Parameters().OutputMode != OutputSingle;
    return end == RunEnd::Done ? ExitDone : ExitFailed;
}

/// A start changes nothing for a sensor that measures; a probe would end its measurement.
bool clsSensorRun::join()
{
    const bool hasAsked = Device().CommStatus() != DialogueNone || Device().Pending() != Request::None;
    if (!m_joins || hasAsked || !HoldsLineWithUnit(m_heard)) {
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
    return kAnswer_s + (2 * dump_ms + 2 * Device().Delay_ms()) / 1000.0;
}

bool clsSensorRun::isAnswered()
{
    return Device().CommStatus() == DialogueIdle && m_session.Loop().IsSensorKnown();
}

int clsSensorRun::sayWhyNot()
{
    const std::string why =
        Device().PortIsOpen() ? std::string() : modOpenFailure::Text(Device().LastFailure(), m_program.Language());
    m_program.Say(why.empty() ? m_program.Text(TextId::PortNoAnswer,
                                               {m_program.PortName(), std::to_string(m_program.Settings().Baudrate)})
                              : why);
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
    m_session.ServeFiles(modAPI::LocalTime());
    m_session.Tick(modAPI::LocalTime());
    noteLine();
    m_program.Out().Serve();
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
    bool watches = true;
    for (double rest_s = 0.0; (rest_s = due_s - modAPI::UpTime_s()) > 0.0;) {
        if (modAPI::WaitForArrival(watches ? Device().ArrivalHandle() : -1, rest_s)) {
            watches = m_session.Collect(modAPI::LocalTime()) > 0;
        }
    }
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
    m_program.Progress().End();
    bool isRestored = true;
    if (m_wasFound) {
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

bool clsSensorRun::resumes()
{
    if (!IsConnected()) {
        return false;
    }
    if (Device().CommStatus() == DialogueIdle) {
        Device().StartMeasurement();
    }
    tickFor(kQuiet_s + Device().Delay_ms() / 1000.0);
    return true;
}

int clsSensorRun::CodeOf(RunEnd end, bool mayEndAnyTime)
{
    switch (end) {
    case RunEnd::Done:
    case RunEnd::TimeOver:
    case RunEnd::OutputClosed: // `clsProgram::Finish` says whether that is a failure
        return ExitDone;
    case RunEnd::Stopped:
        return mayEndAnyTime ? ExitDone : ExitFailed;
    case RunEnd::ConnectionLost:
        break;
    }
    return ExitNoConnection;
}
