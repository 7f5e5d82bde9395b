#include "base/modFiles.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace modFiles {

namespace {

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t kRandomLetters = 12;
constexpr std::string_view kEnding = ".tmp";
constexpr std::time_t kStaleAfter_s = 60; // writing one of our files takes far less
constexpr int kLockTries = 100, kLockPause_ms = 10;

std::error_code lastError()
{
    return {errno, std::system_category()};
}

std::string temporaryName(const std::string& file)
{
    std::random_device random;
    std::string name = file + '.';
    for (std::size_t i = 0; i < kRandomLetters; ++i) {
        name += kLetters[random() % kLetters.size()];
    }
    return name.append(kEnding);
}

bool isTemporaryName(std::string_view name, std::string_view file)
{
    return name.size() == file.size() + 1 + kRandomLetters + kEnding.size() && name.starts_with(file) &&
           name[file.size()] == '.' && name.ends_with(kEnding) &&
           name.substr(file.size() + 1, kRandomLetters).find_first_not_of(kLetters) == std::string_view::npos;
}

/// Deletes the temporary files that killed programs have left for `target`: those so much older than a new file that no
/// program can still be writing them.
void removeStale(const std::filesystem::path& target, int newFile)
{
    struct stat made {};
    if (fstat(newFile, &made) != 0) {
        return;
    }
    std::error_code error;
    for (std::filesystem::directory_iterator entry(target.parent_path(), error), end; !error && entry != end;
         entry.increment(error)) {
        struct stat found {};
        const std::filesystem::path& path = entry->path();
        if (isTemporaryName(path.filename().native(), target.filename().native()) && lstat(path.c_str(), &found) == 0 &&
            S_ISREG(found.st_mode) && made.st_mtime - found.st_mtime > kStaleAfter_s) {
            unlink(path.c_str());
        }
    }
}

bool writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return fsync(fd) == 0;
}

/// Requests a change only where the mode differs: some file systems have no modes and refuse every request.
bool keepMode(int fd, mode_t mode)
{
    struct stat made {};
    return fstat(fd, &made) == 0 && (made.st_mode == mode || fchmod(fd, mode & 07777U) == 0);
}

/// A file that root rewrites stays with its owner. Other users can at most change the group, to one of their own; a
/// refusal is no reason to lose the content.
void keepOwner(int fd, const struct stat& before)
{
    struct stat made {};
    if (fstat(fd, &made) != 0 || (made.st_uid == before.st_uid && made.st_gid == before.st_gid)) {
        return;
    }
    if (fchown(fd, before.st_uid, before.st_gid) != 0) {
        static_cast<void>(fchown(fd, static_cast<uid_t>(-1), before.st_gid) == 0);
    }
}

/// The system would cut such a path off at the NUL and take another file for it.
bool holdsNul(const std::filesystem::path& file)
{
    return file.native().find('\0') != std::string::npos;
}

struct Place {
    std::filesystem::path target; ///< with symbolic links resolved
    bool exists = false;
    struct stat before {}; ///< of the existing file
    std::error_code denied;
};

std::error_code notOrdinary(mode_t mode)
{
    return std::make_error_code(S_ISDIR(mode) ? std::errc::is_a_directory : std::errc::not_supported);
}

/// A read-only file is left alone: somebody wants it so, though a rename would replace it.
Place placeOf(const std::filesystem::path& file)
{
    Place place;
    place.target = std::filesystem::weakly_canonical(file, place.denied);
    if (!place.denied && holdsNul(file)) {
        place.denied = std::make_error_code(std::errc::invalid_argument);
    }
    place.exists = !place.denied && stat(place.target.c_str(), &place.before) == 0;
    if (!place.exists) {
        return place;
    }
    if (!S_ISREG(place.before.st_mode)) {
        place.denied = notOrdinary(place.before.st_mode);
    } else if ((place.before.st_mode & 0222U) == 0) {
        place.denied = std::make_error_code(std::errc::permission_denied);
    } else if (access(place.target.c_str(), W_OK) != 0) {
        place.denied = lastError();
    }
    return place;
}

} // namespace

