// Writes a recording in a thread of its own, so that no disk holds up a measurement: lines wait in memory until the
// disk takes them. The thread also begins the next file of the recording, writes the sidecars and looks how much room
// the disk has left.
#pragma once

#include "store/RecordingInfo.h"
#include "store/clsRecordFile.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

/// How far the thread has come.
struct RecordProgress {
    std::filesystem::path file;         ///< that is written
    std::int64_t lines = 0;             ///< in all files of the recording
    std::int64_t bytes = 0;             ///< in this file
    std::int64_t lost = 0;              ///< lines that will never be in a file
    std::optional<std::uintmax_t> free; ///< bytes that the disk has left; looked up every few seconds
    std::error_code failure;            ///< no further line is written
    std::filesystem::path sidecar;      ///< the first one that could not be completed, and why; the lines go on
    std::error_code sidecarFailure;
};

class clsRecordWriter {
public:
    /// Creates the first file and starts the thread. Throws what clsRecordFile throws.
    clsRecordWriter(const RecordPlace& place, const RecordDisk& disk);
    /// Closes without waiting for the disk.
    ~clsRecordWriter();
    clsRecordWriter(clsRecordWriter&&) noexcept = default;
    clsRecordWriter& operator=(clsRecordWriter&& other) noexcept
    {
        m_worker.swap(other.m_worker);
        return *this;
    }

    /// Has a sidecar written beside the present file.
    void Describe(RecordingInfo info);
    /// Has `count` whole lines written. False, and nothing is taken, when too many are waiting.
    bool Write(std::string_view lines, std::int64_t count);
    /// The lines that follow go into another file. `finished` completes the sidecar of the present one, if it has one.
    void BeginPart(std::optional<RecordingInfo> finished);
    /// Has everything that waits written and the file closed; one without a single line is removed.
    void Close(std::optional<RecordingInfo> finished);
    /// After `Close`: waits until that is done or has failed. False when it is not by `end`.
    bool WaitUntil(std::chrono::steady_clock::time_point end) const;

    RecordProgress Progress() const;
    /// All files so far.
    std::vector<std::filesystem::path> Parts() const;
    /// Of the present file; empty when the system could not tell.
    std::optional<FileIdentity> Identity() const;

private:
    class Worker;
    std::shared_ptr<Worker> m_worker; ///< the thread has it too
};
