// What becomes of every value of a recording: a slow disk, several files, chosen names, and the account.
#include "base/Days.h"
#include "sensor/Crc16.h"
#include "session/clsSession.h"
#include "simulator/clsSensorModel.h"
#include "store/clsRecordReader.h"
#include "store/modGlobals.h"
#include "store/modSidecar.h"
#include "tests/support/MeasuringSite.h"
#include "tests/support/PlayedLine.h"
#include "tests/support/ScriptedSensor.h"
#include "tests/support/Settle.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <cmath>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <thread>
#include <tuple>
#include <vector>

namespace {

constexpr char kTemperature[] = "23 C,  OK";
constexpr std::chrono::seconds kPatience{10};
constexpr std::size_t kLineLength = 41; // of a distance of four digits

/// The n-th value: its number is its distance.
Measurement valueOf(std::int32_t number, double time)
{
    return {.value = 1.0 * number, .value_mm = number, .unit = 0, .outputFormat = 1, .time = time};
}

/// The distances in a file, in their order.
std::vector<std::int32_t> distancesIn(const std::filesystem::path& file)
{
    std::vector<std::int32_t> distances;
    clsRecordReader reader(file);
    for (RecordStep step = reader.Next(); step != RecordStep::End; step = reader.Next()) {
        distances.push_back(step == RecordStep::Value ? reader.Value().value_mm : -1);
    }
    return distances;
}

/// The names of all files of a folder, in alphabetical order.
std::string namesIn(const std::filesystem::path& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.insert(entry.path().filename());
    }
    std::string all;
    for (const std::string& name : names) {
        all += (all.empty() ? "" : "|") + name;
    }
    return all;
}

/// A number of the sidecar beside a recording; -1 when it has none.
std::int64_t figureOf(const std::filesystem::path& recording, const std::string& key)
{
    const std::string text = TemporaryFolder::Read(modSidecar::SidecarOf(recording));
    const auto at = text.find('"' + key + '"');
    return at == std::string::npos ? -1 : std::atoll(text.c_str() + text.find(':', at) + 1);
}

TEST(Recording, HasNoLineBeforeAnotherUnlessTheClockWasSet)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path);
    recorder.StartRecording();
    constexpr double kNoon = 46000.5;
    for (const double ms : {0.0, 50.0, 40.0, 70.0, -3600000.0, -3599990.0}) {
        recorder.Record(valueOf(1234, kNoon + ms / kMsPerDay), kTemperature);
    }
    recorder.Stop();
    ASSERT_TRUE(recorder.FinishWriting(kPatience));
    std::vector<double> times;
    clsRecordReader reader(recorder.FileName);
    while (reader.Next() == RecordStep::Value) {
        times.push_back(std::round((reader.Value().time - kNoon) * kMsPerDay));
    }
    ASSERT_EQ(times.size(), 6U);
    EXPECT_EQ(times[2], times[1]);
    EXPECT_GT(times[3], times[2]);
    EXPECT_NEAR(times[4], -3600000.0, 1.0);
    EXPECT_GT(times[5], times[4]);
}

TEST(Recording, GoesOnInAnotherFileWithoutLosingAValue)
{
    constexpr double kNight = 46341.0;
    struct Row {
        const char* name;
        RecordPlan plan;
        double step_s; // between two values
        std::vector<std::size_t> lines;
    };
    // Ten values, the sixth at midnight.
    for (const auto& [name, plan, step_s, lines] :
         {Row{"one", {}, 1800, {10}}, Row{"hourly", {{}, PartsHourly, 0}, 1200, {2, 3, 3, 2}},
          Row{"daily", {{}, PartsDaily, 0}, 1800, {5, 5}},
          Row{"by size", {{}, PartsBySize, 3 * kLineLength + 5}, 1, {3, 3, 3, 1}},
          Row{"smaller than a line", {{}, PartsBySize, 1}, 1, std::vector<std::size_t>(10, 1)},
          Row{"the clock is set back by a moment", {{}, PartsDaily, 0}, -0.0001, {10}}}) {
        const TemporaryFolder folder;
        clsRecorder recorder(folder.path);
        recorder.StartRecording(plan);
        std::vector<Measurement> values;
        for (std::int32_t i = 0; i < 10; ++i) {
            values.push_back(valueOf(1000 + i, kNight + (i - 5) * step_s / kSecondsPerDay));
        }
        recorder.Record(std::span(values).first(4), kTemperature);
        recorder.Record(std::span(values).subspan(4), kTemperature);
        recorder.Stop();
        ASSERT_TRUE(recorder.FinishWriting(kPatience));
        std::int32_t next = 1000;
        for (std::size_t part = 0; part < lines.size(); ++part) {
            const auto number = std::to_string(part + 1);
            const auto file = folder.path / ("SAVE" + std::string(4 - number.size(), '0') + number + ".rec");
            const std::vector<std::int32_t> found = distancesIn(file);
            EXPECT_EQ(found.size(), lines[part]) << name << ", file " << number;
            for (const std::int32_t distance : found) {
                EXPECT_EQ(distance, next++) << name;
            }
        }
        EXPECT_EQ(next, 1010) << name;
        EXPECT_EQ(recorder.TakeCounts().recorded, 10) << name;
    }
}

