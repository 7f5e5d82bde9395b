// The painted chart, offscreen.
#include "ui/chart/XYChart.h"

#include "session/clsHistory.h"
#include "ui/chart/ChartColors.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/modGDIAPI.h"

#include <QImage>

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace {

constexpr double kNoon = 46000.5;
constexpr double kSecond = 1.0 / 86400.0;

std::unique_ptr<XYChart> newChart(std::int32_t lastSlot = 1199)
{
    auto chart = std::make_unique<XYChart>(nullptr);
    chart->InitChartData(lastSlot);
    chart->Header({});
    chart->AutoScale(false);
    chart->YLimits(0, 100);
    chart->resize(500, 300);
    return chart;
}

QImage pictureOf(XYChart& chart)
{
    return chart.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

/// Pixels in the colour of the curve, in columns from..to (shares of the width).
int curvePixels(const QImage& picture, double from = 0.0, double to = 1.0)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = static_cast<int>(from * picture.width()); x < static_cast<int>(to * picture.width()); ++x) {
            count += qBlue(picture.pixel(x, y)) - qRed(picture.pixel(x, y)) > 90 ? 1 : 0;
        }
    }
    return count;
}

TEST(Chart, FillsItsTimeAxisHoweverFastTheValuesCome)
{
    struct Row {
        double perSecond;
        std::int32_t room;
    };
    for (const Row& row : {Row{20, 1200}, Row{60, 4800}, Row{500, 38400}}) {
        ChartPanel chart(nullptr);
        chart.resize(500, 300);
        chart.ResetChart();
        for (int i = 0; i < 90 * row.perSecond; ++i) {
            chart.AddChartPoint(kNoon + i / row.perSecond * kSecond, 20 + i % 60);
        }
        EXPECT_EQ(chart.Series().Size(), row.room) << row.perSecond;
        EXPECT_LT(chart.Points()[0].front().x, chart.TimeBegin() + 0.15 * kSecond) << row.perSecond;
        EXPECT_GT(curvePixels(pictureOf(chart), 0.1, 0.2), 50) << row.perSecond;
    }
    ChartPanel chart(nullptr);
    for (int i = 0; i < modChartGlobals::kMostPoints + 10; ++i) {
        chart.AddChartPoint(kNoon + i * 1e-9 * kSecond, 1.0);
    }
    EXPECT_EQ(chart.Series().Size(), modChartGlobals::kMostPoints) << "but no further";
}

/// A frame looks the same whether the chart was painted all the time or only now.
TEST(Chart, PaintsEachFrameAsIfItWereTheFirst)
{
    using Row = std::pair<const char*, std::function<void(XYChart&)>>;
    for (const auto& [name, prepare] :
         {Row{"as it comes", [](XYChart&) {}}, Row{"times of day", [](XYChart& c) { c.TimeScale(true); }},
          Row{"dots", [](XYChart& c) { c.ConnectPoints(false); }}, Row{"held", [](XYChart& c) { c.HoldSpan(true); }},
          Row{"reversed", [](XYChart& c) { c.XReversed(true), c.YReversed(true); }}}) {
        for (const int points : {300, 680, 730, 1100}) {
            const auto kept = newChart(599), fresh = newChart(599); // by the end the ring has wrapped
            prepare(*kept);
            prepare(*fresh);
            for (int i = 0; i < points; ++i) {
                double time = kNoon + i * 0.13 * kSecond;
                time += i > 700 && i < 750 ? 15 * kSecond : 0.0; // a clock that jumps ahead and back
                for (XYChart* chart : {kept.get(), fresh.get()}) {
                    i % 90 > 80 ? chart->AddGap(time) : chart->AddPoint(time, 50 + 40 * std::sin(i * 0.1) + i % 7);
                }
                if (i % 3 == 0) {
                    pictureOf(*kept);
                }
                if (i == points / 2) {
                    kept->Redraw();
                }
            }
            // The outermost columns may keep what the pen painted from points that have left the picture.
            const QRect inner = QRect(QPoint(), kept->size()).adjusted(70, 0, -30, 0);
            EXPECT_TRUE(pictureOf(*kept).copy(inner) == pictureOf(*fresh).copy(inner))
                << name << ", " << points << " points";
            EXPECT_GT(curvePixels(pictureOf(*kept)), 200) << name;
        }
    }
}

