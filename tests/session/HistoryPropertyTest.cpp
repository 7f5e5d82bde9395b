// The history against a walk over everything that was added to it: columns, statistics and gaps at any width, in
// memory, thinned, and read again from a recording. The series are random and hostile.
#include "session/clsHistory.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double kBegin = 45000.4;
constexpr double kMs = 1.0 / kMsPerDay;

/// What a walk knows of a history.
using Walk = std::vector<HistoryEntry>;

Walk walkOf(const clsHistory& history)
{
    Walk walk;
    for (std::size_t i = 0; i < history.Size(); ++i) {
        walk.push_back(history.At(i));
        EXPECT_TRUE(walk.size() < 2 || walk[i - 1].place <= walk[i].place) << i;
    }
    return walk;
}

/// A place is a whole number of these; as a number of days it is rounded.
long double ticksOf(double place)
{
    return std::round(place * clsHistory::kTicksPerDay);
}

bool isDistance(const HistoryEntry& entry, bool showZero = false)
{
    return !entry.gap && (entry.kind == MeasurementKind::Distance || (showZero && entry.value_mm == 0));
}

/// The end of a range may be rounded.
double endOf(const PlaceRange& range)
{
    return range.end + 0.25 / clsHistory::kTicksPerDay;
}

bool isIn(const PlaceRange& range, const HistoryEntry& entry)
{
    return entry.place >= range.begin && entry.place <= endOf(range);
}

ValueSummary columnOf(const Walk& walk, double from, double to, bool showZero)
{
    ValueSummary found;
    bool isBroken = true;
    for (const HistoryEntry& entry : walk) {
        if (entry.place >= to) {
            break;
        }
        const bool isInside = entry.place >= from;
        if (!isDistance(entry, showZero)) {
            auto& count = entry.gap                                  ? found.gaps
                          : entry.kind == MeasurementKind::TempError ? found.tempError
                                                                     : found.noEcho;
            count += isInside ? 1 : 0;
            isBroken = true;
            continue;
        }
        if (isInside && found.valid++ == 0) {
            found.joinsBefore = !isBroken;
            found.minimum = found.maximum = found.first = entry.value_mm;
        } else if (isInside) {
            found.isWhole = found.isWhole && !isBroken;
        }
        if (isInside) {
            found.minimum = std::min(found.minimum, entry.value_mm);
            found.maximum = std::max(found.maximum, entry.value_mm);
            found.last = entry.value_mm;
        }
        isBroken = false;
    }
    return found;
}

std::string textOf(const ValueSummary& c)
{
    std::string text;
    for (const std::int64_t number : {c.valid, c.noEcho, c.tempError, c.gaps, std::int64_t{c.minimum},
                                      std::int64_t{c.maximum}, std::int64_t{c.first}, std::int64_t{c.last},
                                      std::int64_t{c.joinsBefore}, std::int64_t{c.valid == 0 || c.isWhole}}) {
        text += std::to_string(number) + " ";
    }
    return text;
}

void expectColumns(const clsHistory& history, const Walk& walk, const TimeWindow& window, bool showZero)
{
    const std::vector<ValueSummary> columns = history.Columns(window, showZero);
    ASSERT_EQ(std::ssize(columns), window.columns);
    for (std::int32_t i = 0; i < window.columns; ++i) {
        const double from = (window.first + i) / window.perDay, to = (window.first + (i + 1)) / window.perDay;
        ASSERT_EQ(textOf(columns[static_cast<std::size_t>(i)]), textOf(columnOf(walk, from, to, showZero)))
            << "column " << i << " of " << window.columns << ", " << window.perDay << " a day" << showZero;
    }
}

