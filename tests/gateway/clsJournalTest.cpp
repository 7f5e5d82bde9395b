#include "gateway/clsJournal.h"

#include "gateway/clsRecordingWalk.h"
#include "gateway/modJournalFolder.h"
#include "gateway/modRecordingRead.h"
#include "session/clsRecorder.h"
#include "tests/gateway/JournalSite.h"
#include "tests/support/FullDisk.h"

#include <algorithm>
#include <deque>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <utility>

namespace {

using Name = std::pair<std::int64_t, std::int64_t>; // run and sequence

std::vector<std::int32_t> numbersOf(const std::vector<GatewayValue>& values)
{
    std::vector<std::int32_t> numbers;
    std::ranges::transform(values, std::back_inserter(numbers), &GatewayValue::value_mm);
    return numbers;
}

std::vector<std::int32_t> span(std::int32_t first, std::int32_t last)
{
    std::vector<std::int32_t> numbers;
    for (; first <= last; ++first) {
        numbers.push_back(first);
    }
    return numbers;
}

/// A sensor that is recorded by somebody who hands lines over at once and writes them a little later.
struct ModelSensor {
    std::string name;
    std::filesystem::path file{};
    RecordingPart part{};
    std::string unwritten{};
    std::int64_t sequence = 0, partLines = 0;
    std::map<Name, std::int32_t> lines{}; ///< that were handed over
    std::set<Name> acknowledged{}, sent{};
    Name latestFirst{}; ///< of the values that were sent for the first time as historical ones
};

struct Model : JournalSite {
    std::mt19937 random;
    std::vector<ModelSensor> sensors{{"silo 1"},
                                     {"Kran-S\xC3\xBC"
                                      "d"}};
    std::deque<std::tuple<ModelSensor*, Name>> flying;
    std::int32_t value = 0;
    bool isConnected = false;

    explicit Model(unsigned seed) : random(seed)
    {
        for (ModelSensor& sensor : sensors) {
            begin(sensor);
        }
    }

