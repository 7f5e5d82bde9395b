// The list of configurations and their files.
#include "sensor/Parameters.h"
#include "store/clsConfigLibrary.h"
#include "store/clsIni.h"
#include "store/modConfigFile.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

struct ConfigFolder : testing::Test {
    TemporaryFolder own;
    std::filesystem::path folder = own.path;
    std::string iniFile = folder / "RVQ.ini";

    std::string Put(const char* name, const std::string& bytes) const { return own.Write(name, bytes); }
    std::string Listed() const
    {
        clsIni ini({}, '.');
        ini.Filename(iniFile);
        std::string list = ini.GetSection("FILES");
        std::ranges::replace(list, '\0', '|');
        for (std::size_t at = list.find(folder.string()); at != std::string::npos; at = list.find(folder.string())) {
            list.erase(at, folder.string().size() + 1);
        }
        return list;
    }
    /// Stores a configuration and returns the name of the file that could not be written.
    std::string Stored(clsConfigLibrary& library, const std::string& name) const
    {
        const UnwrittenFile unwritten = library.Store(library.FindOrAdd(folder / name), name);
        EXPECT_EQ(static_cast<bool>(unwritten.why), !unwritten.file.empty());
        return unwritten.file.empty() ? "" : unwritten.file.substr(folder.string().size() + 1);
    }
    clsConfigLibrary Built() const
    {
        clsConfigLibrary library(iniFile);
        library.Build();
        return library;
    }
};

TEST_F(ConfigFolder, AFileHoldsEveryKeyInOrderAndReadsBack)
{
    Configuration written;
    written.FileName = folder / "\xC3\xA4.rvq";
    written.Description = "Silo \xDC";
    written.Parameters.Offset = -5;
    written.Parameters.RainFilter = 2;
    ASSERT_TRUE(modConfigFile::Write(written));
    EXPECT_EQ(TemporaryFolder::Read(written.FileName),
              "[RVQ]\r\nDescription=Silo \xDC\r\nBaudrate=3\r\nDistanceUnit=1\r\nOutputMode=0\r\nOutputFormat=1\r\n"
              "NodeAddress=-1\r\nAutoStart=0\r\nAverageDepth=4\r\nMovingAverage=0\r\nTimeOut=1\r\nBoundChecking=1\r\n"
              "Blanking=0\r\nRainFilter=2\r\nDistanceWindow=20000\r\nEchoThreshold=512\r\nDistanceLimit=1000\r\n"
              "ValidMeasurements=1\r\nOffset=-5\r\nScaleFactor=1000\r\nTemperature=200\r\nAirPressure=1013\r\n"
              "S1Logic=1\r\nS1OnThreshold=10000\r\nS1OffThreshold=9900\r\nS2Logic=1\r\nS2OnThreshold=1000\r\n"
              "S2OffThreshold=900\r\nAnalogOutput=0\r\nAnalogMin=1000\r\nAnalogMax=9000\r\n");
    Configuration read;
    read.FileName = written.FileName;
    modConfigFile::Read(read);
    EXPECT_EQ(read.Description, written.Description);
    for (const ParameterDef& row : ParameterTable()) {
        EXPECT_EQ(read.Parameters.*row.value, written.Parameters.*row.value) << row.key;
    }
}

TEST_F(ConfigFolder, WhatAFileDoesNotNameHasItsDefault)
{
    using Row = std::tuple<const char*, std::int32_t, std::int32_t, const char*>;
    for (const auto& [bytes, offset, s1Logic, type] :
         {Row{"", 0, 1, "Serial"}, Row{"[RVQ]\nS1Logic=0\nOffset=12mm\n", 12, 0, "Serial"},
          Row{"[RVQ]\nNodeAddress=5\nS1Logic=0\nOffset=x\n", 0, 7, "Profibus"}}) {
        Configuration configuration;
        configuration.FileName = Put("a.rvq", bytes);
        configuration.Parameters.S1Logic = 7;
        modConfigFile::Read(configuration);
        EXPECT_EQ(configuration.Parameters.RainFilter, 0) << bytes;
        EXPECT_EQ(configuration.Parameters.Offset, offset) << bytes;
        EXPECT_EQ(configuration.Parameters.S1Logic, s1Logic) << bytes;
        EXPECT_EQ(configuration.Identity.DeviceType, type) << bytes;
    }
}