void expectStatistics(const clsHistory& history, const Walk& walk, const PlaceRange& range)
{
    Statistics expected;
    long double sum = 0, times = 0, squares = 0, timeSquares = 0, products = 0;
    double from = 0.0, to = 0.0;
    for (const HistoryEntry& entry : walk) {
        if (!isIn(range, entry)) {
            continue;
        }
        to = entry.place;
        from = from == 0.0 ? to : from;
        expected.values += entry.gap ? 0 : 1;
        if (isDistance(entry)) {
            const double value = entry.value_mm;
            expected.minimum = expected.valid == 0 ? value : std::min(expected.minimum, value);
            expected.maximum = expected.valid == 0 ? value : std::max(expected.maximum, value);
            ++expected.valid;
            sum += value;
            times += ticksOf(entry.place) - ticksOf(kBegin);
        }
    }
    const auto n = static_cast<long double>(expected.valid);
    for (const HistoryEntry& entry : walk) {
        if (isIn(range, entry) && isDistance(entry)) {
            const long double value = entry.value_mm - sum / n;
            const long double time = ticksOf(entry.place) - ticksOf(kBegin) - times / n;
            squares += value * value;
            timeSquares += time * time;
            products += value * time;
        }
    }
    const Statistics found = history.StatisticsOf(range);
    ASSERT_EQ(found.values, expected.values);
    ASSERT_EQ(found.valid, expected.valid);
    const auto seconds = static_cast<double>((ticksOf(to) - ticksOf(from)) / 10000);
    const double rate = seconds > 0 ? static_cast<double>(found.values - 1) / seconds : 0.0;
    EXPECT_NEAR(found.rate_perSecond, rate, 1e-9 * rate);
    if (expected.valid == 0) {
        return;
    }
    EXPECT_EQ(found.minimum, expected.minimum);
    EXPECT_EQ(found.maximum, expected.maximum);
    const double scale = std::max({1.0, std::fabs(found.minimum), std::fabs(found.maximum)});
    EXPECT_NEAR(found.mean, static_cast<double>(sum / n), 1e-9 * scale);
    EXPECT_NEAR(found.deviation, n > 1 ? static_cast<double>(std::sqrt(squares / (n - 1))) : 0.0, 1e-9 * scale);
    if (timeSquares > 0) {
        const long double perTick = products / timeSquares, ticks = std::sqrt(timeSquares / n);
        EXPECT_NEAR(found.drift_perMinute, static_cast<double>(perTick * 600000),
                    1e-9 * 600000 * scale / static_cast<double>(ticks));
    }
}

void expectGaps(const clsHistory& history, const Walk& walk, const PlaceRange& range, double shortest)
{
    std::vector<HistoryGap> expected;
    const HistoryEntry* from = nullptr;
    bool isBroken = false;
    GapReason reason = GapReason::NoEcho;
    for (const HistoryEntry& entry : walk) {
        if (!isDistance(entry)) {
            isBroken = true;
            reason = entry.gap.value_or(reason);
            continue;
        }
        if (from != nullptr && isBroken && entry.place - from->place >= shortest && from->place <= endOf(range) &&
            entry.place >= range.begin) {
            expected.push_back({{from->place, entry.place}, reason});
        }
        from = &entry;
        isBroken = false;
        reason = GapReason::NoEcho;
    }
    const auto found = history.GapsIn(range, shortest);
    ASSERT_EQ(found.size(), expected.size()) << shortest;
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].range, expected[i].range);
        EXPECT_EQ(found[i].reason, expected[i].reason) << i;
    }
    const auto first = history.GapAt(range.begin);
    if (range.begin == range.end && shortest == 0.0) {
        ASSERT_EQ(first.has_value(), !expected.empty());
        EXPECT_TRUE(!first || first->range == expected.front().range);
    }
}

void expectNearest(const clsHistory& history, const Walk& walk, double place)
{
    const auto found = history.NearestDistance(place);
    double least = std::numeric_limits<double>::infinity();
    for (const HistoryEntry& entry : walk) {
        least = isDistance(entry) ? std::min(least, std::fabs(entry.place - place)) : least;
    }
    ASSERT_EQ(found.has_value(), std::isfinite(least));
    EXPECT_TRUE(!found || std::fabs(walk[*found].place - place) == least);

    const std::size_t at = history.IndexAt(place);
    std::optional<std::size_t> previous, next;
    for (std::size_t i = 0; i < walk.size(); ++i) {
        if (isDistance(walk[i])) {
            previous = i < at ? i : previous;
            next = i > at && !next ? i : next;
        }
    }
    EXPECT_EQ(history.PreviousDistance(at), previous);
    EXPECT_EQ(history.NextDistance(at), next);
}

/// A random series of so many lines, some of them after gaps.
class clsSeries {
public:
    explicit clsSeries(unsigned seed) : m_random(seed) {}
    std::size_t upTo(std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(m_random); }
    bool oneOf(std::size_t number) { return upTo(number - 1) == 0; }

