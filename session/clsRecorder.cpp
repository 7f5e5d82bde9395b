#include "session/clsRecorder.h"

#include "base/Days.h"
#include "sensor/Measurement.h"
#include "store/modRecordLine.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

/// Ticks are 50 ms apart; after more than this, the clock was set or the computer slept.
constexpr double kLongestTick_s = 60.0;
/// The rate is that of so many seconds.
constexpr double kRateOver_s = 10.0;
constexpr double kSecondsPerHour = 3600.0;

std::int64_t periodOf(double time, std::int32_t parts)
{
    return static_cast<std::int64_t>(std::floor(parts == PartsHourly ? time * 24.0 : time));
}

bool isInCalendar(double time)
{
    return time >= kFirstDay && time < kEndOfDays;
}

/// Renames a file, and its sidecar with it, to the first free name. `file` is its path.
std::error_code renameBoth(std::filesystem::path& file, const std::string& name)
{
    std::error_code error, unknown;
    try {
        const auto reserved = clsRecordFile::Reserve({file.parent_path(), name});
        std::filesystem::rename(file, reserved, error);
        if (error) {
            std::filesystem::remove(reserved, unknown);
            return error;
        }
        error = modSidecar::Rename(std::exchange(file, reserved), reserved);
    } catch (const std::system_error& failure) {
        error = failure.code();
    } catch (const std::overflow_error&) {
        error = std::make_error_code(std::errc::value_too_large); // all names are taken
    }
    return error;
}

} // namespace

void clsRecorder::StartRecording(const RecordPlan& plan)
{
    m_failure.clear();
    m_plan = plan;
    m_recording.emplace(clsRecordWriter({m_folder, plan.name}, m_disk));
    m_parts.clear();
    for (Recording& earlier : m_ended) {
        earlier.isLast = false;
    }
    FileName = m_recording->writer.Progress().file;
    Mode = m_lastMode = RecorderRecording;
    m_lines = m_bytes = 0;
    m_part = {};
    m_partNumber = 1;
    m_start = m_lastTime = 0.0;
    m_waitsForTemperature = false;
    m_duration_s = m_silence_s = 0.0;
    m_moments.clear();
    m_latest = {};
    m_progress = {};
    describe({});
}

std::filesystem::path clsRecorder::NearestFolder() const
{
    std::error_code unknown;
    return std::filesystem::is_directory(m_folder, unknown) ? m_folder : m_folder.parent_path();
}

void clsRecorder::Record(std::span<const Measurement> measurements, std::string_view temperature)
{
    if (Mode != RecorderRecording || measurements.empty()) {
        return;
    }
    m_silence_s = 0.0;
    m_waitsForTemperature = !modRecordLine::HasTemperature(temperature);
    if (m_waitsForTemperature) {
        count({.unwritten = std::ssize(measurements)});
        return;
    }
    while (!measurements.empty() && Mode == RecorderRecording) {
        measurements = measurements.subspan(recordInPart(measurements, temperature));
        if (!measurements.empty() && Mode == RecorderRecording) {
            beginPart(measurements);
        }
    }
    count({.unwritten = std::ssize(measurements)});
}

/// Hands over what belongs into the present file; returns the number of measurements that are dealt with.
std::size_t clsRecorder::recordInPart(std::span<const Measurement> measurements, std::string_view temperature)
{
    std::string lines;
    RecordCounts counts;
    std::size_t taken = 0;
    const bool isFirst = !HasLine();
    for (; taken < measurements.size(); ++taken) {
        const Measurement& measurement = measurements[taken];
        if (!isInCalendar(measurement.time)) {
            ++counts.unwritten;
            continue;
        }
        const Measurement ordered = inOrder(measurement);
        const std::string line = modRecordLine::RecordLine(ordered, temperature);
        if (!belongsHere(measurement, line.size())) {
            break;
        }
        m_lastTime = std::max(m_lastTime, measurement.time);
        if (Writing) {
            Writing(ordered);
        }
        lines += line;
        ++counts.recorded;
        m_part.bytes += std::ssize(line);
    }
    if (Taking && counts.recorded > 0) {
        Taking(isFirst);
    }
    if (m_recording->writer.Write(lines, counts.recorded)) {
        m_lines += counts.recorded;
        m_bytes += std::ssize(lines);
        count(counts);
    } else {
        count({.unwritten = counts.recorded + counts.unwritten});
        fail(std::make_error_code(std::errc::no_buffer_space));
    }
    return taken;
}

