// Recording, playing and exporting files, without a window.
#include "base/Days.h"
#include "session/clsRecorder.h"
#include "store/clsRecordReader.h"
#include "store/modCsvExport.h"
#include "store/modRecordLine.h"
#include "store/modSidecar.h"
#include "tests/support/Settle.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

namespace {

using modPlayback::LoadData;
using modPlayback::Outcome;

constexpr auto kGoOn = [](double) { return true; };

constexpr Measurement kValue{.value = 1.234, .value_mm = 1234, .unit = 1, .outputFormat = 1, .time = 46341.5};
constexpr char kTemperature[] = "23 C,  OK";
constexpr std::chrono::seconds kPatience{10};

struct Played {
    std::vector<Measurement> values;
    std::string shown; ///< "v" for a value, "|" for a gap
    std::unique_ptr<clsHistory> history = std::make_unique<clsHistory>();
    modPlayback::Loaded loaded;
};

Played play(const std::filesystem::path& file, const ParameterSet& set, std::vector<FileHandle>& open)
{
    Played played;
    const auto show = [&](std::span<const Measurement> measurements, double) {
        played.values.insert(played.values.end(), measurements.begin(), measurements.end());
        played.shown += std::string(measurements.size(), 'v');
    };
    const auto gap = [&](double) { played.shown += '|'; };
    const RecordPart whole{file, false};
    played.loaded = LoadData({&whole, 1}, set, {*played.history, show, gap, kGoOn}, open);
    return played;
}

Played play(const std::filesystem::path& file, const ParameterSet& set = {})
{
    std::vector<FileHandle> open;
    return play(file, set, open);
}

TEST(Recorder, TakesTheFirstFreeNameAndLeavesNoEmptyFile)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path / "REC");
    folder.Write("REC/SAVE0001.rec", "kept");
    folder.Write("REC/SAVE0003.rec", "kept");
    clsRecorder recorder(folder.path / "REC");
    recorder.StartRecording();
    EXPECT_EQ(recorder.FileName, folder.path / "REC/SAVE0002.rec");
    recorder.Record(kValue, kTemperature);
    recorder.Stop();
    recorder.FinishWriting(kPatience);
    EXPECT_EQ(TemporaryFolder::Read(recorder.FileName), "15.11.2026 12:00:00,000; 1234 mm; 23 \xB0\x43\r\n");
    recorder.StartRecording();
    EXPECT_EQ(recorder.FileName, folder.path / "REC/SAVE0004.rec");
    recorder.Stop();
    recorder.FinishWriting(kPatience);
    EXPECT_FALSE(std::filesystem::exists(recorder.FileName));
    for (int i = 1; i <= 32767; ++i) {
        const std::string digits = std::to_string(i);
        folder.Write(
            ("REC/SAVE" + std::string(digits.size() < 4 ? 4 - digits.size() : 0, '0') + digits + ".rec").c_str(), {});
    }
    EXPECT_THROW(recorder.StartRecording(), std::overflow_error);
    EXPECT_EQ(recorder.Mode, RecorderIdle);
}

TEST(Recorder, TellsTheTimesThatItsLinesHave)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path);
    std::vector<double> told;
    recorder.Writing = [&](const Measurement& measurement) {
        told.push_back(modRecordLine::TimeInLine(measurement.time));
    };
    recorder.StartRecording();
    std::vector<Measurement> values(5, kValue);
    const double after_ms[] = {0.0, 20.4, 15.6, 40.3, -3600000.0}; // a moment back, and an hour
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i].time += after_ms[i] / kMsPerDay;
    }
    recorder.Record(values, kTemperature);
    recorder.Stop();
    ASSERT_TRUE(recorder.FinishWriting(kPatience));
    std::vector<double> written;
    modRecordLine::clsLineParser parser;
    modRecordLine::RecordedValue value;
    std::istringstream lines(TemporaryFolder::Read(recorder.FileName));
    for (std::string line; std::getline(lines, line) && parser.Parse(line, value);) {
        written.push_back(value.time);
    }
    EXPECT_EQ(told, written);
    EXPECT_EQ(told.size(), 5u);
}