    struct Line {
        RecordedSample sample;
        std::optional<GapReason> gap{};
    };
    std::vector<Line> Make(std::size_t lines, std::size_t leastCalm = 1)
    {
        constexpr double kSteps[] = {0.0, 0.02 * kMs, kMs, kMs, kMs, 20 * kMs, 1000 * kMs};
        constexpr std::int32_t kOften[] = {1000, 12345, 80000, 600000000};
        std::vector<Line> series;
        double time = kBegin;
        const std::size_t calm = leastCalm + upTo(300);
        double step = kMs;
        for (std::size_t i = 0; i < lines; ++i) {
            step = oneOf(calm) ? kSteps[upTo(6)] : step;
            time += step;
            Line line{{time, kOften[upTo(m_most)] + static_cast<std::int32_t>(upTo(100))}};
            line.sample.value_mm = isRunning(calm) ? m_running : line.sample.value_mm;
            if (oneOf(calm)) {
                constexpr std::int32_t kRare[] = {0, -1, 2147483646, -2147483647 - 1, -2147483640, kMarkerNoEcho};
                line.sample.value_mm = kRare[upTo(5)];
            }
            if (oneOf(10 * calm)) {
                constexpr double kJumps[] = {3600000 * kMs, -3600000 * kMs, -5 * kMs, 40.0, 8000.0, -7000.0};
                line.sample.time = time = std::clamp(time + kJumps[upTo(5)], -9e4, 9e5);
            }
            if (oneOf(calm)) {
                line.gap = static_cast<GapReason>(upTo(5));
            }
            series.push_back(line);
        }
        return series;
    }

private:
    /// A long run of the same, now and then.
    bool isRunning(std::size_t calm)
    {
        if (oneOf(5 * calm)) {
            constexpr std::int32_t kRuns[] = {kMarkerNoEcho, kMarkerTempError, 0, 7};
            m_running = kRuns[upTo(3)];
            m_left = upTo(3000);
        }
        return m_left > 0 && m_left-- > 0;
    }

    std::mt19937 m_random;
    std::size_t m_most = upTo(3);
    std::int32_t m_running = 0;
    std::size_t m_left = 0;
};

void add(clsHistory& history, const std::vector<clsSeries::Line>& lines)
{
    for (const auto& [sample, gap] : lines) {
        if (gap) {
            history.AddGap(*gap);
        }
        history.AddPlayed(sample.time, sample.value_mm);
    }
}

/// A range of any size about any entry.
PlaceRange rangeIn(clsSeries& random, const Walk& walk)
{
    const double at = walk[random.upTo(walk.size() - 1)].place;
    if (random.oneOf(3)) {
        return {at, walk[random.upTo(walk.size() - 1)].place};
    }
    const double length = std::pow(10.0, static_cast<double>(random.upTo(100)) / 10.0 - 9.0); // days
    return {at - length * static_cast<double>(random.upTo(10)) / 10.0, at + length};
}

void expectLikeWalk(const clsHistory& history, clsSeries& random, int tries)
{
    const Walk walk = walkOf(history);
    for (int i = 0; i < tries && !testing::Test::HasFatalFailure(); ++i) {
        const PlaceRange range = rangeIn(random, walk);
        const auto columns = static_cast<std::int32_t>(1 + random.upTo(40));
        const double perDay = columns / std::max(std::fabs(range.Length()), 1e-10);
        expectColumns(history, walk, {std::floor(range.begin * perDay), perDay, columns}, random.oneOf(2));
        expectStatistics(history, walk, range);
        const double lengths[] = {0.0, 0.0, 3.05 * kMs, std::fabs(range.Length()) / 100};
        expectGaps(history, walk, range, lengths[random.upTo(3)]);
        expectGaps(history, walk, {range.begin, range.begin}, 0.0);
        expectNearest(history, walk, range.begin);
    }
}

TEST(HistoryProperty, AnswersAsAWalkOverAllSamplesWould)
{
    for (unsigned seed = 1; seed <= 12 && !testing::Test::HasFatalFailure(); ++seed) {
        SCOPED_TRACE(seed);
        clsSeries random(seed);
        clsHistory history;
        add(history, random.Make(seed % 3 == 0 ? 40000 : random.upTo(2000) + 1));
        expectLikeWalk(history, random, 30);
    }
}

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

TEST(HistoryProperty, ReadsAgainWhatItHasNoRoomFor)
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

TEST(HistoryProperty, AColumnHasAllThatASummaryMayHaveInIt)
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

TEST(HistoryProperty, ADiskThatFailsForAWhileIsReadAgainLater)
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

TEST(HistoryProperty, SaysWhatCannotBeReadAgain)
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

