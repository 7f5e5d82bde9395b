#include "gateway/clsSensorLine.h"

#include "base/Numbers.h"
#include "base/modAPI.h"
#include "port/clsPorts.h"
#include "port/modOpenFailure.h"
#include "port/modPortName.h"
#include "sensor/Parameters.h"
#include "store/modRecordLine.h"
#include "texts/modErrorText.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

constexpr double kFirstPause_s = 10.0, kLongestPause_s = 300.0; // before a failed recording is tried again
constexpr double kLasting_s = 60.0;                             // then a recording counts as a success
constexpr double kOperation_s = 10.0;                           // what is under way when the line is to be left
constexpr double kStop_s = 1.0, kQuiet_s = 0.2, kWriting_s = 2.0;
constexpr std::size_t kMostChanges = 20;          // in one event
constexpr std::chrono::milliseconds kGather{250}; // lines of a recording that are written together
constexpr double kBitsPerByte = 10.0;
constexpr double kMostQuiet_s = 0.012; // a line that ends earlier than expected gets a time that is so late

/// As it comes out of a recording.
GatewayValue valueOf(const Measurement& measurement, std::int64_t run)
{
    const MeasurementKind kind = modRecordLine::KindInLine(measurement);
    return {.time = modRecordLine::TimeInLine(measurement.time),
            .kind = kind,
            .value_mm = kind == MeasurementKind::Distance ? measurement.value_mm : 0,
            .unit = measurement.unit,
            .run = run};
}

/// What differs between two sets, by the codes of the parameters.
SensorLineListener::Details changesOf(const ParameterSet& before, const ParameterSet& now)
{
    SensorLineListener::Details changes;
    for (const ParameterDef& row : ParameterTable()) {
        if (before.*row.value != now.*row.value && changes.size() < kMostChanges) {
            changes.emplace_back(row.code, WireValue(now, row.code));
        }
    }
    return changes;
}

/// Follows the lines of text that are read, and how fast they can come.
class LinePorts : public clsPorts {
public:
    LinePorts(const modPComm::PortDevices& devices, clsLineEnd& end, std::int32_t& rate)
        : clsPorts(devices), m_end(end), m_rate(rate)
    {}

    std::int32_t sio_baud(std::int32_t port, std::int32_t rate) override
    {
        m_rate = rate;
        return clsPorts::sio_baud(port, rate);
    }

    std::int32_t sio_read(std::int32_t port, std::span<char> buffer) override
    {
        const std::int32_t count = clsPorts::sio_read(port, buffer);
        m_end.Came(buffer.first(static_cast<std::size_t>(std::max(count, 0))));
        return count;
    }

private:
    clsLineEnd& m_end;
    std::int32_t& m_rate;
};

} // namespace

clsSensorLine::clsSensorLine(SensorConfig config, std::filesystem::path recordings, const Places& places,
                             SensorLineListener& listener, double now_s)
    : m_config(std::move(config)), m_run(places.run), m_version(places.version), m_listener(listener),
      m_settings(settingsFor(m_config, m_devices)),
      m_session(std::make_unique<LinePorts>(m_devices, m_lineEnd, m_lineRate), m_settings, std::move(recordings), '.',
                RecordDisk{.gather = kGather}),
      m_phase(now_s), m_recordPause_s(kFirstPause_s)
{
    m_session.Origin = [this] { return origin(); };
    m_session.Recorder().Writing = [this](const Measurement& measurement) {
        m_written.push_back(valueOf(measurement, m_run));
    };
    m_session.Writes().Keep({.backups = places.backups,
                             .passports = places.passports,
                             .user = modAPI::UserName(),
                             .version = places.version,
                             .portSensors = places.portSensors});
    if (m_config.every_ms) {
        m_session.Wanted = [this](const Measurement& measurement) { return wants(measurement); };
    }
    m_session.Loop().SilenceIsLoss = true;
    if (m_config.measures) {
        m_session.Loop().MeasureWhenConnected();
    }
    m_session.Listen(*this);
}

clsSensorLine::~clsSensorLine()
{
    m_session.Leave(*this);
}