TEST(Recorder, AFullDiskStopsItAndKeepsWholeLines)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path);
    recorder.StartRecording();
    recorder.Record(kValue, kTemperature);
    ASSERT_TRUE(Settled(recorder));
    const std::string line = TemporaryFolder::Read(recorder.FileName);
    ASSERT_FALSE(line.empty()) << "a line is in the file at once";
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit room{line.size() * 5 / 2, before.rlim_max}; // room for two and a half lines
    setrlimit(RLIMIT_FSIZE, &room);
    recorder.Record(std::vector(3, kValue), kTemperature);
    EXPECT_TRUE(Settled(recorder));
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(recorder.Mode, RecorderIdle);
    EXPECT_EQ(recorder.Failure(), std::errc::file_too_large);
    EXPECT_TRUE(recorder.FinishWriting(kPatience));
    EXPECT_EQ(TemporaryFolder::Read(recorder.FileName), line + line) << "no half line stays";
    EXPECT_EQ(recorder.Lines(), 2);
    const RecordCounts counts = recorder.TakeCounts();
    EXPECT_EQ(std::pair(counts.recorded, counts.unwritten), std::pair(std::int64_t{2}, std::int64_t{2}));
}

TEST(Recorder, LeavesNoGapWhenSomebodyEmptiesTheFile)
{
    const TemporaryFolder folder;
    clsRecorder recorder(folder.path);
    recorder.StartRecording();
    recorder.Record(kValue, kTemperature);
    recorder.Record(kValue, kTemperature);
    ASSERT_TRUE(Settled(recorder));
    std::filesystem::resize_file(recorder.FileName, 0);
    recorder.Record(kValue, kTemperature);
    ASSERT_TRUE(Settled(recorder));
    EXPECT_EQ(TemporaryFolder::Read(recorder.FileName), modRecordLine::RecordLine(kValue, kTemperature));
}

std::atomic<bool> diskIsBusy = false;

std::error_code failLate(int)
{
    while (diskIsBusy) {
        usleep(1000);
    }
    return std::make_error_code(std::errc::io_error);
}

TEST(Recorder, ClosesInTheBackgroundAndReportsALaterFailure)
{
    const TemporaryFolder folder;
    diskIsBusy = true;
    clsRecorder recorder(folder.path, {.flush = failLate});
    recorder.StartRecording();
    recorder.Record(kValue, kTemperature);
    recorder.Stop();
    EXPECT_TRUE(recorder.IsWriting());
    const std::string first = recorder.FileName;
    recorder.StartRecording();
    recorder.Record(kValue, kTemperature);
    diskIsBusy = false;
    EXPECT_TRUE(recorder.FinishWriting(std::chrono::seconds(10)));
    EXPECT_EQ(recorder.TakeLateFailures().at(0).file, first);
    EXPECT_EQ(recorder.Mode, RecorderRecording) << "the other goes on";
    EXPECT_FALSE(recorder.Failure());
    recorder.Stop();
    EXPECT_TRUE(recorder.FinishWriting(std::chrono::seconds(10)));
    EXPECT_EQ(recorder.Failure(), std::errc::io_error);
    EXPECT_TRUE(recorder.TakeLateFailures().empty());
}

TEST(Recorder, KnowsTheFilesThatItHasOpenByAnyName)
{
    const TemporaryFolder folder;
    diskIsBusy = true;
    clsRecorder recorder(folder.path / "REC", {.flush = failLate});
    recorder.StartRecording();
    recorder.Record(kValue, kTemperature);
    const auto hard = folder.path / "hard.png", soft = folder.path / "soft.csv";
    std::filesystem::create_hard_link(recorder.FileName, hard);
    std::filesystem::create_symlink(recorder.FileName, soft);
    const auto areInUse = [&] { return recorder.IsInUse(hard) && recorder.IsInUse(soft); };
    EXPECT_TRUE(areInUse()) << "recorded";
    recorder.Stop();
    EXPECT_TRUE(areInUse()) << "written";
    diskIsBusy = false;
    recorder.FinishWriting(std::chrono::seconds(10));
    EXPECT_FALSE(recorder.IsInUse(hard) || recorder.IsInUse(soft));
    play(soft, {}, recorder.Played);
    EXPECT_TRUE(areInUse()) << "played";
}

