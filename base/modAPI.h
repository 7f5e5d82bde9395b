// What the program asks the platform for: the local time, the name of the operating system and the folder for its
// files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace modAPI {

/// A moment of the local calendar.
struct CivilTime {
    std::int32_t year = 1899;
    unsigned month = 12; ///< 1..12
    unsigned day = 30;   ///< 1..31
    std::int32_t hour = 0, minute = 0, second = 0, millisecond = 0;
};

/// Days since 1899-12-30, the time of day as the fraction.
double DateTimeOf(const CivilTime& civil);

/// The local time now, to the millisecond, as days since 1899-12-30.
double LocalTime();

/// What the system's time zone says about a local time: how far it is ahead of UTC, in minutes. The hour that a clock
/// set back from summer time repeats has two answers, the earlier one first; any other time has the same one twice. A
/// time that a clock set forward leaves out counts as before the change.
struct UtcOffsets {
    std::int32_t first_min = 0, second_min = 0;
};
UtcOffsets UtcOffsetsOf(double localTime);
/// How far local time is ahead of UTC at this moment, in minutes.
std::int32_t UtcOffsetNow_min();

/// Seconds since the system started, for measuring how long something takes: setting the clock does not change it, and
/// it goes on while the machine sleeps.
double UpTime_s();

/// Waits until bytes have arrived at a descriptor, or something has happened to it, but for `seconds` at most. -1 only
/// lets the time pass. Returns whether it is worth a look.
bool WaitForArrival(int descriptor, double seconds);
/// Lets time pass until `UpTime_s` is `due_s`, and calls `collect` when bytes have arrived at what `descriptor`
/// returns, so that they get the time of their arrival. After a call that returns false, which has found none, only the
/// time passes: a line that has ended would be worth a look all the time.
void CollectUntil(double due_s, const std::function<int()>& descriptor, const std::function<bool()>& collect);
/// Sets what a signal does. One that was ignored when the program started stays ignored.
void HandleSignal(int signal, void (*handler)(int));

/// The time of day as "hh:mm:ss".
std::string TimeOfDayText(double dateTime);

/// The answer to a system's version query.
struct SystemVersion {
    bool known = false; ///< the query succeeded
    std::uint32_t platform = 0, major = 0, minor = 0;
};

/// The name of a Windows version; empty for one that the table does not hold, "Windows" when the query failed.
/// Deliberate: for platform 1 the major version, not the minor, is compared with 0, 10 and 90. No window uses it today;
/// it belongs to the operations of this module.
std::string_view WindowsName(const SystemVersion& version);

/// The name under which the user has logged in, UTF-8; empty when the system knows none.
std::string UserName();

/// The name of the operating system that the program runs on: the distribution's own, for example
/// "Debian GNU/Linux 12 (bookworm)", or "Linux" when it gives none.
std::string GetOSName();

/// $XDG_DATA_HOME/orvex, by default ~/.local/share/orvex; the home folder is $HOME, else the one in the user database.
/// Empty when the user has none.
std::filesystem::path UserDataFolder();

/// The folder of settings, recordings and configurations: `wanted` if it is not empty, else the executable's own folder
/// if the user can write there and it is not below /usr, else `UserDataFolder()`.
/// Creates the folder when it is missing; if that fails, it shows when something is written.
std::filesystem::path ProgramFolder(const std::filesystem::path& wanted);

/// Whether a folder belongs to another user and its group or everybody may write there. Folders of root are trusted,
/// /tmp for instance.
bool OthersMayChange(const std::filesystem::path& folder);
/// The same, given the folder's owner and mode.
inline constexpr bool OthersMayChange(std::uint32_t owner, std::uint32_t mode, std::uint32_t user)
{
    return owner != user && owner != 0 && (mode & 0022U) != 0;
}

} // namespace modAPI
