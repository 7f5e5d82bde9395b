// Where the numbers of the statistics stand.
#include "ui/chart/StatisticsPanel.h"

#include "tests/support/Desk.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

TEST(StatisticsPanel, NumbersStandInFullLinesOneBelowTheOther)
{
    Desk desk;
    desk.Open();
    auto* panel = desk.Find<StatisticsPanel>("fraStatistics");
    std::size_t linesBefore = 0;
    for (const int width : {3000, 500, 300}) {
        panel->resize(width, panel->heightForWidth(width));
        std::map<int, std::set<int>> lefts; // of the numbers, by line
        for (const QLabel* number : panel->findChildren<QLabel*>(QRegularExpression("^lbl(Stat|Cursor)[A-Z][a-z]+$"))) {
            if (number->objectName() != "lblStatScope") {
                lefts[number->y()].insert(number->x());
                EXPECT_TRUE(panel->rect().contains(number->geometry())) << width << number->objectName().toStdString();
            }
        }
        EXPECT_GT(lefts.size(), linesBefore) << width;
        linesBefore = lefts.size();
        for (const auto& [top, line] : lefts) {
            EXPECT_EQ(line, lefts.begin()->second) << width << ", line at " << top;
            EXPECT_EQ(line.size(), 12 / lefts.size()) << width;
        }
    }
}

} // namespace