std::atomic<int> flushes = 0;

TEST(RecordFile, ReachesTheDiskWithinFiveSeconds)
{
    const TemporaryFolder folder;
    flushes = 0;
    const RecordDisk disk{.flush = [](int) {
        ++flushes;
        return flushes == 3 ? std::make_error_code(std::errc::io_error) : std::error_code();
    }};
    clsRecordFile file({folder.path, {}}, disk);
    clsRecordFile::Clock::time_point now;
    std::error_code failure;
    // Whether this many flushes have happened after this many seconds; they run in the background.
    const auto flushesAfter = [&](int seconds, int expected) {
        const int ticks = 20 * seconds;
        for (int i = 0; i < ticks + 20 || (i < 10000 && flushes < expected); ++i) {
            now += std::chrono::milliseconds(i < ticks ? 50 : 0);
            failure = failure ? failure : file.FlushIfDue(now);
            usleep(1000);
        }
        return flushes == expected;
    };
    EXPECT_TRUE(flushesAfter(10, 0)) << "nothing to flush";
    file.Write("line\r\n", now);
    EXPECT_TRUE(flushesAfter(3, 0));
    EXPECT_TRUE(flushesAfter(2, 1));
    file.Write("line\r\n", now);
    EXPECT_TRUE(flushesAfter(1, 1));
    EXPECT_TRUE(flushesAfter(4, 2));
    EXPECT_FALSE(failure);
    file.Write("line\r\n", now);
    EXPECT_TRUE(flushesAfter(5, 3));
    for (int i = 0; i < 500 && !failure; ++i) {
        flushesAfter(0, 3);
    }
    EXPECT_EQ(failure, std::errc::io_error);
    EXPECT_FALSE(file.Close());
    EXPECT_EQ(flushes, 4) << "and when it is closed";
}

constexpr int kNotAllowed = 77;

/// Runs in a separate process: records on a disk of two pages until it is full. Returns 0 if that ends as it should.
int fillSmallDisk(const std::filesystem::path& folder)
{
    const bool alone = unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
    if (!alone || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=8k") != 0) {
        return kNotAllowed;
    }
    clsRecorder recorder(folder);
    recorder.StartRecording();
    recorder.Record(std::vector(1000, kValue), kTemperature);
    if (!Settled(recorder) || !recorder.FinishWriting(kPatience)) {
        return 1;
    }
    const std::size_t size = TemporaryFolder::Read(recorder.FileName).size();
    const std::size_t line = modRecordLine::RecordLine(kValue, kTemperature).size();
    return recorder.Failure() == std::errc::no_space_on_device && size == 8192 / line * line ? 0 : 1;
}

TEST(Recorder, AFullDiskEndsTheFileWithItsLastWholeLine)
{
    const TemporaryFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        _exit(fillSmallDisk(folder.path));
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotAllowed) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(Playback, ShowsWhatStandsBeforeTheFirstUnreadableLine)
{
    const std::string line = "15.11.2026 12:00:00,000; 1234 mm; 23 \xB0\x43";
    const std::string noEcho = "15.11.2026 12:00:01,000; No Echo; 23 \xB0\x43";
    const std::tuple<const char*, std::string, std::size_t, Outcome> rows[] = {
        {"empty", "", 0, Outcome::Complete},
        {"LF, no final end", line + "\n" + noEcho + "\n" + line, 3, Outcome::Complete},
        {"a blank line", line + "\r\n\r\n" + line, 1, Outcome::Unreadable},
        {"cut in the middle", line + "\r\n" + line.substr(0, 22), 1, Outcome::Unreadable},
        {"binary", line + "\n" + std::string(5000, '\0') + "\xFF;;\n", 1, Outcome::Unreadable},
        {"one huge line", line + "\n" + std::string(100000000, '7'), 1, Outcome::Unreadable},
        {"huge and well-begun", line + "\n" + line + std::string(100000000, ' '), 1, Outcome::Unreadable},
        {"a marker in millimetres", line + "\n15.11.2026 12:00:01,000; 2147483647 mm; 23 C\n", 2, Outcome::Complete},
        {"no blanks", line + "\n15.11.2026,12:00:00;1234mm;23\n", 1, Outcome::Unreadable},
    };
    const TemporaryFolder folder;
    for (const auto& [name, bytes, values, outcome] : rows) {
        const Played played = play(folder.Write("file.rec", bytes));
        EXPECT_EQ(played.values.size(), values) << name;
        EXPECT_EQ(played.loaded.outcome, outcome) << name;
        EXPECT_EQ(played.loaded.first, values > 0 ? 46341.5 : 0.0) << name;
        EXPECT_TRUE(values < 2 || KindOf(played.values[1]) == MeasurementKind::NoEcho) << "not the distance before";
    }
    EXPECT_EQ(play(folder.path).loaded.outcome, Outcome::Unreadable) << "a folder";
}