    int dice(int sides) { return static_cast<int>(random() % static_cast<unsigned>(sides)); }
    void begin(ModelSensor& sensor)
    {
        const std::string name = journal->NameForRecording(sensor.name);
        sensor.part = *modRecordingName::PartOf(name + ".rec");
        sensor.file = FileOf(sensor.name, sensor.part);
        sensor.sequence = sensor.part.key.first - 1;
        sensor.partLines = 0;
        Put(sensor.name, sensor.part, "");
        journal->Began(sensor.name, sensor.file, sensor.sequence + 1);
    }
    void write(ModelSensor& sensor, std::size_t bytes)
    {
        std::ofstream(sensor.file, std::ios::binary | std::ios::app) << sensor.unwritten.substr(0, bytes);
        sensor.unwritten.erase(0, bytes);
    }
    void record(ModelSensor& sensor)
    {
        const std::int64_t first = sensor.sequence + 1;
        for (int count = 1 + dice(30); count > 0; --count) {
            sensor.lines[{journal->Run(), ++sensor.sequence}] = ++value;
            sensor.unwritten += Line(value);
            ++sensor.partLines;
        }
        journal->Recorded(sensor.name, sensor.sequence);
        if (isConnected && dice(3) > 0) {
            journal->SentLive(sensor.name, first, sensor.sequence);
            for (std::int64_t number = first; number <= sensor.sequence; ++number) {
                send(sensor, {journal->Run(), number});
            }
        }
        write(sensor, static_cast<std::size_t>(dice(2000)));
    }
    void send(ModelSensor& sensor, const Name& name)
    {
        sensor.sent.insert(name);
        flying.emplace_back(&sensor, name);
    }
    void sendHistorical(ModelSensor& sensor)
    {
        for (const GatewayValue& next : journal->Next(sensor.name, 50)) {
            const Name name{next.run, next.sequence};
            ASSERT_TRUE(sensor.lines.contains(name)) << next.run << ' ' << next.sequence;
            ASSERT_EQ(sensor.lines[name], next.value_mm);
            if (!sensor.sent.contains(name)) {
                EXPECT_LT(sensor.latestFirst, name);
                sensor.latestFirst = name;
            }
            send(sensor, name);
        }
    }
    void acknowledge()
    {
        for (int count = dice(60); count > 0 && !flying.empty(); --count) {
            const auto at = flying.begin() + dice(static_cast<int>(std::min<std::size_t>(flying.size(), 5)));
            auto& [sensor, name] = *at;
            sensor->acknowledged.insert(name);
            journal->Acknowledged(sensor->name, name.first, name.second, name.second);
            flying.erase(at);
        }
    }
    void disconnect()
    {
        isConnected = false;
        flying.clear();
        journal->Unsent();
    }
    void nextPart(ModelSensor& sensor)
    {
        write(sensor, sensor.unwritten.size());
        Put(sensor.name, sensor.part, TemporaryFolder::Read(sensor.file), dice(2) == 0 ? sensor.partLines : -1);
        ++sensor.part.part;
        sensor.partLines = 0;
        sensor.file = FileOf(sensor.name, sensor.part);
        Put(sensor.name, sensor.part, "");
    }
    /// Lines that did not reach the file are not there any more.
    void restart(bool isOrderly)
    {
        for (ModelSensor& sensor : sensors) {
            write(sensor, isOrderly ? sensor.unwritten.size() : static_cast<std::size_t>(dice(3000)));
            auto lost = std::ranges::count(sensor.unwritten, '\n');
            for (; lost > 0; --lost) {
                sensor.lines.erase({journal->Run(), sensor.sequence--});
            }
            sensor.unwritten.clear();
        }
        disconnect();
        isOrderly ? Restart() : Kill();
        std::ranges::for_each(sensors, [this](ModelSensor& sensor) { begin(sensor); });
    }
    void step()
    {
        ModelSensor& sensor = sensors[static_cast<std::size_t>(dice(2))];
        switch (const int what = dice(100)) {
        case 0:
        case 1:
            return restart(what == 0);
        case 2:
            return disconnect();
        case 3:
            return nextPart(sensor);
        case 4: // the disk refused, and another recording begins
            write(sensor, sensor.unwritten.size());
            journal->Ended(sensor.name);
            return begin(sensor);
        default:
            isConnected = isConnected || what < 15;
            what < 40 ? record(sensor) : isConnected&& what < 70 ? sendHistorical(sensor) : acknowledge();
            journal->Serve(kTime);
        }
    }
    bool isComplete(const ModelSensor& sensor) const
    {
        return std::ranges::all_of(sensor.lines,
                                   [&](const auto& line) { return sensor.acknowledged.contains(line.first); });
    }
};

} // namespace

TEST(Journal, EveryRecordedLineIsAcknowledgedInTheEnd)
{
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        Model model(seed);
        for (int i = 0; i < 1500 && !testing::Test::HasFatalFailure(); ++i) {
            model.step();
        }
        for (ModelSensor& sensor : model.sensors) {
            model.write(sensor, sensor.unwritten.size());
            JournalSite::Until([&] {
                model.sendHistorical(sensor);
                model.acknowledge();
                return model.journal->Waiting(sensor.name) == 0 || testing::Test::HasFatalFailure();
            });
            EXPECT_TRUE(model.isComplete(sensor)) << sensor.name;
            EXPECT_EQ(model.journal->Waiting(sensor.name), 0);
            // A line that was cut off by a kill was none yet, or counts as dropped.
            EXPECT_LE(model.journal->Dropped(sensor.name), model.journal->Run()) << sensor.name;
        }
    }
}