TEST(Recording, CreatesAVanishedFolderAgainForItsNextFileOrSaysThatItCannot)
{
    for (const bool canCreate : {true, false}) {
        const TemporaryFolder folder;
        const auto place = folder.path / "REC";
        clsRecorder recorder(place);
        recorder.StartRecording({.parts = PartsDaily});
        recorder.Record(valueOf(1, 100.5), kTemperature);
        ASSERT_TRUE(Settled(recorder));
        std::filesystem::rename(place, folder.path / "moved");
        if (!canCreate) {
            folder.Write("REC", "a file in the folder's place");
        }
        recorder.Record(std::vector(3, valueOf(2, 101.5)), kTemperature);
        ASSERT_TRUE(Settled(recorder));
        recorder.Stop();
        ASSERT_TRUE(recorder.FinishWriting(kPatience));
        EXPECT_EQ(distancesIn(folder.path / "moved/SAVE0001.rec"), std::vector<std::int32_t>{1});
        EXPECT_EQ(recorder.Failure(), canCreate ? std::error_code() : std::make_error_code(std::errc::not_a_directory));
        EXPECT_EQ(recorder.Lines(), canCreate ? 4 : 1);
        const RecordCounts counts = recorder.TakeCounts();
        EXPECT_EQ(std::tuple(counts.recorded, counts.unwritten), canCreate ? std::tuple(4, 0) : std::tuple(1, 3));
    }
}