/// A line that stands for a whole tick has the time of the tick, and the next value may have come before it. A time
/// that lies further back is that of a clock that was set.
Measurement clsRecorder::inOrder(Measurement measurement)
{
    constexpr double kTick = 0.1 / kSecondsPerDay; // or two
    if (m_lastTime - measurement.time > kTick) {
        m_lastTime = 0.0;
    }
    measurement.time = std::max(measurement.time, m_lastTime);
    return measurement;
}

bool clsRecorder::belongsHere(const Measurement& measurement, std::size_t size)
{
    const bool isBySize = m_plan.parts == PartsBySize;
    const std::int64_t period = periodOf(measurement.time, m_plan.parts);
    if (m_part.bytes == 0) {
        m_part.period = period;
        return true;
    }
    if (m_plan.parts == PartsOne || isBySize) {
        return !isBySize || m_part.bytes + static_cast<std::int64_t>(size) <= m_plan.partBytes;
    }
    // A clock that is set back by a moment at the full hour does not begin another file.
    return period == m_part.period || period == m_part.period - 1;
}

void clsRecorder::BeginFile(std::span<const Measurement> first)
{
    if (Mode == RecorderRecording && HasLine()) {
        beginPart(first);
    }
}

void clsRecorder::beginPart(std::span<const Measurement> behind)
{
    m_recording->writer.BeginPart(finished(behind));
    m_part = {};
    ++m_partNumber;
    describe(behind);
}

/// Begins the sidecar. A recording that begins before the first tick has to wait for the time.
void clsRecorder::describe(std::span<const Measurement> behind)
{
    if (!Describe || m_now == 0.0) {
        return;
    }
    m_part.start = behind.empty() ? m_now : behind.front().time;
    m_start = m_partNumber == 1 ? *m_part.start : m_start;
    RecordingInfo info = Describe({.start = {}, .now = *m_part.start, .behind = behind});
    nameRecording(info);
    m_recording->writer.Describe(std::move(info));
}

/// Each file says to which recording it belongs, however the files are called later.
void clsRecorder::nameRecording(RecordingInfo& info) const
{
    if (m_start != 0.0) {
        info.recordingStart = m_start;
        info.part = m_partNumber;
    }
}

void clsRecorder::DescribeAgain(RecordingInfo info)
{
    if (Mode == RecorderRecording && m_part.start) {
        nameRecording(info);
        m_recording->writer.Describe(std::move(info));
    }
}

/// What completes the sidecar. The thread takes lines that it cannot write back from the counts.
std::optional<RecordingInfo> clsRecorder::finished(std::span<const Measurement> behind) const
{
    if (!Describe || !m_part.start) {
        return {};
    }
    RecordingInfo info = Describe({m_part.start, behind.empty() ? m_now : behind.front().time, behind});
    nameRecording(info);
    info.account.recorded = m_part.counts.recorded;
    info.account.passedOver = m_part.counts.passedOver;
    info.account.unwritten = m_part.counts.unwritten;
    return info;
}

void clsRecorder::PassOver(std::int64_t number)
{
    if (Mode == RecorderRecording && number > 0) {
        count({.passedOver = number});
        m_silence_s = 0.0;
    }
}

void clsRecorder::count(const RecordCounts& counts)
{
    for (RecordCounts* sum : {&m_untold, &m_part.counts}) {
        sum->recorded += counts.recorded;
        sum->passedOver += counts.passedOver;
        sum->unwritten += counts.unwritten;
    }
}

void clsRecorder::Flush(double now)
{
    FinishWriting(std::chrono::milliseconds::zero());
    passTime(now);
    if (Mode != RecorderRecording) {
        return;
    }
    if (!m_part.start) {
        describe({});
    }
    m_progress = m_recording->writer.Progress();
    FileName = m_progress.file;
    takeBackLost(*m_recording, m_progress);
    if (m_progress.failure) {
        fail(m_progress.failure);
    }
}

void clsRecorder::passTime(double now)
{
    const double passed_s = (now - std::exchange(m_now, now)) * kSecondsPerDay;
    if (Mode != RecorderRecording || !(passed_s > 0.0 && passed_s < kLongestTick_s)) {
        return;
    }
    m_duration_s += passed_s;
    m_silence_s += passed_s;
    m_latest = {m_duration_s, m_lines, m_bytes};
    if (m_lines == 0) {
        m_moments.clear(); // the wait for the first value is not in the rate
    }
    if (m_moments.empty() || m_duration_s - m_moments.back().time_s >= 1.0) {
        m_moments.push_back(m_latest);
    }
    while (m_duration_s - m_moments.front().time_s > kRateOver_s) {
        m_moments.pop_front();
    }
}