TEST(Playback, ShowsDistancesAsTheSensorIsSetNow)
{
    const TemporaryFolder folder;
    ParameterSet set;
    set.DistanceUnit = 3;
    set.OutputFormat = FormatAsciiUnit;
    const auto file = folder.Write("file.rec", "15.11.2026 12:00:00,000; 3048 mm; 23 \xB0\x43\r\n");
    EXPECT_EQ(DistanceText(play(file, set).values.at(0), '.'), "10.0000 ft");
    set.OutputFormat = 0;
    EXPECT_EQ(DistanceText(play(file, set).values.at(0), '.'), "10.0000 [ft]");
}

/// Lines of a recording that began at noon, at these seconds.
std::string linesAt(std::initializer_list<double> seconds)
{
    std::string lines;
    for (const double second : seconds) {
        lines += modRecordLine::RecordLine({.value = 1.0, .value_mm = 1000, .time = 46341.5 + second / kSecondsPerDay},
                                           kTemperature);
    }
    return lines;
}

TEST(Playback, BreaksTheCurveWhereALongerTimeStandsOut)
{
    std::string bursts;
    for (const double second : {0.0, 3.0, 6.0, 9.0}) {
        bursts += linesAt({second, second, second, second, second});
    }
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"a cable was out", linesAt({0.0, 0.05, 0.1, 14.0, 14.05, 28.0}), "vvv|vv|v"},
        {"a second, and less than five times the median", linesAt({0.0, 0.05, 1.0, 2.0, 2.9, 3.8, 7.3}), "vvvvvvv"},
        {"more than five times", linesAt({0.0, 1.0, 2.0, 3.0, 8.1}), "vvvv|v"},
        {"nothing to compare with", linesAt({0.0, 60.0}), "vv"},
        {"another pace", linesAt({0.0, 0.1, 0.2, 10.0, 20.0, 30.0, 40.0}), "vvv|v|vvv"},
        {"the clock was set back", linesAt({100.0, 100.1, 0.0, 0.1, 0.2}), "vv|vvv"},
        {"lines of the same time say nothing about the pace", bursts + linesAt({50.0}), std::string(20, 'v') + "|v"},
    };
    const TemporaryFolder folder;
    for (const auto& [name, lines, shown] : rows) {
        EXPECT_EQ(play(folder.Write("file.rec", lines)).shown, shown) << name;
    }
}

RecordingInfo infoFrom(double start_s)
{
    RecordingInfo info;
    info.start = 46341.5 + start_s / kSecondsPerDay;
    return info;
}

Gap gapBetween(double from_s, double to_s, GapReason reason = GapReason::NoEcho)
{
    return {46341.5 + from_s / kSecondsPerDay, 46341.5 + to_s / kSecondsPerDay, reason};
}