TEST(Recording, OfAChosenNameNeverTouchesWhatHasTheNameAlready)
{
    const TemporaryFolder folder;
    folder.Write("Test.rec", "kept");
    folder.Write("Test (2).json", "somebody's");
    clsRecorder recorder(folder.path);
    const auto record = [&](const RecordPlan& plan) {
        recorder.StartRecording(plan);
        recorder.Record(valueOf(1, 100.5), kTemperature);
        recorder.Record(valueOf(2, 101.5), kTemperature);
        recorder.Stop();
        EXPECT_TRUE(recorder.FinishWriting(kPatience));
    };
    record({.name = "Test", .parts = PartsDaily});
    EXPECT_EQ(namesIn(folder.path), "Test (2).json|Test (3).rec|Test (4).rec|Test.rec");
    recorder.Describe = [](const clsRecorder::Period&) { return RecordingInfo(); };
    recorder.Flush(100.5);
    record({});
    EXPECT_EQ(recorder.Rename("Test"), std::error_code());
    EXPECT_EQ(recorder.FileName, folder.path / "Test (5).rec");
    EXPECT_EQ(namesIn(folder.path), "Test (2).json|Test (3).rec|Test (4).rec|Test (5).json|Test (5).rec|Test.rec");
    EXPECT_EQ(TemporaryFolder::Read(folder.path / "Test.rec"), "kept");
    EXPECT_EQ(TemporaryFolder::Read(folder.path / "Test (2).json"), "somebody's");
    EXPECT_EQ(distancesIn(recorder.FileName), (std::vector<std::int32_t>{1, 2}));
    std::filesystem::remove(recorder.FileName);
    EXPECT_EQ(recorder.Rename("Other"), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(std::filesystem::exists(folder.path / "Other.rec"));
}

TEST(RecordFile, KnowsWhatAFileCanBeCalled)
{
    for (const auto& [name, isName] : {std::pair("Halle 3, Tor 2 (außen)", true),
                                       {"", false},
                                       {"a/b", false},
                                       {"a:b", false},
                                       {"a\tb", false},
                                       {".hidden", false},
                                       {"end.", false},
                                       {" a", false},
                                       {"a ", false},
                                       {"..", false},
                                       {"a.b", true}}) {
        EXPECT_EQ(clsRecordFile::IsName(name), isName) << name;
    }
    EXPECT_TRUE(clsRecordFile::IsName(std::string(clsRecordFile::kLongestName, 'a')));
    EXPECT_FALSE(clsRecordFile::IsName(std::string(clsRecordFile::kLongestName + 1, 'a')));
}

std::atomic<bool> diskIsStuck = false;

ssize_t writeWhenFree(int descriptor, const void* bytes, std::size_t count)
{
    for (int i = 0; i < 10000 && diskIsStuck; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return write(descriptor, bytes, count);
}

TEST(Recording, OfAStuckDiskWaitsInMemoryAndStopsWithWholeLinesWhenThatIsFull)
{
    constexpr std::int32_t kFit = 5000;
    const TemporaryFolder folder;
    diskIsStuck = true;
    clsRecorder recorder(folder.path, {.write = writeWhenFree, .room = kFit * kLineLength});
    recorder.Describe = [](const clsRecorder::Period&) { return RecordingInfo(); };
    recorder.Flush(100.5);
    recorder.StartRecording();
    const auto start = std::chrono::steady_clock::now();
    std::int32_t given = 0;
    while (recorder.Mode == RecorderRecording && given < 2 * kFit) {
        recorder.Record(valueOf(1000 + given++, 100.5), kTemperature);
        recorder.Flush(100.5);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << "nobody waits for the disk";
    EXPECT_EQ(given, kFit + 1);
    EXPECT_EQ(recorder.Failure(), std::errc::no_buffer_space);
    EXPECT_TRUE(recorder.IsWriting());
    diskIsStuck = false;
    ASSERT_TRUE(recorder.FinishWriting(kPatience));
    const std::vector<std::int32_t> found = distancesIn(recorder.FileName);
    ASSERT_EQ(found.size(), static_cast<std::size_t>(kFit)) << "all that waited is written";
    EXPECT_EQ(found.back(), 1000 + kFit - 1);
    const RecordCounts counts = recorder.TakeCounts();
    EXPECT_EQ(std::tuple(counts.recorded, counts.unwritten), std::tuple(kFit, 1));
    EXPECT_EQ(figureOf(recorder.FileName, "recorded"), kFit);
    EXPECT_EQ(figureOf(recorder.FileName, "unwritten"), 1);
}

TEST(Recording, ThatFailsLateCountsWhatNeverReachedTheFile)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path, {.write = [](int descriptor, const void* bytes, std::size_t count) {
                             const off_t size = lseek(descriptor, 0, SEEK_END);
                             if (size >= 1000) {
                                 errno = ENOSPC;
                                 return ssize_t{-1};
                             }
                             return write(descriptor, bytes, std::min<std::size_t>(count, 1000));
                         }});
    recorder.Describe = [](const clsRecorder::Period&) { return RecordingInfo(); };
    recorder.Flush(100.5);
    recorder.StartRecording({.parts = PartsDaily});
    recorder.Record(std::vector(10, valueOf(1000, 100.5)), kTemperature);
    recorder.Record(std::vector(90, valueOf(1000, 101.5)), kTemperature);
    recorder.Record(std::vector(30, valueOf(1000, 102.5)), kTemperature);
    const std::string first = recorder.FileName;
    ASSERT_TRUE(Settled(recorder));
    ASSERT_TRUE(recorder.FinishWriting(kPatience));
    EXPECT_EQ(recorder.Failure(), std::errc::no_space_on_device);
    const RecordCounts counts = recorder.TakeCounts();
    EXPECT_EQ(std::tuple(counts.recorded, counts.unwritten),
              std::tuple(10 + 1000 / kLineLength, 130 - 10 - 1000 / kLineLength));
    EXPECT_EQ(recorder.Lines(), 10 + 1000 / kLineLength);
    EXPECT_EQ(distancesIn(folder.path / "SAVE0002.rec").size(), 1000 / kLineLength);
    EXPECT_EQ(figureOf(first, "recorded"), 10) << "each sidecar counts its own file";
    EXPECT_EQ(figureOf(folder.path / "SAVE0002.rec", "recorded"), 1000 / kLineLength);
    EXPECT_EQ(namesIn(folder.path), "SAVE0001.json|SAVE0001.rec|SAVE0002.json|SAVE0002.rec");
}

/// Waits for something that another thread does; false after ten seconds.
bool comes(const std::function<bool()>& isThere)
{
    for (int i = 0; i < 5000 && !isThere(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return isThere();
}

TEST(Recording, GoesOnWithoutASidecarThatCannotBeWritten)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path);
    recorder.Describe = [](const clsRecorder::Period&) { return RecordingInfo(); };
    recorder.Flush(100.5);
    recorder.StartRecording({.parts = PartsDaily});
    const auto sidecar = folder.path / "SAVE0001.json";
    ASSERT_TRUE(comes([&] { return std::filesystem::exists(sidecar); }));
    std::filesystem::remove(sidecar);
    std::filesystem::create_directories(sidecar / "in its place");
    recorder.Record(valueOf(1, 100.5), kTemperature);
    recorder.Record(valueOf(2, 101.5), kTemperature);
    ASSERT_TRUE(Settled(recorder));
    EXPECT_EQ(recorder.Mode, RecorderRecording);
    recorder.Record(valueOf(3, 101.5), kTemperature);
    recorder.Stop();
    ASSERT_TRUE(recorder.FinishWriting(kPatience));
    EXPECT_EQ(distancesIn(folder.path / "SAVE0002.rec"), (std::vector<std::int32_t>{2, 3}));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "SAVE0002.json"));
    EXPECT_FALSE(recorder.Failure());
    const auto late = recorder.TakeLateFailures();
    ASSERT_EQ(late.size(), 1U);
    EXPECT_EQ(late[0].file, sidecar);
    EXPECT_TRUE(late[0].error);
}

