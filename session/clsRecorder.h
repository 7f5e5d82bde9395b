// The recorder of a session, without a front end: what it is doing, which file it uses, and the recording itself. All
// parts of a front end share one.
#pragma once

#include "session/modPlayback.h"
#include "store/clsRecordWriter.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

struct Measurement;

/// Values of `clsRecorder::Mode`.
enum RecorderMode : std::int32_t { RecorderIdle = 0, RecorderRecording = 1, RecorderPlaying = 2 };

/// When a recording goes on in another file: never, with the hour or the day of its values, or when it is large.
enum RecordParts : std::int32_t { PartsOne = 0, PartsHourly = 1, PartsDaily = 2, PartsBySize = 3 };

/// What the operator wants of a recording.
struct RecordPlan {
    std::string name = {}; ///< without ".rec", in bytes of the file system; empty: SAVE0001, SAVE0002 and so on
    std::int32_t parts = PartsOne;
    std::int64_t partBytes = 0; ///< for `PartsBySize`; a file takes at least one line
};

/// What has become of the values that came during a recording.
struct RecordCounts {
    std::int64_t recorded = 0, passedOver = 0, unwritten = 0;
};

/// A recording at a glance.
struct RecordFigures {
    double duration_s = 0.0;
    double silence_s = 0.0;             ///< since the last value, or the start
    std::int64_t bytes = 0;             ///< of the present file
    std::int64_t waiting = 0;           ///< lines that the disk has not taken yet
    std::optional<double> rate;         ///< lines a second; none before the first is a second old
    std::optional<std::uintmax_t> free; ///< bytes that the disk has left
    bool isShort = false;               ///< they last for less than an hour at the present rate
};

class clsRecorder {
public:
    /// A fast disk finishes within this time, so a short wait is never shown.
    static constexpr std::chrono::milliseconds kBriefly{100};

    /// Recordings are made in `folder`, which is created with the first one.
    explicit clsRecorder(std::filesystem::path folder, const RecordDisk& disk = {})
        : m_folder(std::move(folder)), m_disk(disk)
    {}
    /// Stops a running recording. Does not wait for lines that are on their way to the disk.
    ~clsRecorder() { Stop(); }
    clsRecorder(const clsRecorder&) = delete;
    clsRecorder& operator=(const clsRecorder&) = delete;

    /// The period of a file.
    struct Period {
        std::optional<double> start;              ///< none: it begins now
        double now = 0.0;                         ///< local time
        std::span<const Measurement> behind = {}; ///< values that have come, and belong to the next file
    };
    /// Says what goes into the sidecar of a file that begins or ends. Without it there are no sidecars.
    std::function<RecordingInfo(const Period& period)> Describe;
    /// Called before values go into the present file, with whether they are its first.
    std::function<void(bool isFirst)> Taking;
    /// Called with each measurement of a line, with the time that the recording has for it.
    std::function<void(const Measurement& measurement)> Writing;
    /// Has the sidecar of the present file, if it has been begun, written again with what is known now.
    void DescribeAgain(RecordingInfo info);
    /// Whether the present file has a line.
    bool HasLine() const { return m_part.bytes > 0; }
    /// The values that follow belong into another file; `first` are those that have come already.
    void BeginFile(std::span<const Measurement> first);

    /// Begins a recording in the next free file. Throws what clsRecordFile throws; no recording runs then.
    void StartRecording(const RecordPlan& plan = {});
    /// Writes measurements, oldest first, with the temperature that was read last; only while recording. What cannot
    /// be written, because no temperature has been read or the time lies outside the calendar, is counted.
    void Record(std::span<const Measurement> measurements, std::string_view temperature);
    void Record(const Measurement& measurement, std::string_view temperature)
    {
        Record({&measurement, 1}, temperature);
    }
    /// Counts measurements that are not wanted in the recording; only while recording.
    void PassOver(std::int64_t count);
    /// Looks how far the disk has come: an error of the file stops the recording, and `Failure` says why. Call it in
    /// every tick with the local time `now`.
    void Flush(double now);
    /// Begins playing a file.
    void StartPlaying(const std::filesystem::path& file);
    /// Ends a recording or a playback. A recording without a single line leaves no file. The disk may take many seconds
    /// for the last lines, so a thread waits for it; see `IsWriting`. Another recording or a playback may begin
    /// meanwhile. Waits for `patience` at most.
    void Stop(std::chrono::milliseconds patience = kBriefly);
    /// Whether a recording that has ended is still on its way to the disk.
    bool IsWriting() const { return !m_ended.empty(); }
    /// Waits for all ended recordings, for `patience` at most. True when each is on the disk or has failed.
    bool FinishWriting(std::chrono::milliseconds patience);
    /// Whether the program has this file open under any name: it is being recorded or written, or was played.
    bool IsInUse(const std::filesystem::path& file) const;
    /// Whether the last recording is complete, has a file, and can be renamed.
    bool CanRename() const { return Mode == RecorderIdle && m_lastMode == RecorderRecording && !m_parts.empty(); }
    /// Gives the files of the last recording another name, and their sidecars with them. A name that is taken gets a
    /// number; nothing is overwritten. Returns the reason when a file could not be renamed.
    std::error_code Rename(const std::string& name);
    /// Called with the old and the new name of each file that was renamed.
    std::function<void(const std::filesystem::path& from, const std::filesystem::path& to)> Renamed;
    /// The files of the last recording, once it is complete.
    const std::vector<std::filesystem::path>& Parts() const { return m_parts; }
    /// The files of the running recording that exist so far; each but the last is complete.
    std::vector<std::filesystem::path> RunningParts() const
    {
        return m_recording ? m_recording->writer.Parts() : std::vector<std::filesystem::path>();
    }

