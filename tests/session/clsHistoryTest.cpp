// The session's memory: what is added comes back, and what outlives what.
#include "session/clsHistory.h"

#include "tests/support/MeasuringSite.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

TEST(History, OutlivesWhatResetsTheChart)
{
    MeasuringSite site;
    ASSERT_TRUE(site.Measures(20));
    const clsHistory& history = site.session.History();
    std::size_t size = history.Size();
    const auto grows = [&] { return history.Size() > std::exchange(size, history.Size()); };
    site.session.Start(site.session.Loop().StartingOrStopping());
    site.Run(2);
    site.session.Start(site.session.Loop().StartingOrStopping());
    site.Run(2);
    EXPECT_TRUE(grows());
    site.line->Pulled = true;
    site.Run(2);
    site.line->Pulled = false;
    ASSERT_TRUE(site.Measures(20));
    EXPECT_TRUE(grows());
    const int resets = site.resets;
    site.line->model.SetParameter("111", 0); // millimetres
    ASSERT_TRUE(site.Measures(20));
    EXPECT_TRUE(grows());
    EXPECT_GT(site.resets, resets) << "the chart begins anew";

    std::int64_t measured = 0;
    std::vector<GapReason> gaps;
    for (std::size_t i = 0; i < history.Size(); ++i) {
        const HistoryEntry entry = history.At(i);
        if (entry.gap) {
            gaps.push_back(*entry.gap);
        } else {
            ++measured;
            ASSERT_EQ(entry.kind, MeasurementKind::Distance);
            ASSERT_GT(entry.value_mm, 100) << i;
        }
        ASSERT_GE(entry.time, i > 0 ? history.At(i - 1).time : MeasuringSite::kBegin);
    }
    EXPECT_EQ(measured, site.sampled);
    EXPECT_EQ(gaps, (std::vector{GapReason::Stopped, GapReason::LineLost}));
}

} // namespace
