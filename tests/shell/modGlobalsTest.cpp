// The settings of the program in their file.
#include "shell/modGlobals.h"

#include "config/modIni.h"
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

    EXPECT_TRUE(modGlobals::SaveGlobalSettings({file, 57600, 255, LanguageEnglish, "Profibus", false, 1234.5, -0.25}));
    EXPECT_EQ(kept(load()), std::tuple(57600, 255, 1000, "Profibus"s, false, 1234.5, -0.25));

    folder.Write("RVQ.ini", "[GENERAL]\nLanguage=2147483647\nComport=x\n[CHART]\nyMax=high\nyMin=-7\n");
    EXPECT_EQ(kept(load()), std::tuple(9600, 0, 1000, "Serial"s, true, 5000.0, -7.0));
    EXPECT_TRUE(modGlobals::SaveGlobalSettings(load()));
    EXPECT_EQ(modIni::GetPrivateProfileIntA("GENERAL", "Language", 0, file), 1);

    folder.Write("RVQ.ini", "; mine\n[general]\nBAUDRATE = 9600 ; fast\n\n[other]\na\n[Chart]\nyMax=5000.0\n");
    modGlobals::Settings settings = load();
    settings.Comport = 7;
    EXPECT_TRUE(modGlobals::SaveGlobalSettings(settings));
    EXPECT_NE(TemporaryFolder::Read(file).find("BAUDRATE = 9600 ; fast"), std::string::npos)
        << "what has not changed stays as written";
    EXPECT_NE(TemporaryFolder::Read(file).find("yMax=5000.0"), std::string::npos);
    EXPECT_EQ(load().Comport, 7);
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