TEST_F(ConfigFolder, TheListIsTheDeviceAndTheFilesUpToNumber64ThatHaveADescription)
{
    const std::string a = Put("a.rvq", "[RVQ]\nDescription=A\n");
    const std::string b = Put("b.rvq", "[RVQ]\nDescription=B\n");
    const std::string unnamed = Put("unnamed.rvq", "[RVQ]\nOffset=1\n"), lost = folder / "no";
    Put("RVQ.ini", "[FILES]\nRVQFile1=" + a + "\nRVQFile2=\nRVQFile3=" + unnamed + "\nRVQFile4=" + lost +
                       "\nRVQFile5=" + folder.string() + "\nRVQFile64=" + b + "\nRVQFile65=" + a + "\n");
    const clsConfigLibrary library = Built();
    ASSERT_EQ(library.Size(), 3U);
    EXPECT_EQ(library.Device().Name, "Device");
    EXPECT_EQ(library.Device().Description, "");
    EXPECT_EQ(library.Entry(1).Description, "A");
    EXPECT_EQ(library.Entry(2).Description, "B");
}

TEST_F(ConfigFolder, SavingImportingAndDeletingKeepTheListInTheIniFile)
{
    clsConfigLibrary library(iniFile);
    for (const char* name : {"a", "b", "c"}) {
        EXPECT_EQ(Stored(library, name), "");
    }
    EXPECT_EQ(Listed(), "RVQFile1=a|RVQFile2=b|RVQFile3=c|RVQFile4=");
    EXPECT_EQ(library.FindOrAdd(folder / "b"), 2U);
    UnwrittenFile unwritten;
    EXPECT_EQ(library.Delete(clsConfigLibrary::kDeviceLine, unwritten), std::nullopt);
    EXPECT_EQ(library.Delete(2, unwritten), 1U);
    EXPECT_EQ(Listed(), "RVQFile1=a|RVQFile2=c|RVQFile3=|RVQFile4=");
    EXPECT_EQ(library.Import(folder / "b"), 3U) << "the file has stayed";
    EXPECT_EQ(library.Import(folder / "none"), std::nullopt);
    EXPECT_EQ(Listed(), "RVQFile1=a|RVQFile2=c|RVQFile3=|RVQFile4=") << "an import is kept by the next save";

    // Deliberate: a number left over from a longer list is read again.
    const std::string a = folder / "a", b = folder / "b", c = folder / "c";
    Put("RVQ.ini", "[FILES]\nRVQFile1=" + a + "\nRVQFile2=" + b + "\nRVQFile3=" + c + "\nRVQFile4=" + c + "\n");
    Built().Delete(2, unwritten);
    EXPECT_EQ(Listed(), "RVQFile1=a|RVQFile2=c|RVQFile3=c|RVQFile4=");
}

TEST_F(ConfigFolder, OnlyTheFileOfAnotherEntryWouldBeOverwritten)
{
    clsConfigLibrary library(iniFile);
    const std::string file = folder / "a";
    const std::size_t line = library.FindOrAdd(file);
    EXPECT_FALSE(library.WouldOverwrite(file, line));
    EXPECT_TRUE(library.WouldOverwrite(file, clsConfigLibrary::kDeviceLine));
    EXPECT_FALSE(library.WouldOverwrite("Device", line)) << "the device entry has no file";
}

TEST_F(ConfigFolder, AFailedWriteIsReportedAndLosesNothing)
{
    clsConfigLibrary library(iniFile);
    for (const std::string& name : {std::string("none/x.rvq"), std::string("."), std::string(300, 'n') + ".rvq"}) {
        EXPECT_EQ(Stored(library, name), name);
    }
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    EXPECT_EQ(Built().Size(), 1U) << "none of them comes back";
}