TEST(Chart, AHeldSpanStaysHoweverLongItIsHeld)
{
    const auto chart = newChart();
    chart->HoldSpan(true);
    const auto feed = [&](int from, int to) {
        for (int i = from; i < to; ++i) {
            chart->AddPoint(kNoon + i * 0.05 * kSecond, std::sin(i * 0.1));
        }
    };
    chart->YLimits(-2, 2);
    feed(0, 1203);
    // The outermost columns may change with points just outside, because the pen reaches in from there.
    const QRect inner = QRect(QPoint(), chart->size()).adjusted(80, 0, -40, 0);
    const QImage full = pictureOf(*chart).copy(inner);
    EXPECT_GT(curvePixels(full), 200);
    feed(1203, 5000);
    EXPECT_TRUE(pictureOf(*chart).copy(inner) == full);
    chart->HoldSpan(false);
    EXPECT_FALSE(pictureOf(*chart).copy(inner) == full);
}

TEST(Chart, ForgetsWhatTheRingHasOverwritten)
{
    const auto chart = newChart(199);
    for (int i = 0; i < 1000; ++i) {
        chart->AddPoint(kNoon + i * 0.1 * kSecond, 50);
        pictureOf(*chart);
    }
    EXPECT_EQ(curvePixels(pictureOf(*chart), 0.0, 0.6), 0) << "a ring of 20 seconds in a span of 60";
    EXPECT_GT(curvePixels(pictureOf(*chart), 0.7, 1.0), 100);
}

TEST(Chart, StaysSaneWithWhatIsNotACurve)
{
    const auto chart = newChart();
    EXPECT_EQ(curvePixels(pictureOf(*chart)), 0);
    const double inf = std::numeric_limits<double>::infinity();
    for (const double y : {std::nan(""), inf, -inf, 1e305, 0.0}) {
        chart->AddPoint(kNoon, y);
    }
    EXPECT_EQ(curvePixels(pictureOf(*chart)), 0) << "nothing with a place";
    for (const double time : {std::nan(""), inf, 1e300, -1e18, kNoon}) {
        chart->AddPoint(time, 50);
        chart->ShowTime(time);
        pictureOf(*chart);
    }
    for (int i = 0; i <= 60; ++i) {
        chart->AddPoint(kNoon + i * kSecond, i == 36 ? 3e12 : 50);
    }
    EXPECT_GT(curvePixels(pictureOf(*chart), 0.5, 0.7), 100) << "up, out of the picture, and down again";
    chart->Series().StopIndex = 5000000;
    EXPECT_EQ(curvePixels(pictureOf(*chart)), 0) << "pointers that are no slots";
    chart->Reset();
    for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(30, 400), QSize(400, 20)}) {
        chart->resize(size);
        chart->AddPoint(kNoon, 5);
        pictureOf(*chart);
    }
}

TEST(Chart, ShowsZeroValuesOnRequest)
{
    const auto chart = newChart();
    chart->YLimits(-50, 50);
    for (int i = 0; i <= 120; ++i) {
        chart->AddPoint(kNoon + i * kSecond, 0.0);
    }
    EXPECT_EQ(curvePixels(pictureOf(*chart)), 0);
    chart->ShowZeroValues(true);
    EXPECT_GT(curvePixels(pictureOf(*chart)), 200);
}

TEST(Chart, ColoursThatWereNotSetFollowADarkPalette)
{
    const auto chart = newChart();
    EXPECT_EQ(pictureOf(*chart).pixel(2, 2), 0xFFFFFFFF);
    QPalette dark;
    dark.setColor(QPalette::Base, QColor(20, 20, 20));
    dark.setColor(QPalette::Text, Qt::white);
    chart->setPalette(dark);
    EXPECT_EQ(pictureOf(*chart).pixel(2, 2), 0xFF141414);
    chart->BackColor(0xFF0000);
    EXPECT_EQ(pictureOf(*chart).pixel(2, 2), 0xFF0000FF) << "blue, green, red";
}

