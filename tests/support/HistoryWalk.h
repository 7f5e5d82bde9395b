// A walk over everything that a history holds, and what it says to each question: columns, statistics, gaps, the
// nearest distance. Random and hostile series to ask about.
#pragma once

#include "session/clsHistory.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace history_walk {

inline constexpr double kBegin = 45000.4;
inline constexpr double kMs = 1.0 / kMsPerDay;

/// What a walk knows of a history.
using Walk = std::vector<HistoryEntry>;

inline Walk walkOf(const clsHistory& history)
{
    Walk walk;
    for (std::size_t i = 0; i < history.Size(); ++i) {
        walk.push_back(history.At(i));
        EXPECT_TRUE(walk.size() < 2 || walk[i - 1].place <= walk[i].place) << i;
    }
    return walk;
}

/// A place is a whole number of these; as a number of days it is rounded.
inline long double ticksOf(double place)
{
    return std::round(place * clsHistory::kTicksPerDay);
}

inline bool isDistance(const HistoryEntry& entry, bool showZero = false)
{
    return !entry.gap && (entry.kind == MeasurementKind::Distance || (showZero && entry.value_mm == 0));
}

/// The end of a range may be rounded.
inline double endOf(const PlaceRange& range)
{
    return range.end + 0.25 / clsHistory::kTicksPerDay;
}

inline bool isIn(const PlaceRange& range, const HistoryEntry& entry)
{
    return entry.place >= range.begin && entry.place <= endOf(range);
}

inline ValueSummary columnOf(const Walk& walk, double from, double to, bool showZero)
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

inline std::string textOf(const ValueSummary& c)
{
    std::string text;
    for (const std::int64_t number : {c.valid, c.noEcho, c.tempError, c.gaps, std::int64_t{c.minimum},
                                      std::int64_t{c.maximum}, std::int64_t{c.first}, std::int64_t{c.last},
                                      std::int64_t{c.joinsBefore}, std::int64_t{c.valid == 0 || c.isWhole}}) {
        text += std::to_string(number) + " ";
    }
    return text;
}

/// What a picture shows of it.
inline std::string outlineOf(const ValueSummary& c)
{
    std::string text;
    for (const std::int64_t number :
         {std::min<std::int64_t>(c.valid, 2), std::int64_t{c.minimum}, std::int64_t{c.maximum}, std::int64_t{c.first},
          std::int64_t{c.last}, std::int64_t{c.joinsBefore}, std::int64_t{c.isCoarse}}) {
        text += std::to_string(number) + " ";
    }
    return text;
}

inline void expectColumns(const clsHistory& history, const Walk& walk, const TimeWindow& window, bool showZero)
{
    const std::vector<ValueSummary> columns = history.Columns(window, showZero);
    std::vector<ValueSummary> outlines;
    history.Outlines(window, showZero, outlines);
    ASSERT_EQ(std::ssize(columns), window.columns);
    ASSERT_EQ(std::ssize(outlines), window.columns);
    for (std::int32_t i = 0; i < window.columns; ++i) {
        const double from = (window.first + i) / window.perDay, to = (window.first + (i + 1)) / window.perDay;
        ASSERT_EQ(textOf(columns[static_cast<std::size_t>(i)]), textOf(columnOf(walk, from, to, showZero)))
            << "column " << i << " of " << window.columns << ", " << window.perDay << " a day" << showZero;
        ASSERT_EQ(outlineOf(outlines[static_cast<std::size_t>(i)]), outlineOf(columns[static_cast<std::size_t>(i)]))
            << "column " << i << " of " << window.columns << ", " << window.perDay << " a day" << showZero;
    }
}

inline void expectStatistics(const clsHistory& history, const Walk& walk, const PlaceRange& range)
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

inline void expectGaps(const clsHistory& history, const Walk& walk, const PlaceRange& range, double shortest)
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

inline void expectNearest(const clsHistory& history, const Walk& walk, double place)
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

inline void add(clsHistory& history, const std::vector<clsSeries::Line>& lines)
{
    for (const auto& [sample, gap] : lines) {
        if (gap) {
            history.AddGap(*gap);
        }
        history.AddPlayed(sample.time, sample.value_mm);
    }
}

/// A range of any size about any entry.
inline PlaceRange rangeIn(clsSeries& random, const Walk& walk)
{
    const double at = walk[random.upTo(walk.size() - 1)].place;
    if (random.oneOf(3)) {
        return {at, walk[random.upTo(walk.size() - 1)].place};
    }
    const double length = std::pow(10.0, static_cast<double>(random.upTo(100)) / 10.0 - 9.0); // days
    return {at - length * static_cast<double>(random.upTo(10)) / 10.0, at + length};
}

inline void expectLikeWalk(const clsHistory& history, clsSeries& random, int tries)
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

} // namespace history_walk
