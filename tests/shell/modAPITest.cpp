// Local time and the program's folder.
#include "shell/modAPI.h"

#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

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

TEST(WindowsName, MajorVersionsCountAlsoForPlatform1)
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

} // namespace