/// A history of values in millimetres that come every 50 ms.
void fill(clsHistory& history, int count, const std::function<double(int)>& valueOf)
{
    for (int i = 0; i < count; ++i) {
        const double value = std::round(valueOf(i));
        const Measurement sample{
            .value = value, .value_mm = static_cast<std::int32_t>(value), .time = kNoon + i * 0.05 * kSecond};
        history.Add({&sample, 1}, {});
    }
}

double wave(int i)
{
    return 50 + 40 * std::sin(i * 0.05);
}

TEST(ChartLook, ShowsTheHistoryAsItCame)
{
    for (const bool lines : {true, false}) {
        clsHistory history;
        fill(history, 1200, wave);
        const auto live = newChart(1300), look = newChart();
        for (XYChart* chart : {live.get(), look.get()}) {
            chart->TimeScale(true);
            chart->ConnectPoints(lines);
            chart->Source(&history, 1.0);
        }
        for (int i = 0; i < 1200; ++i) {
            live->AddPoint(kNoon + i * 0.05 * kSecond, std::round(wave(i)));
        }
        look->Look(live->ShownRange());
        const int expected = curvePixels(pictureOf(*live), 0.2, 0.9);
        EXPECT_NEAR(curvePixels(pictureOf(*look), 0.2, 0.9), expected, expected / 50.0) << lines;
        look->Source(nullptr, 1.0);
        EXPECT_EQ(curvePixels(pictureOf(*look)), 0) << "there is nothing to look into";
    }
}

/// A picture does not depend on what was shown before.
TEST(ChartLook, PaintsEachFrameAsIfItWereTheFirst)
{
    clsHistory history;
    fill(history, 20000, [](int i) { return i / 10 + wave(i); });
    const auto kept = newChart();
    kept->AutoScale(true);
    kept->Source(&history, 1.0);
    double begin = kNoon;
    int frame = 0;
    for (const auto& [moved, length] : {std::pair{0.0, 600.0}, std::pair{100.0, 600.0}, std::pair{-30.0, 300.0},
                                        std::pair{10.0, 5.0}, std::pair{0.0, 0.002}, std::pair{0.0, 900.0}}) {
        begin += moved * kSecond;
        const PlaceRange range{begin, begin + length * kSecond};
        kept->Look(range);
        kept->ConnectPoints(frame++ % 3 != 1);
        const QImage found = pictureOf(*kept);
        const auto fresh = newChart();
        fresh->AutoScale(true);
        fresh->Source(&history, 1.0);
        fresh->ConnectPoints(kept->ConnectPoints());
        fresh->Look(range);
        const std::array limits{kept->YMinimum(), kept->YMaximum()};
        pictureOf(*fresh);
        fresh->LookLimits(limits); // a stretch that was moved may have kept wider ones
        kept->LookLimits(limits);
        EXPECT_EQ(pictureOf(*kept), pictureOf(*fresh)) << length;
        kept->LookLimits({});
    }
}

TEST(ChartLook, FitsWhatIsSeenUnlessItIsHeld)
{
    clsHistory history;
    fill(history, 1200, [](int i) { return i < 600 ? 1000 + i % 10 : 5000 + i % 10; });
    const auto chart = newChart();
    chart->AutoScale(true);
    chart->Source(&history, 1.0);
    chart->Look(PlaceRange{kNoon, kNoon + 29 * kSecond});
    pictureOf(*chart);
    EXPECT_GT(chart->YMinimum(), 900.0);
    EXPECT_LT(chart->YMaximum(), 1100.0);
    chart->Look(PlaceRange{kNoon, kNoon + 60 * kSecond});
    pictureOf(*chart);
    EXPECT_GT(chart->YMaximum(), 5000.0);
    chart->LookLimits(std::array{2000.0, 4000.0});
    pictureOf(*chart);
    EXPECT_NEAR(chart->ValueAt(chart->PlotArea().bottom()), 2000.0, 10.0);
    EXPECT_NEAR(chart->ValueAt(chart->PlotArea().top()), 4000.0, 10.0);
    chart->LookLimits(std::array{2000.0, std::nan("")});
    EXPECT_EQ(chart->LookLimits(), (std::array{2000.0, 4000.0})) << "no limits";
    chart->Look({});
    pictureOf(*chart);
    EXPECT_EQ(chart->YMaximum(), 100.0) << "the chart that follows has its own";
}

