// The scale of times from years to a millisecond.
#include "plot/modTimeScale.h"

#include "base/Days.h"
#include "base/modAPI.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

namespace {

using namespace modTimeScale;

constexpr double kSecond = 1.0 / kSecondsPerDay;

double at(unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0, int ms = 0)
{
    return modAPI::DateTimeOf({2026, month, day, hour, minute, second, ms});
}

/// "text[below] text ..." of the ticks.
std::string ticksOf(double begin, double end, std::int32_t divisions, const clsTimeLine& times = {})
{
    std::string all;
    for (const Tick& tick : TicksOf(begin, end, times, StepFor((end - begin) * kMsPerDay, divisions), ',')) {
        all += (all.empty() ? "" : " ") + tick.text + (tick.below.empty() ? "" : "[" + tick.below + "]");
    }
    return all;
}

TEST(TimeScale, ReadsAsTimesFromYearsToTenthsOfAMillisecond)
{
    using Row = std::tuple<double, double, std::int32_t, std::string>;
    const double noon = at(11, 15, 12);
    for (const auto& [begin, end, divisions, expected] : {
             Row{at(11, 15), at(11, 16), 4, "00:00[15.11.2026] 06:00 12:00 18:00 00:00[16.11.2026]"},
             Row{at(11, 15, 22, 10), at(11, 16, 1), 6, "22:30[15.11.2026] 23:00 23:30 00:00[16.11.2026] 00:30 01:00"},
             Row{noon, noon + 60 * kSecond, 4, "12:00:00[15.11.2026] 12:00:15 12:00:30 12:00:45 12:01:00"},
             Row{noon + 0.4 * kSecond, noon + 1.1 * kSecond, 4,
                 ",4[15.11.2026 12:00:00] ,6 ,8 ,0[15.11.2026 12:00:01]"},
             Row{noon, noon + 0.0011 * kSecond, 4, ",0000[15.11.2026 12:00:00] ,0005 ,0010"},
             Row{at(2, 19, 7), at(3, 12), 5, "21.02.[2026] 01.03. 06.03. 11.03."},
             Row{at(1, 20), at(12, 31), 4, "01.04.[2026] 01.07. 01.10."},
             Row{at(1, 1) - 5000, at(1, 1) + 1500, 4, "2015 2020 2025 2030"},
         }) {
        EXPECT_EQ(ticksOf(begin, end, divisions), expected);
    }
    EXPECT_EQ(ticksOf(kEndOfDays - 1.5, kEndOfDays + 5.0, 8), "31.12.[9999]") << "the calendar ends";
    EXPECT_EQ(ticksOf(-1e6, -9e5, 8), "");
}

/// Whatever the span, there are as many divisions as asked for or up to six times fewer, and no text comes twice.
TEST(TimeScale, DividesAnySpan)
{
    for (double span_ms = 1.0; span_ms < 1e14; span_ms *= 1.37) {
        const double begin = at(2, 27, 13, 5, 7, 250);
        const Step step = StepFor(span_ms, 8);
        const auto ticks = TicksOf(begin, begin + span_ms / kMsPerDay, {}, step, '.');
        EXPECT_LE(ticks.size(), 9U) << span_ms;
        EXPECT_TRUE(ticks.size() >= 1 || span_ms > 1e13) << span_ms;
        for (std::size_t i = 1; i < ticks.size(); ++i) {
            EXPECT_GT(ticks[i].place, ticks[i - 1].place) << span_ms;
            EXPECT_TRUE(ticks[i].text != ticks[i - 1].text || !ticks[i].below.empty()) << span_ms << ticks[i].text;
            EXPECT_LE(ticks[i].text.size(), WidestText(step).size()) << span_ms << ' ' << ticks[i].text;
        }
    }
}

TEST(TimeScale, LiesWithinTheStretch)
{
    const double end = at(11, 15, 12, 0, 1);
    for (double begin = at(11, 15, 12, 0); begin < end; begin += 0.0137 / kMsPerDay) {
        for (const Tick& tick : TicksOf(begin, begin + 1.0 / kMsPerDay, {}, StepFor(1.0, 8), '.')) {
            ASSERT_GE(tick.place, begin - 1e-4 / kMsPerDay);
            ASSERT_LE(tick.place, begin + 1.0 / kMsPerDay);
        }
    }
}

TEST(TimeScale, GoesOnWithTheClockThatWasSet)
{
    clsTimeLine times;
    times.Add(at(10, 25, 1, 0));
    times.Add(at(10, 25, 2, 59, 59));
    const double back = times.Add(at(10, 25, 2, 0)); // the hour is repeated
    times.Add(at(10, 25, 2, 30));
    const double end = times.Add(at(10, 25, 3, 0));
    EXPECT_EQ(ticksOf(at(10, 25, 1), end, 8, times), "01:00[25.10.2026] 01:30 02:00 02:30 02:00 02:30 03:00");
    const auto changes = ClockChanges(at(10, 25, 1), end, times);
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].place, back);
    EXPECT_EQ(changes[0].by, "-1 h");
    EXPECT_TRUE(ClockChanges(back + kSecond, end, times).empty());
    times.Add(at(10, 25, 3, 0, 1));
    times.Add(at(10, 25, 3, 5, 2), true);
    EXPECT_EQ(ClockChanges(end, end + 1.0, times).at(0).by, "+5 min");
    times.Add(at(10, 25, 3, 5, 2, 500));
    times.Add(at(10, 25, 3, 5, 2, 300));
    EXPECT_EQ(ClockChanges(end, end + 1.0, times).at(1).by, "-700 ms") << "and the usual time between two values";
}

TEST(TimeScale, KeepsItsLabelsWhereTheClockIsSetAllTheTime)
{
    clsTimeLine everySecond, backwards;
    double end = 0.0, start = 0.0;
    for (int i = 0; i < 300; ++i) {
        end = everySecond.Add(at(3, 1, 12) + (i % 2 == 0 ? i : i - 10) * kSecond);
        const double place = backwards.Add(at(3, 1, 12) - i * kSecond);
        start = i == 0 ? place : start;
    }
    EXPECT_EQ(ClockChanges(at(3, 1, 12), end, everySecond).size(), 5U);
    const auto labels = TicksOf(at(3, 1, 12), end, everySecond, StepFor((end - at(3, 1, 12)) * kMsPerDay, 8), '.');
    EXPECT_GE(labels.size(), 4U);
    // 299 settings lie a millisecond apart.
    EXPECT_EQ(ticksOf(start, start + 0.299 * kSecond, 4, backwards).substr(0, 29), "12:00:00[01.03.2026] 11:58:20");
}

TEST(DurationScale, CountsBackInMinutesHoursOrDays)
{
    using Row = std::tuple<double, double, std::string, std::string>;
    for (const auto& [span_s, step, text, format] :
         {Row{600, 120, "-8:00", "min:s"}, Row{3600, 600, "-0:50:00", "h:min:s"},
          Row{86400, 21600, "-18:00:00", "h:min:s"}, Row{7 * 86400.0, 172800, "-6 d", "d"},
          Row{1e9, 2000 * 86400.0, "-10000 d", "d"}}) {
        EXPECT_EQ(DurationStep(span_s, 6), step) << span_s;
        EXPECT_EQ(DurationText(-step * std::floor(span_s / step - 0.01), span_s, step), text) << span_s;
        EXPECT_EQ(DurationFormat(span_s, step), format);
        EXPECT_EQ(DurationText(0.0, span_s, step).find('-'), std::string::npos) << span_s;
    }
}

} // namespace
