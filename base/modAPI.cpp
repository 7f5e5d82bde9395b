#include "base/modAPI.h"

#include "base/Days.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace modAPI {

namespace {

using namespace std::chrono;

/// What the user database has of the user; empty when he is not in it.
std::string userEntry(char* passwd::*text)
{
    std::array<char, 4096> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
    return found != nullptr && found->*text != nullptr ? found->*text : "";
}

/// The home folder from the environment, else from the user database; empty when neither has one.
std::filesystem::path homeFolder()
{
    if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') {
        return home;
    }
    const std::string home = userEntry(&passwd::pw_dir);
    return home.starts_with('/') ? home : "";
}

/// The package manager owns everything below /usr; not even root's files belong there.
bool isSystemFolder(const std::filesystem::path& folder)
{
    const auto second = std::next(folder.begin(), folder.has_root_directory() ? 1 : 0);
    return second != folder.end() && *second == "usr";
}

/// The local calendar's time of a moment in seconds since 1970. It is asked for many times a second, but the calendar
/// only once in each second.
const std::tm& localTimeOf(std::time_t moment)
{
    thread_local std::time_t known = -1;
    thread_local std::tm local{};
    if (moment != known) {
        localtime_r(&moment, &local);
        known = moment;
    }
    return local;
}

/// How far local time is ahead of UTC at a moment in seconds since 1970.
std::int32_t offsetAt_min(std::time_t moment)
{
    std::tm local{};
    localtime_r(&moment, &local);
    return static_cast<std::int32_t>(local.tm_gmtoff / 60);
}

} // namespace

double DateTimeOf(const CivilTime& civil)
{
    const sys_days date{year{civil.year} / month{civil.month} / day{civil.day}};
    const double seconds = civil.hour * 3600.0 + civil.minute * 60.0 + civil.second + civil.millisecond / 1000.0;
    return static_cast<double>((date - kDayZero).count()) + seconds / kSecondsPerDay;
}

double LocalTime()
{
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(now));
    const auto rest = now - floor<std::chrono::seconds>(now);
    const std::tm& local = localTimeOf(seconds);
    return DateTimeOf({local.tm_year + 1900, static_cast<unsigned>(local.tm_mon + 1),
                       static_cast<unsigned>(local.tm_mday), local.tm_hour, local.tm_min, local.tm_sec,
                       static_cast<std::int32_t>(duration_cast<milliseconds>(rest).count())});
}

UtcOffsets UtcOffsetsOf(double localTime)
{
    if (!(localTime >= kFirstDay && localTime < kEndOfDays)) {
        return {};
    }
    constexpr double kEpoch = (sys_days{} - kDayZero).count();
    const auto local_s = static_cast<std::time_t>(std::floor((localTime - kEpoch) * kSecondsPerDay));
    constexpr std::time_t kDay_s = 86400; // no offset is as large
    const std::int32_t before = offsetAt_min(local_s - kDay_s), after = offsetAt_min(local_s + kDay_s);
    const auto holds = [&](std::int32_t offset) { return offsetAt_min(local_s - std::time_t{offset} * 60) == offset; };
    if (holds(before)) {
        return {before, holds(after) ? after : before};
    }
    return holds(after) ? UtcOffsets{after, after} : UtcOffsets{before, before};
}

std::int32_t UtcOffsetNow_min()
{
    return static_cast<std::int32_t>(localTimeOf(std::time(nullptr)).tm_gmtoff / 60);
}

double UpTime_s()
{
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

bool WaitForArrival(int descriptor, double seconds)
{
    pollfd arrival{descriptor, POLLIN, 0};
    const double whole = std::floor(std::max(seconds, 0.0));
    const timespec limit{static_cast<std::time_t>(whole), static_cast<long>((std::max(seconds, 0.0) - whole) * 1e9)};
    return ppoll(&arrival, 1, &limit, nullptr) > 0;
}

void CollectUntil(double due_s, const std::function<int()>& descriptor, const std::function<bool()>& collect)
{
    bool watches = true;
    for (double rest_s = 0.0; (rest_s = due_s - UpTime_s()) > 0.0;) {
        if (WaitForArrival(watches ? descriptor() : -1, rest_s)) {
            watches = collect();
        }
    }
}

void HandleSignal(int signal, void (*handler)(int))
{
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
        return;
    }
    action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

std::string TimeOfDayText(double dateTime)
{
    // A tenth of a millisecond is added: the division by a day must not turn a whole second into the one before it.
    const double ofDay = (dateTime - std::floor(dateTime)) * kSecondsPerDay + 0.0001;
    const auto seconds = static_cast<long>(std::fmod(ofDay, kSecondsPerDay));
    std::string text("00:00:00");
    std::size_t at = 0;
    for (const long part : {seconds / 3600, seconds / 60 % 60, seconds % 60}) {
        text[at] = static_cast<char>('0' + part / 10);
        text[at + 1] = static_cast<char>('0' + part % 10);
        at += 3;
    }
    return text;
}

std::string_view WindowsName(const SystemVersion& version)
{
    struct Row {
        std::uint32_t platform, major;
        std::string_view name;
    };
    static constexpr Row kNames[] = {{1, 0, "Windows 95"},      {1, 10, "Windows 98"},    {1, 90, "Windows ME"},
                                     {2, 3, "Windows NT 3.51"}, {2, 4, "Windows NT 4.0"}, {2, 5, "Windows 2000"}};
    if (!version.known) {
        return "Windows";
    }
    if (version.platform == 2 && version.major == 5 && version.minor != 0) {
        return version.minor == 1 ? "Windows XP" : "";
    }
    for (const Row& row : kNames) {
        if (row.platform == version.platform && row.major == version.major) {
            return row.name;
        }
    }
    return {};
}

std::string GetOSName()
{
    // The format of os-release: KEY=value lines, the value as a shell would quote it.
    for (const char* file : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::ifstream stream(file);
        for (std::string line; std::getline(stream, line);) {
            constexpr std::string_view kKey = "PRETTY_NAME=";
            if (line.starts_with(kKey)) {
                line.erase(0, kKey.size());
                std::erase_if(line, [](char c) { return c == '"' || c == '\'' || c == '\\'; });
                return line;
            }
        }
    }
    return "Linux";
}

std::string UserName()
{
    const std::string name = userEntry(&passwd::pw_name);
    const char* asked = std::getenv("USER");
    return name.empty() && asked != nullptr ? asked : name;
}

std::filesystem::path UserDataFolder()
{
    if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data == '/') {
        return std::filesystem::path(data) / "orvex";
    }
    const std::filesystem::path home = homeFolder();
    return home.empty() ? home : home / ".local/share/orvex";
}

std::filesystem::path ProgramFolder(const std::filesystem::path& wanted)
{
    std::error_code error;
    std::filesystem::path folder = wanted;
    if (folder.empty()) {
        folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
        if (error || isSystemFolder(folder) || access(folder.c_str(), W_OK) != 0) {
            folder = UserDataFolder();
        }
    }
    if (folder.empty()) {
        return folder;
    }
    folder = std::filesystem::absolute(folder, error);
    std::filesystem::create_directories(folder, error);
    return folder;
}

bool OthersMayChange(const std::filesystem::path& folder)
{
    struct stat info {};
    return stat(folder.c_str(), &info) == 0 && OthersMayChange(info.st_uid, info.st_mode, geteuid());
}

} // namespace modAPI
