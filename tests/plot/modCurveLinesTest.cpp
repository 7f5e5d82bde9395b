#include "plot/modCurveLines.h"

#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

struct Point {
    double column, row;
};

/// The lines of points given in pixels, in a plot of 100 columns and 50 rows.
std::string linesOf(std::initializer_list<Point> points)
{
    constexpr double kPerDay = clsCurvePainter::kFineColumns; // a day is a pixel
    constexpr double kFirst = 40000;
    constexpr double kMidst = 0.125; // of a fine column, where places lie
    clsChartData series;
    series.InitChartData(99);
    for (const Point& point : points) {
        series.AddChartPoint(kFirst + kMidst + point.column, point.row);
    }
    clsCurveColumns columns;
    columns.Update(series, {kFirst * kPerDay, kPerDay, 400}, true);
    std::string text;
    for (const auto& line : modCurveLines::LinesOf(columns, {0.0, 1.0}, 50)) {
        std::optional<PlotPlace> before;
        for (const PlotPlace& place : line) {
            const auto rounded = [](double value) { return std::to_string(std::lround(value)); };
            // About a corner there are several places, within a pixel.
            if (!before || std::hypot(place.column - before->column, place.row - before->row) > 1.0) {
                text += rounded(place.column) + "," + rounded(place.row) + " ";
                before = place;
            }
        }
        text += "| ";
    }
    return text;
}

TEST(CurveLines, GoThroughTheCornersOfEachRunAndEndAtTheEdges)
{
    const double gap = std::nan("");
    struct Row {
        const char* name;
        std::initializer_list<Point> points;
        const char* lines;
    };
    for (const Row& row : {
             Row{"straight on", {{10, 10}, {20, 20}, {40, 40}}, "10,10 40,40 | "},
             Row{"corners", {{10, 10}, {20, 30}, {30, 20}, {40, 45}}, "10,10 20,30 30,20 40,45 | "},
             Row{"level", {{10, 20}, {60, 20}}, "10,20 60,20 | "},
             Row{"a gap", {{10, 10}, {20, 20}, {25, gap}, {30, 30}, {40, 20}}, "10,10 20,20 | 30,30 40,20 | "},
             Row{"alone", {{10, 10}, {15, gap}, {20, 20}}, "10,10 | 20,20 | "},
             Row{"back in time", {{10, 10}, {30, 30}, {20, 20}, {40, 20}}, "10,10 30,30 | 20,20 40,20 | "},
             Row{"within a fine column", {{30, 10}, {30.05, 45}, {30.1, 5}}, "30,5 30,45 | "},
             Row{"out and in", {{10, 25}, {20, 75}, {30, 25}}, "10,25 15,50 | 25,50 30,25 | "},
             Row{"through both", {{10, -50}, {30, 150}}, "15,0 20,50 | "},
             Row{"beyond", {{10, 60}, {30, 70}, {35, gap}, {40, -1}}, ""},
             Row{"far away",
                 {{10, 25}, {11, 1e299}, {12, gap}, {50, -1e299}, {60, gap}, {70, 1}},
                 "10,25 10,50 | 70,1 | "},
             Row{"from the left, to the right", {{-20, 10}, {120, 10}}, "0,10 100,10 | "},
         }) {
        EXPECT_EQ(linesOf(row.points), row.lines) << row.name;
    }
}

} // namespace
