// Recordings that go on in other files, played as one.
#include "base/Days.h"
#include "session/clsRecorder.h"
#include "session/modPlayback.h"
#include "store/clsRecordReader.h"
#include "store/modRecordLine.h"
#include "store/modRecordParts.h"
#include "store/modSidecar.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr double kNoon = 46341.5;
constexpr char kTemperature[] = "23 C,  OK";

double at(double seconds)
{
    return kNoon + seconds / kSecondsPerDay;
}

Measurement valueAt(double seconds)
{
    return {.value = 1.0, .value_mm = 1000, .unit = 1, .outputFormat = 1, .time = at(seconds)};
}

struct Folder : TemporaryFolder {
    /// Records `files` files of two values each, a value every ten seconds.
    void Record(double from_s, int files, const std::string& name = {}, const std::string& serial = "1") const
    {
        clsRecorder recorder(path);
        recorder.Describe = [&](const clsRecorder::Period& period) {
            RecordingInfo info;
            info.start = period.start.value_or(period.now);
            info.isSensorKnown = true;
            info.sensor.SerialNo = serial;
            if (period.start) {
                info.end = period.now;
            }
            return info;
        };
        recorder.Flush(at(from_s));
        recorder.StartRecording({.name = name, .parts = PartsBySize, .partBytes = 90});
        for (int i = 0; i < 2 * files; ++i) {
            recorder.Flush(at(from_s + 10.0 * i));
            recorder.Record(valueAt(from_s + 10.0 * i), kTemperature);
        }
        recorder.Stop();
        EXPECT_TRUE(recorder.FinishWriting(std::chrono::seconds(10)));
    }
    /// Two lines from there on, without a sidecar.
    void Put(const char* name, double from_s, double step_s = 1.0) const
    {
        Write(name, modRecordLine::RecordLine(valueAt(from_s), kTemperature) +
                        modRecordLine::RecordLine(valueAt(from_s + step_s), kTemperature));
    }
    /// "SAVE0001+SAVE0002 SAVE0004": the second joins the first, the third does not.
    static std::string Names(const std::vector<RecordPart>& parts)
    {
        std::string names;
        for (const RecordPart& part : parts) {
            names += (names.empty() ? "" : part.joinsBefore ? "+" : " ") + part.file.stem().string();
        }
        return names;
    }
    std::string PartsOf(const char* name) const { return Names(modRecordParts::PartsOf(path / name)); }
};

TEST(RecordParts, AreThoseOfOneRecordingWhicheverIsChosen)
{
    const Folder folder;
    folder.Write("SAVE0003.rec", "another program's");
    folder.Record(0.0, 4);    // 1, 2, 4, 5
    folder.Record(1000.0, 2); // 6, 7
    for (const char* chosen : {"SAVE0001.rec", "SAVE0004.rec", "SAVE0005.rec"}) {
        EXPECT_EQ(folder.PartsOf(chosen), "SAVE0001+SAVE0002+SAVE0004+SAVE0005") << chosen;
    }
    EXPECT_EQ(folder.PartsOf("SAVE0007.rec"), "SAVE0006+SAVE0007");
    EXPECT_EQ(folder.PartsOf("SAVE0003.rec"), "SAVE0003");
    std::filesystem::remove(folder.path / "SAVE0002.rec");
    EXPECT_EQ(folder.PartsOf("SAVE0005.rec"), "SAVE0001 SAVE0004+SAVE0005") << "nothing is joined across a missing one";
    folder.Record(2000.0, 2); // 2, 8
    EXPECT_EQ(folder.PartsOf("SAVE0008.rec"), "SAVE0002+SAVE0008") << "a name that became free";
    EXPECT_EQ(folder.PartsOf("SAVE0001.rec"), "SAVE0001 SAVE0004+SAVE0005");
}

TEST(RecordParts, OfAChosenNameAreNumberedFromTheSecondOn)
{
    const Folder folder;
    folder.Record(0.0, 3, "Crane");
    EXPECT_EQ(folder.PartsOf("Crane.rec"), "Crane+Crane (2)+Crane (3)");
    folder.Record(500.0, 1, "Crane");
    EXPECT_EQ(folder.PartsOf("Crane (2).rec"), "Crane+Crane (2)+Crane (3)");
    EXPECT_EQ(folder.PartsOf("Crane (4).rec"), "Crane (4)") << "another recording of that name";
    folder.Put("Crane (x).rec", 0.0);
    EXPECT_EQ(folder.PartsOf("Crane (x).rec"), "Crane (x)");
    EXPECT_EQ(folder.PartsOf("none.rec"), "none") << "playing it will say why not";
}

