// The session's memory: what is added comes back, and what outlives what.
#include "session/clsHistory.h"

#include "tests/support/HistoryWalk.h"
#include "tests/support/MeasuringSite.h"

#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <random>
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

TEST(History, JoinsNothingAcrossWhatTheAccountAndTheClockSay)
{
    const double begin = MeasuringSite::kBegin;
    const auto at = [begin](double seconds) { return begin + seconds / kSecondsPerDay; };
    struct Row {
        const char* name;
        std::vector<double> seconds; ///< distances; the second one comes behind the gap
        std::vector<Gap> gaps;
        std::optional<GapReason> reason;
        double length_s; ///< on the time axis
    };
    for (const Row& row : {
             Row{"nothing", {1, 2, 3}, {}, std::nullopt, 0},
             Row{"a silence", {1, 9, 10}, {{at(1), at(9), GapReason::NoEcho}}, GapReason::NoEcho, 8},
             Row{"a lost line", {1, 9, 10}, {{at(1), at(9), GapReason::LineLost}}, GapReason::LineLost, 8},
             Row{"a clock set back", {1, -3599, -3598}, {}, GapReason::ClockChanged, 0},
             Row{"a clock set forward",
                 {1, 7202, 7203},
                 {{at(1), at(7202), GapReason::ClockChanged}},
                 GapReason::ClockChanged,
                 0.5},
         }) {
        SCOPED_TRACE(row.name);
        clsHistory history;
        std::vector<Measurement> samples{{1000.0, 1000, 0, 0, at(0.5)}};
        for (const double seconds : row.seconds) {
            samples.push_back({1000.0, 1000, 0, 0, at(seconds)});
        }
        history.Add(samples, row.gaps);
        const ValueSummary all = history.Columns({std::floor(begin) - 100, 1.0, 200}).at(100);
        EXPECT_EQ(all.valid, 4);
        EXPECT_EQ(all.isWhole, !row.reason);
        const auto gaps = history.GapsIn(history.Range(), 0.0);
        ASSERT_EQ(gaps.size(), row.reason ? 1U : 0U);
        if (row.reason) {
            EXPECT_EQ(gaps.front().reason, *row.reason);
            EXPECT_NEAR(gaps.front().range.Length() * kSecondsPerDay, row.length_s, 1e-3);
        }
        EXPECT_NEAR(history.At(history.Size() - 1).time, samples.back().time, 1e-9);
    }
}

/// Each level of the summaries has a part in columns of some width, and any of them may have the lowest or highest
/// value.
TEST(History, OutlinesOfLongColumnsAreThoseOfTheirEntries)
{
    using namespace history_walk;
    std::mt19937 random(4);
    clsHistory history;
    for (int i = 0; i < 150000; ++i) {
        const bool hasEcho = random() % 50 != 0;
        history.AddPlayed(kBegin + i * 10 * kMs,
                          hasEcho ? 1 + static_cast<std::int32_t>(random() % 3000000) : kMarkerNoEcho);
    }
    std::vector<ValueSummary> outlines;
    for (const int entries : {20, 90, 300, 800, 3000, 6000, 14000, 21000, 40000}) {
        const double perDay = kMsPerDay / (entries * 10.0) * (1.0 + 1e-3 * static_cast<double>(random() % 10));
        const TimeWindow window{std::floor(kBegin * perDay), perDay, 150000 / entries};
        const std::vector<ValueSummary> columns = history.Columns(window);
        history.Outlines(window, false, outlines);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            ASSERT_EQ(outlineOf(outlines[i]), outlineOf(columns[i])) << "column " << i << " of " << entries;
        }
    }
}

} // namespace