/// Nobody looks at a history here. A stable name may have no device yet, so it is looked up with each opening.
modGlobals::Settings clsSensorLine::settingsFor(const SensorConfig& config, modPComm::PortDevices& devices)
{
    modGlobals::Settings settings;
    settings.Baudrate = config.rate;
    settings.Language = LanguageEnglish;
    settings.History_MiB = 0;
    settings.NewFile = PartsHourly;
    if (const auto number = WholeNumber(config.port)) {
        settings.Comport = *number;
        return settings;
    }
    settings.Comport = modPComm::kPortCount;
    if (config.port.find('/') != std::string::npos) {
        devices.Override(settings.Comport, config.port);
    } else {
        devices.Use([name = config.port](std::string_view /*key*/) { return modPortName::DeviceOf(name); });
    }
    return settings;
}

RecordingInfo clsSensorLine::origin() const
{
    RecordingInfo info;
    info.program = "rvqd";
    info.version = m_version;
    info.port = m_config.port;
    info.offset_min = 0; // the service runs in UTC
    return info;
}

bool clsSensorLine::Arrived(double now, double now_s)
{
    if (m_session.Collect(now) <= 0) {
        return false;
    }
    m_phase.Arrived(now_s, m_lineEnd.IsReached());
    return true;
}

double clsSensorLine::Quiet_s() const
{
    const clsRVQ& device = m_session.Device();
    const std::size_t missing = m_lineEnd.Missing();
    const bool isKnown = missing > 0 && m_lineRate > 0 && device.PortHasRate();
    return isKnown ? std::min(static_cast<double>(missing) * kBitsPerByte / m_lineRate, kMostQuiet_s) : 0.0;
}

void clsSensorLine::Serve(double now, double now_s)
{
    if (m_leaving == Leaving::Left) {
        return;
    }
    m_now_s = now_s;
    m_phase.Ticked(now_s);
    m_session.ServeFiles(now);
    noteRecording(now_s);
    if (m_leaving == Leaving::Writing) {
        const bool isLate = now_s > m_leaveUntil_s;
        m_leaving = m_session.Recorder().IsWriting() && !isLate ? Leaving::Writing : Leaving::Left;
        return;
    }
    m_session.Loop().PollTemperature(m_config.temperature_s > 0 && now_s >= m_temperatureDue_s);
    m_session.Tick(now);
    noteRecording(now_s);
    followReport();
    followConnection();
    if (m_leaving != Leaving::No) {
        leave(now_s);
    } else if (m_config.records && m_isConnected && !m_isRecording && now_s >= m_recordAgain_s) {
        beginRecording(now_s);
    }
}

// The recording.

void clsSensorLine::beginRecording(double now_s)
{
    try {
        m_session.StartRecording(m_listener.NameForRecording(*this));
    } catch (const std::system_error& failure) {
        failRecording(modErrorText::Of(failure.code(), LanguageEnglish), now_s);
        return;
    } catch (const std::overflow_error&) {
        failRecording("all names for recordings are taken", now_s);
        return;
    }
    m_isRecording = true;
    m_recordingSince_s = now_s;
    m_knownLines = 0;
    m_whyNotRecording.clear();
    m_recordingFile = m_session.Recorder().FileName;
    m_recordingFirst = m_sequence + 1;
    m_listener.RecordingBegan(*this, m_recordingFile, m_recordingFirst);
}

/// Lines that never reach the disk are taken back by the recorder; their numbers stay theirs.
void clsSensorLine::noteRecording(double now_s)
{
    m_knownLines = m_session.Recorder().Lines();
    if (!m_isRecording) {
        return;
    }
    if (m_session.Recorder().Mode != RecorderRecording) {
        m_isRecording = false;
        m_listener.RecordingEnded(*this);
        if (m_leaving == Leaving::No) {
            failRecording(modErrorText::Of(m_session.Recorder().Failure(), LanguageEnglish), now_s);
        }
        return;
    }
    if (now_s - m_recordingSince_s > kLasting_s) {
        m_recordPause_s = kFirstPause_s;
    }
    if (m_recordingFile != m_session.Recorder().FileName) {
        m_recordingFile = m_session.Recorder().FileName;
        m_listener.RecordingBegan(*this, m_recordingFile, m_recordingFirst);
    }
}

