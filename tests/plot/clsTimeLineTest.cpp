// The time axis where the clock was set: order of lines is order of time, and an hour more or less makes no hole.
#include "plot/clsTimeLine.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr double kDay = 45000.0, kSecond = 1.0 / kSecondsPerDay, kHour = 3600 * kSecond;

TEST(TimeLine, GoesOnWhereTheClockWasSet)
{
    struct Row {
        const char* name;
        double before, after; // seconds of the day
        bool clockSet;
        double step_s; // on the axis
        std::size_t stretches;
    };
    for (const Row& row : {
             Row{"nothing special", 7199, 7200, false, 1, 1},
             Row{"a pause", 7000, 20000, false, 13000, 1},
             Row{"years", 7000, 1e8, false, 1e8 - 7000, 1},
             Row{"summer time ends", 10799.5, 7200.25, false, 0.75, 2},
             Row{"it ends during a pause", 10790, 7210, false, 20, 2},
             Row{"summer time begins", 7199.5, 10800.25, false, 0.75, 2},
             Row{"an hour's pause, not at the hour", 7100, 10701, false, 3601, 1},
             Row{"a long pause that ends at the hour", 5000, 10800.25, false, 5800.25, 1},
             Row{"set back", 7000, 6990, false, 0.5, 2},
             Row{"set forward, known", 7000, 7300, true, 0.5, 2},
             Row{"set by an hour, known", 7000, 10601, true, 1, 2},
             Row{"known, but nearly nothing", 7000, 7001, true, 1, 1},
         }) {
        SCOPED_TRACE(row.name);
        clsTimeLine line;
        line.Add(kDay + (row.before - 0.5) * kSecond);
        const double first = kDay + row.before * kSecond, second = kDay + row.after * kSecond;
        EXPECT_EQ(line.Add(first), first) << "a place is the time";
        const double place = line.Add(second, row.clockSet);
        EXPECT_NEAR((place - first) / kSecond, row.step_s, 2e-4);
        EXPECT_EQ(line.Stretches().size(), row.stretches);
        EXPECT_NEAR(line.TimeOf(place), second, 1e-10);
        EXPECT_NEAR(line.TimeOf(first), first, 1e-10);
        EXPECT_NEAR(line.PlaceOf(second), place, 1e-10);
    }
}

TEST(TimeLine, FindsThePlaceOfATimeThatWasTwiceOrNever)
{
    clsTimeLine autumn, spring;
    for (double time = kDay; time < kDay + 3 * kHour; time += kSecond) {
        autumn.Add(time);
    }
    autumn.Add(kDay + 2 * kHour);
    EXPECT_NEAR(autumn.PlaceOf(kDay + 2.5 * kHour), kDay + 3.5 * kHour, kSecond) << "the later one";
    EXPECT_EQ(autumn.PlaceOf(kDay + kHour), kDay + kHour);
    spring.Add(kDay + 2 * kHour - kSecond);
    spring.Add(kDay + 3 * kHour);
    EXPECT_NEAR(spring.PlaceOf(kDay + 2.5 * kHour), kDay + 2 * kHour, kSecond) << "where the clock was set";
}

TEST(TimeLine, BearsAnyTimes)
{
    clsTimeLine line;
    double last = -std::numeric_limits<double>::infinity();
    constexpr double kTimes[] = {
        std::numeric_limits<double>::quiet_NaN(), kDay, 1e300, kFirstDay, kEndOfDays - 1, -1e300};
    for (int i = 0; i < 300000; ++i) {
        const double place = line.Add(kTimes[i % 6], i % 5 == 0);
        ASSERT_GE(place, last) << i;
        ASSERT_LE(place, clsTimeLine::kMostPlace);
        last = place;
    }
    EXPECT_LE(line.Stretches().size(), clsTimeLine::kMostStretches);
    EXPECT_GT(line.ClockSettings(), 1000);
}

} // namespace
