// The chart of a session whose clock was set, or that shows more than its series holds: what it shows, counts and says.
#include "tests/support/MeasuringSite.h"
#include "ui/chart/ChartLayout.h"
#include "ui/chart/ChartPanel.h"
#include "ui/help/Help.h"

#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kTwo_s = 7200; // 02:00

/// A chart that follows a session, without a window.
struct Followed : MeasuringSite {
    Help help{settings, folder.path};
    ChartPanel chart{nullptr};

    Followed()
    {
        chart.resize(900, 400);
        chart.Follow(session, settings, help);
        chart.TimeScale(true);
    }
    /// Plays a line in each tenth, or whole number, of a second from one time of day to another.
    void Play(const std::vector<std::pair<int, int>>& passes_s, int perSecond)
    {
        std::string lines;
        for (const auto& [from_s, to_s] : passes_s) {
            for (int i = from_s * perSecond; i < to_s * perSecond; ++i) {
                const int s = i / perSecond;
                char text[60];
                std::snprintf(text, sizeof text, "25.10.2026 %02d:%02d:%02d,%03d; 1000 mm; 21 \xB0\x43\n", s / 3600,
                              s / 60 % 60, s % 60, i % perSecond * 1000 / perSecond);
                lines += text;
            }
        }
        session.Play(folder.Write("a.rec", lines), [](double) { return true; });
    }
    std::string Texts(const std::vector<ChartLayout::Tick>& ticks) const
    {
        std::string all;
        for (const auto& tick : ticks) {
            all += tick.text.isEmpty() ? "" : (all.empty() ? "" : " ") + tick.text.toStdString();
        }
        return all;
    }
    ChartLayout Layout() { return {chart.NextFrame().content, chart.font(), chart.size(), 1.0}; }
    /// The oldest point that is drawn.
    double Oldest()
    {
        const auto look = chart.NextFrame().content.look;
        return look ? std::max(look->begin, chart.Source()->Range().begin) : chart.Points()[0].front().x;
    }
};

TEST(ChartPlaces, RangeCountAndLabelsAgree)
{
    struct Row {
        const char* name;
        std::function<void(Followed&)> act;
        double shown_s;                      ///< seconds that are shown
        double share;                        ///< of them that have values
        std::optional<std::int64_t> count{}; ///< values, if it is known
        std::string changes, labels{};
    };
    for (const Row& row : {
             Row{"the series has grown",
                 [](Followed& site) {
                     site.Run(166);
                     site.chart.Span(600000);
                     site.Run(1);
                 },
                 600,
                 167.0 / 600,
                 {},
                 ""},
             Row{"the clock was set back",
                 [](Followed& site) {
                     site.Run(70);
                     site.clock_days = -1.0 / 24;
                     site.Run(30);
                 },
                 60,
                 1.0,
                 {},
                 "clock -1 h",
                 "12:00:50 12:01:00 12:01:10 11:01:20 11:01:30 11:01:40"},
             Row{"a few lines through the end of summer time",
                 [](Followed& site) {
                     site.Play({{kTwo_s + 3000, kTwo_s + 3600}, {kTwo_s, kTwo_s + 600}}, 1);
                 },
                 1200, 1.0, 1200, "clock -1 h", "02:50 02:52 02:54 02:56 02:58 02:00 02:02 02:04 02:06 02:08"},
             Row{"many lines through the end of summer time",
                 [](Followed& site) {
                     site.Play({{kTwo_s + 1800, kTwo_s + 3600}, {kTwo_s, kTwo_s + 1800}}, 10);
                 },
                 3600, 1.0, 36000, "clock -1 h",
                 "02:30 02:35 02:40 02:45 02:50 02:55 02:00 02:05 02:10 02:15 02:20 02:25"},
             Row{"a single value after a long recording",
                 [](Followed& site) {
                     site.Play({{0, 10800}}, 1);
                     site.Play({{3600, 3601}}, 1);
                 },
                 60, 0.0, 1, ""},
             Row{"a held span that is longer than the series",
                 [](Followed& site) {
                     site.chart.Span(900000);
                     site.Run(1000);
                     site.chart.HoldSpan(true);
                     site.Run(30);
                 },
                 900,
                 1.0,
                 {},
                 ""},
         }) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, row.name);
        Followed site;
        ChartPanel& chart = site.chart;
        chart.ClockLabel(QStringLiteral("clock %1"));
        row.act(site);
        chart.grab();
        const PlaceRange shown = chart.ShownRange();
        EXPECT_NEAR(shown.Length() * kSecondsPerDay, row.shown_s, 1.5);
        const Statistics seen = chart.Source()->StatisticsOf(chart.RangeOfStatistics());
        const double filled_s = row.share * row.shown_s;
        if (row.count) {
            EXPECT_NEAR(static_cast<double>(seen.valid), static_cast<double>(*row.count), 1.0);
        } else {
            const auto rate =
                static_cast<double>(chart.Source()->Size()) / (chart.Source()->Range().Length() * kSecondsPerDay);
            EXPECT_NEAR(static_cast<double>(seen.valid), rate * filled_s, 0.05 * rate * filled_s);
        }
        EXPECT_LT((site.Oldest() - std::max(shown.begin, chart.Source()->Range().begin)) * kSecondsPerDay, 1.5);
        const ChartLayout layout = site.Layout();
        EXPECT_EQ(site.Texts(layout.ClockChanges()), row.changes);
        if (!row.labels.empty()) {
            EXPECT_EQ(site.Texts(layout.TimeTicks()), row.labels);
        }
        const PlaceRange before = chart.ShownRange();
        chart.Freeze(true);
        EXPECT_EQ(chart.ShownRange(), before) << "it stops where it is";
    }
}

} // namespace
