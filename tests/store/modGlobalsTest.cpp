// The settings of the program in their file.
#include "store/modGlobals.h"

#include "store/modIni.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

using namespace std::string_literals;

TEST(GlobalSettings, ComeBackAndLeaveWhatOthersWrote)
{
    const TemporaryFolder folder;
    const std::string file = folder.path / "RVQ.ini";
    const auto load = [&] { return modGlobals::LoadGlobalSettings(file, ','); };
    const auto kept = [](const modGlobals::Settings& s) {
        return std::tuple(s.Baudrate, s.Comport, s.Language, s.DefaultDevice, s.AutoScale, s.yMax, s.yMin);
    };
    EXPECT_EQ(kept(load()), std::tuple(9600, 1, 0, "Serial"s, true, 5000.0, 0.0));
    EXPECT_FALSE(std::filesystem::exists(file)) << "reading creates nothing";

    const auto save = [](modGlobals::Settings settings) { return !modGlobals::SaveGlobalSettings(settings); };
    EXPECT_TRUE(save({file, 57600, 255, LanguageEnglish, "Profibus", false, 1234.5, -0.25}));
    EXPECT_EQ(kept(load()), std::tuple(57600, 255, 1000, "Profibus"s, false, 1234.5, -0.25));

    folder.Write("RVQ.ini", "[GENERAL]\nLanguage=2147483647\nComport=x\n[CHART]\nyMax=high\nyMin=-7\n");
    EXPECT_EQ(kept(load()), std::tuple(9600, 0, 1000, "Serial"s, true, 5000.0, -7.0));
    EXPECT_TRUE(save(load()));
    EXPECT_EQ(modIni::GetPrivateProfileIntA("GENERAL", "Language", 0, file), 1);

    folder.Write("RVQ.ini", "; mine\n[general]\nBAUDRATE = 9600 ; fast\n\n[other]\na\n[Chart]\nyMax=5000.0\n");
    modGlobals::Settings settings = load();
    settings.Comport = 7;
    EXPECT_TRUE(save(settings));
    EXPECT_NE(TemporaryFolder::Read(file).find("BAUDRATE = 9600 ; fast"), std::string::npos)
        << "what has not changed stays as written";
    EXPECT_NE(TemporaryFolder::Read(file).find("yMax=5000.0"), std::string::npos);
    EXPECT_EQ(load().Comport, 7);
}

TEST(GlobalSettings, KeepTheRecordersChoicesWithinTheirLimits)
{
    const TemporaryFolder folder;
    const std::string file = folder.path / "RVQ.ini";
    const auto choices = [&] {
        const modGlobals::Settings s = modGlobals::LoadGlobalSettings(file, '.');
        return std::tuple(s.EveryValue, s.NewFile, s.FileSize);
    };
    EXPECT_EQ(choices(), std::tuple(true, 0, 100));
    modGlobals::Settings settings{.IniFile = file, .EveryValue = false, .NewFile = 2, .FileSize = 7};
    EXPECT_FALSE(SaveGlobalSettings(settings));
    EXPECT_EQ(choices(), std::tuple(false, 2, 7));
    folder.Write("RVQ.ini", "[RECORDER]\nNewFile=9\nFileSize=-3\n");
    EXPECT_EQ(choices(), std::tuple(true, 3, 1));
}

TEST(GlobalSettings, TwoProgramsWriteOnlyWhatTheyHaveChanged)
{
    const TemporaryFolder folder;
    const std::string file = folder.Write("RVQ.ini", "[GENERAL]\nComport=1\nLanguage=0\n[CHART]\nyMax=5000\nyMin=0\n");
    const auto load = [&] { return modGlobals::LoadGlobalSettings(file, '.'); };
    modGlobals::Settings first = load(), second = load();
    first.yMax = 100.0;
    first.Language = LanguageEnglish;
    EXPECT_FALSE(SaveGlobalSettings(first));
    second.Comport = 7;
    EXPECT_FALSE(SaveGlobalSettings(second));
    EXPECT_FALSE(SaveGlobalSettings(second)) << "nor with a later save";
    EXPECT_FALSE(SaveGlobalSettings(first));
    EXPECT_EQ(std::tuple(load().yMax, load().Language, load().Comport), std::tuple(100.0, 1000, 7));
    second.yMax = 200.0;
    EXPECT_FALSE(SaveGlobalSettings(second));
    EXPECT_FALSE(SaveGlobalSettings(first));
    EXPECT_EQ(load().yMax, 200.0) << "both have changed it: the later change counts";
}