TEST(HistoryProperty, ThinsTheOldestToTheLowestAndHighestOfEachSecond)
{
    clsHistory all, history(1);
    std::mt19937 random(1);
    constexpr std::int32_t kSamples = 600000;
    for (std::int32_t i = 0; i < kSamples; ++i) {
        std::int32_t value = 1000 + static_cast<std::int32_t>(random() % 1000);
        value = i % 40000 == 20000 ? 3000000 + i : i % 3001 == 0 ? kMarkerNoEcho : value;
        for (clsHistory* each : {&all, &history}) {
            if (i % 100000 == 99999) {
                each->AddGap(GapReason::LineLost);
            }
            each->AddPlayed(kBegin + i * kMs, value);
        }
        ASSERT_LE(history.Bytes(), clsHistory::kLeastBytes);
    }
    EXPECT_EQ(static_cast<std::int64_t>(all.Size()), static_cast<std::int64_t>(history.Size()) + history.Forgotten());
    EXPECT_EQ(history.Range().begin, all.Range().begin) << "nothing is gone altogether";
    ASSERT_TRUE(history.ThinnedBefore());
    EXPECT_GT(*history.ThinnedBefore(), kBegin + 400000 * kMs);
    const Walk walk = walkOf(all);
    expectStatistics(history, walk, all.Range());
    const PlaceRange part{kBegin + 30000 * kMs, kBegin + 100500 * kMs};
    EXPECT_TRUE(history.StatisticsOf(part).isThinned);
    EXPECT_EQ(history.StatisticsOf(part).maximum, all.StatisticsOf(part).maximum);
    EXPECT_EQ(history.StatisticsOf(part).minimum, all.StatisticsOf(part).minimum);
    // Whole seconds have the same lowest and highest values, and the same gaps.
    const double perSecond = kSecondsPerDay;
    const auto thinned = history.Columns({std::ceil(kBegin * perSecond), perSecond, 599});
    const auto full = all.Columns({std::ceil(kBegin * perSecond), perSecond, 599});
    for (std::size_t i = 0; i < full.size(); ++i) {
        ASSERT_EQ(thinned[i].minimum, full[i].minimum) << i;
        ASSERT_EQ(thinned[i].maximum, full[i].maximum) << i;
        ASSERT_EQ(thinned[i].gaps, full[i].gaps) << i;
        ASSERT_EQ(thinned[i].noEcho > 0, full[i].noEcho > 0) << i;
    }
    const auto gaps = history.GapsIn(all.Range(), 0.0);
    EXPECT_EQ(std::ranges::count(gaps, GapReason::LineLost, &HistoryGap::reason), 6);
}

TEST(HistoryProperty, StaysWithinItsBoundWhateverComes)
{
    using Time = std::function<double(std::int32_t)>;
    const std::pair<const char*, Time> rows[] = {
        {"back and forth", [](std::int32_t i) { return kBegin + (i % 2 == 0 ? i : -i) * kMs; }},
        {"always back", [](std::int32_t i) { return kBegin - i * kMs; }},
        {"an hour on and off", [](std::int32_t i) { return kBegin + (i % 2) / 24.0; }},
        {"years", [](std::int32_t i) { return kBegin + (i % 100) * 20000.0; }},
        {"weeks", [](std::int32_t i) { return -6e5 + i * 7.0; }},
        {"one time", [](std::int32_t) { return kBegin; }},
        {"outside the calendar",
         [](std::int32_t i) {
             constexpr double kInfinity = std::numeric_limits<double>::infinity();
             constexpr double kTimes[] = {std::numeric_limits<double>::quiet_NaN(), kInfinity, -kInfinity, 1e300,
                                          kBegin};
             return kTimes[i % 5];
         }},
        {"the ends of the calendar", [](std::int32_t i) { return i % 2 == 0 ? kFirstDay : kEndOfDays - 1e-6; }}};
    for (const auto& [name, timeOf] : rows) {
        SCOPED_TRACE(name);
        clsHistory history(1);
        double last = -1e9;
        for (std::int32_t i = 0; i < 250000; ++i) {
            history.AddPlayed(timeOf(i), i % 7);
            ASSERT_LE(history.Bytes(), clsHistory::kLeastBytes) << i;
            const double place = history.Range().end;
            ASSERT_GE(place, last) << i;
            last = place;
        }
        ASSERT_GT(history.Size(), 100U);
        const PlaceRange range = history.Range();
        EXPECT_TRUE(std::isfinite(range.begin) && std::isfinite(range.end));
        const Walk walk = walkOf(history);
        const double perDay = 50 / std::max(range.Length(), 1e-10);
        for (const TimeWindow& window :
             {TimeWindow{std::floor(range.begin * perDay), perDay, 60}, TimeWindow{0.0, 0.0, 5},
              TimeWindow{0, 1e300, 5}, TimeWindow{std::numeric_limits<double>::quiet_NaN(), 1.0, 5},
              TimeWindow{1e300, 1e-300, 5}}) {
            std::int64_t values = 0;
            for (const ValueSummary& column : history.Columns(window)) {
                values += column.valid + column.noEcho;
            }
            EXPECT_TRUE(values > 0 || window.columns != 60);
        }
        history.NearestDistance(std::numeric_limits<double>::quiet_NaN());
        EXPECT_EQ(history.CountIn({-1e300, 1e300}), walk.size());
        EXPECT_EQ(history.CountIn({1e300, -1e300}), 0U);
    }
}

} // namespace