TEST(Journal, KeepsItsPositionOverARestart)
{
    JournalSite site;
    site.Put("a", {{1, 1}, 1}, JournalSite::Lines(1, 5000));
    site.Put("b", {{1, 1}, 1}, JournalSite::Lines(1, 10));
    site.Kill();
    ASSERT_EQ(site.journal->Run(), 2);
    std::size_t count = 0;
    JournalSite::Until([&] {
        const auto values = site.journal->Next("a", 100);
        count += values.size();
        if (!values.empty()) {
            site.journal->Acknowledged("a", 1, values.front().sequence, values.back().sequence);
        }
        return count >= 4000;
    });
    site.Restart();
    auto rest = numbersOf(site.Drain("a"));
    EXPECT_EQ(rest, span(static_cast<std::int32_t>(count) + 1, 5000));

    // Whatever becomes of the line of one sensor, the other one has its own.
    site.Restart();
    const auto file = site.folder / "positions";
    const std::string good = TemporaryFolder::Read(file);
    const std::string bad[] = {"", "garbage\n", std::string(1000, '\0'), "x" + good, std::string(20 << 20, 'x')};
    for (const std::string& bytes : bad) {
        site.journal.reset();
        std::ofstream(file, std::ios::binary) << bytes;
        site.Kill();
        EXPECT_EQ(numbersOf(site.Drain("a")), span(1, 5000)) << bytes.substr(0, 10);
    }
    for (const std::string& bytes : {good, good + "half a line"}) {
        site.journal.reset();
        std::ofstream(file, std::ios::binary) << bytes;
        site.Kill();
        EXPECT_EQ(numbersOf(site.Drain("a")), span(5001, 5000)) << bytes;
        EXPECT_EQ(numbersOf(site.Drain("b")), span(1, 10)) << bytes;
    }
}

