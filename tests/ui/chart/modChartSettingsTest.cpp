// The limits of the chart's settings window: checking and applying.
#include "ui/chart/modChartSettings.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <tuple>

namespace {

using namespace modChartSettings;

TEST(ChartLimits, AreClampedOnLeavingABox)
{
    using Row = std::tuple<Limit, const char*, const char*>;
    for (const auto& [limit, typed, shown] :
         {Row{LimitMax, "", "5000"}, Row{LimitMin, "", "0"}, Row{LimitMin, "-20", "0"},
          Row{LimitMax, "999999", "999999"}, Row{LimitMax, "1e9", "999999"}, Row{LimitMax, "12-3", "12"},
          Row{LimitMax, "-", "0"}, Row{LimitMax, "1,50", "1,5"}, Row{LimitMin, "0,0000001", "0"}}) {
        EXPECT_EQ(CheckedText(limit, typed, ','), shown) << typed;
    }
}

TEST(ChartLimits, ApplyRefusesHugeNumbersAndOtherTexts)
{
    const Applied applied = Apply(5000, 0, {"123456789", "-99999999"}, ',');
    EXPECT_EQ(applied.yMax, 5000);
    EXPECT_EQ(applied.yMin, -99999999);
    EXPECT_THROW(Apply(5000, 0, {"5", "-"}, ','), std::invalid_argument);
}

TEST(ChartLimits, ApplyKeepsThemApart)
{
    const Applied applied = Apply(5000, 0, {"5", "5"}, ',');
    EXPECT_DOUBLE_EQ(applied.yMax, 5.000001);
    EXPECT_EQ(applied.texts[0], "5,000001");
}

} // namespace
