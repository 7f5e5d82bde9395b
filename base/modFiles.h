// Whole files, read with bounds and replaced in one step.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace modFiles {

/// A larger file is not one of ours, unless a caller says otherwise.
inline constexpr std::size_t kLargestFile = std::size_t{1} << 20;

/// The bytes of a regular file of at most `largest` bytes; no value, with the reason in `why`, when there is no such
/// file or it cannot be read.
std::optional<std::string> ReadWhole(const std::filesystem::path& file, std::error_code& why,
                                     std::size_t largest = kLargestFile);
std::optional<std::string> ReadWhole(const std::filesystem::path& file);

/// Whether `Replace` would be permitted: the folder is writable, and an existing file is a regular one, not
/// write-protected and not too large to be ours.
bool CanReplace(const std::filesystem::path& file);

/// Replaces `file` with one that holds these bytes, through a temporary file beside it and a rename: a crash leaves the
/// old or the new one. A symbolic link to a file is followed; permissions stay, and so do owner and group as far as the
/// system permits. False, with the reason in `why`, when that fails, and for more than `largest` bytes, which
/// `ReadWhole` would not accept; nothing is lost then. A program killed between the two steps leaves the temporary
/// file, "name.xxxxxxxxxxxx.tmp"; the next call for the same file deletes it once it is older than a minute.
bool Replace(const std::filesystem::path& file, std::string_view bytes, std::error_code& why,
             std::size_t largest = kLargestFile);
bool Replace(const std::filesystem::path& file, std::string_view bytes);

/// Creates a folder with those above it that are missing, so that a power cut does not take them away again.
bool MakeFolder(const std::filesystem::path& folder, std::error_code& why);
/// Gives a file another name in the same folder, never that of another file: `why` is then EEXIST.
bool MoveToNewName(const std::filesystem::path& file, const std::filesystem::path& name, std::error_code& why);
/// A new name in a folder is safe only when the folder has reached the disk, too.
void SyncFolder(const std::filesystem::path& folder);

/// While it exists, no other program that takes the same lock changes files of the folder. It locks the folder itself:
/// a lock on a file would be lost with the rename, and a lock file could not be created in a write-protected folder.
/// When the lock cannot be had within a second, because another program hangs or the file system has no locks, the
/// program goes on without it: it must not hang too.
class FolderLock {
public:
    /// Locks the folder of this file, with symbolic links resolved.
    explicit FolderLock(const std::filesystem::path& file);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_folder;
};

} // namespace modFiles
