// Steps, ticks, labels and the automatic range.
#include "plot/modChartCommon.h"

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <tuple>

namespace {

using namespace modChartCommon;

TEST(RoundStep, IsTheFirstThatFitsFewerTimesThanAsked)
{
    using Row = std::tuple<double, std::int32_t, double>;
    for (const auto& [range, divisions, step] :
         {Row{7, 5, 2}, Row{10, 5, 5}, Row{0.0001, 3, 0.00005}, Row{7, 2, 5}, Row{-7, 5, -2}, Row{0, 5, 0},
          Row{1e-9, 5, 0.000001}, Row{3e9, 6, 1e9}, Row{std::numeric_limits<double>::infinity(), 5, 0}}) {
        EXPECT_DOUBLE_EQ(RoundStep(range, divisions), step) << range << " in " << divisions;
    }
}

TEST(Axis, HasItsTicksOnTheStep)
{
    using Row =
        std::tuple<double, double, std::int32_t, std::int32_t, std::vector<std::string>, std::vector<std::int32_t>>;
    for (const auto& [minimum, maximum, divisions, reversed, labels, positions] :
         {Row{0, 7, 5, 0, {"0", "2", "4", "6"}, {0, 33, 67, 100}},
          Row{2, 9, 5, 0, {"2", "4", "6", "8"}, {0, 29, 57, 86}}, Row{-3, 7, 5, 0, {"0", "5"}, {0, 100}},
          Row{0, 10, 6, 1, {"10", "8", "6", "4", "2", "0"}, {0, -20, -40, -60, -80, -100}},
          Row{-0.2, 0.4, 5, 0, {"-0,2", "0,0", "0,2", "0,4"}, {0, 33, 67, 100}},
          Row{9, 2, 5, 0, {"9", "7", "5", "3"}, {0, 29, 57, 86}}}) {
        Axis axis{.minimum = minimum, .maximum = maximum, .reversed = reversed, .pixelEnd = 100};
        ComputeAxis(axis, divisions, ',');
        EXPECT_EQ(axis.tickLabels, labels) << minimum << ".." << maximum;
        EXPECT_EQ(axis.tickPositions, positions) << minimum << ".." << maximum;
    }
}

TEST(Axis, KeepsItsTicksWhenTheRangeIsOrBecomesEmpty)
{
    Axis axis{.minimum = 0, .maximum = 7, .pixelEnd = 100};
    ComputeAxis(axis, 5, '.');
    const std::vector<double> before = axis.tickValues;
    for (const auto& [minimum, maximum] :
         {std::pair{5.0, 5.0}, std::pair{-0.4, 0.4}, std::pair{0.0, std::numeric_limits<double>::quiet_NaN()}}) {
        axis.minimum = minimum;
        axis.maximum = maximum;
        ComputeAxis(axis, 3, '.');
        EXPECT_EQ(axis.tickValues, before) << minimum << ".." << maximum;
        EXPECT_EQ(axis.minimum, minimum);
    }
}

TEST(TimeStep, TakesMillisecondsUpToASecondADivisionThenTheUnitsOfTheClock)
{
    using Row = std::tuple<std::int32_t, std::int32_t, std::int32_t>; // both ranges in milliseconds
    for (const auto& [range, divisions, step] :
         {Row{60000, 6, 15000}, Row{5000, 10, 1000}, Row{10000, 10, 2000}, Row{10006, 10, 2000}, Row{20000, 10, 5000},
          Row{600000, 5, 300000}, Row{36000000, 5, 18000000}, Row{0, 5, 1},
          Row{2000000000, 2, 1296000000 /* 15 days */}}) {
        std::int32_t taken = divisions;
        EXPECT_EQ(TimeStep(range, taken), step) << range << " in " << divisions;
    }
}

TEST(TimeStep, RaisesDivisionsBelowOneAndRefusesARangeBeyondItsUnits)
{
    std::int32_t none = -4;
    EXPECT_EQ(TimeStep(500, none), 1000);
    EXPECT_EQ(none, 1) << "raised for the caller as well";
    EXPECT_THROW(TimeStep(std::numeric_limits<std::int32_t>::max(), none), std::overflow_error);
}

TEST(Labels, SayATimeOfDayOrThatItIsInvalid)
{
    EXPECT_EQ(TimeLabelText(46000.5), "12:00:00");
    for (const double outside : {1e9, -1e9, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(TimeLabelText(outside), "Invalid Range") << outside;
    }
}

TEST(Labels, HaveTheDecimalsOfTheStepAndNoMinusZero)
{
    EXPECT_EQ(LabelText(-1e-12, 1, '.'), "0.0");
    EXPECT_EQ(LabelDecimals(0.001), 3);
    EXPECT_EQ(LabelDecimals(50), 0);
}

TEST(AutomaticRange, WidensAtOnceAndNarrowsOnlyBelowAQuarter)
{
    using Row = std::tuple<ValueRange, std::vector<double>, ValueRange, const char*>;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [before, values, after, why] :
         {Row{{0, 0}, {1050, 1580}, {900, 1700}, "the first values"},
          Row{{0, 1000}, {0, 1000}, {0, 1000}, "the ends are inside"},
          Row{{0, 1000}, {700, 1001}, {0, 1200}, "room beyond the value that broke out"},
          Row{{1000, 2000}, {999, 1500}, {800, 2000}, "the other end stays"},
          Row{{0, 1000}, {400, 650}, {0, 1000}, "exactly a quarter"},
          Row{{0, 1000}, {400, 649}, {350, 700}, "less than a quarter"},
          Row{{4995, 5005}, {5000, 5001}, {4995, 5005}, "not to be halved"},
          Row{{0, 0}, {0, 500}, {0, 600}, "no negative limit for positive values"},
          Row{{0, 1000}, {-40, 500}, {-200, 1000}, "a negative value"},
          Row{{0, 0}, {-1580, -1050}, {-1700, -900}, "negative values only"},
          Row{{0, 1000}, {nan, 500, 3e12}, {0, 3.5e12}, "a jump of nine orders of magnitude"},
          Row{{3, 9}, {nan}, {3, 9}, "nothing to follow"}}) {
        const ValueRange range = AutomaticRange(before, values);
        EXPECT_DOUBLE_EQ(range.lower, after.lower) << why;
        EXPECT_DOUBLE_EQ(range.upper, after.upper) << why;
        EXPECT_TRUE(AutomaticRange(range, values) == range) << why << ": one change must not call for the next";
    }
}

} // namespace
