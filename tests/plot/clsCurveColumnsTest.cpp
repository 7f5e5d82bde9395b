// The reduction of a curve to columns.
#include "plot/clsCurveColumns.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

constexpr double kGap = std::numeric_limits<double>::quiet_NaN();

/// "column:low..high" for each span; a run begins with "|".
std::string spansOf(const std::vector<ChartPoint>& points, bool showZero = false)
{
    clsChartData series;
    series.InitChartData(static_cast<std::int32_t>(points.size()));
    for (const ChartPoint& point : points) {
        series.AddChartPoint(point.x, point.y);
    }
    clsCurveColumns columns;
    columns.Update(series, {100.0, 1.0, 10}, showZero);
    std::string text;
    for (const ColumnSpan& span : columns.Spans()) {
        text += (span.beginsRun ? "|" : " ") + std::to_string(span.column) + ":" +
                std::to_string(std::lround(span.low)) + ".." + std::to_string(std::lround(span.high));
    }
    return text;
}

TEST(CurveColumns, KeepsExtremesAndNeverJoinsAcrossAGap)
{
    const double inf = std::numeric_limits<double>::infinity();
    using Row = std::tuple<const char*, std::vector<ChartPoint>, const char*>;
    for (const auto& [why, points, spans] :
         {Row{"extremes of one column", {{101.1, 5}, {101.2, 90}, {101.3, -7}, {101.9, 6}}, "|1:-7..90"},
          Row{"a line through columns", {{101.5, 10}, {103.5, 30}}, "|1:10..15 2:15..25 3:25..30"},
          Row{"a gap within a column", {{101.1, 5}, {101.2, kGap}, {101.3, 90}}, "|1:5..5|1:90..90"},
          Row{"infinite and enormous values",
              {{101, 5}, {102, inf}, {103, 6}, {104, -1e305}, {105, 7}},
              "|1:5..5|3:6..6|5:7..7"},
          Row{"times without a place", {{101, 5}, {kGap, 6}, {inf, 7}, {103, 8}, {0, 9}}, "|1:5..5|3:8..8"},
          Row{"a value of 0 is a gap", {{101.5, 5}, {102, 0}, {103.5, 6}}, "|1:5..5|3:6..6"},
          Row{"from the left of the window", {{98.0, 0.1}, {102.0, 40}}, "|0:20..30 1:30..40 2:40..40"},
          Row{"right of the window", {{108.5, 10}, {118.5, 110}}, "|8:10..15 9:15..25"},
          Row{"nothing within the window", {{90, 5}, {95, 6}, {120, kGap}, {130, 7}}, ""},
          Row{"the clock set back", {{105, 5}, {106, 6}, {102, 1}, {103, 2}}, "|5:5..6 6:6..6|2:1..2 3:2..2"}}) {
        EXPECT_EQ(spansOf(points), spans) << why;
    }
    EXPECT_EQ(spansOf({{101.0, 5}, {102, 0}, {103, 6}}, true), "|1:0..5 2:0..6 3:6..6") << "zero values shown";
}

/// Added point by point in a moving window, the columns are the same as when all points are read at once.
TEST(CurveColumns, FollowTheSeriesAsIfReadAnew)
{
    std::mt19937 random(5);
    const auto chance = [&](int of) { return random() % static_cast<unsigned>(of) == 0; };
    for (int round = 0; round < 40; ++round) {
        clsChartData series;
        series.InitChartData(20 + static_cast<std::int32_t>(random() % 200));
        clsCurveColumns kept;
        double time = 1000.0;
        for (int i = 0; i < 600; ++i) {
            time += chance(150) ? 300.0 : (chance(200) ? -30.0 : static_cast<double>(random() % 100) / 150.0);
            series.AddChartPoint(time, chance(15) ? kGap : static_cast<double>(random() % 1000) + 1.0);
            const bool held = round % 5 == 0;
            const TimeWindow window{held ? 1100.0 : std::floor(time) - 99.0, 1.0, 100};
            series.StartIndex = (series.StopIndex + series.Size() - 1) % series.Size();
            series.ResetReadPointer();
            kept.Update(series, window, false);
            clsCurveColumns fresh;
            fresh.Update(series, window, false);
            const double oldest = series.Readable()[0].empty() ? 0.0 : series.Readable()[0].front().x;
            const auto stale = std::ranges::count(kept.Spans(), std::floor(oldest), [&](const ColumnSpan& s) {
                return s.column - kept.FirstColumn() + window.first;
            });
            const auto a = kept.Spans(), b = fresh.Spans();
            ASSERT_LE(std::ssize(a), std::ssize(b) + stale);
            const auto same = [&](const ColumnSpan& own, const ColumnSpan& other) {
                return own.column - kept.FirstColumn() == other.column && own.low == other.low &&
                       own.high == other.high;
            };
            const auto differing = std::mismatch(a.rbegin(), a.rend(), b.rbegin(), b.rend(), same).first;
            ASSERT_GE(differing - a.rbegin() + 1 + stale, std::ssize(a)) << "point " << i << " of round " << round;
        }
    }
}

} // namespace
