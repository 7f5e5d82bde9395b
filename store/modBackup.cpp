#include "store/modBackup.h"

#include "base/IsoTime.h"
#include "base/Numbers.h"
#include "base/modFiles.h"
#include "store/modConfigFile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <unistd.h>
#include <utility>

namespace modBackup {

namespace {

constexpr std::string_view kEnding = ".rvq";
constexpr std::size_t kTimeLength = 19, kLongestName = 100;
constexpr double kMonth = 31.0; // days
constexpr std::int32_t kMostInOneSecond = 1000;

/// "2026-11-22 14:03:05".
std::string timeText(double time)
{
    std::string text = IsoText(time).substr(0, kTimeLength);
    std::ranges::replace(text, 'T', ' ');
    return text;
}

std::string fileName(double time, std::int32_t number)
{
    std::string name = timeText(time);
    std::ranges::replace(name, ':', '-'); // not every file system takes a colon
    if (number > 1) {
        name += " (" + std::to_string(number) + ")";
    }
    return name.append(kEnding);
}

/// Time and number of a backup of ours; a name that `fileName` would not give is none.
struct Named {
    double time = 0.0;
    std::int32_t number = 1;
};

std::optional<Named> readName(const std::string& name)
{
    std::string iso = name.substr(0, kTimeLength);
    if (iso.size() < kTimeLength) {
        return std::nullopt;
    }
    iso[10] = 'T';
    iso[13] = iso[16] = ':';
    const auto time = TimeOfIso(iso);
    if (!time) {
        return std::nullopt;
    }
    Named read{time->time};
    const std::size_t open = kTimeLength + 2; // behind " ("
    if (const std::size_t close = name.find(')', kTimeLength); close != std::string::npos) {
        read.number = WholeNumber(std::string_view(name).substr(open, close - std::min(open, close))).value_or(0);
    }
    return fileName(read.time, read.number) == name ? std::optional(read) : std::nullopt;
}

/// Deletes a file that was not finished.
struct Unfinished {
    std::filesystem::path file;
    ~Unfinished()
    {
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }
};

} // namespace

std::string NameOf(std::string_view serialNo)
{
    const auto isKept = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    };
    constexpr std::string_view kHex = "0123456789ABCDEF";
    std::string name;
    for (const char c : serialNo) {
        const auto byte = static_cast<std::uint8_t>(c);
        const std::string kept = isKept(c) ? std::string(1, c) : std::string{'%', kHex[byte >> 4U], kHex[byte & 0xFU]};
        if (name.size() + kept.size() > kLongestName) {
            break;
        }
        name += kept;
    }
    return name.empty() ? "unknown" : name;
}

std::optional<std::filesystem::path> Save(const Configuration& set, const std::filesystem::path& folder, double now,
                                          std::error_code& why)
{
    const std::string name = NameOf(set.Identity.SerialNo);
    const std::filesystem::path home = folder / name;
    if (!modFiles::MakeFolder(home, why)) {
        return std::nullopt;
    }
    if (timeText(now).empty()) {
        why = std::make_error_code(std::errc::invalid_argument);
        return std::nullopt;
    }
    // Under a name that is no backup until it is whole: a backup that is cut would send defaults to a sensor.
    const Unfinished unfinished{home / (fileName(now, 1) + "." + std::to_string(getpid()) + ".new")};
    Configuration backup = set;
    backup.FileName = unfinished.file.string();
    backup.Description = "SN " + name + ", " + timeText(now);
    if (!modConfigFile::Write(backup, why)) {
        return std::nullopt;
    }
    for (std::int32_t number = 1; number <= kMostInOneSecond; ++number) {
        const std::filesystem::path file = home / fileName(now, number);
        if (modFiles::MoveToNewName(unfinished.file, file, why)) {
            return file;
        }
        if (why != std::errc::file_exists) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

std::vector<Backup> List(const std::filesystem::path& folder, std::string_view serialNo)
{
    struct Found {
        Backup backup;
        std::int32_t number;
    };
    std::vector<Found> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder / NameOf(serialNo), error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        const auto name = readName(entry->path().filename().string());
        if (name && entry->is_regular_file(unknown)) {
            found.push_back({{entry->path(), name->time}, name->number});
        }
    }
    std::ranges::sort(found, std::greater(), [](const Found& one) { return std::pair(one.backup.time, one.number); });
    std::vector<Backup> backups;
    std::ranges::transform(found, std::back_inserter(backups), &Found::backup);
    return backups;
}

void Thin(const std::filesystem::path& folder, std::string_view serialNo, double now)
{
    double kept = std::floor(now) + 1.0; // the day whose last backup stays
    for (const Backup& backup : List(folder, serialNo)) {
        const double day = std::floor(backup.time);
        if (day == kept && day < std::floor(now) - kMonth) {
            std::error_code ignored;
            std::filesystem::remove(backup.file, ignored);
        }
        kept = day;
    }
}

} // namespace modBackup
