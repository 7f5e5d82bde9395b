#include "gateway/modJournalFolder.h"

#include "base/Days.h"
#include "base/FileHandle.h"
#include "gateway/modTopic.h"
#include "store/modSidecar.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>

namespace modJournalFolder {

namespace {

/// Names in a folder; none when it is a link.
std::vector<std::string> namesIn(int folder)
{
    std::vector<std::string> names;
    const int copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> list(copy < 0 ? nullptr : fdopendir(copy), closedir);
    while (const dirent* entry = list ? readdir(list.get()) : nullptr) {
        names.emplace_back(entry->d_name);
    }
    return names;
}

FileHandle openFolder(const std::filesystem::path& folder)
{
    return FileHandle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::optional<struct stat> look(int folder, const std::string& name)
{
    struct stat info {};
    const bool isThere = fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
    return isThere ? std::optional(info) : std::nullopt;
}

std::string sidecarOf(const std::string& name)
{
    return modSidecar::SidecarOf(name).native();
}

double daysOf(const timespec& time)
{
    const auto unixDay = -std::chrono::duration_cast<std::chrono::days>(kDayZero.time_since_epoch()).count();
    return static_cast<double>(unixDay) + static_cast<double>(time.tv_sec) / kSecondsPerDay;
}

bool isWritten(const WrittenFiles& written, const std::string& sensor, const RecordingPart& part)
{
    const auto found = written.find(sensor);
    return found != written.end() && std::ranges::any_of(found->second, [&](const RecordingPart& file) {
               return file.key == part.key && part.part >= file.part;
           });
}

} // namespace

std::vector<std::string> SensorsIn(const std::filesystem::path& folder)
{
    const FileHandle handle = openFolder(folder);
    std::vector<std::string> names = handle.IsOpen() ? namesIn(handle.Descriptor()) : std::vector<std::string>();
    std::erase_if(names, [&](const std::string& name) {
        const auto info = look(handle.Descriptor(), name);
        return !modTopic::IsPart(name) || !info || !S_ISDIR(info->st_mode);
    });
    std::ranges::sort(names);
    return names;
}

std::vector<JournalFile> FilesIn(const std::filesystem::path& folder)
{
    std::vector<JournalFile> files;
    const FileHandle handle = openFolder(folder);
    const auto names = handle.IsOpen() ? namesIn(handle.Descriptor()) : std::vector<std::string>();
    for (const std::string& name : names) {
        const auto part = modRecordingName::PartOf(name);
        const auto info = part ? look(handle.Descriptor(), name) : std::nullopt;
        if (!info || !S_ISREG(info->st_mode)) {
            continue;
        }
        const auto sidecar = look(handle.Descriptor(), sidecarOf(name));
        const std::int64_t bytes = info->st_size + (sidecar ? sidecar->st_size : 0);
        files.push_back({*part, bytes, daysOf(info->st_mtim)});
    }
    std::ranges::sort(files, {}, &JournalFile::part);
    return files;
}

bool Delete(const std::filesystem::path& folder, const RecordingPart& part)
{
    const FileHandle handle = openFolder(folder);
    const std::string name = modRecordingName::FileOf(part);
    if (!handle.IsOpen() || (unlinkat(handle.Descriptor(), name.c_str(), 0) != 0 && errno != ENOENT)) {
        return false;
    }
    unlinkat(handle.Descriptor(), sidecarOf(name).c_str(), 0);
    return true;
}

std::vector<Surplus> SurplusOf(const std::filesystem::path& folder, const WrittenFiles& written,
                               std::int64_t most_bytes, std::int32_t most_days, double now)
{
    std::vector<Surplus> all;
    std::int64_t bytes = 0;
    for (const std::string& sensor : SensorsIn(folder)) {
        double latest = 0.0;
        for (JournalFile& file : FilesIn(folder / sensor)) {
            bytes += file.bytes;
            if (!isWritten(written, sensor, file.part)) {
                latest = file.written = std::max(latest, file.written); // later ones go later
                all.push_back({sensor, file});
            }
        }
    }
    std::ranges::stable_sort(all, {}, [](const Surplus& surplus) { return surplus.file.written; });
    const auto staying = std::ranges::find_if(all, [&](const Surplus& surplus) {
        const bool isOld = most_days > 0 && now - surplus.file.written > most_days;
        const bool isMuch = most_bytes > 0 && bytes > most_bytes;
        bytes -= surplus.file.bytes;
        return !isOld && !isMuch;
    });
    all.erase(staying, all.end());
    return all;
}

} // namespace modJournalFolder
