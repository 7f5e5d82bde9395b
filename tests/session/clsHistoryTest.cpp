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

double at(double ms)
{
    return MeasuringSite::kBegin + ms / kMsPerDay;
}

TEST(History, KeepsTheNewestOfMoreThanItHasRoomFor)
{
    constexpr std::size_t kBlocks = 3;
    clsHistory history((clsHistory::kBlockEntries * clsHistory::kEntryBytes + 1024) * kBlocks);
    constexpr std::int32_t kSamples = 500000;
    for (std::int32_t i = 1; i <= kSamples; ++i) {
        const bool isEcho = i % 1000 != 0;
        // The clock is set back once, and after a pause of a week it goes on.
        const double ms = i * 2.0 - (i > 400000 ? 3600000.0 : 0.0) + (i > 450000 ? 7 * kMsPerDay : 0.0);
        const std::int32_t value_mm = isEcho ? i : kMarkerNoEcho;
        const Measurement sample{static_cast<double>(value_mm), value_mm, 0, 0, at(ms)};
        const Gap gap{at(ms - 9), at(ms), i % 1001 == 0 ? GapReason::Damage : GapReason::NoEcho};
        history.Add({&sample, 1}, {&gap, isEcho && i % 1001 <= 1 ? 1U : 0U});
    }
    std::int32_t expected = kSamples;
    for (std::size_t i = history.Size(); i-- > 0;) {
        const HistoryEntry entry = history.At(i);
        if (entry.gap) {
            ASSERT_EQ(*entry.gap, GapReason::Damage);
            ASSERT_EQ((expected + 1) % 1001, 0);
            continue;
        }
        ASSERT_EQ(entry.kind == MeasurementKind::Distance, expected % 1000 != 0);
        ASSERT_EQ(entry.value_mm, expected % 1000 != 0 ? expected : 0);
        ASSERT_NEAR(
            entry.time,
            at(expected * 2.0 - (expected > 400000 ? 3600000.0 : 0.0) + (expected > 450000 ? 7 * kMsPerDay : 0)),
            0.06 / kMsPerDay);
        --expected;
    }
    EXPECT_GT(history.Size(), (kBlocks - 1) * clsHistory::kBlockEntries / 2);
    EXPECT_LE(history.Size(), kBlocks * clsHistory::kBlockEntries);
    EXPECT_GT(history.Forgotten(), 0);
}

} // namespace
