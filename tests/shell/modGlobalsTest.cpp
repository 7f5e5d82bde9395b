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
    modGlobals::Settings settings = load();
    EXPECT_EQ(std::tie(settings.Baudrate, settings.Comport, settings.Language, settings.DefaultDevice,
                       settings.AutoScale, settings.yMax, settings.yMin),
              std::make_tuple(9600, 1, 0, "Serial"s, true, 5000.0, 0.0));
    EXPECT_FALSE(std::filesystem::exists(file)) << "reading creates nothing";

    settings = {file, 57600, 255, LanguageEnglish, "Profibus", false, 1234.5, -0.25};
    EXPECT_TRUE(SaveGlobalSettings(settings));
    const modGlobals::Settings again = load();
    EXPECT_EQ(std::tie(again.Baudrate, again.Comport, again.Language, again.DefaultDevice, again.AutoScale, again.yMax,
                       again.yMin),
              std::make_tuple(57600, 255, 1000, "Profibus"s, false, 1234.5, -0.25));

    folder.Write("RVQ.ini", "[GENERAL]\nLanguage=2147483647\nComport=x\n[CHART]\nyMax=high\nyMin=-7\n");
    settings = load();
    EXPECT_EQ(std::tie(settings.Language, settings.Comport, settings.yMax, settings.yMin),
              std::make_tuple(1000, 0, 5000.0, -7.0));
    EXPECT_TRUE(SaveGlobalSettings(settings));
    EXPECT_EQ(modIni::GetPrivateProfileIntA("GENERAL", "Language", 0, file), 1);

    const std::string byHand = "; mine\n[general]\nBAUDRATE = 9600 ; fast\n\n[other]\na\n[Chart]\nyMax=5000.0\n";
    folder.Write("RVQ.ini", byHand);
    settings = load();
    settings.Comport = 7;
    EXPECT_TRUE(SaveGlobalSettings(settings));
    EXPECT_NE(TemporaryFolder::Read(file).find("BAUDRATE = 9600 ; fast"), std::string::npos)
        << "what has not changed stays as written";
    EXPECT_NE(TemporaryFolder::Read(file).find("yMax=5000.0"), std::string::npos);
    EXPECT_EQ(load().Comport, 7);

    folder.Write("RVQ.ini", "[Ports]\nCOM7= /dev/x \n");
    EXPECT_EQ(modGlobals::ConfiguredPort(file, "COM7"), "/dev/x");
}

} // namespace