TEST(Recording, WithoutALineLeavesNeitherFileNorSidecar)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path);
    recorder.Describe = [](const clsRecorder::Period&) { return RecordingInfo(); };
    recorder.StartRecording(); // as with --record, before the first tick
    recorder.Flush(100.5);
    EXPECT_TRUE(comes([&] { return namesIn(folder.path) == "SAVE0001.json|SAVE0001.rec"; }))
        << "both are there from the start";
    recorder.Stop();
    ASSERT_TRUE(recorder.FinishWriting(kPatience));
    EXPECT_EQ(namesIn(folder.path), "");
    EXPECT_FALSE(recorder.CanRename());
}

TEST(Recording, TellsItsFiguresWhateverTheClockDoes)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path);
    double now = 100.5;
    recorder.Flush(now);
    recorder.StartRecording();
    const auto run = [&](int seconds, bool arrive) {
        for (int tick = 0; tick < 20 * seconds; ++tick) {
            recorder.Flush(now += 0.05 / kSecondsPerDay);
            if (arrive) {
                recorder.Record(std::vector(3, valueOf(1000, now)), kTemperature);
            }
        }
    };
    run(5, false);
    EXPECT_EQ(recorder.Figures().rate, std::nullopt);
    run(2, true);
    EXPECT_NEAR(recorder.Figures().rate.value_or(0), 60.0, 0.01) << "from the start: whole ticks, and their lines";
    run(28, true);
    EXPECT_NEAR(recorder.Figures().rate.value_or(0), 60.0, 0.01);
    EXPECT_LT(recorder.Figures().silence_s, 0.1);
    now += 1.0 / 24; // summer time begins
    run(12, false);
    now -= 1.0 / 24;
    recorder.Flush(now);
    EXPECT_NEAR(recorder.Figures().duration_s, 47.0, 0.2);
    EXPECT_NEAR(recorder.Figures().silence_s, 12.0, 0.2);
    EXPECT_NEAR(recorder.Figures().rate.value_or(-1), 0.0, 0.5);
}

std::string withCrc(std::string bytes)
{
    const std::uint16_t crc = Crc16(bytes, 0xFFFFFFFF);
    bytes += static_cast<char>(crc & 0xFF);
    bytes += static_cast<char>(crc >> 8);
    return bytes;
}

/// A sensor that sends three values in each tick.
struct FastLine : PlayedLine {
    std::int32_t next = 1000;
    bool measures = false;

    void sent(char command) override
    {
        if (command == 'X') {
            Arriving += "Sensor ready\r\n";
        } else if (command == 'C') {
            Arriving +=
                "Type: Serial\r\nSerial-No: 1\r\nTemperature: 23 C,  OK\r\n101: 3\r\n111: 0\r\n603: 0\r\nend\r\n";
        } else if (command == 'T') {
            Arriving += withCrc({23, 1});
        }
        measures = command == 'M' || (measures && command != 'S' && command != 'X');
    }
    void Pour()
    {
        for (int i = 0; measures && i < 3; ++i) {
            const auto bits = static_cast<std::uint32_t>(next++);
            Arriving += withCrc({static_cast<char>(bits), static_cast<char>(bits >> 8), 0, 0});
        }
    }
};

