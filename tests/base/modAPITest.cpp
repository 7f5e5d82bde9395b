// Local time and the program's folder.
#include "base/modAPI.h"

#include "tests/support/TemporaryFolder.h"
#include "tests/support/TimeZone.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <pwd.h>
#include <string>
#include <tuple>
#include <unistd.h>

namespace {

TEST(LocalTime, DaysSinceTheEndOf1899)
{
    using Row = std::pair<modAPI::CivilTime, double>;
    for (const auto& [civil, days] :
         {Row{{1899, 12, 30, 0, 0, 0, 0}, 0.0}, Row{{1900, 1, 1, 6, 0, 0, 0}, 2.25},
          Row{{2026, 11, 15, 12, 0, 0, 0}, 46341.5}, Row{{2024, 2, 29, 0, 0, 0, 1}, 45351.0 + 1 / 86400000.0}}) {
        EXPECT_NEAR(modAPI::DateTimeOf(civil), days, 1e-10) << civil.year;
    }
}

TEST(LocalTime, TimeOfDayOfEverySecond)
{
    for (int second = 0; second < 86400; ++second) {
        const double days = modAPI::DateTimeOf({2026, 11, 15, second / 3600, second / 60 % 60, second % 60, 0});
        char expected[16];
        std::snprintf(expected, sizeof expected, "%02d:%02d:%02d", second / 3600, second / 60 % 60, second % 60);
        ASSERT_EQ(modAPI::TimeOfDayText(days), expected);
    }
    EXPECT_EQ(modAPI::TimeOfDayText(46341.0 - 1 / 86400000.0), "23:59:59");
}

TEST(LocalTime, IsAheadOfUtcAsItsTimeZoneSaysForThatMoment)
{
    using Row = std::tuple<const char*, modAPI::CivilTime, std::int32_t, std::int32_t>;
    constexpr char kGermany[] = "CET-1CEST,M3.5.0,M10.5.0/3", kNewYork[] = "EST5EDT,M3.2.0,M11.1.0";
    for (const auto& [zone, time, first, second] :
         {Row{"UTC0", {2026, 7, 1, 12}, 0, 0}, Row{kGermany, {2026, 1, 1, 0}, 60, 60},
          Row{kGermany, {2026, 7, 1, 12}, 120, 120}, Row{kGermany, {2026, 10, 25, 1, 59, 59}, 120, 120},
          Row{kGermany, {2026, 10, 25, 2, 0, 0}, 120, 60}, Row{kGermany, {2026, 10, 25, 2, 59, 59, 999}, 120, 60},
          Row{kGermany, {2026, 10, 25, 3, 0, 0}, 60, 60}, Row{kGermany, {2026, 3, 29, 1, 59, 59}, 60, 60},
          Row{kGermany, {2026, 3, 29, 2, 30, 0}, 60, 60}, Row{kGermany, {2026, 3, 29, 3, 0, 0}, 120, 120},
          Row{kNewYork, {2026, 11, 1, 1, 30, 0}, -240, -300}, Row{"<+1245>-12:45", {2026, 7, 1, 0}, 765, 765}}) {
        const TimeZone there(zone);
        const modAPI::UtcOffsets offsets = modAPI::UtcOffsetsOf(modAPI::DateTimeOf(time));
        EXPECT_EQ(offsets.first_min, first) << zone << " " << time.month << "/" << time.day << " " << time.hour;
        EXPECT_EQ(offsets.second_min, second) << zone << " " << time.month << "/" << time.day << " " << time.hour;
    }
}

TEST(LocalTime, IsAheadOfUtcByTheOffsetOfThisMoment)
{
    const TimeZone india("IST-5:30");
    EXPECT_EQ(modAPI::UtcOffsetNow_min(), 330);
}

TEST(WindowsName, MajorVersionsCountForPlatform1Too)
{
    using Row = std::pair<modAPI::SystemVersion, const char*>;
    for (const auto& [version, name] :
         {Row{{true, 1, 10, 0}, "Windows 98"}, Row{{true, 1, 4, 10}, ""}, Row{{true, 2, 5, 1}, "Windows XP"},
          Row{{true, 2, 5, 2}, ""}, Row{{false, 2, 5, 0}, "Windows"}}) {
        EXPECT_EQ(modAPI::WindowsName(version), name) << version.major << "." << version.minor;
    }
}

TEST(ProgramFolder, IsCreatedAndNeverTheWorkingFolder)
{
    const TemporaryFolder folder;
    const auto wanted = folder.path / "new" / "deep";
    EXPECT_EQ(modAPI::ProgramFolder(wanted), wanted);
    EXPECT_TRUE(std::filesystem::is_directory(wanted));
    EXPECT_EQ(modAPI::ProgramFolder({}), std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

TEST(ProgramFolder, DataLieInTheUsersHome)
{
    const auto set = [](const char* name, const std::optional<std::string>& value) {
        value ? setenv(name, value->c_str(), 1) : unsetenv(name);
    };
    const auto get = [](const char* name) {
        const char* value = std::getenv(name);
        return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
    };
    using Row = std::tuple<std::optional<std::string>, std::optional<std::string>, std::string>; // home, data
    const Row before{get("HOME"), get("XDG_DATA_HOME"), modAPI::UserDataFolder()};
    const std::string ofDatabase = std::string(getpwuid(geteuid())->pw_dir) + "/.local/share/orvex";
    for (const auto& [home, data, folder] :
         {Row{"/home/a", "/data", "/data/orvex"}, Row{"/home/a", std::nullopt, "/home/a/.local/share/orvex"},
          Row{std::nullopt, std::nullopt, ofDatabase}, Row{"", "data", ofDatabase}, before}) {
        set("HOME", home);
        set("XDG_DATA_HOME", data);
        EXPECT_EQ(modAPI::UserDataFolder(), folder);
    }
}

TEST(ProgramFolder, IsRefusedWhereOthersMayChangeIt)
{
    using Row = std::tuple<std::uint32_t, std::uint32_t, bool>; // owner, mode
    for (const auto& [owner, mode, refused] : {Row{1000, 0777, false}, Row{0, 01777, false}, Row{1001, 0755, false},
                                               Row{1001, 0775, true}, Row{1001, 0757, true}, Row{1001, 01777, true}}) {
        EXPECT_EQ(modAPI::OthersMayChange(owner, mode, 1000), refused) << owner << " " << std::oct << mode;
    }
    EXPECT_FALSE(modAPI::OthersMayChange("/tmp"));
}

} // namespace
