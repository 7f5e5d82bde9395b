#include "gateway/modPositions.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>

TEST(Positions, DamageCostsOneSensorAtMost)
{
    const std::vector<SensorPosition> sensors{
        {"silo 1", 7, {{{12, 1, 1}, {3, 4711, 90000, 72001}, 90005, {{90010, 90020}, {90030, 90030}}}}},
        {"Kran", 0, {{{3, 1, 1}, {1, 0, 1, 1}, 1}, {{4, 501, 2}, {2, 10, 600, 590}, 600, {{602, 700}}}}},
        {"leer", 0}};
    const std::string good = modPositions::Write(sensors);
    ASSERT_EQ(modPositions::Read(good), sensors);
    const auto lineOf = [&](std::size_t at) {
        return std::count(good.begin(), good.begin() + static_cast<long>(at), '\n');
    };
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (const char other : {'\0', '\n', '\t', '9', static_cast<char>(good[at] ^ 1)}) {
            std::string bad = good;
            bad[at] = other;
            const auto read = modPositions::Read(bad);
            // Without a line end, two lines are damaged.
            const std::size_t most = good[at] == '\n' ? 2 : 1;
            EXPECT_GE(read.size(), sensors.size() - most) << at;
            for (const SensorPosition& sensor : read) {
                EXPECT_NE(std::ranges::find(sensors, sensor), sensors.end()) << at;
            }
        }
        EXPECT_EQ(modPositions::Read(good.substr(0, at)).size(),
                  static_cast<std::size_t>(lineOf(at)) + (good[at] == '\n' ? 1 : 0));
    }
}

TEST(Positions, LinesThatContradictThemselvesAreDamaged)
{
    for (const char* text :
         {"a\t0\t1:1:1:1:0:5:1:4", "a\t0\t1:1:1:1:0:1:1:1,1-3", "a\t0\t1:1:1:1:0:1:1:1,5-4", "a\t0\t1:1:1:1:0:1:1",
          "a\t0\t1:1:1:0:0:1:1:1", "a\t0\t2:1:1:1:0:1:1:1\t1:1:1:1:0:1:1:1", "a/b\t0", "a\t-1",
          "a\t99999999999999999999", "a\t0\t1:1:1:1:0:1:1:1:1", "a\t0\t1:5:1:1:0:4:4:4"}) {
        EXPECT_TRUE(modPositions::Read(modPositions::WithChecksum(text) + '\n').empty()) << text;
    }
}

TEST(Positions, RangesAreASetOfNumbers)
{
    std::mt19937 random(7);
    clsRanges ranges;
    std::set<std::int64_t> model;
    for (int i = 0; i < 3000; ++i) {
        const auto first = static_cast<std::int64_t>(random() % 200),
                   last = first + static_cast<std::int64_t>(random() % 9) - 1;
        const bool adds = random() % 2 == 0;
        adds ? ranges.Add(first, last) : ranges.Remove(first, last);
        for (std::int64_t number = first; number <= last; ++number) {
            adds ? static_cast<void>(model.insert(number)) : static_cast<void>(model.erase(number));
        }
        ASSERT_EQ(ranges.Count(), std::ssize(model));
        ASSERT_EQ(ranges.Contains(first), model.contains(first));
        ASSERT_EQ(ranges.Count(50, 120), std::distance(model.lower_bound(50), model.upper_bound(120)));
        for (std::size_t at = 1; at < ranges.All().size(); ++at) {
            ASSERT_GT(ranges.All()[at].first, ranges.All()[at - 1].last + 1);
        }
    }
}

TEST(Positions, NamesOfRecordingsReadBack)
{
    for (const RecordingPart& part : {RecordingPart{{12, 1}, 1}, {{12, 3601, 2}, 17}, {{1790000000, 12345678901}, 2}}) {
        EXPECT_EQ(modRecordingName::PartOf(modRecordingName::FileOf(part)), part);
    }
    EXPECT_EQ(modRecordingName::FileOf({{12, 1}, 2}), "Run 000012 from 0000000001 (2).rec");
    for (const char* name : {"Run 12 from 1.rec", "SAVE0001.rec", "Run 000012 from 0000000001 (1).rec",
                             "Run 000012 from 0000000001.json", "Run 000012 from 0000000000.rec", ""}) {
        EXPECT_FALSE(modRecordingName::PartOf(name)) << name;
    }
}