TEST(Playback, BreaksTheCurveWhereItsSidecarSays)
{
    RecordingInfo complete = infoFrom(-2.0);
    complete.end = 46341.6;
    complete.gaps = {gapBetween(0.1, 0.5), gapBetween(14.05, 14.055)};
    RecordingInfo killed = infoFrom(-2.0);
    killed.gaps = complete.gaps;
    RecordingInfo shortened = complete;
    shortened.gapsDropped = 1;
    RecordingInfo jumping = complete;
    jumping.gaps = {gapBetween(0.1, -3600.0, GapReason::ClockChanged), gapBetween(-3599.8, -3599.0)};
    RecordingInfo slow = infoFrom(0.0);
    slow.end = 46341.6;
    const std::string steady = linesAt({0.0, 0.05, 0.1, 0.5, 0.55, 14.0, 14.05, 14.1});
    const std::tuple<const char*, RecordingInfo, std::string, std::string> rows[] = {
        {"the list decides", complete, steady, "vvv|vvvvv"},
        {"a list that was not finished", killed, steady, "vvv|vv|vvv"},
        {"a list that lacks the shorter ones", shortened, steady, "vvv|vv|vvv"},
        {"the clock was set back", jumping, linesAt({0.0, 0.1, -3600.0, -3599.9, -3599.8, -3599.0}), "vv|vvv|v"},
        {"values on request", slow, linesAt({0.0, 0.5, 60.0}), "vvv"},
    };
    const TemporaryFolder folder;
    for (const auto& [name, info, lines, shown] : rows) {
        const auto file = folder.Write("file.rec", lines);
        ASSERT_FALSE(modSidecar::Write(modSidecar::SidecarOf(file), info));
        EXPECT_EQ(play(file).shown, shown) << name;
    }
}

TEST(Playback, IsInTheUnitOfThen)
{
    const TemporaryFolder folder;
    RecordingInfo info = infoFrom(0.0);
    info.isSensorKnown = true;
    info.sensor.SerialNo = "004711";
    info.parameters.DistanceUnit = 3;
    info.parameters.OutputFormat = FormatAscii;
    const auto file = folder.Write("file.rec", linesAt({0.0}));
    EXPECT_FALSE(modSidecar::Write(modSidecar::SidecarOf(file), info));
    const Played played = play(file);
    EXPECT_EQ(DistanceText(played.values.at(0), '.'), "3.2808 [ft]");
    EXPECT_EQ(played.loaded.info.value().sensor.SerialNo, "004711");
    info.isSensorKnown = false;
    EXPECT_FALSE(modSidecar::Write(modSidecar::SidecarOf(file), info));
    ParameterSet now;
    now.DistanceUnit = 2;
    EXPECT_EQ(play(file, now).values.at(0).unit, 2) << "as without a sidecar";
}

TEST(Playback, IgnoresASidecarThatIsNotItsOwnOrCannotBeRead)
{
    using enum modPlayback::SidecarUse;
    RecordingInfo ended = infoFrom(-100.0);
    ended.end = 46341.5 - 60.0 / kSecondsPerDay;
    RecordingInfo set = ended;
    set.account.clockJumps = 1;
    const std::tuple<const char*, RecordingInfo, modPlayback::SidecarUse> rows[] = {
        {"begun hours before the first value", infoFrom(-9000.0), Used},
        {"a first value counted back to before the start", infoFrom(2.0), Used},
        {"begun later", infoFrom(60.0), Foreign},
        {"ended before", ended, Foreign},
        {"times say nothing once the clock was set", set, Used},
        {"no start", RecordingInfo(), Foreign},
    };
    const TemporaryFolder folder;
    const auto file = folder.Write("file.rec", linesAt({0.0, 0.1, 0.2, 14.0}));
    for (const auto& [name, info, use] : rows) {
        ASSERT_FALSE(modSidecar::Write(modSidecar::SidecarOf(file), info));
        const modPlayback::Loaded loaded = play(file).loaded;
        EXPECT_EQ(loaded.sidecar, use) << name;
        EXPECT_EQ(loaded.info.has_value(), use == Used) << name;
    }
    folder.Write("file.json", "{");
    const Played played = play(file);
    EXPECT_EQ(played.loaded.sidecar, Unreadable);
    EXPECT_EQ(played.shown, "vvv|v") << "as without one";
}

