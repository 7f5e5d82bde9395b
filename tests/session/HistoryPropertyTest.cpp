// The history against a walk over everything that was added to it: columns, statistics and gaps at any width, and its
// bound, whatever comes.
#include "tests/support/HistoryWalk.h"

#include <functional>
#include <utility>

namespace {

using namespace history_walk;

TEST(HistoryProperty, AnswersAsAWalkOverAllSamplesWould)
{
    for (unsigned seed = 1; seed <= 12 && !testing::Test::HasFatalFailure(); ++seed) {
        SCOPED_TRACE(seed);
        clsSeries random(seed);
        clsHistory history;
        add(history, random.Make(seed % 3 == 0 ? 40000 : random.upTo(2000) + 1));
        expectLikeWalk(history, random, 30);
    }
}

TEST(HistoryProperty, ThinsTheOldestToTheLowestAndHighestOfEachSecond)
{
    clsHistory all, history(1);
    std::mt19937 random(1);
    constexpr std::int32_t kSamples = 600000;
    for (std::int32_t i = 0; i < kSamples; ++i) {
        std::int32_t value = 1000 + static_cast<std::int32_t>(random() % 1000);
        value = i % 40000 == 20000 ? 3000000 + i : i % 3001 == 0 ? kMarkerNoEcho : value;
        for (clsHistory* each : {&all, &history}) {
            if (i % 100000 == 99999) {
                each->AddGap(GapReason::LineLost);
            }
            each->AddPlayed(kBegin + i * kMs, value);
        }
        ASSERT_LE(history.Bytes(), clsHistory::kLeastBytes);
    }
    EXPECT_EQ(static_cast<std::int64_t>(all.Size()), static_cast<std::int64_t>(history.Size()) + history.Forgotten());
    EXPECT_EQ(history.Range().begin, all.Range().begin) << "nothing is gone altogether";
    ASSERT_TRUE(history.ThinnedBefore());
    EXPECT_GT(*history.ThinnedBefore(), kBegin + 400000 * kMs);
    const Walk walk = walkOf(all);
    expectStatistics(history, walk, all.Range());
    const PlaceRange part{kBegin + 30000 * kMs, kBegin + 100500 * kMs};
    EXPECT_TRUE(history.StatisticsOf(part).isThinned);
    EXPECT_EQ(history.StatisticsOf(part).maximum, all.StatisticsOf(part).maximum);
    EXPECT_EQ(history.StatisticsOf(part).minimum, all.StatisticsOf(part).minimum);
    // Whole seconds have the same lowest and highest values, and the same gaps.
    const double perSecond = kSecondsPerDay;
    const auto thinned = history.Columns({std::ceil(kBegin * perSecond), perSecond, 599});
    const auto full = all.Columns({std::ceil(kBegin * perSecond), perSecond, 599});
    for (std::size_t i = 0; i < full.size(); ++i) {
        ASSERT_EQ(thinned[i].minimum, full[i].minimum) << i;
        ASSERT_EQ(thinned[i].maximum, full[i].maximum) << i;
        ASSERT_EQ(thinned[i].gaps, full[i].gaps) << i;
        ASSERT_EQ(thinned[i].noEcho > 0, full[i].noEcho > 0) << i;
    }
    // Columns of 2 ms end between the begin of a block and what is left of its first second.
    const TimeWindow narrow{std::floor(kBegin * perSecond * 500.0), perSecond * 500.0, kSamples / 2};
    const auto few = history.Columns(narrow), every = all.Columns(narrow);
    std::vector<ValueSummary> outlines;
    history.Outlines(narrow, false, outlines);
    for (std::size_t i = 0; i < every.size(); ++i) {
        ASSERT_TRUE(few[i].valid == 0 || (few[i].minimum >= every[i].minimum && few[i].maximum <= every[i].maximum))
            << i;
        ASSERT_EQ(outlineOf(outlines[i]), outlineOf(few[i])) << i;
    }
    const auto gaps = history.GapsIn(all.Range(), 0.0);
    EXPECT_EQ(std::ranges::count(gaps, GapReason::LineLost, &HistoryGap::reason), 6);
}

TEST(HistoryProperty, StaysWithinItsBoundWhateverComes)
{
    using Time = std::function<double(std::int32_t)>;
    const std::pair<const char*, Time> rows[] = {
        {"back and forth", [](std::int32_t i) { return kBegin + (i % 2 == 0 ? i : -i) * kMs; }},
        {"always back", [](std::int32_t i) { return kBegin - i * kMs; }},
        {"an hour on and off", [](std::int32_t i) { return kBegin + (i % 2) / 24.0; }},
        {"years", [](std::int32_t i) { return kBegin + (i % 100) * 20000.0; }},
        {"weeks", [](std::int32_t i) { return -6e5 + i * 7.0; }},
        {"one time", [](std::int32_t) { return kBegin; }},
        {"outside the calendar",
         [](std::int32_t i) {
             constexpr double kInfinity = std::numeric_limits<double>::infinity();
             constexpr double kTimes[] = {std::numeric_limits<double>::quiet_NaN(), kInfinity, -kInfinity, 1e300,
                                          kBegin};
             return kTimes[i % 5];
         }},
        {"the ends of the calendar", [](std::int32_t i) { return i % 2 == 0 ? kFirstDay : kEndOfDays - 1e-6; }}};
    for (const auto& [name, timeOf] : rows) {
        SCOPED_TRACE(name);
        clsHistory history(1);
        double last = -1e9;
        for (std::int32_t i = 0; i < 250000; ++i) {
            history.AddPlayed(timeOf(i), i % 7);
            ASSERT_LE(history.Bytes(), clsHistory::kLeastBytes) << i;
            const double place = history.Range().end;
            ASSERT_GE(place, last) << i;
            last = place;
        }
        ASSERT_GT(history.Size(), 100U);
        const PlaceRange range = history.Range();
        EXPECT_TRUE(std::isfinite(range.begin) && std::isfinite(range.end));
        const Walk walk = walkOf(history);
        const double perDay = 50 / std::max(range.Length(), 1e-10);
        for (const TimeWindow& window :
             {TimeWindow{std::floor(range.begin * perDay), perDay, 60}, TimeWindow{0.0, 0.0, 5},
              TimeWindow{0, 1e300, 5}, TimeWindow{std::numeric_limits<double>::quiet_NaN(), 1.0, 5},
              TimeWindow{1e300, 1e-300, 5}}) {
            std::int64_t values = 0;
            for (const ValueSummary& column : history.Columns(window)) {
                values += column.valid + column.noEcho;
            }
            EXPECT_TRUE(values > 0 || window.columns != 60);
        }
        history.NearestDistance(std::numeric_limits<double>::quiet_NaN());
        EXPECT_EQ(history.CountIn({-1e300, 1e300}), walk.size());
        EXPECT_EQ(history.CountIn({1e300, -1e300}), 0U);
    }
}

} // namespace
