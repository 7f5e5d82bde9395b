// The history of a recording that has no room for its samples: it reads them again, and says what it cannot read.
#include "tests/support/HistoryWalk.h"

#include <utility>

namespace {

using namespace history_walk;

/// A recording in memory.
struct Recording {
    std::vector<clsSeries::Line> lines;
    std::size_t at = 0;
    int reads = 0;
    bool fails = false; ///< the disk

    RecordingSource Source()
    {
        return {[this] {
                    return LinePosition{0, at};
                },
                [this](const LinePosition& from, std::size_t count, std::vector<RecordedSample>& samples) {
                    ++reads;
                    if (fails) {
                        return false;
                    }
                    for (std::size_t i = from.offset; i < std::min<std::size_t>(from.offset + count, lines.size());
                         ++i) {
                        samples.push_back(lines[i].sample);
                    }
                    return true;
                }};
    }
    void Load(clsHistory& history)
    {
        history.ReadFrom(Source());
        for (at = 0; at < lines.size(); ++at) {
            if (lines[at].gap) {
                history.AddGap(*lines[at].gap);
            }
            history.AddPlayed(lines[at].sample.time, lines[at].sample.value_mm);
            if (history.Bytes() > clsHistory::kLeastBytes) {
                ADD_FAILURE() << at << " lines need " << history.Bytes();
                return;
            }
        }
        history.EndLoading();
    }
};

std::size_t blockOf(const clsHistory& history, std::size_t index)
{
    std::size_t block = 0;
    for (; block < history.Blocks() && index >= history.BlockSize(block); ++block) {
        index -= history.BlockSize(block);
    }
    return block;
}

TEST(HistoryRecording, ReadsAgainWhatItHasNoRoomFor)
{
    for (unsigned seed = 1; seed <= 3 && !testing::Test::HasFatalFailure(); ++seed) {
        SCOPED_TRACE(seed);
        clsSeries random(seed);
        Recording recording{.lines = random.Make(150000, 100)};
        clsHistory all, history(1);
        add(all, recording.lines);
        recording.Load(history);
        ASSERT_EQ(history.Size(), all.Size()) << "nothing is forgotten";
        const Walk walk = walkOf(all), again = walkOf(history);
        EXPECT_GT(recording.reads, 3);
        for (std::size_t i = 0; i < walk.size(); ++i) {
            ASSERT_TRUE(again[i].place == walk[i].place && again[i].time == walk[i].time &&
                        again[i].value_mm == walk[i].value_mm && again[i].gap == walk[i].gap)
                << i;
        }
        for (int i = 0; i < 20 && !testing::Test::HasFatalFailure(); ++i) {
            PlaceRange range = rangeIn(random, walk);
            expectStatistics(history, walk, range);
            expectNearest(history, walk, range.begin);
            const std::size_t first = random.upTo(walk.size() - 4000);
            range = {walk[first].place, walk[first + random.upTo(3000)].place};
            if (blockOf(history, first) + 1 >= blockOf(history, history.IndexAt(range.end) + 1)) { // read at once
                const double perDay = 30 / std::max(range.Length(), 1e-10);
                expectColumns(history, walk, {std::ceil(range.begin * perDay), perDay, 29}, random.oneOf(2));
                expectGaps(history, walk, range, 0.0);
            }
        }
        // Of all columns together nothing is missing, wherever they begin.
        std::int64_t valid = 0, expected = 0, coarse = 0; // each of the latter may count one value that is in another
        for (const ValueSummary& column : history.Columns({-5000.0, 0.02, 50000}, true)) {
            valid += column.valid;
            coarse += column.isCoarse ? 1 : 0;
        }
        for (const HistoryEntry& entry : walk) {
            expected += isDistance(entry, true) ? 1 : 0;
        }
        EXPECT_GE(valid, expected);
        EXPECT_LE(valid, expected + coarse);
        EXPECT_EQ(history.Unreadable(), 0U);
    }
}

/// A saw tooth of 50 values a second for more than a day, with some minutes without values now and then.
struct SawTooth {
    static constexpr std::size_t kLines = 5000000, kRun = 1234567;
    static constexpr double kGap = 300000 * kMs;
    static RecordedSample At(std::size_t i)
    {
        const double gaps = static_cast<double>(i / kRun) * kGap;
        return {kBegin + static_cast<double>(i) * 20 * kMs + gaps, static_cast<std::int32_t>(i % 100000) + 1};
    }
    static bool IsAfterGap(std::size_t i) { return i > 0 && i % kRun == 0; }
    static void Load(clsHistory& history)
    {
        std::size_t at = 0;
        history.ReadFrom({[&at] {
                              return LinePosition{0, at};
                          },
                          [](const LinePosition& from, std::size_t lines, std::vector<RecordedSample>& samples) {
                              for (std::size_t i = 0; i < lines; ++i) {
                                  samples.push_back(At(from.offset + i));
                              }
                              return true;
                          }});
        for (; at < kLines; ++at) {
            if (IsAfterGap(at)) {
                history.AddGap(GapReason::LineLost);
            }
            const RecordedSample sample = At(at);
            history.AddPlayed(sample.time, sample.value_mm);
        }
        history.EndLoading();
    }
};

TEST(HistoryRecording, AColumnHasAllThatASummaryMayHaveInIt)
{
    clsHistory all, history(1);
    SawTooth::Load(all);
    SawTooth::Load(history);
    ASSERT_EQ(history.Size(), all.Size());
    const PlaceRange whole = all.Range();
    clsSeries random(1);
    std::size_t coarse = 0;
    for (int i = 0; i < 60 && !testing::Test::HasFatalFailure(); ++i) {
        const double columns = 1000.0, length = i == 0 ? whole.Length() : std::pow(2.0, -i % 6) * whole.Length();
        const double begin = whole.begin + static_cast<double>(random.upTo(1000)) / 1000 * (whole.Length() - length);
        const TimeWindow window{std::floor(begin * columns / length), columns / length, 1000};
        const auto found = history.Columns(window), exact = all.Columns(window);
        const double longest = clsHistory::kBlockEntries * 20 * kMs + SawTooth::kGap;
        const auto reach = static_cast<std::int32_t>(longest * window.perDay) + 2;
        const auto about = all.Columns({window.first - reach, window.perDay, 1000 + 2 * reach});
        for (std::int32_t c = 0; c < window.columns; ++c) {
            const ValueSummary &of = found[static_cast<std::size_t>(c)], &expected = exact[static_cast<std::size_t>(c)];
            ASSERT_EQ(of.valid > 0, expected.valid > 0) << i << ": " << c;
            if (of.valid == 0) {
                continue;
            }
            coarse += of.isCoarse ? 1 : 0;
            ASSERT_TRUE(of.minimum <= expected.minimum && of.maximum >= expected.maximum) << i << ": " << c;
            ASSERT_EQ(of.joinsBefore, expected.joinsBefore) << i << ": " << c;
            std::int32_t low = expected.minimum, high = expected.maximum;
            for (std::int32_t near = c; near <= c + 2 * reach; ++near) {
                const ValueSummary& beside = about[static_cast<std::size_t>(near)];
                low = beside.valid > 0 ? std::min(low, beside.minimum) : low;
                high = beside.valid > 0 ? std::max(high, beside.maximum) : high;
            }
            ASSERT_TRUE(of.minimum >= low && of.maximum <= high) << i << ": " << c;
            ASSERT_TRUE(of.isCoarse || textOf(of) == textOf(expected)) << i << ": " << c;
        }
        EXPECT_EQ(all.IsCoarse({begin, begin + length}, 1000), false);
    }
    EXPECT_GT(coarse, 5000U);
    EXPECT_TRUE(history.IsCoarse({whole.begin, whole.begin + whole.Length() / 8}, 1000));
    EXPECT_FALSE(history.IsCoarse({whole.begin, whole.begin + 100000 * kMs}, 1000)) << "read again";
    const auto gaps = history.GapsIn(whole, 0.0);
    ASSERT_EQ(gaps.size(), all.GapsIn(whole, 0.0).size());
    EXPECT_EQ(gaps.front().range, all.GapsIn(whole, 0.0).front().range);
}

TEST(HistoryRecording, ADiskThatFailsForAWhileIsReadAgainLater)
{
    clsSeries random(1);
    Recording recording{.lines = random.Make(150000, 100)};
    clsHistory history(1);
    recording.Load(history);
    recording.fails = true;
    EXPECT_FALSE(history.At(5000).isKnown);
    EXPECT_EQ(history.Unreadable(), 1U);
    recording.fails = false;
    recording.reads = 0;
    EXPECT_FALSE(history.At(5000).isKnown) << "a disk that fails is slow";
    EXPECT_EQ(recording.reads, 0);
    for (int i = 0; i < 500; ++i) {
        history.At(5000);
    }
    EXPECT_TRUE(history.At(5000).isKnown);
    EXPECT_EQ(history.Unreadable(), 0U);
}

/// Whether something is wrong with what is told of a recording that has changed.
bool isAsBefore(const HistoryEntry& found, const HistoryEntry& expected)
{
    return !found.isKnown || (found.place == expected.place && found.value_mm == expected.value_mm);
}

TEST(HistoryRecording, SaysWhatCannotBeReadAgain)
{
    clsSeries random(1);
    Recording recording{.lines = random.Make(150000, 100)};
    clsHistory all, history(1);
    add(all, recording.lines);
    recording.Load(history);
    const Walk walk = walkOf(all);
    recording.lines[5000].sample.value_mm += 1; // written over
    recording.lines.resize(90000);              // and cut
    std::size_t unknown = 0;
    for (std::size_t i = 0; i < history.Size(); ++i) {
        const HistoryEntry entry = history.At(i);
        unknown += entry.isKnown ? 0 : 1;
        ASSERT_TRUE(isAsBefore(entry, walk[i])) << i;
    }
    EXPECT_FALSE(history.At(5000).isKnown);
    EXPECT_FALSE(history.At(100000).isKnown);
    EXPECT_GE(history.Unreadable(), 2U);
    EXPECT_LT(unknown, history.Size());
    expectStatistics(history, walk, all.Range());
    const auto nearest = history.NearestDistance(walk[5000].place);
    EXPECT_TRUE(nearest && history.At(*nearest).isKnown && history.At(*nearest).kind == MeasurementKind::Distance);
    const PlaceRange part{walk[6000].place, walk[100500].place};
    const std::int64_t valid = all.StatisticsOf(part).valid;
    EXPECT_TRUE(history.StatisticsOf(part).isThinned);
    EXPECT_NEAR(static_cast<double>(history.StatisticsOf(part).valid), static_cast<double>(valid), 1024.0);
    EXPECT_FALSE(history.Columns({std::floor(part.begin * 1e4), 1e4, 5000}).empty());
    EXPECT_FALSE(history.GapsIn(part, 0.0).empty());
}

} // namespace
