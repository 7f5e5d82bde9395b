// The recorder without its window: what it does now, which file it has, and the recording itself. The main window and
// the recorder window share one.
#pragma once

#include "recorder/clsRecordFile.h"
#include "recorder/modPlayback.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

class clsRVQ;

/// Values of `clsRecorder::Mode`.
enum RecorderMode : std::int32_t { RecorderIdle = 0, RecorderRecording = 1, RecorderPlaying = 2 };

class clsRecorder {
public:
    /// Recordings are made in `folder`, which is created with the first one.
    explicit clsRecorder(std::filesystem::path folder) : m_folder(std::move(folder)) {}
    /// A running recording is stopped.
    ~clsRecorder() { Stop(); }
    clsRecorder(const clsRecorder&) = delete;
    clsRecorder& operator=(const clsRecorder&) = delete;

    /// Begins a recording in the next free file. Throws what clsRecordFile throws; nothing runs then.
    void StartRecording();
    /// Writes the device's last measurement; only while recording. Throws what RecordLine throws, and goes on
    /// recording. An error of the file stops the recording; `Failure` says why.
    void Record(const clsRVQ& device);
    /// Lets lines reach the disk in time; for every tick, at the local time `now`.
    void Flush(double now);
    /// Begins to play a file.
    void StartPlaying(const std::filesystem::path& file);
    /// Ends whatever runs. A recording without a single line leaves no file.
    void Stop();

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

    std::int32_t Mode = RecorderIdle;
    std::string FileName; ///< full path of the file that is or was recorded or played
    /// The recorder window exists; closing it by its frame leaves this set.
    bool IsOpen = false;
    /// Files that were played.
    std::vector<FileHandle> Played;

private:
    void fail(const std::error_code& error);
    void closeFile();

    std::filesystem::path m_folder;
    std::optional<clsRecordFile> m_file;
    RecorderMode m_lastMode = RecorderIdle;
    std::int64_t m_lines = 0;
    bool m_waitsForTemperature = false;
    std::error_code m_failure;
};
