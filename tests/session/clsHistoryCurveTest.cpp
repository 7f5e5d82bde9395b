// The curve of a stretch of the history.
#include "session/clsHistoryCurve.h"

#include "base/Days.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

constexpr double kNoon = 46000.5;
constexpr double kSecond = 1.0 / kSecondsPerDay;

void add(clsHistory& history, double time, std::int32_t value_mm)
{
    const Measurement sample{.value = double(value_mm), .value_mm = value_mm, .time = time};
    history.Add({&sample, 1}, {});
}

clsHistoryCurve::View viewOf(double begin, double end, std::int32_t columns = 200)
{
    return {begin, columns / (end - begin), columns, 10.0, true}; // centimetres
}

/// The lowest and highest value of each column of pixels.
std::map<int, std::array<double, 2>> reachOf(const clsCurveColumns& columns)
{
    std::map<int, std::array<double, 2>> found;
    for (const ColumnSpan& span : columns.Spans()) {
        const int column = (span.column - columns.FirstColumn()) / clsHistoryCurve::kFineColumns;
        auto& reach = found.try_emplace(column, std::array{span.low, span.high}).first->second;
        reach = {std::min(reach[0], span.low), std::max(reach[1], span.high)};
    }
    return found;
}

int runsOf(const clsCurveColumns& columns)
{
    return static_cast<int>(std::ranges::count_if(columns.Spans(), &ColumnSpan::beginsRun));
}

/// Values that come faster than columns, with missing echoes in the midst.
void fill(clsHistory& history, int from, int to)
{
    for (int i = from; i < to; ++i) {
        const bool isLost = i / 1000 % 3 == 1 && i % 1000 < 400;
        add(history, kNoon + i * 0.01 * kSecond, isLost ? kMarkerNoEcho : 1000 + i % 7 * 10 + i / 100);
    }
}

TEST(HistoryCurve, ShowsManyValuesAsAWalkOverAllOfThemWould)
{
    clsHistory history;
    fill(history, 0, 6000);
    const auto view = viewOf(kNoon + 5 * kSecond, kNoon + 55 * kSecond);
    clsHistoryCurve curve;
    clsCurveColumns reduced;
    curve.ReduceTo(reduced, history, view);
    std::map<int, std::array<double, 2>> expected;
    for (std::size_t i = 0; i < history.Size(); ++i) {
        const HistoryEntry entry = history.At(i);
        const int column = static_cast<int>(std::floor(entry.place * view.perDay + 1e-3) -
                                            std::floor(view.begin * view.perDay + 1e-3));
        if (column >= 0 && column < view.columns && entry.kind == MeasurementKind::Distance) {
            const double value = entry.value_mm / view.unit_mm;
            auto& reach = expected.try_emplace(column, std::array{value, value}).first->second;
            reach = {std::min(reach[0], value), std::max(reach[1], value)};
        }
    }
    const auto found = reachOf(reduced);
    ASSERT_EQ(found.size(), expected.size());
    for (const auto& [column, reach] : expected) {
        // Where a line leads from the column before it may reach further.
        EXPECT_LE(found.at(column)[0], reach[0]) << column;
        EXPECT_GE(found.at(column)[1], reach[1]) << column;
        EXPECT_NEAR(found.at(column)[0], reach[0], 7.0) << column;
    }
    EXPECT_EQ(runsOf(reduced), 3);
    const auto values = curve.ValuesOf(history, view);
    std::array all = expected.begin()->second;
    for (const auto& [column, reach] : expected) {
        all = {std::min(all[0], reach[0]), std::max(all[1], reach[1])};
    }
    EXPECT_EQ(values.value().others, all);
}

TEST(HistoryCurve, ASpikeAmongManyValuesIsNoneOfTheOthers)
{
    clsHistory history;
    fill(history, 0, 3000);
    add(history, kNoon + 30 * kSecond, 900000);
    fill(history, 3001, 6000);
    const auto view = viewOf(kNoon, kNoon + 60 * kSecond);
    const auto values = clsHistoryCurve().ValuesOf(history, view).value();
    ASSERT_EQ(values.spikes.size(), 1U);
    EXPECT_EQ(values.spikes[0].y, 90000.0);
    EXPECT_NEAR(values.spikes[0].x, kNoon + 30 * kSecond, 1.0 / view.perDay);
    EXPECT_LT(values.others[1], 200.0);
}

/// A curve that moves, and grows, is the one that is seen for the first time.
TEST(HistoryCurve, MovesAndGrowsAsIfItWereSeenForTheFirstTime)
{
    clsHistory history;
    fill(history, 0, 9000);
    clsHistoryCurve kept;
    clsCurveColumns moved, anew;
    double begin = kNoon + 20 * kSecond;
    int size = 9000;
    for (const double step : {0.0, 1.0, -3.0, 0.4, 30.0, -60.0, 100.0, 2.0}) {
        begin += step * kSecond;
        const auto view = viewOf(begin, begin + 50 * kSecond);
        kept.ReduceTo(moved, history, view);
        clsHistoryCurve().ReduceTo(anew, history, view);
        ASSERT_EQ(moved.Spans().size(), anew.Spans().size()) << step;
        for (std::size_t i = 0; i < moved.Spans().size(); ++i) {
            ASSERT_EQ(moved.Spans()[i].low, anew.Spans()[i].low) << step << ' ' << i;
            ASSERT_EQ(moved.Spans()[i].high, anew.Spans()[i].high) << step << ' ' << i;
        }
        fill(history, size, size + 333);
        size += 333;
    }
}

TEST(HistoryCurve, JoinsNothingAcrossAClockThatWasSet)
{
    for (const int perSecond : {1, 100}) { // few values, many values
        clsHistory history;
        for (const int hour : {2, 2}) {
            for (int i = 0; i < 60 * perSecond; ++i) {
                add(history, 46000.0 + hour / 24.0 + double(i) / perSecond * kSecond, 1000);
            }
        }
        clsHistoryCurve curve;
        clsCurveColumns reduced;
        const PlaceRange all = history.Range();
        curve.ReduceTo(reduced, history, viewOf(all.begin, all.end));
        EXPECT_EQ(runsOf(reduced), 2) << perSecond;
    }
}

/// In the shortest window, far from day 0, values are where they belong.
TEST(HistoryCurve, StaysExactWithinAMillisecond)
{
    clsHistory history;
    for (int i = 0; i < 10; ++i) {
        add(history, kNoon + i * 0.0001 * kSecond, 1000 + i);
    }
    const double begin = kNoon - 0.00005 * kSecond;
    const auto view = viewOf(begin, begin + 0.001 * kSecond, 4000);
    clsHistoryCurve curve;
    clsCurveColumns reduced;
    curve.ReduceTo(reduced, history, view);
    ASSERT_EQ(curve.Dots(history, view).Added(), 10U);
    int i = 0;
    const auto dots = curve.Dots(history, view).Readable();
    for (const ChartPoint& dot : dots[0]) {
        const TimeWindow window = clsHistoryCurve::DotsWindow(view);
        EXPECT_NEAR(dot.x * window.perDay - window.first, 200.0 + 400.0 * i++, 5.0);
    }
    EXPECT_EQ(runsOf(reduced), 1);
}

} // namespace
