// A recording that is being written. Each line goes to the operating system at once, so a killed program loses none. It
// goes to the disk every few seconds and when the file is closed.
#pragma once

#include "base/FileHandle.h"
#include "base/FileIdentity.h"

#include <cstdint>
#include <filesystem>
#include <future>
#include <optional>
#include <string_view>
#include <system_error>

class clsRecordFile {
public:
    /// The longest time in milliseconds before a line is written to the disk.
    static constexpr double kFlushAfter_ms = 4000.0;

    using FlushFunction = std::error_code (*)(int descriptor);
    /// Writes what the system has buffered for an open file to the disk.
    static std::error_code FlushToDisk(int descriptor);

    /// Creates the first of SAVE0001.rec, SAVE0002.rec and so on that does not exist, and the folder if it is missing.
    /// Throws std::system_error when that fails, and std::overflow_error when all 32767 exist.
    explicit clsRecordFile(const std::filesystem::path& folder, FlushFunction flush = FlushToDisk);

    const std::filesystem::path& Path() const { return m_path; }
    /// Empty when the system could not tell.
    const std::optional<FileIdentity>& Identity() const { return m_identity; }
    /// Writes a line, its end included, at the local time `now`. On an error the file ends with the line before.
    std::error_code WriteLine(std::string_view line, double now);
    /// Starts writing to the disk if the oldest line that is not there has waited long enough. Does not wait for the
    /// disk, which may take seconds; a later call returns the result.
    std::error_code FlushIfDue(double now);
    /// Writes to the disk and closes; that may take seconds.
    std::error_code Close();
    /// Whether the file under the name is the one written here and has 0 bytes. False when its size cannot be found
    /// out.
    bool IsEmpty() const;

private:
    void takeBack(std::int64_t size, std::size_t written) const;

    FlushFunction m_flush;
    std::filesystem::path m_path, m_unflushedFolder;
    FileHandle m_file;
    std::optional<FileIdentity> m_identity;
    bool m_unflushed = false;
    double m_unflushedSince = 0.0, m_now = 0.0;
    std::future<std::error_code> m_flushing; ///< last, so that it is waited for before the file is closed
};