TEST(ChartLook, FollowsTheHistoryWhereThePointsDoNotReach)
{
    clsHistory history;
    fill(history, 4000, wave); // 200 s
    const auto chart = newChart(1199);
    chart->Source(&history, 1.0);
    for (int i = 0; i < 4000; ++i) {
        chart->AddPoint(kNoon + i * 0.05 * kSecond, std::round(wave(i)));
    }
    EXPECT_NEAR(chart->ShownRange().Length() / kSecond, 60.0, 1e-3);
    chart->XRange_ms(180000);
    EXPECT_GT(curvePixels(pictureOf(*chart), 0.25, 0.5), 100);
    chart->FollowAll(true);
    EXPECT_NEAR(chart->ShownRange().begin, kNoon, 1e-9);
    EXPECT_GT(curvePixels(pictureOf(*chart), 0.25, 0.5), 100);
}

TEST(Chart, ASpikeLeavesTheAxisAlone)
{
    const auto chart = std::make_unique<XYChart>(nullptr);
    chart->resize(500, 300);
    for (int i = 0; i < 100; ++i) {
        chart->AddPoint(kNoon + i * kSecond / 2, i == 60 ? 90000 : 1000 + i % 10);
    }
    const QImage marked = pictureOf(*chart);
    EXPECT_LT(chart->YMaximum(), 1100.0);
    EXPECT_EQ(chart->ShownValues(), (std::array{1000.0, 90000.0}));
    chart->YLimits(chart->YMinimum(), chart->YMaximum()); // from now on it does not look for spikes by itself
    EXPECT_EQ(marked, pictureOf(*chart));
    chart->Spikes({});
    EXPECT_FALSE(marked == pictureOf(*chart)) << "it was marked";
}

TEST(Chart, CurveAndInHighContrastTheGridCanBeSeen)
{
    struct Row {
        const char* name;
        QColor base, text, window;
        std::optional<std::int32_t> back{};
        bool isHigh = false;
    };
    for (const Row& row : {
             Row{"light", Qt::white, Qt::black, QColor(0xEF, 0xEF, 0xEF)},
             Row{"dark", QColor(0x1E, 0x1E, 0x1E), Qt::white, QColor(0x30, 0x30, 0x30)},
             Row{"own ground", Qt::white, Qt::black, QColor(0xEF, 0xEF, 0xEF), 0x787878},
             Row{"black", Qt::black, Qt::white, Qt::black, {}, true},
             Row{"white", Qt::white, Qt::black, Qt::white, {}, true},
         }) {
        QPalette palette;
        palette.setColor(QPalette::Base, row.base);
        palette.setColor(QPalette::Text, row.text);
        palette.setColor(QPalette::Window, row.window);
        palette.setColor(QPalette::WindowText, row.text);
        ChartContent content;
        content.backColor = row.back;
        const ChartColors colors = ColorsOf(content, palette);
        EXPECT_GE(modGDIAPI::Contrast(colors.curve, colors.back), 3.0) << row.name;
        EXPECT_EQ(modGDIAPI::Contrast(colors.grid, colors.back) >= 3.0, row.isHigh) << row.name;
        EXPECT_EQ(modGDIAPI::Contrast(colors.scale, colors.back) > 20.0, row.isHigh) << row.name;
    }
    EXPECT_NEAR(modGDIAPI::Contrast(Qt::black, Qt::white), 21.0, 1e-6);
    EXPECT_NEAR(modGDIAPI::Contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.01);
}

} // namespace