/// How many values the session has reported, and how many of them as the newest of a tick.
struct Reported : SessionListener {
    std::int64_t samples = 0, newest = 0;

    void Sampled(std::span<const Measurement> all, std::string_view) override { samples += std::ssize(all); }
    void Measured(const Measurement&, std::string_view) override { ++newest; }
};

TEST(Session, CountsEachValueOfARecordingExactlyOnceHoweverTheBoxIsSwitched)
{
    const TemporaryFolder folder;
    auto* line = new FastLine;
    modGlobals::Settings settings;
    clsSession session(std::unique_ptr<SerialPort>(line), settings, folder.path, '.');
    session.Loop().MeasureWhenConnected();
    double now = ScriptedSensor::kStart;
    const auto run = [&](int ticks) {
        for (int tick = 0; tick < ticks; ++tick) {
            line->Pour();
            now += 0.05 / kSecondsPerDay;
            session.ServeFiles(now);
            session.Tick(now);
        }
    };
    run(100);
    const AccountFigures before = session.Loop().Account().Figures();
    ASSERT_GT(before.valid, 20);
    EXPECT_EQ(before.recorded + before.passedOver + before.unwritten, 0) << "nothing is recorded yet";
    Reported reported;
    session.Listen(reported);
    session.StartRecording();
    std::int64_t recorded = 0;
    for (const bool every : {true, false, true, false}) {
        settings.EveryValue = every;
        const AccountFigures then = session.Loop().Account().Figures();
        reported.samples = reported.newest = 0;
        run(40);
        const AccountFigures& figures = session.Loop().Account().Figures();
        EXPECT_EQ(figures.recorded - then.recorded, every ? reported.samples : reported.newest);
        EXPECT_EQ(figures.passedOver - then.passedOver, every ? 0 : reported.samples - reported.newest);
        EXPECT_GT(reported.newest, 20);
        recorded = figures.recorded;
    }
    session.Recorder().Stop();
    ASSERT_TRUE(session.FinishWriting(kPatience));
    const AccountFigures& figures = session.Loop().Account().Figures();
    EXPECT_TRUE(figures.AddUp());
    EXPECT_EQ(figures.recorded + figures.passedOver + figures.unwritten, figures.Understood() - before.Understood());
    const std::vector<std::int32_t> found = distancesIn(session.Recorder().FileName);
    EXPECT_EQ(static_cast<std::int64_t>(found.size()), recorded);
    EXPECT_EQ(found.size(), std::set(found.begin(), found.end()).size()) << "none twice";
    EXPECT_TRUE(std::is_sorted(found.begin(), found.end()));
    EXPECT_EQ(figureOf(session.Recorder().FileName, "recorded"), recorded);
    EXPECT_EQ(figureOf(session.Recorder().FileName, "received"), figures.received - before.received);
    session.Leave(reported);
}

/// What stands beside a recording.
RecordingInfo infoOf(const std::filesystem::path& recording)
{
    std::error_code why;
    return modSidecar::Read(modSidecar::SidecarOf(recording), why).value_or(RecordingInfo());
}

TEST(Session, EachFileOfARecordingAddsUpExactly)
{
    for (const auto& [every, parts] :
         {std::pair{true, PartsHourly}, {false, PartsHourly}, {true, PartsBySize}, {false, PartsBySize}}) {
        const std::string row =
            std::string(every ? "every value" : "one a tick") + (parts == PartsHourly ? ", hourly" : ", by size");
        MeasuringSite site;
        site.settings.EveryValue = every;
        site.clock_days = 3585.0 / kSecondsPerDay; // 15 s before the full hour
        ASSERT_NO_FATAL_FAILURE(site.Run(8)) << row;
        site.session.Recorder().StartRecording({.parts = parts, .partBytes = 100 * kLineLength});
        ASSERT_NO_FATAL_FAILURE(site.Run(15)) << row;
        site.session.Recorder().Stop();
        ASSERT_TRUE(site.session.FinishWriting(kPatience));
        std::int64_t found = 0;
        for (const auto& entry : std::filesystem::directory_iterator(site.folder.path)) {
            const std::filesystem::path& part = entry.path();
            if (part.extension() != ".rec") {
                continue;
            }
            ++found;
            const AccountFigures figures = infoOf(part).account;
            EXPECT_TRUE(figures.AddUpExactly()) << row << ", " << part.filename();
            EXPECT_EQ(figures.recorded, std::ssize(distancesIn(part))) << row << ", " << part.filename();
            EXPECT_EQ(figures.passedOver > 0, !every) << row;
        }
        EXPECT_GE(found, 2) << row;
    }
}

