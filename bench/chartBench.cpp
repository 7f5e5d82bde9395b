// What a frame of the chart costs: the shown widget, painted offscreen while its series moves on by one point, beside
// the same ground with a plain polyline over all points and, where the library is installed, QCustomPlot as it comes.
// The contenders take turns in the same process; the table shows medians. Last, what a new value costs without
// painting.
#include "chart/XYChart.h"

#include <QApplication>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef ORVEX_HAS_QCUSTOMPLOT
#include <qcustomplot.h>
#endif

namespace {

constexpr int kRounds = 5;
constexpr int kFrames = 20;        // of each contender in a round
constexpr double kStart = 46000.5; // days
constexpr double kSpan_days = 60.0 / 86400.0;
constexpr double kLower = 0.0, kUpper = 3000.0;

/// A level that rises and falls, with noise: endless, the same for every contender.
class Signal {
public:
    explicit Signal(int points) : m_step(kSpan_days / points) {}
    QPointF Next()
    {
        const double i = m_index++;
        return {kStart + i * m_step, 1500.0 + 800.0 * std::sin(i * m_step / kSpan_days * 20.0) + m_noise(m_random)};
    }

private:
    double m_step;
    int m_index = 0;
    std::mt19937 m_random{1};
    std::normal_distribution<double> m_noise{0.0, 25.0};
};

/// One of those that are compared: moves on by a point and paints at once.
struct Contender {
    std::string name;
    std::function<void(QPointF)> add;
    std::function<void()> paint;
};

/// The plain way: the chart's own ground, then one polyline.
class PlainPlot : public QWidget {
public:
    PlainPlot(QPixmap ground, double lineWidth, bool smooth)
        : m_ground(std::move(ground)), m_lineWidth(lineWidth), m_smooth(smooth)
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }
    std::deque<QPointF> points;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.drawPixmap(0, 0, m_ground);
        painter.setRenderHint(QPainter::Antialiasing, m_smooth);
        painter.setPen(QPen(QColor(0x0A, 0x5A, 0xC8), m_lineWidth));
        const double end = points.empty() ? kStart : points.back().x();
        const QRectF plot = QRectF(rect()).adjusted(60, 30, -25, -50);
        QPolygonF line;
        line.reserve(static_cast<qsizetype>(points.size()));
        for (const QPointF& point : points) {
            line << QPointF(plot.right() + (point.x() - end) / kSpan_days * plot.width(),
                            plot.bottom() - (point.y() - kLower) / (kUpper - kLower) * plot.height());
        }
        painter.drawPolyline(line);
    }

private:
    QPixmap m_ground;
    double m_lineWidth;
    bool m_smooth;
};

std::unique_ptr<XYChart> newChart(QSize size, int points, bool timeScale)
{
    auto chart = std::make_unique<XYChart>(nullptr);
    chart->Header({});
    chart->InitChartData(points); // one slot more than points: a full ring leaves one out
    chart->YLimits(kLower, kUpper);
    chart->TimeScale(timeScale);
    chart->resize(size);
    return chart;
}

Contender chartContender(XYChart& chart, const char* name)
{
    return {name, [&chart](QPointF p) { chart.AddPoint(p.x(), p.y()); }, [&chart] { chart.repaint(); }};
}

Contender plainContender(PlainPlot& plot, int points, const char* name)
{
    const auto add = [&plot, points](QPointF p) {
        plot.points.push_back(p);
        if (plot.points.size() > static_cast<std::size_t>(points)) {
            plot.points.pop_front();
        }
    };
    return {name, add, [&plot] { plot.repaint(); }};
}

#ifdef ORVEX_HAS_QCUSTOMPLOT
Contender libraryContender(QCustomPlot& plot)
{
    plot.addGraph();
    plot.yAxis->setRange(kLower, kUpper);
    const auto add = [&plot](QPointF p) {
        const double seconds = (p.x() - kStart) * 86400.0;
        plot.graph(0)->addData(seconds, p.y());
        plot.graph(0)->data()->removeBefore(seconds - 60.0);
        plot.xAxis->setRange(seconds - 60.0, seconds);
    };
    return {"QCustomPlot", add, [&plot] { plot.replot(QCustomPlot::rpImmediateRefresh); }};
}
#endif

double microsecondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

/// The medians of all contenders in microseconds a frame. They take turns in rounds of some frames each.
std::vector<double> framesOf(const std::vector<Contender>& contenders, int points)
{
    std::vector<Signal> streams(contenders.size(), Signal(points));
    std::vector<std::vector<double>> times(contenders.size());
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        for (int k = 0; k < points + 2; ++k) {
            contenders[i].add(streams[i].Next());
        }
        contenders[i].paint();
    }
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            for (int frame = 0; frame < kFrames; ++frame) {
                const QPointF point = streams[i].Next();
                times[i].push_back(microsecondsOf([&] {
                    contenders[i].add(point);
                    contenders[i].paint();
                }));
            }
        }
    }
    std::vector<double> medians;
    std::ranges::transform(times, std::back_inserter(medians), median);
    return medians;
}

/// Prints a row for each contender; returns what the chart itself took.
double compare(QSize size, int points)
{
    const auto chart = newChart(size, points, false);
    const auto timed = newChart(size, points, true);
    const QPixmap ground = chart->grab();
    PlainPlot smooth(ground, 1.5, true);
    PlainPlot thin(ground, 1.0, false);
    std::vector<Contender> contenders{chartContender(*chart, "chart"), chartContender(*timed, "chart, times of day"),
                                      plainContender(smooth, points, "polyline, same pen"),
                                      plainContender(thin, points, "polyline, 1 px, not smooth")};
    std::vector<QWidget*> widgets{chart.get(), timed.get(), &smooth, &thin};
#ifdef ORVEX_HAS_QCUSTOMPLOT
    QCustomPlot library;
    contenders.push_back(libraryContender(library));
    widgets.push_back(&library);
#endif
    for (QWidget* widget : widgets) {
        widget->resize(size);
        widget->show();
    }
    QApplication::processEvents();
    const std::vector<double> medians = framesOf(contenders, points);
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        std::printf("%5dx%-5d %7d  %-28s %9.0f %8.1f\n", size.width(), size.height(), points,
                    contenders[i].name.c_str(), medians[i], medians[i] / medians[0]);
    }
    return medians[0];
}

void pointWithoutPainting()
{
    const auto chart = newChart({1200, 500}, 30000, false);
    Signal signal(30000);
    chart->show();
    std::vector<double> times;
    for (int i = 0; i < 60000; ++i) {
        const QPointF point = signal.Next();
        times.push_back(microsecondsOf([&] { chart->AddPoint(point.x(), point.y()); }));
    }
    const double middle = median(times);
    std::printf("a point added to the chart, without painting: %.2f us, at most %.1f us\n", middle,
                *std::ranges::max_element(times));
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
#ifndef ORVEX_HAS_QCUSTOMPLOT
    std::printf("*** QCustomPlot is MISSING from this table: install libqcustomplot-dev and configure anew ***\n");
#endif
    std::printf("%-11s %7s  %-28s %9s %8s\n", "size", "points", "contender", "us/frame", "times");
    for (const QSize size : {QSize(1200, 500), QSize(1920, 1080)}) {
        const double few = compare(size, 1200);
        const double many = compare(size, 30000);
        std::printf("%5dx%-5d 30000 points cost %.2f times 1200\n", size.width(), size.height(), many / few);
    }
    pointWithoutPainting();
    return 0;
}
