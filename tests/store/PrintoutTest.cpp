// The settings sheet, line by line.
#include "store/Printout.h"

#include "store/modGlobals.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

SheetTexts filled(bool serial)
{
    SheetTexts texts{serial, "4711", "2.07", "1187", serial ? "Serial" : "Profibus", {}};
    for (const ParameterDef& row : ParameterTable()) {
        const bool number = row.control == ControlKind::Number;
        texts.values[row] = number ? "f" + std::to_string(row.number) : "c" + std::string(row.code);
    }
    return texts;
}

const std::string kHead = "\r\n\t\t\tOrvex - Settings\r\n\r\n\r\nSerial-No:\t\t\t\t4711\r\nVersion:\t\t\t\t\t2.07\r\n"
                          "Build:\t\t\t\t\t1187\r\nType:\t\t\t\t\t";

TEST(Printout, SerialInEnglish)
{
    EXPECT_EQ(SheetText(filled(true), LanguageEnglish),
              kHead + "Serial\r\n\r\n"
                      "Data Output\t\t\t\tc101\r\nDistance Unit\t\t\t\tc111\r\nBaudrate\t\t\t\tc601\r\n"
                      "Data Output\t\t\t\tc603\r\n\r\n"
                      "Autostart\t\t\t\tc305\r\nMoving Average\t\t\t\tc304\r\nAverage Depth\t\t\t\tc301\r\n"
                      "TimeOut\t\t\t\t\tc302\r\nEcho amplitude boundary check\t\tc306\r\n"
                      "Nearfield blanking\t\t\tc311\r\n\r\n"
                      "Rainfilter\t\t\t\tc351\r\n\r\n"
                      "Offset\t\t\t\t\tf0 mm\r\nScaling Factor\t\t\t\tf1\r\nAir Temperature\t\t\t\tf2 \xB0"
                      "C\r\nAir Pressure\t\t\t\tf3 hPa\r\n\r\n"
                      "Activate Analog Output\t\t\tc403\r\nDistance @ 4mA\t\t\t\tf8 mm\r\n"
                      "Distance @ 20mA\t\t\t\tf9 mm\r\n\r\n"
                      "Switching Logic Q1\t\t\tc503\r\nON-Threshold Q1\t\t\t\tf4 mm\r\nOFF-Threshold Q1\t\t\tf5 mm\r\n"
                      "Switching Logic Q2\t\t\tc506\r\nON-Threshold Q2 \t\t\tf6 mm\r\nOFF-Threshold Q2 \t\t\tf7 mm\r\n"
                      "\r\n");
}

TEST(Printout, ProfibusInGermanReplacesTheSheet)
{
    const TemporaryFolder folder;
    std::error_code why;
    EXPECT_TRUE(WriteSheet(folder.path, filled(true), LanguageGerman, why));
    EXPECT_TRUE(WriteSheet(folder.path, filled(false), LanguageGerman, why));
    const std::string sheet = TemporaryFolder::Read(folder.path / "$QVW$.txt");
    EXPECT_TRUE(sheet.starts_with(kHead + "Profibus\r\n\r\nDatenausgabe\t\t\t\tc101\r\nMa\xDF"
                                          "einheit\t\t\t\tc111\r\n"));
    EXPECT_NE(sheet.find("c603\r\nProfibus-Adresse\t\t\tf10\r\n\r\n"), std::string::npos);
    EXPECT_TRUE(sheet.ends_with("Luftdruck\t\t\t\tf3 hPa\r\n\r\n"));
    EXPECT_FALSE(WriteSheet(folder.path / "none", filled(true), LanguageGerman, why));
    EXPECT_EQ(why, std::errc::no_such_file_or_directory);
}

} // namespace