TEST(GlobalSettings, WhatHappensToTheFileMeanwhileStays)
{
    const TemporaryFolder folder;
    const std::string before = "[GENERAL]\r\nComport=1\r\nLanguage=0\r\n[DEVICES]\r\nCOM3=a\r\nCOM999=b\r\n";
    const std::string wide = "\xFF\xFE[\0G\0"s;
    struct Row {
        const char* what;
        std::string now, after;
        bool isSaved = true;
    };
    // One key, and one device, are changed here.
    const std::string ours = "Comport=7\r\n", device = "[DEVICES]\r\nCOM5=c\r\n";
    for (const Row& row :
         {Row{"a key removed by hand", "[GENERAL]\r\nComport=1\r\n", "[GENERAL]\r\n" + ours + device},
          Row{"our key removed by hand", "[GENERAL]\r\nLanguage=0\r\n", "[GENERAL]\r\nLanguage=0\r\n" + ours + device},
          Row{"another one's device", "[GENERAL]\r\nComport=1\r\n[DEVICES]\r\nCOM3=d\r\n",
              "[GENERAL]\r\n" + ours + "[DEVICES]\r\nCOM3=d\r\nCOM5=c\r\n"},
          Row{"garbage", "\x01\xFE=\xFF\r\n[[[", "\x01\xFE=\xFF\r\n[[[\r\n[GENERAL]\r\n" + ours + device},
          Row{"garbage that is no text", wide, wide, false}, Row{"nothing", "", "[GENERAL]\r\n" + ours + device}}) {
        const std::string file = folder.Write("RVQ.ini", before);
        modGlobals::Settings settings = modGlobals::LoadGlobalSettings(file, '.');
        EXPECT_EQ(settings.Devices.Of(3), "a");
        ASSERT_FALSE(modGlobals::SaveGlobalSettings(settings)) << "adds the keys that the file never had";
        settings.Comport = 7;
        settings.Devices.Remember(5, "c");
        folder.Write("RVQ.ini", row.now);
        EXPECT_EQ(!modGlobals::SaveGlobalSettings(settings), row.isSaved) << row.what;
        EXPECT_EQ(TemporaryFolder::Read(file), row.after) << row.what;
    }
}

TEST(GlobalSettings, WhatCouldNotBeReadIsNotWritten)
{
    const TemporaryFolder folder;
    const std::string file = folder.path / "RVQ.ini";
    std::filesystem::create_symlink("/proc/self/mem", file); // no byte of this file can be read
    modGlobals::Settings settings = modGlobals::LoadGlobalSettings(file, '.');
    EXPECT_EQ(settings.UnreadWhy, std::errc::io_error);
    EXPECT_EQ(settings.UnreadFile, file);
    EXPECT_EQ(settings.Baudrate, 9600);
    std::filesystem::remove(file);
    const std::string bytes = "[GENERAL]\r\nBaudrate=38400\r\n";
    folder.Write("RVQ.ini", bytes);
    settings.Comport = 9;
    EXPECT_FALSE(SaveGlobalSettings(settings));
    EXPECT_EQ(TemporaryFolder::Read(file), bytes);
}

TEST(ConfiguredPorts, FollowTheFileWhileTheProgramRuns)
{
    const TemporaryFolder folder;
    modGlobals::ConfiguredPorts ports(folder.path / "RVQ.ini");
    for (const auto& [written, device] :
         {std::pair("", ""), std::pair("[Ports]\nCOM7= /dev/x \n", "/dev/x"),
          std::pair("[Ports]\nCOM7=/dev/yz\n", "/dev/yz"), std::pair("[Other]\n", "")}) {
        folder.Write("RVQ.ini", written);
        EXPECT_EQ(ports.DeviceOf("COM7"), device) << written;
    }
    std::filesystem::remove(folder.path / "RVQ.ini");
    EXPECT_EQ(ports.DeviceOf("COM7"), "");
}

} // namespace
