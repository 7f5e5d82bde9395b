// The series: a ring of points.
#include "plot/clsChartData.h"

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <tuple>

namespace {

clsChartData ringOf(std::int32_t size, int points)
{
    clsChartData ring;
    ring.InitChartData(size - 1);
    for (int i = 1; i <= points; ++i) {
        ring.AddChartPoint(i, 10.0 * i);
    }
    return ring;
}

TEST(ChartData, TheReadPointerMovesToTheOldestPointShown)
{
    using Row = std::tuple<std::int32_t, int, std::int32_t, std::int32_t, const char*>;
    for (const auto& [size, points, start, expected, why] :
         {Row{5, 3, 1, 0, "not wrapped: from the beginning"}, Row{5, 7, 0, 3, "wrapped: the oldest is left out"},
          Row{5, 7, 4, 3, "the same from behind"}, Row{5, 7, 2, 2, "equal pointers stay"},
          Row{1, 3, 0, 0, "a single slot"}, Row{5, 0, 0, 0, "no points"}}) {
        clsChartData ring = ringOf(size, points);
        ring.StartIndex = start;
        ring.ResetReadPointer();
        EXPECT_EQ(ring.StartIndex, expected) << why;
    }
    clsChartData ring = ringOf(5, 6);
    ring.AddChartPoint(0.0, 1.0);
    ring.StopIndex = 1; // the slot of the point at time 0
    ring.ResetReadPointer();
    EXPECT_EQ(ring.StartIndex, 0) << "a point at time 0 makes the ring look new";
}

TEST(ChartData, ReadsOnFromTheStartPointerToTheStopPointer)
{
    clsChartData ring = ringOf(5, 8);
    ring.ResetReadPointer();
    const auto parts = ring.Readable();
    ASSERT_EQ(parts[0].size() + parts[1].size(), 4U) << "a full ring shows one point less than it holds";
    EXPECT_EQ(parts[0].front().x, 5.0);
    EXPECT_EQ(parts[1].back().y, 80.0);
    ring.StopIndex = 5;
    EXPECT_TRUE(ring.Readable()[0].empty()) << "a pointer that is no slot";
}

TEST(ChartData, KeepsItsPointsInOrderWhenItGrows)
{
    struct Row {
        int points, shown;
        bool holdsAll;
        const char* why;
    };
    for (const Row& row : {Row{3, 3, true, "not full"}, Row{5, 5, true, "full, the oldest was left out"},
                           Row{7, 5, false, "two are lost"}, Row{0, 0, true, "empty"}}) {
        clsChartData ring = ringOf(5, row.points);
        const std::uint64_t generation = ring.Generation();
        ring.Grow(4);
        EXPECT_EQ(ring.Size(), 5) << "it never shrinks";
        EXPECT_EQ(ring.Generation(), generation);
        ring.Grow(20);
        EXPECT_NE(ring.Generation(), generation) << "readers start over";
        EXPECT_EQ(ring.HoldsAll(), row.holdsAll) << row.why;
        for (int i = row.points + 1; i <= row.points + 3; ++i) {
            ring.AddChartPoint(i, 10.0 * i);
        }
        ring.StartIndex = ring.StopIndex - 1;
        ring.ResetReadPointer();
        const auto read = ring.Readable();
        ASSERT_EQ(read[0].size() + read[1].size(), static_cast<std::size_t>(row.shown + 3)) << row.why;
        double next = row.points - row.shown + 1;
        for (const auto part : read) {
            for (const ChartPoint& point : part) {
                EXPECT_EQ(point.x, next) << row.why;
                EXPECT_EQ(point.y, 10.0 * next++) << row.why;
            }
        }
        EXPECT_EQ(ring.HoldsAll(), row.holdsAll) << row.why;
    }
}

TEST(ChartData, ABrokenCallSaysSo)
{
    clsChartData ring;
    EXPECT_THROW(ring.AddChartPoint(3.0, 4.0), std::domain_error) << "before there is a ring";
    EXPECT_EQ(ring.XValue(0), 3.0) << "the point has been written by then";
    EXPECT_EQ(ring.StopIndex, 0);
    ring = ringOf(5, 3);
    for (const std::int32_t index : {-1, 5, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_THROW(ring.XValue(index), std::out_of_range) << index;
        EXPECT_THROW(ring.YValue(index), std::out_of_range) << index;
        ring.StopIndex = index;
        EXPECT_THROW(ring.AddChartPoint(9.0, 9.0), std::out_of_range) << index;
    }
    EXPECT_THROW(ring.InitChartData(-1), std::out_of_range);
    EXPECT_EQ(ring.Size(), 5) << "nothing has changed";
}

} // namespace