TEST(RecordParts, WithoutSidecarsFollowEachOtherAtOnce)
{
    const Folder folder;
    folder.Put("SAVE0001.rec", 0.0);
    folder.Put("SAVE0002.rec", 2.5);
    folder.Put("SAVE0003.rec", 60.0); // another recording
    folder.Put("SAVE0004.rec", 61.5);
    folder.Put("SAVE0006.rec", 63.0); // 5 is missing
    folder.Put("SAVE0007.rec", 30.0); // before that
    for (const auto& [chosen, parts] :
         {std::pair("SAVE0002.rec", "SAVE0001+SAVE0002"), std::pair("SAVE0003.rec", "SAVE0003+SAVE0004"),
          std::pair("SAVE0006.rec", "SAVE0006"), std::pair("SAVE0007.rec", "SAVE0007")}) {
        EXPECT_EQ(folder.PartsOf(chosen), parts);
    }
}

TEST(RecordParts, ThatAreChosenComeInTheirOrder)
{
    const Folder folder;
    folder.Record(0.0, 2);
    folder.Put("a.rec", 500.0);
    folder.Put("b.rec", -500.0);
    const auto file = [&](const char* name) { return folder.path / name; };
    EXPECT_EQ(Folder::Names(modRecordParts::InOrder(
                  {file("a.rec"), file("SAVE0002.rec"), file("SAVE0001.rec"), file("b.rec"), file("none.rec")})),
              "none b SAVE0001+SAVE0002 a");
}

struct Shown {
    explicit Shown(std::size_t mostBytes = clsHistory::kMostBytes) : history(mostBytes) {}

    std::string curve; ///< "v" for a value, "|" for a gap
    modPlayback::Loaded loaded;
    clsHistory history;
    std::vector<FileHandle> open;
};

void play(const std::vector<RecordPart>& parts, Shown& shown)
{
    const auto show = [&](std::span<const Measurement> values, double) { shown.curve.append(values.size(), 'v'); };
    shown.loaded = modPlayback::LoadData(parts, {},
                                         {shown.history, show, [&](double) { shown.curve += '|'; },
                                          [](double read) { return read >= 0.0 && read <= 1.0; }},
                                         shown.open);
}

TEST(RecordParts, ArePlayedAsOneAndAMissingOneIsAGap)
{
    const Folder folder;
    folder.Record(0.0, 4);
    Shown whole;
    play(modRecordParts::PartsOf(folder.path / "SAVE0003.rec"), whole);
    EXPECT_EQ(whole.curve, "vvvvvvvv");
    EXPECT_EQ(whole.loaded.files, 4U);
    EXPECT_NEAR(whole.loaded.last - whole.loaded.first, 70.0 / kSecondsPerDay, 1e-8);
    EXPECT_NEAR(whole.history.Range().Length(), 70.0 / kSecondsPerDay, 1e-8);
    std::filesystem::remove(folder.path / "SAVE0002.rec");
    Shown rest;
    play(modRecordParts::PartsOf(folder.path / "SAVE0003.rec"), rest);
    EXPECT_EQ(rest.curve, "vv|vvvv");
    EXPECT_EQ(rest.history.GapsIn(rest.history.Range(), 0.0).size(), 1U);
    std::ofstream(folder.path / "SAVE0003.rec", std::ios::app) << "broken\r\n";
    Shown broken;
    play(modRecordParts::PartsOf(folder.path / "SAVE0004.rec"), broken);
    EXPECT_EQ(broken.curve, "vv|vv");
    EXPECT_EQ(broken.loaded.outcome, modPlayback::Outcome::Unreadable);
    EXPECT_EQ(broken.loaded.unreadable, 1U) << "the second file";
    EXPECT_EQ(broken.loaded.line, 3);
}

TEST(Playback, ReadsLinesAgainAsItHasReadThem)
{
    const TemporaryFolder folder;
    const std::string lines = "15.11.2026 12:00:00,000; 1 mm; 23 C\r\n15.11.2026 12:00:00,050; 2 mm; 23 C\r\n"
                              "x 12:00:01,000; 3 mm; 23 C\n16.11.2026 00:00:00,000; No Echo; 23 C\n"
                              "15.11.2026 12:00:02,000; -2147483648 mm\nx 12:00:03,000; 4 mm";
    const auto file = folder.Write("file.rec", lines);
    struct Line {
        std::uint64_t offset;
        double date, time;
        std::int32_t value_mm;
    };
    std::vector<Line> all;
    clsRecordReader once(file);
    while (once.Next() == RecordStep::Value) {
        all.push_back({once.Offset(), once.Date(), once.Value().time, once.Value().value_mm});
    }
    ASSERT_EQ(all.size(), 6U);
    const FileHandle open = clsRecordReader::Open(file);
    for (std::size_t first = 0; first < all.size(); ++first) {
        clsRecordReader again(open.Descriptor(), all[first].offset, all[first].date);
        for (std::size_t i = first; i < all.size(); ++i) {
            ASSERT_EQ(again.Next(), RecordStep::Value) << first;
            EXPECT_EQ(again.Value().time, all[i].time) << first << ' ' << i;
            EXPECT_TRUE(again.Value().kind != MeasurementKind::Distance || again.Value().value_mm == all[i].value_mm);
            EXPECT_EQ(again.Offset(), all[i].offset);
        }
        EXPECT_EQ(again.Next(), RecordStep::End);
    }
}