TEST(Journal, WhatStandsBeforeAndBehindDamageIsKept)
{
    struct Row {
        const char* name;
        std::int32_t part, from, to; ///< these lines of this file are damaged
        std::string with;
        bool isCounted; ///< the numbers behind the damage are known
        std::int64_t dropped;
    };
    const std::string nul(static_cast<std::size_t>(42 * 9), '\0'), noise(200'000, 'x');
    const std::string garbled = "15.11.2026 13:05:07,250; xx34 mm; 23 \xB0"
                                "C\r\n";
    const Row rows[] = {
        {"a line", 1, 20, 20, garbled, true, 1},
        {"nine lines of NUL", 1, 20, 28, nul, false, 9},
        {"a line more", 1, 20, 20, "15.11.2026\n13:05:07,250; 1 mm; 2\n", false, 1},
        {"a long block", 2, 1, 30, noise, false, 30},
        {"the end cut off", 1, 40, 100, "", true, 61},
        {"the end cut off within a line", 2, 40, 100, "15.11.2026 13:05:07,250; 1234 mm; 2", true, 61},
        {"an empty file", 2, 1, 100, "", true, 100},
        {"within the last line", 3, 100, 100, "15.11.2026 13:05:07,250; 1234 mm; 2", true, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        JournalSite site;
        std::vector<std::int32_t> expected;
        for (std::int32_t part = 1; part <= 3; ++part) {
            const std::int32_t first = part * 100 - 99, last = part * 100;
            const std::int32_t from = row.part == part ? first + row.from - 1 : last + 1;
            const std::int32_t to = row.part == part ? first + row.to - 1 : last;
            site.Put("a", {{1, 1}, part},
                     JournalSite::Lines(first, from - 1) + (row.part == part ? row.with : "") +
                         JournalSite::Lines(to + 1, last),
                     100);
            std::ranges::copy(span(first, from - 1), std::back_inserter(expected));
            std::ranges::copy(span(to + 1, last), std::back_inserter(expected));
        }
        site.Kill();
        const auto values = site.Drain("a");
        EXPECT_EQ(numbersOf(values), expected);
        EXPECT_EQ(site.journal->Dropped("a"), row.dropped);
        std::set<std::int64_t> sequences;
        for (const GatewayValue& value : values) {
            EXPECT_TRUE(sequences.insert(value.sequence).second) << "two values have one number";
            const bool isOwn = value.sequence == value.value_mm;
            const bool isInFile = (value.value_mm - 1) / 100 == row.part - 1;
            EXPECT_TRUE(isOwn || (!row.isCounted && isInFile && value.sequence > clsRecordingWalk::kBetweenDamage))
                << value.value_mm << ' ' << value.sequence;
        }
    }
}

/// Bytes of a file are overwritten; which numbers the others have is known from its end, or from a place that was
/// noted.
TEST(Journal, WhereverDamageBeginsOtherLinesKeepTheirNumbers)
{
    constexpr std::int32_t kLines = 400;
    JournalSite site;
    const std::string lines = JournalSite::Lines(1, kLines);
    const std::size_t line = JournalSite::Line(200).size(), middle = JournalSite::Lines(1, 199).size();
    std::vector<char> buffer(clsRecordingWalk::kBuffer);
    for (const char byte : {'\0', 'x', '\xFF', '\n'}) {
        for (const std::size_t size : {std::size_t{1}, line, std::size_t{200}, std::size_t{4096}}) {
            for (std::size_t at = middle; at < middle + line; ++at) {
                SCOPED_TRACE(std::to_string(at - middle) + ", " + std::to_string(size) + " of " + std::to_string(byte));
                std::string damaged = lines;
                damaged.replace(at, size, size, byte);
                const auto last = static_cast<std::int32_t>(200 + (at - middle + size - 1) / line);
                for (const bool isRunning : {false, true}) {
                    site.Put("a", {{1, 1}, 1}, damaged, isRunning ? -1 : kLines, std::ssize(damaged));
                    ReadTask task{.key = {1, 1}, .from = {}, .isClosed = !isRunning, .last = {}, .covered = {}};
                    if (isRunning) {
                        task.last = kLines;
                        task.noted = {1, lines.size(), kLines + 1, 0};
                    }
                    const auto found =
                        modRecordingRead::Read(site.folder / "REC" / "a", task, {9999, 9999, {}}, buffer);
                    auto numbers = numbersOf(found.values);
                    for (const GatewayValue& value : found.values) {
                        ASSERT_EQ(value.sequence, value.value_mm);
                    }
                    std::erase_if(numbers, [&](std::int32_t mm) { return mm >= 200 && mm <= last; });
                    ASSERT_EQ(std::ssize(numbers), kLines - (last - 199)) << "whole lines are missing";
                }
                std::filesystem::remove(modSidecar::SidecarOf(site.FileOf("a", {{1, 1}, 1})));
            }
        }
    }
}

TEST(Journal, LinesBetweenDamageAreSentAndThoseBehindItKeepTheirNumbers)
{
    JournalSite site;
    const auto put = [&](const std::string& sensor) {
        std::string lines = JournalSite::Lines(1, 300);
        for (const auto& [first, last] : {std::pair(50, 52), {200, 203}}) {
            const std::size_t at = JournalSite::Lines(1, first - 1).size(),
                              size = JournalSite::Lines(first, last).size();
            lines.replace(at, size, size, '\0');
        }
        site.Put(sensor, {{1, 1}, 1}, lines, 300, std::ssize(lines));
        site.Put(sensor, {{1, 1}, 2}, JournalSite::Lines(301, 400), 100);
    };
    put("a");
    put("b");
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24 * 9);
    std::filesystem::last_write_time(site.FileOf("b", {{1, 1}, 1}), old);
    std::vector<std::int32_t> expected = span(1, 49);
    for (const auto& stretch : {span(53, 199), span(204, 400)}) {
        std::ranges::copy(stretch, std::back_inserter(expected));
    }
    site.Kill();
    std::vector<GatewayValue> values;
    EXPECT_TRUE(JournalSite::Until([&] {
        std::ranges::copy(site.journal->Next("a", 30), std::back_inserter(values));
        return values.size() == expected.size();
    }));
    EXPECT_EQ(numbersOf(values), expected);
    for (const GatewayValue& value : values) {
        const bool isBetween = value.value_mm > 52 && value.value_mm < 200;
        EXPECT_TRUE(isBetween ? value.sequence > clsRecordingWalk::kBetweenDamage : value.sequence == value.value_mm)
            << value.value_mm << ' ' << value.sequence;
        if (!isBetween) {
            site.journal->Acknowledged("a", 1, value.sequence, value.sequence);
        }
    }
    site.journal->Unsent(); // those that were on their way
    EXPECT_EQ(numbersOf(site.Drain("a")), span(53, 199));
    EXPECT_EQ(site.journal->Dropped("a"), 7);
    site.Restart();
    EXPECT_EQ(numbersOf(site.Drain("a")), std::vector<std::int32_t>());

    site.bounds.most_days = 8;
    site.Kill();
    site.journal->Serve(25569.0 + static_cast<double>(std::time(nullptr)) / kSecondsPerDay);
    EXPECT_TRUE(JournalSite::Until([&] { return site.journal->Dropped("b") == 300; })) << site.journal->Dropped("b");
    const auto others = site.Drain("b");
    EXPECT_EQ(numbersOf(others), span(301, 400));
    EXPECT_TRUE(std::ranges::all_of(others, [](const auto& value) { return value.sequence == value.value_mm; }));
}

TEST(Journal, NumbersThatWereSentAsTheyCameAreNotThoseOfLinesBehindDamage)
{
    JournalSite site;
    site.Put("a", {{1, 1}, 1}, JournalSite::Lines(1, 1000));
    site.Put("a", {{1, 1}, 2}, JournalSite::Lines(1001, 1100));
    const SensorPosition position{
        "a", 0, {{.key = {1, 1}, .place = {1, 0, 1, 1}, .next = 1, .acknowledged = {{600, 700}}}}};
    site.journal.reset();
    std::ofstream(site.folder / "positions") << modPositions::Write({&position, 1});
    auto file = TemporaryFolder::Read(site.FileOf("a", {{1, 1}, 1}));
    const auto from = file.find(JournalSite::Line(201)), to = file.find(JournalSite::Line(291));
    site.Put("a", {{1, 1}, 1}, file.replace(from, to - from, to - from, '\0'));
    site.Kill();
    auto numbers = numbersOf(site.Drain("a"));
    for (const std::int32_t wanted : {200, 291, 599, 701, 750, 1000, 1100}) {
        EXPECT_TRUE(std::ranges::binary_search(numbers, wanted)) << wanted;
    }
}

TEST(Journal, DamageInARecordingThatGoesOnWaitsUntilItsNumbersAreKnown)
{
    JournalSite site;
    const auto part = *modRecordingName::PartOf(site.journal->NameForRecording("a") + ".rec");
    const std::string damage(70'000, '\0');
    site.Put("a", part, JournalSite::Lines(1, 50) + damage);
    site.journal->Began("a", site.FileOf("a", part), 1);
    site.journal->Recorded("a", 200);
    std::vector<GatewayValue> values;
    const auto takes = [&](std::size_t wanted) {
        return JournalSite::Until([&] {
            std::ranges::copy(site.journal->Next("a", 10), std::back_inserter(values));
            return values.size() == wanted;
        });
    };
    EXPECT_TRUE(takes(50));
    site.Put("a", part, JournalSite::Lines(1, 50) + damage + "\r\n" + JournalSite::Lines(61, 200));
    EXPECT_TRUE(JournalSite::Until([&] {
        std::ranges::copy(site.journal->Next("a", 10), std::back_inserter(values));
        return !site.journal->Problem().empty();
    }));
    site.journal->SentLive("a", 101, 110);
    site.journal->Acknowledged("a", 1, 101, 110);
    site.journal->Acknowledged("a", 1, 1, 50);
    EXPECT_EQ(site.journal->Waiting("a"), 140);
    const auto file = site.FileOf("a", part);
    site.journal->Noted("a", file, static_cast<std::int64_t>(std::filesystem::file_size(file)), 200);
    auto expected = span(61, 100);
    std::ranges::copy(span(111, 200), std::back_inserter(expected));
    const auto behind = site.Drain("a");
    EXPECT_EQ(numbersOf(behind), expected);
    EXPECT_TRUE(std::ranges::all_of(behind, [](const auto& value) { return value.sequence == value.value_mm; }));
    EXPECT_EQ(site.journal->Dropped("a"), 10);
    EXPECT_EQ(site.journal->Problem(), "");
}

TEST(Journal, TheOldestFilesGoFirstAndAreCounted)
{
    JournalSite site;
    const auto now = [] { return std::filesystem::file_time_type::clock::now(); };
    for (const std::string sensor : {"a", "b"}) {
        for (std::int32_t part = 1; part <= 4; ++part) {
            site.Put(sensor, {{1, 1}, part}, JournalSite::Lines(part * 100 - 99, part * 100), 100);
            const auto hours = std::chrono::hours(24 * (10 - part) + (sensor == "a" ? 1 : 0));
            std::filesystem::last_write_time(site.FileOf(sensor, {{1, 1}, part}), now() - hours);
        }
    }
    const auto outside = site.temporary.Write("outside.rec", "x");
    std::filesystem::create_symlink(outside, site.FileOf("a", {{1, 0x10000}, 1}));
    std::filesystem::create_directory_symlink(site.FileOf("a", {{1, 1}, 1}).parent_path(), site.folder / "REC" / "c");
    std::ofstream(site.folder / "REC" / "a" / "SAVE0001.rec") << std::string(100'000, 'x');
    const double today = 25569.0 + static_cast<double>(std::time(nullptr)) / kSecondsPerDay;

    site.bounds.most_days = 8;
    site.Kill();
    JournalSite::Until([&] { return site.journal->Next("a", 30).size() == 30; });
    site.journal->Acknowledged("a", 1, 1, 30);
    site.journal->Serve(today);
    const auto exists = [&](const char* sensor, std::int32_t part) {
        return std::filesystem::exists(site.FileOf(sensor, {{1, 1}, part})) &&
               std::filesystem::exists(modSidecar::SidecarOf(site.FileOf(sensor, {{1, 1}, part})));
    };
    EXPECT_TRUE(JournalSite::Until([&] { return !exists("a", 2) && !exists("b", 1); }));
    EXPECT_TRUE(exists("a", 3) && exists("b", 2));
    EXPECT_EQ(site.journal->Dropped("a"), 170);
    EXPECT_EQ(site.journal->Dropped("b"), 100);

    site.bounds = {.most_bytes = 20'000, .most_days = 0};
    site.Restart();
    const auto name = site.journal->NameForRecording("b");
    const auto running = *modRecordingName::PartOf(name + ".rec");
    site.Put("b", running, JournalSite::Lines(1, 1000));
    site.journal->Began("b", site.FileOf("b", running), 1);
    site.journal->Recorded("b", 1000);
    site.journal->Serve(today);
    EXPECT_TRUE(JournalSite::Until([&] { return site.journal->Dropped("a") == 370; }));
    EXPECT_TRUE(JournalSite::Until([&] { return site.Drain("b").size() == 1000; }));
    EXPECT_TRUE(std::filesystem::exists(site.FileOf("b", running))) << "is being written";
    EXPECT_TRUE(std::filesystem::exists(outside) &&
                std::filesystem::exists(site.folder / "REC" / "a" / "SAVE0001.rec"));
    EXPECT_EQ(site.journal->Dropped("b"), 400);
}

TEST(Journal, ADeletedFileOfARunningRecordingLeavesTheOthersInOrder)
{
    JournalSite site;
    site.bounds.most_days = 8;
    site.Kill();
    clsRecorder recorder(site.journal->FolderOf("a"));
    recorder.Flush(JournalSite::kTime);
    recorder.StartRecording({.name = site.journal->NameForRecording("a"), .parts = PartsHourly});
    site.journal->Began("a", recorder.FileName, 1);
    const RecordingKey key{site.journal->Run(), 1};
    const auto recordHour = [&](std::int32_t hour) {
        for (std::int32_t mm = hour * 20 - 19; mm <= hour * 20; ++mm) {
            recorder.Record({.value = 1.0 * mm,
                             .value_mm = mm,
                             .unit = 0,
                             .outputFormat = 2,
                             .time = JournalSite::kTime + hour / 24.0 + mm / kSecondsPerDay},
                            "23 C");
            site.journal->Recorded("a", mm);
        }
        EXPECT_TRUE(JournalSite::Until([&] {
            recorder.Flush(JournalSite::kTime);
            return recorder.Figures().waiting == 0;
        }));
        site.journal->Began("a", recorder.FileName, 1);
        return *modRecordingName::PartOf(std::filesystem::path(recorder.FileName).filename().native());
    };
    const auto exists = [&](std::int32_t part) { return std::filesystem::exists(site.FileOf("a", {key, part})); };
    for (std::int32_t hour = 1; hour <= 3; ++hour) {
        EXPECT_EQ(recordHour(hour).part, hour);
    }
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24 * 9);
    for (const std::int32_t part : {1, 3}) {
        std::filesystem::last_write_time(site.FileOf("a", {key, part}), old);
    }
    site.journal->Serve(25569.0 + static_cast<double>(std::time(nullptr)) / kSecondsPerDay);
    EXPECT_TRUE(JournalSite::Until([&] { return !exists(1); }));
    for (std::int32_t hour = 4; hour <= 5; ++hour) {
        EXPECT_EQ(recordHour(hour).part, hour) << "no name comes back";
    }
    const auto values = site.Drain("a");
    EXPECT_EQ(numbersOf(values), span(21, 100));
    EXPECT_TRUE(std::ranges::all_of(values, [](const auto& value) { return value.sequence == value.value_mm; }));
    EXPECT_EQ(site.journal->Dropped("a"), 20);
    EXPECT_EQ(site.journal->Problem(), "");
}

TEST(Journal, AFileThatIsWrittenStaysWhicheverItIs)
{
    JournalSite site;
    const RecordingKey ended{2, 1}, running{2, 21};
    for (const RecordingPart& part : {RecordingPart{ended, 1}, {ended, 2}, {running, 1}, {running, 2}, {running, 3}}) {
        site.Put("a", part, JournalSite::Lines(1, 10));
    }
    const auto surplus =
        modJournalFolder::SurplusOf(site.folder / "REC", {{"a", {{running, 2}}}}, 1, 0, JournalSite::kTime);
    std::vector<RecordingPart> parts;
    std::ranges::transform(surplus, std::back_inserter(parts), [](const auto& file) { return file.file.part; });
    EXPECT_EQ(parts, (std::vector<RecordingPart>{{ended, 1}, {ended, 2}, {running, 1}}))
        << "the recorder may have begun the third one";
}

TEST(Journal, EventsWaitInTheirFile)
{
    JournalSite site;
    const auto file = site.folder / "events";
    for (const char* what : {"line lost", "line back", "refused", "changed"}) {
        GatewayEvent event{.time = 46350.25, .sensor = "a", .what = what, .details = {{"port", "COM \"3\"\n\xFF"}}};
        site.journal->Add(event);
        EXPECT_EQ(event.run, 1);
    }
    site.journal->NextEvents(10);
    site.journal->EventAcknowledged(1, 4);
    JournalSite::Until([&] { return std::ranges::count(TemporaryFolder::Read(file), '\n') == 3; });
    site.journal.reset();
    std::string bytes = TemporaryFolder::Read(file);
    bytes[bytes.find("line back")] = 'L';
    std::ofstream(file, std::ios::binary) << bytes << "0123";
    site.Kill();
    for (int i = 0; i < 2; ++i) {
        const auto events = site.journal->NextEvents(10);
        ASSERT_EQ(events.size(), 2U);
        EXPECT_EQ(events[0].what, "line lost");
        EXPECT_EQ(events[1].sequence, 3);
        EXPECT_TRUE(site.journal->NextEvents(10).empty());
        site.journal->Unsent();
    }
    site.journal->EventAcknowledged(1, 1);
    site.journal->EventAcknowledged(1, 3);
    EXPECT_TRUE(JournalSite::Until([&] { return TemporaryFolder::Read(file).empty(); }));
}

TEST(Journal, EventsThatHadToGoAreCounted)
{
    JournalSite site;
    for (int i = 1; i <= 2600; ++i) {
        GatewayEvent event{.time = 46350.25, .sensor = "a", .what = "line lost"};
        site.journal->Add(event);
    }
    site.Restart();
    const auto events = site.journal->NextEvents(2000);
    ASSERT_GT(events.size(), 900U);
    EXPECT_EQ(events.front().what, "dropped");
    ASSERT_EQ(events.front().details.size(), 1U);
    EXPECT_EQ(events.front().details.front().second, std::to_string(2600 - (events.size() - 1)));
    EXPECT_TRUE(std::ranges::all_of(events.begin() + 1, events.end(),
                                    [](const GatewayEvent& event) { return event.what == "line lost"; }));
}

TEST(Journal, ARunNumberIsNeverUsedTwice)
{
    JournalSite site;
    EXPECT_EQ(site.journal->Run(), 1);
    for (const char* damaged : {"", "x", "-7", "99999999999999999999999", "0"}) {
        site.Put("a", {{41, 1}, 1}, "");
        std::ofstream(site.folder / "run") << damaged;
        site.Kill();
        EXPECT_EQ(site.journal->Run(), 42) << damaged;
    }
    site.Kill();
    EXPECT_EQ(site.journal->Run(), 43);
}

TEST(Journal, AFullDiskIsReportedAndTriedAgain)
{
    JournalSite site;
    {
        const FullDisk full;
        site.Kill();
        EXPECT_NE(site.journal->Problem(), "");
        EXPECT_GT(site.journal->Run(), 1'000'000) << "a number that could not be saved is none that comes again";
        GatewayEvent event{.time = 1.0, .sensor = "a", .what = "line lost"};
        site.journal->Add(event);
    }
    EXPECT_TRUE(JournalSite::Until([&] { return site.journal->Problem().empty(); })) << site.journal->Problem();
    const auto run = site.journal->Run();
    EXPECT_TRUE(JournalSite::Until([&] { return !TemporaryFolder::Read(site.folder / "events").empty(); }));
    site.Kill();
    EXPECT_EQ(site.journal->Run(), run + 1);
    EXPECT_EQ(site.journal->NextEvents(9).size(), 1U);
}

TEST(Journal, ReadsARecordingWhileItIsWritten)
{
    JournalSite site;
    clsRecorder recorder(site.journal->FolderOf("a"));
    recorder.Describe = [](const clsRecorder::Period& period) {
        RecordingInfo info;
        info.isSensorKnown = true;
        info.parameters.DistanceUnit = 3;
        info.start = period.start.value_or(period.now);
        info.end = period.start ? std::optional(period.now) : std::nullopt;
        return info;
    };
    recorder.Flush(JournalSite::kTime);
    recorder.StartRecording({.name = site.journal->NameForRecording("a"), .parts = PartsHourly});
    site.journal->Began("a", recorder.FileName, 1);
    std::vector<GatewayValue> values;
    for (std::int32_t mm = 1; mm <= 3000; ++mm) { // over three hours
        recorder.Record({.value = 1.0 * mm,
                         .value_mm = mm,
                         .unit = 3,
                         .outputFormat = 2,
                         .time = JournalSite::kTime + mm * 4.0 / kSecondsPerDay},
                        "23 C");
        site.journal->Recorded("a", mm);
        for (const GatewayValue& value : site.journal->Next("a", 10)) {
            values.push_back(value);
            EXPECT_LE(value.sequence, mm);
        }
    }
    recorder.Stop();
    site.journal->Ended("a");
    for (const GatewayValue& value : values) {
        site.journal->Acknowledged("a", 1, value.sequence, value.sequence);
    }
    std::ranges::copy(site.Drain("a"), std::back_inserter(values));
    EXPECT_EQ(numbersOf(values), span(1, 3000));
    EXPECT_TRUE(std::ranges::all_of(
        values, [](const GatewayValue& value) { return value.unit == 3 && value.sequence == value.value_mm; }));
    EXPECT_TRUE(std::filesystem::exists(site.FileOf("a", {{1, 1}, 4})));
}
