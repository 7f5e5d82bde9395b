// What a frame of the chart costs: the shown widget, painted offscreen while its series moves on by one point. Beside
// it, the same background with a plain polyline over all points and, where the library is installed, QCustomPlot with
// its defaults.
#include "bench/Micro.h"
#include "bench/Table.h"
#include "ui/chart/XYChart.h"

#include <QApplication>
#include <QPainter>
#include <QPolygonF>

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef ORVEX_HAS_QCUSTOMPLOT
#include <qcustomplot.h>
#endif

namespace {

constexpr double kStart = 46000.5; // days
constexpr double kSpan_days = 60.0 / 86400.0;
constexpr double kLower = 0.0, kUpper = 3000.0;
constexpr char kLibrary[] = "QCustomPlot";
constexpr int kFew = 1200, kMany = 30000;

/// A level that rises and falls, with noise: endless, and the same for every contender.
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

/// One of the charts that are compared: moves on by a point and paints at once.
struct Contender {
    std::string name;
    std::function<void(QPointF)> add;
    std::function<void()> paint;
};

/// The plain way: the chart's own background, then one polyline.
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

std::unique_ptr<XYChart> newChart(QSize size, int points)
{
    auto chart = std::make_unique<XYChart>(nullptr);
    chart->Header({});
    chart->InitChartData(points); // one slot more than points: a full ring leaves one out
    chart->YLimits(kLower, kUpper);
    chart->resize(size);
    return chart;
}

Contender chartContender(XYChart& chart)
{
    return {"chart", [&chart](QPointF p) { chart.AddPoint(p.x(), p.y()); }, [&chart] { chart.repaint(); }};
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
    return {kLibrary, add, [&plot] { plot.replot(QCustomPlot::rpImmediateRefresh); }};
}
#endif

/// One of the pictures: all contenders in one size, with the same number of points.
struct Picture {
    QSize size;
    int points = 0;
    std::unique_ptr<XYChart> chart;
    std::unique_ptr<PlainPlot> smooth, thin;
#ifdef ORVEX_HAS_QCUSTOMPLOT
    std::unique_ptr<QCustomPlot> library;
#endif
    std::vector<Contender> contenders;

    std::string Name() const
    {
        return QStringLiteral("%1 x %2, %3 points").arg(size.width()).arg(size.height()).arg(points).toStdString();
    }
    std::string NameOf(const Contender& contender) const
    {
        return Name() + ", " + contender.name;
    }
};

void show(QWidget& widget, QSize size)
{
    widget.resize(size);
    widget.show();
}

Picture newPicture(QSize size, int points)
{
    Picture picture;
    picture.size = size;
    picture.points = points;
    picture.chart = newChart(size, points);
    const QPixmap ground = picture.chart->grab();
    picture.smooth = std::make_unique<PlainPlot>(ground, 1.5, true);
    picture.thin = std::make_unique<PlainPlot>(ground, 1.0, false);
    picture.contenders = {chartContender(*picture.chart), plainContender(*picture.smooth, points, "polyline, same pen"),
                          plainContender(*picture.thin, points, "polyline, 1 pixel, not smooth")};
    show(*picture.chart, size);
    show(*picture.smooth, size);
    show(*picture.thin, size);
#ifdef ORVEX_HAS_QCUSTOMPLOT
    picture.library = std::make_unique<QCustomPlot>();
    picture.contenders.push_back(libraryContender(*picture.library));
    show(*picture.library, size);
#endif
    return picture;
}

/// A frame: one more point, painted at once.
void addBenchmark(const Picture& picture, const Contender& contender)
{
    auto signal = std::make_shared<Signal>(picture.points);
    for (int i = 0; i < picture.points + 2; ++i) {
        contender.add(signal->Next());
    }
    contender.paint();
    benchmark::RegisterBenchmark(picture.NameOf(contender).c_str(), [signal, &contender](benchmark::State& state) {
        for (auto round : state) {
            contender.add(signal->Next());
            contender.paint();
        }
    });
}

void printRows(const Picture& picture, std::map<std::string, double>& times)
{
    const double ours = times[picture.NameOf(picture.contenders.front())];
    for (std::size_t i = 1; i < picture.contenders.size(); ++i) {
        const Contender& other = picture.contenders[i];
        TableRow row = TimeRow("chart frame", picture.Name(), ours, other.name, times[picture.NameOf(other)]);
        const bool isHardest = picture.size.width() == 1200 && picture.points == kMany;
        const double timesFaster = !isHardest ? 1.0 : other.name == kLibrary ? 4.0 : 8.0;
        row.TimesFaster(timesFaster).Print();
    }
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int noArguments = 1;
    const QApplication application(noArguments, argv);
#ifndef ORVEX_HAS_QCUSTOMPLOT
    std::fprintf(stderr, "QCustomPlot is MISSING from this table: install libqcustomplot-dev and configure anew\n");
#endif
    std::vector<Picture> pictures;
    for (const QSize size : {QSize(1200, 500), QSize(1920, 1080)}) {
        for (const int points : {kFew, kMany}) {
            pictures.push_back(newPicture(size, points));
        }
    }
    QApplication::processEvents();
    for (const Picture& picture : pictures) {
        for (const Contender& contender : picture.contenders) {
            addBenchmark(picture, contender);
        }
    }
    auto times = RunBenchmarks(argc, argv);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        printRows(pictures[i], times);
        if (pictures[i].points == kMany) {
            const Picture& few = pictures[i - 1];
            TimeRow("chart frame", pictures[i].Name(), times[pictures[i].NameOf(pictures[i].contenders.front())],
                    std::to_string(kFew) + " points", times[few.NameOf(few.contenders.front())])
                .RatioAtMost(1.5)
                .Print();
        }
    }
    return 0;
}