/// Lines of two files that together are three times too many for a history of a mebibyte.
std::vector<RecordPart> longRecording(const TemporaryFolder& folder)
{
    constexpr int kLines = 200000;
    std::string lines[2];
    for (int i = 0; i < 2 * kLines; ++i) {
        const double seconds = 0.05 * i + (i >= 50000 ? 60.0 : 0.0); // one gap
        const std::int32_t value = i % 997 == 0 ? kMarkerNoEcho : 1000 + i % 1009;
        lines[i / kLines] += modRecordLine::RecordLine({.value = 1.0 * value, .value_mm = value, .time = at(seconds)},
                                                       i % 70000 < 10 ? "22 C" : kTemperature);
    }
    return {{folder.Write("a.rec", lines[0]), false}, {folder.Write("b.rec", lines[1]), true}};
}

TEST(Playback, BeyondTheBoundReadsItsSamplesFromTheFilesOrKnowsThatItCannot)
{
    const TemporaryFolder folder;
    const auto parts = longRecording(folder);
    Shown all, bounded(clsHistory::kLeastBytes);
    play(parts, all);
    play(parts, bounded);
    EXPECT_LE(bounded.history.Bytes(), clsHistory::kLeastBytes);
    ASSERT_EQ(bounded.history.Size(), all.history.Size());
    const auto known = [&](std::size_t& unknown) {
        for (std::size_t i = 0; i < all.history.Size(); i += 61) {
            const HistoryEntry expected = all.history.At(i), entry = bounded.history.At(i);
            unknown += entry.isKnown ? 0 : 1;
            const bool isSame = entry.time == expected.time && entry.place == expected.place &&
                                entry.value_mm == expected.value_mm && entry.kind == expected.kind &&
                                entry.gap == expected.gap;
            if (entry.isKnown && !isSame) {
                return false;
            }
        }
        return true;
    };
    std::size_t unknown = 0;
    EXPECT_TRUE(known(unknown));
    EXPECT_EQ(unknown, 0U);
    for (const RecordPart& part : parts) {
        std::filesystem::remove(part.file);
    }
    EXPECT_TRUE(known(unknown));
    EXPECT_EQ(unknown, 0U) << "files that are gone are still open";
    for (const bool isCut : {true, false}) {
        const TemporaryFolder again;
        const auto others = longRecording(again);
        Shown other(clsHistory::kLeastBytes);
        play(others, other);
        if (isCut) {
            std::filesystem::resize_file(others[0].file, 1000000);
        } else {
            std::fstream(others[0].file, std::ios::in | std::ios::out | std::ios::binary).seekp(26) << "9999";
        }
        const HistoryEntry second = other.history.At(isCut ? 100000 : 1);
        EXPECT_FALSE(second.isKnown) << (isCut ? "cut" : "changed");
        EXPECT_GT(other.history.Unreadable(), 0U);
        EXPECT_TRUE(other.history.At(200500).isKnown) << "in the other file";
    }
}

/// Summer time ends at 3:00: 20 minutes before that until 10 minutes behind.
TEST(Playback, OfARecordingWhoseClockWasSetShowsAllOfIt)
{
    const TemporaryFolder folder;
    std::string lines;
    for (int minute = 0; minute <= 50; ++minute) {
        const double time = 46320.0 + ((minute < 40 ? 140.0 : 80.0) + minute) / 1440.0 + 1e-9;
        lines += modRecordLine::RecordLine({.value = 1.0, .value_mm = 1000, .time = time}, kTemperature);
    }
    Shown shown;
    play({{folder.Write("autumn.rec", lines), false}}, shown);
    const auto axis = modPlayback::TimeAxisOf(shown.loaded);
    EXPECT_EQ(shown.curve, std::string(40, 'v') + "|" + std::string(11, 'v')) << "not joined across it";
    EXPECT_NEAR(axis.range_ms.value_or(0), 49 * 60000, 2000) << "39 minutes, a moment, 10 minutes";
    EXPECT_EQ(axis.origin, 46320.0);
}

} // namespace
