// Which values an automatic axis leaves out.
#include "plot/clsShownValues.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

TEST(Spikes, AreFewAndFarFromAllOthers)
{
    struct Row {
        const char* name;
        std::vector<double> unusual;
        double from, to; ///< of 60 usual values
        std::vector<double> spikes;
    };
    for (const Row& row : {
             Row{"one above", {5000}, 1000, 1010, {5000}},
             Row{"one below", {0}, 1000, 1010, {0}},
             Row{"less than ten ranges away", {1105}, 1000, 1010, {}},
             Row{"of different heights", {1200, 90000}, 1000, 1010, {90000, 1200}},
             Row{"on both sides", {0, 9000}, 1000, 1010, {0, 9000}},
             Row{"as many as there may be", {5000, 5001, 5002, 5003, 5004}, 1000, 1010, {5004, 5003, 5002, 5001, 5000}},
             Row{"a new level", {5000, 5001, 5002, 5003, 5004, 5005}, 1000, 1010, {}},
             Row{"one among equal values", {1100}, 1000, 1000, {1100}},
             Row{"noise of equal values", {1001}, 1000, 1000, {}},
             Row{"all are equal", {}, 1000, 1000, {}},
             Row{"all are zero", {3}, 0, 0, {3}},
         }) {
        clsShownValues values;
        for (const double value : row.unusual) {
            values.Add({1.0, value});
        }
        for (int i = 0; i < 60; ++i) {
            values.Add({2.0, row.from + (row.to - row.from) * (i % 10) / 9.0});
        }
        const auto split = values.WithoutSpikes();
        ASSERT_TRUE(split) << row.name;
        std::vector<double> spikes;
        for (const ChartPoint& spike : split->spikes) {
            spikes.push_back(spike.y);
            EXPECT_TRUE(spike.y < split->spikeless[0] || spike.y > split->spikeless[1]) << row.name;
        }
        EXPECT_EQ(spikes, row.spikes) << row.name;
        EXPECT_EQ(split->Ends(), values.Range().value()) << row.name;
        if (!spikes.empty()) {
            EXPECT_EQ(split->others, (std::array{row.from, row.to})) << row.name;
        }
    }
}

TEST(Spikes, NeedEnoughOthers)
{
    clsShownValues values;
    EXPECT_FALSE(values.WithoutSpikes());
    values.Add({1.0, 9000.0});
    for (int i = 0; i < clsShownValues::kFewestOthers; ++i) {
        EXPECT_TRUE(values.WithoutSpikes()->spikes.empty()) << i;
        values.Add({2.0, 1000.0 + i});
    }
    EXPECT_EQ(values.WithoutSpikes()->spikes.size(), 1U);
}

} // namespace
