// Reading sections of files that people wrote by hand.
#include "config/modIni.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(ReadSection, TakesTheFirstSectionAndTheFirstKey)
{
    const auto file = std::filesystem::temp_directory_path() / ("orvex-ini-" + std::to_string(getpid()));
    std::ofstream(file, std::ios::binary) << "\xEF\xBB\xBF[General]\r\nCOM7=no\r\n; [PORTS]\r\n[ ports ]\n"
                                             "; COM7=comment\n  com7 =  /dev/a=b  \r\nno sign\r\nCOM7=/dev/second\n"
                                             "COM8=\n[Ports]\nCOM9=/dev/late\n";
    const auto entries = modIni::ReadSection(file, "PORTS");
    EXPECT_EQ(modIni::ValueOf(entries, "COM7"), "/dev/a=b");
    EXPECT_EQ(modIni::ValueOf(entries, "COM8"), "");
    EXPECT_EQ(modIni::ValueOf(entries, "COM9"), "");
    EXPECT_EQ(entries.size(), 3U);
    EXPECT_EQ(modIni::ValueOf(modIni::ReadSection(file, "general"), "com7"), "no");
    std::filesystem::remove(file);
    EXPECT_TRUE(modIni::ReadSection(file, "PORTS").empty());
    EXPECT_TRUE(modIni::ReadSection(std::filesystem::temp_directory_path(), "PORTS").empty()) << "a folder";
}

} // namespace
