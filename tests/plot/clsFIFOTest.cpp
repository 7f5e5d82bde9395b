// The value history.
#include "plot/clsFIFO.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

TEST(Fifo, KeepsTheNewestInOrder)
{
    clsFIFO fifo;
    fifo.Add(1);
    EXPECT_EQ(fifo.Value(0), 1);
    EXPECT_EQ(fifo.Value(1), 0) << "an empty slot";
    EXPECT_EQ(fifo.Count(), 1);
    for (int i = 2; i <= 40; ++i) {
        fifo.Add(i);
    }
    EXPECT_EQ(fifo.Count(), 32);
    EXPECT_EQ(fifo.Value(0), 40);
    EXPECT_EQ(fifo.Value(31), 9);
    fifo.Reset();
    fifo.Add(7);
    EXPECT_EQ(fifo.Value(0), 7);
    EXPECT_EQ(fifo.Value(1), 0) << "reset after wrap-around";
}

TEST(Fifo, HasNoValueOutsideItsSlots)
{
    clsFIFO fifo;
    for (int i = 1; i <= 40; ++i) {
        fifo.Add(i);
    }
    for (const std::int32_t outside : {32 + 8, -25, 2147483647, -2147483647 - 1}) {
        EXPECT_THROW(fifo.Value(outside), std::out_of_range) << outside;
    }
}

TEST(Fifo, ResizeKeepsSlotsCountAndWritePosition)
{
    clsFIFO fifo;
    for (int i = 0; i < 32; ++i) {
        fifo.Add(i);
    }
    fifo.Resize(10);
    EXPECT_EQ(fifo.Count(), 32) << "until the next reset";
    EXPECT_EQ(fifo.Size(), 10);
    EXPECT_EQ(fifo.Value(0), 9) << "the write position stays at slot 0, so the newest is the last slot kept";
    fifo.Reset();
    for (int i = 0; i < 7; ++i) {
        fifo.Add(i);
    }
    fifo.Resize(5);
    EXPECT_THROW(fifo.Add(1), std::out_of_range) << "the write position was cut off";
    EXPECT_THROW(fifo.Resize(0), std::invalid_argument);
}

} // namespace
