// The recorder without its window: what it does now, which file it has, and the recording itself. The main window and
// the recorder window share one.
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
    /// A running recording is stopped. What is on its way to the disk is not waited for.
    ~clsRecorder() { Stop(); }
    clsRecorder(const clsRecorder&) = delete;
    clsRecorder& operator=(const clsRecorder&) = delete;

    /// Begins a recording in the next free file. Throws what clsRecordFile throws; nothing runs then.
    void StartRecording();
    /// Writes a measurement with the temperature that was read last; only while recording. Throws what RecordLine
    /// throws, and goes on recording. An error of the file stops the recording; `Failure` says why.
    void Record(const Measurement& measurement, std::string_view temperature);
    /// Lets lines reach the disk in time, and takes note of the ended recordings that have reached it; for every tick,
    /// at the local time `now`.
    void Flush(double now);
    /// Begins to play a file.
    void StartPlaying(const std::filesystem::path& file);
    /// Ends whatever runs. A recording without a single line leaves no file. The disk may take many seconds for the
    /// last lines, so a thread waits for it; see `IsWriting`. Another recording or a playback may begin meanwhile.
    void Stop();
    /// A recording that has ended is still on its way to the disk.
    bool IsWriting() const { return !m_writing.empty(); }
    /// Waits for that, `patience` at most. Whether all is on the disk or has failed.
    bool FinishWriting(std::chrono::milliseconds patience);
    /// The program has this file open, by whatever name: it is being recorded or written, or was played.
    bool IsInUse(const std::filesystem::path& file) const;

    /// What it did last or does now; `RecorderIdle` before the first time.
    RecorderMode LastMode() const { return m_lastMode; }
    /// The folder of recordings, or what holds it as long as nothing was recorded: one that exists, for a file dialog.
    std::filesystem::path NearestFolder() const;
    /// Lines of the recording that runs, or ran last.
    std::int64_t Lines() const { return m_lines; }
    /// Measurements come and cannot be written, because no temperature has been read yet.
    bool WaitsForTemperature() const { return m_waitsForTemperature; }
    /// Why the last recording has ended by itself, or could not be closed; false while there is nothing to say.
    const std::error_code& Failure() const { return m_failure; }
    struct LateFailure {
        std::string file;
        std::error_code error;
    };
    /// The recordings that could not be closed after something else had begun; each is told once.
    std::vector<LateFailure> TakeLateFailures() { return std::exchange(m_lateFailures, {}); }

    std::int32_t Mode = RecorderIdle;
    std::string FileName; ///< full path of the file that is or was recorded or played
    /// The recorder window exists; closing it by its frame leaves this set.
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
