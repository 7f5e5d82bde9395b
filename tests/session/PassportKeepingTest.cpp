// What a session notes in the passport of its sensor, and what it does not.
#include "sensor/modRVQComm.h"
#include "session/clsWriteKeeper.h"
#include "store/clsPortSensors.h"
#include "tests/support/FullDisk.h"
#include "tests/support/MeasuringSite.h"

#include <gtest/gtest.h>
#include <optional>

namespace {

constexpr double kNow = 46000.5;

struct Keeping {
    TemporaryFolder folder;
    clsWriteKeeper keeper;
    double now = kNow;
    std::optional<clsPortSensors> shared;

    /// With `isShared`, the sessions of one program.
    explicit Keeping(bool isShared = false)
    {
        if (isShared) {
            shared.emplace(folder.path / "PASSPORT");
        }
        Begin();
    }
    /// The program is started again, or there is another session.
    void Begin()
    {
        keeper = {};
        keeper.Keep({.passports = folder.path / "PASSPORT",
                     .user = "anna",
                     .version = "1.0",
                     .portSensors = shared ? &*shared : nullptr});
    }
    void Connect(const std::string& serialNo, const std::string& version = "4.2", const std::string& hardware = "off",
                 const std::string& port = "COM 1")
    {
        SensorIdentity sensor;
        sensor.SerialNo = serialNo;
        sensor.SWVersion = version;
        sensor.HWPointer = hardware;
        keeper.NoteIdentity(sensor, {}, port, now += 0.001);
    }
    std::vector<modPassport::Entry> Entries(std::string_view serialNo) const
    {
        std::vector<modPassport::Entry> entries;
        modPassport::Read(modPassport::FileOf(folder.path / "PASSPORT", serialNo),
                          [&](const modPassport::Entry& entry) {
                              entries.push_back(entry);
                              return true;
                          });
        return entries;
    }
};

class PassportKeepingAlike : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(AloneAndShared, PassportKeepingAlike, testing::Bool());

TEST_P(PassportKeepingAlike, OnlyAnotherIdentityOrAnotherSensorOnThePortMakesALine)
{
    Keeping keeping(GetParam());
    struct Step {
        bool starts; ///< the program is started again before
        const char *serialNo, *version, *hardware, *port;
        std::size_t lines;    ///< of this sensor afterwards
        const char* replaced; ///< by the newest of them
    };
    for (const Step& step : {
             Step{true, "11", "4.2", "off", "COM 1", 1, ""},
             {false, "11", "4.2", "laser on", "COM 1", 1, ""},
             {true, "11", "4.2", "off", "COM 1", 1, ""},
             {false, "11", "4.3", "off", "COM 1", 2, ""},
             {false, "12\xDC", "4.3", "off", "COM 1", 1, "11"},
             {false, "11", "4.3", "off", "COM 1", 3, "12Ü"},
             {true, "12\xDC", "4.3", "off", "COM 1", 2, "11"},
             {false, "12\xDC", "4.3", "off", "COM 2", 2, "11"},
             {false, "13", "4.3", "off", "COM 1", 1, "12Ü"},
         }) {
        if (step.starts) {
            keeping.Begin();
        }
        for (int dump = 0; dump < 2; ++dump) {
            keeping.Connect(step.serialNo, step.version, step.hardware, step.port);
        }
        const auto entries = keeping.Entries(step.serialNo);
        const std::string where = std::string(step.serialNo) + ' ' + step.version + ' ' + step.port;
        ASSERT_EQ(entries.size(), step.lines) << where;
        EXPECT_EQ(entries.back().replaced, step.replaced) << where;
        EXPECT_EQ(entries.back().identity.SWVersion, step.version) << where;
    }
}

TEST(PassportKeeping, ADamagedDumpIsNoOtherSensor)
{
    Keeping keeping;
    keeping.Connect("4711");
    for (const bool starts : {false, true}) {
        if (starts) {
            keeping.Begin();
        }
        keeping.Connect("4712");
        keeping.Connect("4711", "4.8");
        keeping.Connect("4711");
        keeping.Connect("4712");
        EXPECT_EQ(modPassport::List(keeping.folder.path / "PASSPORT").size(), 1U);
        EXPECT_EQ(keeping.Entries("4711").size(), 1U);
    }
    keeping.Connect("4712");
    EXPECT_EQ(keeping.Entries("4712").size(), 1U) << "two dumps agree";
}

WriteReport reportOf(WriteKind kind, WriteResult result)
{
    WriteReport report{.kind = kind, .serialNo = "11", .time = kNow, .isReadBack = true, .result = result};
    report.values = {{&RowOf(&ParameterSet::Offset), 0, 15, 14, ValueOutcome::Rounded},
                     {&RowOf(&ParameterSet::OutputFormat), 1, 2, std::nullopt, ValueOutcome::Unknown}};
    report.after.Offset = 14;
    return report;
}

TEST(PassportKeeping, AWriteIsNotedWithWhatBecameOfIt)
{
    Keeping keeping;
    keeping.Connect("11");
    keeping.keeper.Note(reportOf(WriteKind::Defaults, WriteResult::Differs), "COM 3");
    WriteReport stranger = reportOf(WriteKind::Single, WriteResult::Failed);
    stranger.isSameSensor = false;
    keeping.keeper.Note(stranger, "");
    const auto entries = keeping.Entries("11");
    ASSERT_EQ(entries.size(), 3U);
    const std::vector<modPassport::Change> changes{{"701", "0", "15", "14"},
                                                   {"101", "ASCII+UNIT", "BINARY", std::nullopt}};
    EXPECT_EQ(entries[1].changes, changes);
    EXPECT_EQ(entries[1].event, modPassport::Event::Defaults);
    EXPECT_EQ(entries[1].result + entries[1].user + entries[1].version + entries[1].port, "differsanna1.0COM 1")
        << "as the identity has it";
    ASSERT_TRUE(entries[1].set);
    EXPECT_EQ(entries[1].set->Offset, 14);
    EXPECT_EQ(entries[2].result + entries[2].port, "failedCOM 1");
    EXPECT_FALSE(entries[2].set) << "what another sensor has read back is no state of this one";
}

TEST(PassportKeeping, WhatFindsNoRoomIsToldAndFollowsInOrder)
{
    Keeping keeping;
    {
        const FullDisk disk;
        keeping.Connect("11");
        keeping.keeper.Note(reportOf(WriteKind::Send, WriteResult::Verified), "");
        EXPECT_EQ(keeping.keeper.PassportFailure(), std::errc::file_too_large);
    }
    EXPECT_TRUE(keeping.Entries("11").empty());
    keeping.keeper.Note(reportOf(WriteKind::Undo, WriteResult::Verified), "");
    EXPECT_FALSE(keeping.keeper.PassportFailure());
    const auto entries = keeping.Entries("11");
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].event, modPassport::Event::Identity);
    EXPECT_EQ(entries[1].event, modPassport::Event::Send);
    EXPECT_EQ(entries[2].event, modPassport::Event::Undo);
}

