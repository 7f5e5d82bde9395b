// The chart in files beside the chart on the screen.
#include "ui/chart/ChartPicture.h"

#include "tests/support/TemporaryFolder.h"
#include "ui/chart/XYChart.h"
#include "ui/recorder/ExportPicture.h"

#include <QImage>
#include <QImageReader>
#include <QPainter>

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace {

constexpr double kNoon = 46000.5;
constexpr double kSecond = 1.0 / 86400.0;
constexpr int kStrong = 90, kFaint = 20; // blue over red: in the curve, and in pixels that it only touches

/// Noise with gaps of all lengths, zeros, points that stand alone and a clock that jumps back; its last point is a gap,
/// so that no dot stands there.
void feed(XYChart& chart)
{
    std::mt19937 random(1);
    for (int i = 0; i < 400; ++i) {
        const double time = kNoon + (i * 0.15 - (i > 200 && i < 230 ? 4.0 : 0.0)) * kSecond;
        const bool isGap = i % 70 < i / 40 || i % 50 == 1 || i % 50 == 3;
        isGap ? chart.AddGap(time) : chart.AddPoint(time, i % 90 > 85 ? 0.0 : 50 + 30 * std::sin(i * 0.1));
        for (int more = static_cast<int>(random() % 3); more > 0 && !isGap; --more) {
            chart.AddPoint(time + 0.02 * kSecond, static_cast<double>(20 + random() % 60));
        }
    }
    chart.AddGap(kNoon + 60 * kSecond);
}

bool hasInk(const QImage& picture, int x, int y, int least)
{
    const QRgb pixel = picture.pixel(x, y);
    return qBlue(pixel) - qRed(pixel) > least;
}

bool hasInkNear(const QImage& picture, int x, int y, int reach)
{
    const QRect around = QRect(x - reach, y - reach, 2 * reach + 1, 2 * reach + 1) & picture.rect();
    for (int row = around.top(); row <= around.bottom(); ++row) {
        for (int column = around.left(); column <= around.right(); ++column) {
            if (hasInk(picture, column, row, kFaint)) {
                return true;
            }
        }
    }
    return false;
}

/// Pixels of this curve with no pixel of the other picture's curve within reach.
int inkThatTheOtherLacks(const QImage& picture, const QImage& other, int reach)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            count += hasInk(picture, x, y, kStrong) && !hasInkNear(other, x, y, reach) ? 1 : 0;
        }
    }
    return count;
}

/// Pixels away from the curve that differ.
int differencesInTheGround(const QImage& picture, const QImage& other)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            count += picture.pixel(x, y) != other.pixel(x, y) && !hasInkNear(picture, x, y, 2) ? 1 : 0;
        }
    }
    return count;
}

QImage drawnOf(XYChart& chart)
{
    QImage picture(chart.size(), QImage::Format_RGB32);
    QPainter painter(&picture);
    DrawChart(painter, chart, chart.size(), 1.0);
    return picture;
}

QImage svgOf(XYChart& chart)
{
    const TemporaryFolder folder;
    const auto file = QString::fromStdString(folder.path / "chart.svg");
    EXPECT_EQ(WritePicture(chart, file, "svg"), "");
    EXPECT_EQ(TemporaryFolder::Read(file.toStdString()).find("<image"), std::string::npos) << "lines, no pixels";
    QImageReader reader(file);
    reader.setScaledSize(chart.size());
    QImage picture(chart.size(), QImage::Format_RGB32);
    QPainter(&picture).drawImage(0, 0, reader.read());
    return picture;
}

/// A file has the gaps, divisions and texts of the screen, whatever the chart's settings.
TEST(ChartPicture, ShowsWhatTheScreenShows)
{
    using Row = std::pair<const char*, std::function<void(XYChart&)>>;
    for (const auto& [name, prepare] :
         {Row{"as it comes", [](XYChart&) {}}, Row{"dots", [](XYChart& c) { c.ConnectPoints(false); }},
          Row{"zeros", [](XYChart& c) { c.ShowZeroValues(true); }},
          Row{"times of day", [](XYChart& c) { c.TimeScale(true); }},
          Row{"reversed", [](XYChart& c) { c.XReversed(true), c.YReversed(true), c.TimeScale(true); }},
          Row{"cut off", [](XYChart& c) { c.AutoScale(false), c.YLimits(40, 61.5); }},
          Row{"held", [](XYChart& c) { c.HoldSpan(true), c.XRange_ms(30000); }},
          Row{"with a badge", [](XYChart& c) { c.Badge("SIMULATED"); }},
          Row{"with a header and a watermark", [](XYChart& c) {
                  c.Header({"Silo 4", "", 14.0, true, 0});
                  auto labels = c.Watermark();
                  labels[1].Text = "Test";
                  c.Watermark(labels);
              }}}) {
        XYChart chart(nullptr);
        chart.Header({});
        chart.SeriesLabel("RVQ");
        chart.resize(500, 300);
        prepare(chart);
        feed(chart);
        const QImage screen = chart.grab().toImage().convertToFormat(QImage::Format_RGB32);
        const QImage drawn = drawnOf(chart), svg = svgOf(chart);
        EXPECT_EQ(inkThatTheOtherLacks(screen, drawn, 1), 0) << name;
        EXPECT_EQ(inkThatTheOtherLacks(drawn, screen, 1), 0) << name;
        // The pen's round end reaches over the edge of the plot: an SVG does not clip.
        EXPECT_EQ(inkThatTheOtherLacks(screen, svg, 2), 0) << name;
        EXPECT_EQ(inkThatTheOtherLacks(svg, screen, 2), 0) << name;
        EXPECT_EQ(differencesInTheGround(screen, drawn), 0) << name;
    }
}

TEST(ChartPicture, IsLightHoweverDarkTheWindowIs)
{
    XYChart chart(nullptr);
    chart.resize(500, 300);
    feed(chart);
    const QImage light = drawnOf(chart);
    QPalette dark;
    dark.setColor(QPalette::Base, QColor(20, 20, 20));
    dark.setColor(QPalette::Text, Qt::white);
    chart.setPalette(dark);
    EXPECT_TRUE(drawnOf(chart) == light);
}

} // namespace