std::optional<std::string> ReadWhole(const std::filesystem::path& file, std::error_code& why, std::size_t largest)
{
    why.clear();
    if (holdsNul(file)) {
        why = std::make_error_code(std::errc::invalid_argument);
        return std::nullopt;
    }
    // Non-blocking: a named pipe in the file's place must not hang the program.
    const int fd = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat info {};
    if (fd < 0 || fstat(fd, &info) != 0) {
        why = lastError();
    } else if (!S_ISREG(info.st_mode)) {
        why = notOrdinary(info.st_mode);
    }
    if (why) {
        if (fd >= 0) {
            close(fd);
        }
        return std::nullopt;
    }
    std::string bytes;
    std::array<char, 4096> piece{};
    ssize_t count = 0;
    while (bytes.size() <= largest && (count = read(fd, piece.data(), piece.size())) > 0) {
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    if (count < 0) {
        why = lastError();
    } else if (bytes.size() > largest) {
        why = std::make_error_code(std::errc::file_too_large);
    }
    close(fd);
    return why ? std::nullopt : std::optional(std::move(bytes));
}

std::optional<std::string> ReadWhole(const std::filesystem::path& file)
{
    std::error_code why;
    return ReadWhole(file, why);
}

bool CanReplace(const std::filesystem::path& file)
{
    const Place place = placeOf(file);
    const std::filesystem::path folder = place.target.parent_path();
    std::error_code error;
    return !place.denied && access(folder.c_str(), W_OK | X_OK) == 0 &&
           (!place.exists || std::filesystem::file_size(place.target, error) <= kLargestFile);
}

bool Replace(const std::filesystem::path& file, std::string_view bytes, std::error_code& why, std::size_t largest)
{
    const auto [target, exists, before, denied] = placeOf(file);
    why = bytes.size() > largest ? std::make_error_code(std::errc::file_too_large) : denied;
    if (why) {
        return false;
    }
    const std::filesystem::path temporary = temporaryName(target.string());
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        why = lastError();
        return false;
    }
    removeStale(target, fd);
    if (exists) {
        keepOwner(fd, before); // before the permissions: changing the owner clears some of them
    }
    if ((exists && !keepMode(fd, before.st_mode)) || !writeAll(fd, bytes)) {
        why = lastError();
    }
    if (close(fd) != 0 && !why) {
        why = lastError();
    }
    if (!why && rename(temporary.c_str(), target.c_str()) != 0) {
        why = lastError();
    }
    if (why) {
        unlink(temporary.c_str());
        return false;
    }
    SyncFolder(target.parent_path());
    return true;
}

bool Replace(const std::filesystem::path& file, std::string_view bytes)
{
    std::error_code why;
    return Replace(file, bytes, why);
}

void SyncFolder(const std::filesystem::path& folder)
{
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

bool MakeFolder(const std::filesystem::path& folder, std::error_code& why)
{
    why.clear();
    if (std::filesystem::is_directory(folder, why)) {
        return true;
    }
    const std::filesystem::path above = folder.parent_path();
    if (above != folder && !above.empty() && !MakeFolder(above, why)) {
        return false;
    }
    std::filesystem::create_directory(folder, why); // another program may just have made it: no error
    if (!why && !std::filesystem::is_directory(folder, why) && !why) {
        why = std::make_error_code(std::errc::not_a_directory);
    }
    if (!why) {
        SyncFolder(above);
    }
    return !why;
}

bool MoveToNewName(const std::filesystem::path& file, const std::filesystem::path& name, std::error_code& why)
{
    why.clear();
    if (renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) != 0) {
        why = lastError();
    }
    if (why == std::errc::invalid_argument || why == std::errc::function_not_supported) {
        why.clear(); // not every file system can; where it cannot, it mostly has links
        if (link(file.c_str(), name.c_str()) != 0) {
            why = lastError();
        } else {
            unlink(file.c_str());
        }
    }
    if (!why) {
        SyncFolder(name.parent_path());
    }
    return !why;
}

FolderLock::FolderLock(const std::filesystem::path& file)
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::weakly_canonical(file, error).parent_path();
    m_folder = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int tries = 1; m_folder >= 0 && flock(m_folder, LOCK_EX | LOCK_NB) != 0; ++tries) {
        if (errno != EWOULDBLOCK || tries == kLockTries) {
            close(m_folder);
            m_folder = -1;
        } else {
            poll(nullptr, 0, kLockPause_ms);
        }
    }
}

FolderLock::~FolderLock()
{
    if (m_folder >= 0) {
        close(m_folder);
    }
}

} // namespace modFiles