    /// What the recorder is doing or did last; `RecorderIdle` before it has done anything.
    RecorderMode LastMode() const { return m_lastMode; }
    /// The folder of recordings or, before it exists, its parent folder. A file dialog starts there.
    std::filesystem::path NearestFolder() const;
    /// The number of lines in the running or last recording; those that wait for the disk are among them.
    std::int64_t Lines() const { return m_lines; }
    /// The running recording at a glance, as of the last `Flush`.
    RecordFigures Figures() const;
    /// What has become of values since the last call. A line that never reached its file is taken back from `recorded`.
    RecordCounts TakeCounts() { return std::exchange(m_untold, {}); }
    /// Whether measurements cannot be written because no temperature has been read yet.
    bool WaitsForTemperature() const { return m_waitsForTemperature; }
    /// Why the last recording ended by itself or could not be closed; false when it has no such failure.
    const std::error_code& Failure() const { return m_failure; }
    struct LateFailure {
        std::string file;
        std::error_code error;
    };
    /// The recordings that could not be closed after something else had begun, and the sidecars that could not be
    /// written beside complete recordings; each is reported once.
    std::vector<LateFailure> TakeLateFailures() { return std::exchange(m_lateFailures, {}); }

    std::int32_t Mode = RecorderIdle;
    std::string FileName; ///< full path of the file that is or was recorded or played
    /// Whether the recorder window exists. Its close box leaves this set.
    bool IsOpen = false;
    /// Files that were played.
    std::vector<FileHandle> Played;

private:
    struct Recording {
        explicit Recording(clsRecordWriter&& newWriter) : writer(std::move(newWriter)) {}

        clsRecordWriter writer;
        std::int64_t lost = 0;  ///< lines that are known not to have reached the disk
        bool hasFailed = false; ///< and that was reported
        bool isLast = true;     ///< no other has begun since
    };
    /// The file that lines are handed over for.
    struct Part {
        std::optional<double> start; ///< its sidecar has been begun
        std::int64_t period = 0;     ///< hour or day
        std::int64_t bytes = 0;
        RecordCounts counts;
    };
    struct Moment {
        double time_s = 0.0;
        std::int64_t lines = 0, bytes = 0;
    };

    std::size_t recordInPart(std::span<const Measurement> measurements, std::string_view temperature);
    Measurement inOrder(Measurement measurement);
    bool belongsHere(const Measurement& measurement, std::size_t size);
    void beginPart(std::span<const Measurement> behind);
    void describe(std::span<const Measurement> behind);
    void nameRecording(RecordingInfo& info) const;
    std::optional<RecordingInfo> finished(std::span<const Measurement> behind) const;
    void count(const RecordCounts& counts);
    void passTime(double now);
    void takeBackLost(Recording& recording, const RecordProgress& progress);
    void fail(const std::error_code& error);
    void endRecording();
    void noteEnd(Recording& recording);

    std::filesystem::path m_folder;
    RecordDisk m_disk;
    RecordPlan m_plan;
    std::optional<Recording> m_recording;       ///< that runs
    std::vector<Recording> m_ended;             ///< that a thread closes
    RecordProgress m_progress;                  ///< of the last one, as last seen
    std::vector<std::filesystem::path> m_parts; ///< of the last recording
    Part m_part;
    std::int32_t m_partNumber = 1;
    double m_start = 0.0;    ///< of the first part; 0 before it is known
    double m_lastTime = 0.0; ///< in a line
    RecorderMode m_lastMode = RecorderIdle;
    std::int64_t m_lines = 0, m_bytes = 0; ///< handed over
    RecordCounts m_untold;
    bool m_waitsForTemperature = false;
    std::error_code m_failure;
    std::vector<LateFailure> m_lateFailures;
    double m_now = 0.0, m_duration_s = 0.0, m_silence_s = 0.0;
    std::deque<Moment> m_moments; ///< of the last seconds
    Moment m_latest;              ///< of the last tick
};