TEST(PassportKeeping, APassportThatCannotBeWrittenKeepsNoOther)
{
    Keeping keeping;
    const auto file = modPassport::FileOf(keeping.folder.path / "PASSPORT", "11");
    std::filesystem::create_directories(file);
    keeping.Connect("11");
    keeping.Connect("12", "4.2", "off", "COM 2");
    EXPECT_TRUE(keeping.keeper.PassportFailure()) << "of the other sensor";
    EXPECT_EQ(keeping.Entries("12").size(), 1U);
    std::filesystem::remove(file);
    keeping.keeper.Note(reportOf(WriteKind::Send, WriteResult::Verified), "");
    EXPECT_FALSE(keeping.keeper.PassportFailure());
    EXPECT_EQ(keeping.Entries("11").size(), 2U);
}

TEST(PassportKeeping, ASessionNotesItsSensorOnceHoweverOftenItsLaserIsSwitched)
{
    MeasuringSite site;
    site.session.Writes().Keep({.passports = site.folder.path / "PASSPORT"});
    site.session.Origin = [] {
        RecordingInfo info;
        info.port = "COM 7";
        return info;
    };
    ASSERT_TRUE(site.Measures(10));
    site.session.Device().StopMeasurement();
    site.Run(2);
    for (const bool on : {true, false}) {
        site.session.Device().SwitchLaser(on);
        site.Run(2);
    }
    // What a write reads is not noted before the write itself knows it to be true; nor is a port that was opened again
    // a reason to undo what a sensor without a number was sent.
    {
        const modRVQComm::WaitScope wait(site.session.Device());
        for (const char* serialNo : {"004799", "004799", "004711"}) {
            site.line->model.SetSerialNo(serialNo);
            site.session.Device().SendCommand(Request::Configuration);
            site.Run(2);
            EXPECT_EQ(site.session.Device().Identity().SerialNo, serialNo);
        }
    }
    WriteReport write = reportOf(WriteKind::Send, WriteResult::Verified);
    write.serialNo.clear();
    site.session.Writes().Keep({});
    site.session.Writes().Note(write, "");
    site.Run(1);
    EXPECT_NE(site.session.Writes().Undoable(""), nullptr);
    site.session.Loop().ChangePort();
    site.Run(2);
    EXPECT_EQ(site.session.Writes().Undoable(""), nullptr);
    const auto files = modPassport::List(site.folder.path / "PASSPORT");
    ASSERT_EQ(files.size(), 1U);
    std::vector<std::string> ports;
    modPassport::Read(files.front(), [&](const modPassport::Entry& entry) {
        EXPECT_EQ(entry.identity.SerialNo, site.session.SerialNo());
        EXPECT_EQ(entry.set, site.session.Device().Parameters());
        ports.push_back(entry.port);
        return true;
    });
    EXPECT_EQ(ports, std::vector<std::string>{"COM 7"});
}

} // namespace
