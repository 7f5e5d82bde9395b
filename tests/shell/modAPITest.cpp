// Local time and the program's folder.
#include "shell/modAPI.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace {

TEST(LocalTime, DaysSinceTheEndOf1899)
{
    const std::pair<modAPI::CivilTime, double> rows[] = {{{1899, 12, 30, 0, 0, 0, 0}, 0.0},
                                                         {{1900, 1, 1, 6, 0, 0, 0}, 2.25},
                                                         {{2026, 11, 15, 12, 0, 0, 0}, 46341.5},
                                                         {{2024, 2, 29, 0, 0, 0, 1}, 45351.0 + 1 / 86400000.0}};
    for (const auto& [civil, days] : rows) {
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

TEST(SystemName, WindowsByItsVersion)
{
    struct Row {
        modAPI::SystemVersion version;
        const char* name;
    };
    for (const Row& row : {Row{{true, 1, 0, 7}, "Windows 95"}, Row{{true, 1, 10, 0}, "Windows 98"},
                           Row{{true, 1, 90, 0}, "Windows ME"}, Row{{true, 1, 4, 10}, ""}, // the minor does not count
                           Row{{true, 2, 3, 51}, "Windows NT 3.51"}, Row{{true, 2, 4, 0}, "Windows NT 4.0"},
                           Row{{true, 2, 5, 0}, "Windows 2000"}, Row{{true, 2, 5, 1}, "Windows XP"},
                           Row{{true, 2, 5, 2}, ""}, Row{{true, 2, 6, 0}, ""}, Row{{}, "Windows"}}) {
        EXPECT_EQ(modAPI::WindowsName(row.version), row.name) << row.version.platform << '.' << row.version.major;
    }
    EXPECT_NE(modAPI::GetOSName(), "");
}

TEST(ProgramFolder, IsCreatedAndNeverTheWorkingFolder)
{
    const auto wanted = std::filesystem::temp_directory_path() / "orvex-folder-test" / "deep";
    EXPECT_EQ(modAPI::ProgramFolder(wanted), wanted);
    EXPECT_TRUE(std::filesystem::is_directory(wanted));
    std::filesystem::remove_all(wanted.parent_path());
    EXPECT_EQ(modAPI::ProgramFolder({}), std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

} // namespace
