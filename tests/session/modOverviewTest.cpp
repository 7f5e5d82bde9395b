// The frame on an overview.
#include "session/modOverview.h"

#include "base/Days.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

using modOverview::Part;

TEST(OverviewFrame, IsTakenHoldOfWhereThePointerIs)
{
    const std::tuple<double, double, double, Part> rows[] = {
        {91, 100, 200, Part::Outside},
        {92, 100, 200, Part::Begin},
        {108, 100, 200, Part::Begin},
        {109, 100, 200, Part::Inside},
        {191, 100, 200, Part::Inside},
        {192, 100, 200, Part::End},
        {208, 100, 200, Part::End},
        {209, 100, 200, Part::Outside},
        // A narrow frame still has all three.
        {100.5, 100, 103, Part::Begin},
        {101.5, 100, 103, Part::Inside},
        {102.5, 100, 103, Part::End},
    };
    for (const auto& [x, left, right, part] : rows) {
        EXPECT_EQ(modOverview::PartAt(x, left, right), part) << x << " in " << left << " to " << right;
    }
}

TEST(OverviewFrame, StaysWithinEverything)
{
    constexpr PlaceRange kAll{100, 200};
    using modOverview::Moved, modOverview::Stretched, modOverview::Zoomed;
    const std::tuple<const char*, PlaceRange, PlaceRange> rows[] = {
        {"moved", Moved({120, 140}, 10, kAll), {130, 150}},
        {"moved beyond the begin", Moved({120, 140}, -50, kAll), {100, 120}},
        {"moved beyond the end", Moved({120, 140}, 90, kAll), {180, 200}},
        {"longer than everything", Moved({50, 250}, 10, kAll), {100, 200}},
        {"begin", Stretched({120, 140}, Part::Begin, 90, kAll), {100, 140}},
        {"end", Stretched({120, 140}, Part::End, 150, kAll), {120, 150}},
        {"end before the begin", Stretched({120, 140}, Part::End, 110, kAll), {120, 120 + 1.0 / kMsPerDay}},
        {"begin behind the end", Stretched({120, 140}, Part::Begin, 170, kAll), {140 - 1.0 / kMsPerDay, 140}},
        {"closer", Zoomed({120, 160}, 130, 0.5, kAll), {125, 145}},
        {"wider than everything", Zoomed({120, 160}, 130, 9, kAll), {100, 200}},
        {"at the edge", Zoomed({100, 140}, 140, 2, kAll), {100, 180}},
        {"one sample alone", Zoomed({100, 160}, 130, 0.5, {100, 100}), {100, 100}},
    };
    for (const auto& [name, found, expected] : rows) {
        EXPECT_DOUBLE_EQ(found.begin, expected.begin) << name;
        EXPECT_DOUBLE_EQ(found.end, expected.end) << name;
    }
}

TEST(OverviewGaps, AreOpenWhereNoDistanceEndsThem)
{
    struct Row {
        const char *lines, *gaps; ///< a distance is "d", a missing echo "-"; "begin to end" in seconds
    };
    for (const Row& row : {Row{"", ""}, Row{"-", ""}, Row{"dddd", ""}, Row{"d--d", ""}, Row{"d-", ""},
                           Row{"----", "0 to 3 "}, Row{"---d", "0 to 3 "}, Row{"--dd---", "0 to 2 3 to 6 "}}) {
        clsHistory history;
        double second = 0.0;
        for (const char line : std::string(row.lines)) {
            history.AddPlayed(46346.0 + second++ / kSecondsPerDay, line == 'd' ? 1000 : kMarkerNoEcho);
        }
        std::string found;
        for (const HistoryGap& gap : modOverview::OpenGaps(history, 1.5 / kSecondsPerDay)) {
            const auto secondOf = [](double place) { return std::lround((place - 46346.0) * kSecondsPerDay); };
            found += std::to_string(secondOf(gap.range.begin)) + " to " + std::to_string(secondOf(gap.range.end)) + ' ';
        }
        EXPECT_EQ(found, row.gaps) << row.lines;
    }
}