std::optional<clsSensorLine::Written> clsSensorLine::LastWritten() const
{
    if (!m_isRecording || m_session.Recorder().Mode != RecorderRecording) {
        return std::nullopt;
    }
    const RecordFigures figures = m_session.Recorder().Figures();
    return Written{m_session.Recorder().FileName, figures.bytes,
                   m_recordingFirst - 1 + m_session.Recorder().Lines() - figures.waiting};
}

/// A disk that is full stays so for a while, and the same reason is told once.
void clsSensorLine::failRecording(const std::string& why, double now_s)
{
    m_recordAgain_s = now_s + m_recordPause_s;
    m_recordPause_s = std::min(m_recordPause_s * 2.0, kLongestPause_s);
    if (std::exchange(m_whyNotRecording, why) != why) {
        m_listener.Happened(*this, "recording failed", {{"reason", why}});
    }
}

/// One value in each stretch of `every_ms`, the first one.
bool clsSensorLine::wants(const Measurement& measurement)
{
    const auto slot = static_cast<std::int64_t>(std::floor(measurement.time * kMsPerDay / *m_config.every_ms));
    const bool isWanted = std::exchange(m_slot, slot) != slot;
    if (isWanted) {
        m_taken.push_back(valueOf(measurement, m_run));
    }
    ++m_asked;
    return isWanted;
}

/// Called after the session has recorded them.
void clsSensorLine::Sampled(std::span<const Measurement> samples, std::string_view /*temperature*/)
{
    m_lastValue = modRecordLine::TimeInLine(samples.back().time);
    for (const Measurement& sample : samples.subspan(std::min(m_asked, samples.size()))) {
        if (m_config.every_ms) {
            wants(sample);
        } else {
            m_taken.push_back(valueOf(sample, m_run));
        }
    }
    const std::int64_t recorded = std::max<std::int64_t>(
        m_session.Recorder().Lines() - std::exchange(m_knownLines, m_session.Recorder().Lines()), 0);
    m_sequence += recorded;
    if (recorded > 0) {
        m_listener.Recorded(*this, m_sequence);
    }
    if (recorded == std::ssize(m_taken) && m_written.size() == m_taken.size()) {
        m_taken.swap(m_written); // the recording has its own order of times
        for (std::size_t i = 0; i < m_taken.size(); ++i) {
            m_taken[i].sequence = m_sequence - recorded + 1 + static_cast<std::int64_t>(i);
        }
    } else if (recorded > 0) {
        m_taken.clear(); // which of them are recorded is in the recording
    }
    if (!m_taken.empty()) {
        m_listener.Measured(*this, m_taken);
    }
    m_taken.clear();
    m_written.clear();
    m_asked = 0;
}

// What the sensor says and does.

void clsSensorLine::Echo(std::string_view /*received*/)
{
    m_lastByte_s = m_now_s;
}

void clsSensorLine::RateFollowed(std::int32_t /*former*/, std::int32_t rate)
{
    m_settings.Baudrate = rate;
}

void clsSensorLine::ShowTemperature(const std::string& text)
{
    m_temperature_C.reset();
    if (modRecordLine::HasTemperature(text)) {
        m_temperature_C = Val(text);
        m_temperatureDue_s = m_now_s + m_config.temperature_s;
    }
}

void clsSensorLine::followConnection()
{
    const clsRVQ& device = m_session.Device();
    const bool isConnected =
        device.PortIsOpen() && device.CommStatus() != DialogueNone && m_session.Loop().IsSensorKnown();
    if (std::exchange(m_isConnected, isConnected) == isConnected) {
        return;
    }
    if (!isConnected) {
        m_temperature_C.reset();
        const std::string why = whyNoPort();
        m_listener.Happened(*this, "line lost", {{"reason", why.empty() ? "no answer" : why}});
    } else if (std::exchange(m_wasConnected, true)) {
        m_listener.Happened(*this, "line back", {});
    }
}

