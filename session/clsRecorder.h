// The recorder of a session, without a front end: what it is doing, which file it uses, and the recording itself. All
// parts of a front end share one.
#pragma once

#include "session/modPlayback.h"
#include "store/clsRecordFile.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

struct Measurement;

/// Values of `clsRecorder::Mode`.
enum RecorderMode : std::int32_t { RecorderIdle = 0, RecorderRecording = 1, RecorderPlaying = 2 };

class clsRecorder {
public:
    /// Recordings are made in `folder`, which is created with the first one.
    explicit clsRecorder(std::filesystem::path folder, clsRecordFile::FlushFunction flush = clsRecordFile::FlushToDisk)
        : m_folder(std::move(folder)), m_flush(flush)
    {}
    /// Stops a running recording. Does not wait for lines that are on their way to the disk.
    ~clsRecorder() { Stop(); }
    clsRecorder(const clsRecorder&) = delete;
    clsRecorder& operator=(const clsRecorder&) = delete;

    /// Begins a recording in the next free file. Throws what clsRecordFile throws; no recording runs then.
    void StartRecording();
    /// Writes a measurement with the temperature that was read last; only while recording. Throws what RecordLine
    /// throws, and goes on recording. An error of the file stops the recording; `Failure` says why.
    void Record(const Measurement& measurement, std::string_view temperature);
    /// Flushes lines to the disk in time, and notes which ended recordings have reached it. Call it in every tick with
    /// the local time `now`.
    void Flush(double now);
    /// Begins playing a file.
    void StartPlaying(const std::filesystem::path& file);
    /// Ends a recording or a playback. A recording without a single line leaves no file. The disk may take many seconds
    /// for the last lines, so a thread waits for it; see `IsWriting`. Another recording or a playback may begin
    /// meanwhile.
    void Stop();
    /// Whether a recording that has ended is still on its way to the disk.
    bool IsWriting() const { return !m_writing.empty(); }
    /// Waits for all ended recordings, for `patience` at most. True when each is on the disk or has failed.
    bool FinishWriting(std::chrono::milliseconds patience);
    /// Whether the program has this file open under any name: it is being recorded or written, or was played.
    bool IsInUse(const std::filesystem::path& file) const;

    /// What the recorder is doing or did last; `RecorderIdle` before it has done anything.
    RecorderMode LastMode() const { return m_lastMode; }
    /// The folder of recordings or, before it exists, its parent folder. A file dialog starts there.
    std::filesystem::path NearestFolder() const;
    /// The number of lines in the running or last recording.
    std::int64_t Lines() const { return m_lines; }
    /// Whether measurements cannot be written because no temperature has been read yet.
    bool WaitsForTemperature() const { return m_waitsForTemperature; }
    /// Why the last recording ended by itself or could not be closed; false when it has no such failure.
    const std::error_code& Failure() const { return m_failure; }
    struct LateFailure {
        std::string file;
        std::error_code error;
    };
    /// The recordings that could not be closed after something else had begun; each is reported once.
    std::vector<LateFailure> TakeLateFailures() { return std::exchange(m_lateFailures, {}); }

    std::int32_t Mode = RecorderIdle;
    std::string FileName; ///< full path of the file that is or was recorded or played
    /// Whether the recorder window exists. Its close box leaves this set.
    bool IsOpen = false;
    /// Files that were played.
    std::vector<FileHandle> Played;

private:
    struct Writing {
        std::string file;
        std::optional<FileIdentity> identity;
        std::future<std::error_code> outcome;
    };

    void fail(const std::error_code& error);
    void closeFile();
    void noteOutcome(Writing& writing);

    std::filesystem::path m_folder;
    clsRecordFile::FlushFunction m_flush;
    std::optional<clsRecordFile> m_file;
    RecorderMode m_lastMode = RecorderIdle;
    std::int64_t m_lines = 0;
    bool m_waitsForTemperature = false;
    std::error_code m_failure;
    std::vector<Writing> m_writing; ///< ended recordings that a thread closes
    std::vector<LateFailure> m_lateFailures;
};