RecordFigures clsRecorder::Figures() const
{
    RecordFigures figures;
    figures.duration_s = m_duration_s;
    figures.silence_s = m_silence_s;
    figures.bytes = m_progress.bytes;
    figures.waiting = m_lines - m_progress.lines;
    figures.free = m_progress.free;
    // From tick to tick: the time of lines that have come since the last one has not passed yet.
    const Moment first = m_moments.empty() ? m_latest : m_moments.front();
    const double span_s = m_latest.time_s - first.time_s;
    if (span_s >= 1.0) {
        figures.rate = static_cast<double>(m_latest.lines - first.lines) / span_s;
        const double bytesPerHour = static_cast<double>(m_latest.bytes - first.bytes) / span_s * kSecondsPerHour;
        figures.isShort = figures.free && static_cast<double>(*figures.free) < bytesPerHour;
    }
    return figures;
}

/// Lines that were counted as recorded, and will never be in a file.
void clsRecorder::takeBackLost(Recording& recording, const RecordProgress& progress)
{
    const std::int64_t lost = progress.lost - std::exchange(recording.lost, progress.lost);
    m_untold.recorded -= lost;
    m_untold.unwritten += lost;
    m_lines -= recording.isLast ? lost : 0;
}

void clsRecorder::StartPlaying(const std::filesystem::path& file)
{
    m_failure.clear();
    FileName = file;
    Mode = m_lastMode = RecorderPlaying;
}

void clsRecorder::Stop(std::chrono::milliseconds patience)
{
    if (std::exchange(Mode, RecorderIdle) == RecorderRecording) {
        endRecording();
        FinishWriting(patience);
    }
}

void clsRecorder::fail(const std::error_code& error)
{
    Mode = RecorderIdle;
    m_recording->hasFailed = true;
    m_failure = error;
    endRecording();
}

void clsRecorder::endRecording()
{
    m_recording->writer.Close(finished({}));
    m_ended.push_back(std::move(*m_recording));
    m_recording.reset();
}

bool clsRecorder::FinishWriting(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    std::erase_if(m_ended, [&](Recording& recording) {
        const bool isDone = recording.writer.WaitUntil(end);
        if (isDone) {
            noteEnd(recording);
        }
        return isDone;
    });
    return m_ended.empty();
}

void clsRecorder::noteEnd(Recording& recording)
{
    const RecordProgress progress = recording.writer.Progress();
    takeBackLost(recording, progress);
    if (recording.isLast) {
        m_progress = progress;
        m_parts = recording.writer.Parts();
        std::erase_if(m_parts, [](const auto& part) { return !FileIdentity::Of(part); }); // those without a line
    }
    if (progress.sidecarFailure && !progress.failure) {
        m_lateFailures.push_back({progress.sidecar, progress.sidecarFailure}); // the recording itself is complete
    }
    if (!progress.failure || recording.hasFailed) {
        return;
    }
    if (recording.isLast && Mode == RecorderIdle && m_lastMode == RecorderRecording) {
        m_failure = progress.failure;
    } else {
        m_lateFailures.push_back({progress.file, progress.failure});
    }
}

bool clsRecorder::IsInUse(const std::filesystem::path& file) const
{
    const auto identity = FileIdentity::Of(file);
    if (!identity) {
        return false;
    }
    const auto isWritten = [&](const Recording& recording) { return recording.writer.Identity() == identity; };
    const auto isOpen = [&](const FileHandle& handle) { return FileIdentity::Of(handle.Descriptor()) == identity; };
    return (m_recording && isWritten(*m_recording)) || std::ranges::any_of(m_ended, isWritten) ||
           (Mode == RecorderPlaying && FileIdentity::Of(std::filesystem::path(FileName)) == identity) ||
           std::ranges::any_of(Played, isOpen);
}

std::error_code clsRecorder::Rename(const std::string& name)
{
    std::error_code first;
    for (std::filesystem::path& part : m_parts) {
        const bool isShown = FileName == part;
        const std::filesystem::path before = part;
        const std::error_code error = renameBoth(part, name);
        if (Renamed && part != before) {
            Renamed(before, part);
        }
        first = first ? first : error; // the others get their name all the same
        FileName = isShown ? part.string() : FileName;
    }
    return first;
}