TEST_F(ConfigFolder, APathThatIsTooLongForTheListIsReported)
{
    clsConfigLibrary library(iniFile);
    const std::filesystem::path deep = folder / std::string(200, 'd');
    std::filesystem::create_directory(deep);
    for (const auto& [length, comesBack] : {std::pair{clsIni::kLongestText, true}, {clsIni::kLongestText + 1, false}}) {
        const std::string path = deep / std::string(length - deep.string().size() - 1, 'n');
        const std::size_t line = library.FindOrAdd(path);
        EXPECT_FALSE(library.Store(line, "x").why);
        EXPECT_EQ(library.ComesBack(line), comesBack);
        EXPECT_EQ(Built().Find(path).has_value(), comesBack) << length;
    }
    std::filesystem::remove(iniFile);
    std::filesystem::create_directory(iniFile);
    EXPECT_EQ(Stored(library, "a.rvq"), "RVQ.ini") << "the file that has failed is named, not the one that was written";
    EXPECT_TRUE(std::filesystem::exists(folder / "a.rvq"));
}

TEST_F(ConfigFolder, TwoProgramsKeepEachOthersChangesOfTheList)
{
    clsConfigLibrary first = Built();
    for (const char* name : {"a", "b"}) {
        Stored(first, name);
    }
    clsConfigLibrary second = Built();
    Stored(first, "g");
    Stored(second, "h");
    EXPECT_EQ(Listed(), "RVQFile1=a|RVQFile2=b|RVQFile3=h|RVQFile4=g|RVQFile5=");
    Stored(first, "i");
    EXPECT_EQ(Listed(), "RVQFile1=a|RVQFile2=b|RVQFile3=g|RVQFile4=i|RVQFile5=h|RVQFile6=");

    UnwrittenFile unwritten;
    first.Delete(1, unwritten);
    Stored(second, "j");
    Stored(second, "j");
    EXPECT_EQ(Listed(), "RVQFile1=b|RVQFile2=h|RVQFile3=j|RVQFile4=g|RVQFile5=i|RVQFile6=") << "a is not back";
    Stored(second, "a");
    EXPECT_EQ(Listed(), "RVQFile1=a|RVQFile2=b|RVQFile3=h|RVQFile4=j|RVQFile5=g|RVQFile6=i|RVQFile7=")
        << "saved on purpose it is";
}

TEST_F(ConfigFolder, AListThatCouldNotBeReadIsAddedTo)
{
    const std::string a = Put("a", "[RVQ]\nDescription=A\n");
    std::filesystem::create_symlink("/proc/self/mem", iniFile); // no byte of this file can be read
    clsConfigLibrary library = Built();
    EXPECT_EQ(library.Size(), 1U);
    EXPECT_EQ(Stored(library, "b"), "RVQ.ini");
    std::filesystem::remove(iniFile);
    Put("RVQ.ini", "[FILES]\nRVQFile1=" + a + "\nRVQFile2=\n");
    EXPECT_EQ(Stored(library, "b"), "");
    EXPECT_EQ(Listed(), "RVQFile1=b|RVQFile2=a|RVQFile3=");
}

TEST_F(ConfigFolder, AFileThatAnotherProgramHasWrittenIsNoticed)
{
    clsConfigLibrary first = Built(), second = Built();
    Stored(first, "b");
    EXPECT_FALSE(first.HasChangedOnDisk(1));
    ASSERT_EQ(second.Import(folder / "b"), 1U);
    second.Entry(1).Parameters.Offset = 5;
    EXPECT_FALSE(second.Store(1, "of the second").why);
    EXPECT_FALSE(second.HasChangedOnDisk(1));
    EXPECT_TRUE(first.HasChangedOnDisk(1));
    EXPECT_TRUE(first.ReadAgain(1));
    EXPECT_EQ(first.Entry(1).Parameters.Offset, 5);
    EXPECT_EQ(first.Entry(1).Description, "of the second");
    EXPECT_FALSE(first.HasChangedOnDisk(1));
    std::filesystem::remove(folder / "b");
    EXPECT_FALSE(first.HasChangedOnDisk(1)) << "there is nothing to be overwritten";
}

} // namespace
