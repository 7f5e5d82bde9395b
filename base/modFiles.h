// Whole files, read with bounds and replaced in one step.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace modFiles {

/// Larger files are none of ours.
inline constexpr std::size_t kLargestFile = std::size_t{1} << 20;

/// The bytes of a regular file of at most `kLargestFile`; empty (no value), with the reason in `why`, when there is
/// none or it cannot be read.
std::optional<std::string> ReadWhole(const std::filesystem::path& file, std::error_code& why);
std::optional<std::string> ReadWhole(const std::filesystem::path& file);

/// Whether `Replace` would be allowed to: the folder can be written, and a file that is there is a regular one, not
/// write-protected and none that is too large to be ours.
bool CanReplace(const std::filesystem::path& file);

/// Puts a file with these bytes in the place of `file` through a temporary file beside it and a rename: a crash leaves
/// the old or the new one. A symbolic link to a file is followed; permissions stay, and so do owner and group as far as
/// the system permits. False, with the reason in `why`, when that fails, and for more than `kLargestFile` bytes, which
/// `ReadWhole` would not take; nothing is lost then. A program killed between the two steps leaves the temporary file,
/// "name.xxxxxxxxxxxx.tmp"; the next call for the same file deletes it once it is older than a minute.
bool Replace(const std::filesystem::path& file, std::string_view bytes, std::error_code& why);
bool Replace(const std::filesystem::path& file, std::string_view bytes);

/// Keeps other programs that take it from changing files of the same folder, for as long as it stands. It locks the
/// folder itself: a lock on a file would be lost with the rename, and a lock file could not be made in a folder that is
/// write-protected. A program that cannot get the lock within a second, from a program that hangs or from a file system
/// without locks, goes on without it: the window must not hang, too.
class FolderLock {
public:
    /// The folder of this file, behind symbolic links.
    explicit FolderLock(const std::filesystem::path& file);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_folder;
};

} // namespace modFiles
