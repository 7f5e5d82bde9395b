// One file of a recording that is being written. It goes to the disk every few seconds and when it is closed.
#pragma once

#include "base/FileHandle.h"
#include "base/FileIdentity.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

/// How a recording reaches the disk; a test puts a slow or a failing disk in its place.
struct RecordDisk {
    /// Writes what the system has buffered for an open file to the disk.
    static std::error_code FlushToDisk(int descriptor);

    std::error_code (*flush)(int descriptor) = FlushToDisk;
    ssize_t (*write)(int descriptor, const void* bytes, std::size_t count) = ::write;
    std::size_t room = std::size_t{64} << 20; ///< bytes of lines that may wait in memory
    /// Lines that follow others may wait so long, so that they are written together.
    std::chrono::milliseconds gather{0};
};

/// Where recordings are made, and their name without ".rec"; an empty one stands for SAVE0001, SAVE0002 and so on.
struct RecordPlace {
    std::filesystem::path folder;
    std::string name;
    std::int32_t first = 1; ///< the number that is tried first
};

class clsRecordFile {
public:
    using Clock = std::chrono::steady_clock;
    /// The longest time before a line is written to the disk.
    static constexpr std::chrono::milliseconds kFlushAfter{4000};
    /// Longer names leave no room for a number and an extension.
    static constexpr std::size_t kLongestName = 200;

    /// Whether files on the usual systems can have this name, in bytes of the file system: it is not empty, does not
    /// begin with a dot or a blank or end with one, and has no control character and none of / \ : * ? " < > |.
    static bool IsName(std::string_view name);
    /// Creates a file that did not exist, and the folder if it is missing: the first free one of SAVE0001.rec,
    /// SAVE0002.rec and so on, or of "Name.rec", "Name (2).rec" and so on. Beside a file with a chosen name there is no
    /// sidecar either. Throws std::system_error when that fails, and std::overflow_error when all 32767 exist.
    clsRecordFile(const RecordPlace& place, const RecordDisk& disk);
    /// The same for a file that is to be renamed: creates an empty one and returns its path.
    static std::filesystem::path Reserve(const RecordPlace& place);

    const std::filesystem::path& Path() const { return m_path; }
    /// The number in its name.
    std::int32_t Number() const { return m_number; }
    /// Empty when the system could not tell.
    const std::optional<FileIdentity>& Identity() const { return m_identity; }
    struct Written {
        std::int64_t lines = 0; ///< that are in the file
        std::error_code error;
    };
    /// Hands whole lines to the operating system. On an error the file ends with the last whole line.
    Written Write(std::string_view lines, Clock::time_point now);
    /// Bytes written so far.
    std::int64_t Bytes() const { return m_bytes; }
    /// Starts writing to the disk if the oldest line that is not there has waited long enough. Does not wait for the
    /// disk, which may take seconds; a later call returns the result.
    std::error_code FlushIfDue(Clock::time_point now);
    /// Writes to the disk and closes; that may take seconds.
    std::error_code Close();
    /// Whether the file under the name is still the one written here.
    bool IsInPlace() const;
    /// The same, and it has 0 bytes. False when its size cannot be found out.
    bool IsEmpty() const;

private:
    std::size_t takeBack(std::string_view lines, std::int64_t size, std::size_t written) const;

    RecordDisk m_disk;
    std::filesystem::path m_path, m_unflushedFolder;
    std::int32_t m_number = 0;
    FileHandle m_file;
    std::optional<FileIdentity> m_identity;
    std::int64_t m_bytes = 0;
    std::optional<Clock::time_point> m_unflushedSince;
    std::future<std::error_code> m_flushing; ///< last, so that it is waited for before the file is closed
};