TEST(Session, ASidecarNamesTheSensorOnceItIsKnown)
{
    MeasuringSite site;
    const auto sidecar = site.folder.path / "SAVE0001.json";
    const auto isKnown = [&] { return infoOf(sidecar).isSensorKnown; };
    site.line->model.SetParameter("111", 3);
    site.line->Pulled = true;
    site.session.StartRecording();
    site.Run(1);
    ASSERT_TRUE(comes([&] { return std::filesystem::exists(sidecar); }));
    EXPECT_FALSE(isKnown());
    site.line->Pulled = false;
    site.Run(10);
    EXPECT_TRUE(comes(isKnown)) << "while the recording runs";
    EXPECT_EQ(infoOf(sidecar).parameters.DistanceUnit, 3);
    EXPECT_FALSE(infoOf(sidecar).end);
    EXPECT_GT(site.account.Recording().recorded, 20) << "the recording has not begun again";
    const std::string serial = infoOf(sidecar).sensor.SerialNo;
    EXPECT_EQ(serial, site.session.SerialNo());
    site.line->Pulled = true;
    site.Run(1);
    site.line->Pulled = false;
    site.Run(0.2); // not asked yet who it is
    site.session.Recorder().Stop();
    ASSERT_TRUE(site.session.FinishWriting(kPatience));
    EXPECT_EQ(infoOf(sidecar).sensor.SerialNo, serial);
}

TEST(Session, AnotherSensorBeginsAnotherFile)
{
    for (const bool every : {true, false}) {
        MeasuringSite site;
        site.settings.EveryValue = every;
        site.session.StartRecording();
        site.Run(10);
        site.line->Pulled = true;
        site.Run(1);
        site.line->model.SetSerialNo("000815");
        site.line->Pulled = false;
        site.Run(10);
        site.session.Recorder().Stop();
        ASSERT_TRUE(site.session.FinishWriting(kPatience));
        EXPECT_EQ(namesIn(site.folder.path), "SAVE0001.json|SAVE0001.rec|SAVE0002.json|SAVE0002.rec");
        const RecordingInfo first = infoOf(site.folder.path / "SAVE0001.rec");
        const RecordingInfo second = infoOf(site.folder.path / "SAVE0002.rec");
        EXPECT_EQ(first.sensor.SerialNo + second.sensor.SerialNo, "004711000815");
        EXPECT_TRUE(first.account.AddUpExactly() && second.account.AddUpExactly());
    }
}

TEST(Session, ASidecarSaysWhereTheValuesOfItsFileComeFrom)
{
    MeasuringSite site;
    std::string port = "A";
    site.session.Origin = [&] {
        RecordingInfo info;
        info.port = port;
        return info;
    };
    site.settings.NewFile = PartsHourly;
    site.clock_days = 3580.0 / kSecondsPerDay; // 20 s before the full hour
    site.session.Simulated(true);
    site.session.StartRecording();
    site.Run(0.1);
    port = "B";
    site.session.Simulated(false);
    site.Run(10);
    const auto first = site.folder.path / "SAVE0001.rec";
    EXPECT_TRUE(comes([&] { return infoOf(first).port == "B"; })) << "of the first value";
    EXPECT_FALSE(infoOf(first).simulated);
    port = "C";
    site.session.Simulated(true);
    site.settings.EveryValue = false;
    site.Run(2);
    site.session.Simulated(false);
    site.settings.EveryValue = true;
    site.Run(10);
    site.session.Recorder().Stop();
    ASSERT_TRUE(site.session.FinishWriting(kPatience));
    for (const auto& [file, from, isMixed] :
         {std::tuple(first, "B", true), {site.folder.path / "SAVE0002.rec", "C", false}}) {
        const RecordingInfo info = infoOf(file);
        EXPECT_EQ(info.port, from) << file.filename();
        EXPECT_EQ(info.simulated, isMixed) << file.filename();
        EXPECT_EQ(info.everyValue, !isMixed) << file.filename();
    }
}

} // namespace