TEST(Playback, PutsTheTimeAxisWhereTheRecordingIs)
{
    const std::tuple<const char*, double, std::int32_t, double> rows[] = {
        {"half a minute: the range as before", 100.5 + 30000 / kMsPerDay, 0, 100.0},
        {"an hour", 100.5 + 1 / 24.0, 3600000, 100.0},
        {"14 days", 114.5, 1209600000, 114.0},
        {"20 days", 120.5, 86400000, 120.0},
        {"the clock was set back", 100.4, 0, 100.0},
    };
    for (const auto& [name, last, range_ms, origin] : rows) {
        modPlayback::Loaded loaded;
        loaded.first = 100.5;
        loaded.last = last;
        const auto axis = modPlayback::TimeAxisOf(loaded);
        EXPECT_EQ(axis.range_ms.value_or(0), range_ms) << name;
        EXPECT_EQ(axis.origin, origin) << name;
    }
}

TEST(Playback, EndsWhereAGrowingFileEnds)
{
    const TemporaryFolder folder;
    const std::string line = "15.11.2026 12:00:00,000; 1234 mm; 23 \xB0\x43\r\n";
    const auto file = folder.Write("file.rec", line);
    std::size_t shown = 0;
    for (clsRecordReader reader(file); reader.Next() == RecordStep::Value; ++shown) {
        if (shown + 1 < 1000) {
            std::ofstream(file, std::ios::app | std::ios::binary) << line << line.substr(0, 10);
            std::filesystem::resize_file(file, (shown + 2) * line.size());
        }
    }
    EXPECT_EQ(shown, 1000U);
}

TEST(CsvExport, WritesEveryReadableLineInTheChosenForm)
{
    const TemporaryFolder folder;
    const auto file = folder.Write("file.rec", "15.11.2026 13:05:07,250; 1234 mm; 23.5 \xB0\x43\r\n"
                                               "15.11.2026 23:59:59,999; No Echo; -3 \xB0\x43\r\n"
                                               "broken\r\n16.11.2026 00:00:00,000; TempError; x\";y z\r\n"
                                               "16.11.2026 00:00:00,050; 2147483632 mm; 1 \xB0\x43\r\n");
    const std::pair<modCsvExport::Format, const char*> rows[] = {
        {{',', '.', false},
         "a,b,c,d\r\n2026-11-15T13:05:07.250,1234,OK,23.5\r\n2026-11-15T23:59:59.999,,No Echo,-3\r\n"
         "2026-11-16T00:00:00.000,,TempError,\r\n2026-11-16T00:00:00.050,,TempError,1\r\n"},
        {modCsvExport::kGermanSpreadsheet,
         "\xEF\xBB\xBF"
         "a;b;c;d\r\n2026-11-15T13:05:07,250;1234;OK;23,5\r\n2026-11-15T23:59:59,999;;No Echo;-3\r\n"
         "2026-11-16T00:00:00,000;;TempError;\r\n2026-11-16T00:00:00,050;;TempError;1\r\n"},
        {{',', ',', false},
         "a,b,c,d\r\n\"2026-11-15T13:05:07,250\",1234,OK,\"23,5\"\r\n\"2026-11-15T23:59:59,999\",,No Echo,-3\r\n"
         "\"2026-11-16T00:00:00,000\",,TempError,\r\n\"2026-11-16T00:00:00,050\",,TempError,1\r\n"},
    };
    for (const auto& [format, expected] : rows) {
        std::string table;
        const auto write = [&](std::string_view piece) { return !table.append(piece).empty(); };
        const auto exported = modCsvExport::ExportCsv(file, format, "a|b|c|d", {write, kGoOn});
        EXPECT_EQ(table, expected);
        EXPECT_TRUE(exported.finished);
        EXPECT_EQ(exported.rows, 4);
        EXPECT_EQ(exported.unreadable, 1);
    }
    std::string many;
    for (int i = 0; i < 100000; ++i) {
        many += "15.11.2026 13:05:07,250; 1234 mm; 23 C\n";
    }
    const auto cancelled =
        modCsvExport::ExportCsv(folder.Write("many.rec", many), {}, "a|b|c|d",
                                {[](std::string_view) { return true; }, [](double) { return false; }});
    EXPECT_FALSE(cancelled.finished);
    EXPECT_LT(cancelled.rows, 100000);
}

} // namespace