/// The sensor has sent its dump.
void clsSensorLine::followReport()
{
    if (m_session.Device().Wait().Running || m_session.Loop().Dumps() == m_dumps) {
        return;
    }
    m_dumps = m_session.Loop().Dumps();
    const Report report{m_session.Device().Identity(), m_session.Device().Parameters()};
    if (m_report && m_report->identity == report.identity && m_report->set == report.set) {
        return;
    }
    if (m_report && m_report->identity.SerialNo != report.identity.SerialNo) {
        m_listener.Happened(*this, "changed",
                            {{"serial", report.identity.SerialNo}, {"before", m_report->identity.SerialNo}});
    } else if (m_report && m_report->set != report.set) {
        m_listener.Happened(*this, "changed", changesOf(m_report->set, report.set));
    }
    m_report = report;
    ++m_reports;
}

std::string clsSensorLine::whyNoPort() const
{
    const clsRVQ& device = m_session.Device();
    if (HasLeft()) {
        return "it is closed";
    }
    if (device.PortIsOpen()) {
        return {};
    }
    const std::string why = modOpenFailure::Text(device.LastFailure(), LanguageEnglish);
    return !why.empty() ? why : device.PortIsOpening() ? "it is being opened" : "it is closed";
}

SensorState clsSensorLine::State(double now) const
{
    SensorState state;
    state.time = now;
    const bool isConnected = m_isConnected && !HasLeft();
    state.connection = HasLeft() || !m_session.Device().PortIsOpen() ? SensorConnection::NoPort
                       : isConnected                                 ? SensorConnection::Connected
                                                                     : SensorConnection::NoAnswer;
    state.whyNoPort = whyNoPort();
    state.isMeasuring = isConnected && m_session.Device().CommStatus() == DialogueMeasuring;
    if (isConnected) {
        state.temperature_C = m_temperature_C;
        state.identity = m_session.Device().Identity();
    }
    state.lastValue = m_lastValue;
    state.account = m_session.Loop().Account().Figures();
    state.isRecording = m_isRecording;
    state.whyNotRecording = m_whyNotRecording;
    return state;
}

// The end.

void clsSensorLine::BeginLeaving(double now_s)
{
    if (m_leaving == Leaving::No) {
        m_leaving = Leaving::Finishing;
        m_leaveUntil_s = now_s + kOperation_s;
    }
}

void clsSensorLine::GiveUp(double now_s)
{
    m_leaving = Leaving::Left;
    m_session.Recorder().Stop();
    noteRecording(now_s);
    m_session.End();
}

/// Operations first, a write among them. A stop may get lost on the line, so it is said again until the line is quiet.
void clsSensorLine::leave(double now_s)
{
    clsMeasurementLoop& loop = m_session.Loop();
    if (m_leaving == Leaving::Finishing && (m_session.Operations() == 0 || now_s > m_leaveUntil_s)) {
        m_leaving = Leaving::Stopping;
        m_leaveUntil_s = now_s + kStop_s;
        m_stoppedAt_s = now_s;
        if (m_isConnected && loop.IsMeasuring()) {
            m_session.Start(loop.StartingOrStopping(false));
            return;
        }
    }
    if (m_leaving != Leaving::Stopping) {
        return;
    }
    const bool isQuiet = now_s - std::max(m_lastByte_s, m_stoppedAt_s) > kQuiet_s;
    if (!m_isConnected || isQuiet || now_s > m_leaveUntil_s) {
        // What came before the stop counts is recorded like all others. The disk is not waited for: other lines go on.
        m_session.Recorder().Stop(std::chrono::milliseconds::zero());
        noteRecording(now_s);
        m_session.End();
        m_leaving = Leaving::Writing;
        m_leaveUntil_s = now_s + kWriting_s;
    } else if (now_s - m_stoppedAt_s > 2.0 * kQuiet_s) {
        m_session.Device().StopMeasurement();
        m_stoppedAt_s = now_s;
    }
}
