// What it costs to look into a long history: frames of the chart while its time axis is dragged and zoomed, the value
// under the pointer, and statistics. Beside it the same chart with few points whose scales are redrawn and, where the
// library is installed, QCustomPlot with its defaults. orvex_bench_look [SAMPLES], 30 million by default.
#include "base/Days.h"
#include "bench/Table.h"
#include "session/clsHistory.h"
#include "ui/chart/XYChart.h"

#include <QApplication>
#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef ORVEX_HAS_QCUSTOMPLOT
#include <qcustomplot.h>
#endif

namespace {

constexpr double kStart = 46000.0;                     // days
constexpr double kInterval = 50.0 / kMsPerDay;         // between two samples
constexpr std::size_t kMemory = std::size_t{1} << 30U; // room for every sample
constexpr int kFew = 1200, kLibraryPoints = 6000000;
constexpr double kLower = 0.0, kUpper = 3000.0;
constexpr char kPart[] = "look";
const QSize kSize(1920, 1080);

/// A level that rises and falls within seconds and within days, with noise.
class Signal {
public:
    double Next()
    {
        const double i = m_index++;
        return 1500.0 + 400.0 * std::sin(i * 2.6e-6) + 400.0 * std::sin(i * 0.0167) + m_noise(m_random);
    }

private:
    int m_index = 0;
    std::mt19937 m_random{1};
    std::normal_distribution<double> m_noise{0.0, 25.0};
};

double timeOf(int sample)
{
    return kStart + sample * kInterval;
}

/// Now and then there is no echo, and now and then the line is lost for a minute.
void fill(clsHistory& history, int samples)
{
    constexpr int kBatch = 4096, kNoEchoEvery = 500, kLossEvery = 1000000, kLoss = 1200;
    Signal signal;
    std::vector<Measurement> batch;
    std::vector<Gap> ended;
    for (int i = 0; i < samples; ++i) {
        if (i % kLossEvery == 0 && i > 0) {
            ended.push_back({timeOf(i - kLoss - 1), timeOf(i), GapReason::LineLost});
        }
        if (i % kLossEvery < kLossEvery - kLoss) {
            const bool hasEcho = i % kNoEchoEvery != kNoEchoEvery - 1;
            const std::int32_t value = hasEcho ? static_cast<std::int32_t>(signal.Next()) : kMarkerNoEcho;
            batch.push_back({.value = static_cast<double>(value), .value_mm = value, .time = timeOf(i)});
        }
        if (batch.size() == kBatch || i + 1 == samples) {
            history.Add(batch, ended);
            batch.clear();
            ended.clear();
        }
    }
}

double processorTime()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double timed(const std::function<void()>& work)
{
    const double start = processorTime();
    work();
    return processorTime() - start;
}

/// The value that 99 of 100 do not exceed.
double mostOf(std::vector<double> values)
{
    const std::size_t place = values.size() * 99 / 100;
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(place));
    return values[place];
}

/// Forth and back: 0, 1, .. turn, turn - 1, .. 0.
int swing(int step, int turn)
{
    const int place = step % (2 * turn);
    return std::min(place, 2 * turn - place);
}

// What the hand does, frame by frame.
PlaceRange dragged(const PlaceRange& home, int step)
{
    const double way = 7.3 / kSize.width() * home.Length() * swing(step, 50);
    return {home.begin + way, home.end + way};
}

PlaceRange zoomed(const PlaceRange& home, int step)
{
    const double length = home.Length() * std::pow(1.03, -swing(step, 40));
    const double pointer = home.begin + 0.37 * home.Length();
    return {pointer - 0.37 * length, pointer + 0.63 * length};
}

using Move = PlaceRange (*)(const PlaceRange&, int);

/// A stretch within a range, off its gaps; all of it for a length of 0.
PlaceRange partOf(const PlaceRange& all, double length)
{
    const double begin = all.begin + 0.4137 * (all.Length() - length);
    return length == 0.0 ? all : PlaceRange{begin, begin + length};
}

void show(QWidget& widget)
{
    widget.resize(kSize);
    widget.show();
}

/// The chart as it follows the newest of few points.
class Follower {
public:
    Follower()
    {
        m_chart.InitChartData(kFew);
        m_chart.YLimits(kLower, kUpper);
        show(m_chart);
        for (int i = 0; i < kFew; ++i) {
            add();
        }
    }
    double Frame()
    {
        return timed([this] {
            add();
            m_chart.repaint();
        });
    }
    double FrameWithScales()
    {
        return timed([this] {
            add();
            m_chart.Redraw();
            m_chart.repaint();
        });
    }
    void TimeOfDay(bool timeOfDay) { m_chart.TimeScale(timeOfDay); }

private:
    void add() { m_chart.AddPoint(timeOf(m_next++), m_signal.Next()); }

    XYChart m_chart{nullptr};
    Signal m_signal;
    int m_next = 0;
};

#ifdef ORVEX_HAS_QCUSTOMPLOT
class LibraryPlot {
public:
    explicit LibraryPlot(int points)
    {
        Signal signal;
        QVector<QCPGraphData> data(points);
        for (int i = 0; i < points; ++i) {
            data[i] = {secondsOf(timeOf(i)), signal.Next()};
        }
        m_plot.addGraph();
        m_plot.graph(0)->data()->set(data, true);
        m_plot.yAxis->setRange(kLower, kUpper);
        show(m_plot);
    }
    double Frame(const PlaceRange& range)
    {
        return timed([this, &range] {
            m_plot.xAxis->setRange(secondsOf(range.begin), secondsOf(range.end));
            m_plot.replot(QCustomPlot::rpImmediateRefresh);
        });
    }

private:
    static double secondsOf(double place) { return (place - kStart) * kMsPerDay / 1000.0; }

    QCustomPlot m_plot;
};
#endif

struct Zoom {
    const char* name;
    double length = 0.0; ///< days; 0: everything
};
constexpr Zoom kZooms[] = {{"all", 0.0}, {"an hour", 1.0 / 24}, {"a minute", 1.0 / 1440}, {"a second", 1.0 / 86400}};

class LookBench {
public:
    explicit LookBench(int samples)
        : m_samples(samples), m_history(kMemory), m_libraryPoints(std::min(samples, kLibraryPoints))
    {
        fill(m_history, samples);
        fill(m_fewHistory, kFew);
        lookInto(m_chart, m_history);
        lookInto(m_fewChart, m_fewHistory);
#ifdef ORVEX_HAS_QCUSTOMPLOT
        m_library = std::make_unique<LibraryPlot>(m_libraryPoints);
#endif
        QApplication::processEvents();
    }

    void Frames(const std::string& moving, Move move)
    {
        for (const Zoom& zoom : kZooms) {
            compare(moving + ", " + zoom.name + " of " + millions(m_samples), move, zoom);
        }
    }

    /// Grid and labels that change with every frame, against a frame in which they stay.
    void Scales()
    {
        std::vector<double> steady, redrawn, moving;
        for (int round = 0; round < 20; ++round) {
            m_follower.TimeOfDay(false);
            m_follower.FrameWithScales();
            for (int i = 0; i < 30; ++i) {
                steady.push_back(m_follower.Frame());
            }
            for (int i = 0; i < 30; ++i) {
                redrawn.push_back(m_follower.FrameWithScales());
            }
            m_follower.TimeOfDay(true);
            m_follower.FrameWithScales();
            for (int i = 0; i < 30; ++i) {
                moving.push_back(m_follower.Frame());
            }
        }
        const double frame = Median(steady);
        const std::string reference = "frame without";
        TimeRow(kPart, "scales drawn anew with each frame, cost", Median(redrawn) - frame, reference, frame)
            .RatioAtMost(1.0)
            .Print();
        TimeRow(kPart, "times of day that move with each frame, cost", Median(moving) - frame, reference, frame)
            .RatioAtMost(1.0)
            .Print();
    }

    void Memory() const
    {
        const double perSample = static_cast<double>(m_history.Bytes()) / m_samples;
        TableRow row{.part = kPart,
                     .what = "memory of the history, " + millions(m_samples),
                     .ours = NumberText(perSample, 1) + " bytes a sample",
                     .reference = "time and value as stored: 8 bytes",
                     .ratio = perSample / 8.0,
                     .aim = {}};
        row.Aim("at most 12 bytes", perSample <= 12.0).Print();
    }

    void Pointer()
    {
        constexpr int kPlaces = 2000;
        const PlaceRange all = m_history.Range();
        double sum = 0.0;
        std::uniform_real_distribution<double> places(all.begin, all.end);
        const double seconds = timed([&] {
            for (int i = 0; i < kPlaces; ++i) {
                const double place = places(m_random);
                const auto nearest = m_history.NearestDistance(place);
                sum += nearest ? m_history.At(*nearest).value_mm : 0.0;
                sum += m_history.GapAt(place) ? 1.0 : 0.0;
            }
        });
        useResult(sum);
        TimeRow(kPart, "value under the pointer, " + millions(m_samples), seconds / kPlaces, "shortest frame",
                m_shortest)
            .Aim("at most 0.05", seconds / kPlaces <= 0.05 * m_shortest)
            .Print();
    }

    void AnyStatistics()
    {
        const PlaceRange all = m_history.Range();
        std::uniform_real_distribution<double> powers(std::log(1.0 / 86400.0), std::log(all.Length()));
        std::uniform_real_distribution<double> parts(0.0, 1.0);
        std::vector<double> times;
        double sum = 0.0;
        for (int i = 0; i < 400; ++i) {
            const double length = std::exp(powers(m_random));
            const double begin = all.begin + parts(m_random) * (all.Length() - length);
            times.push_back(timed([&] { sum += m_history.StatisticsOf({begin, begin + length}).mean; }));
        }
        useResult(sum);
        TimeRow(kPart, "statistics, 99 of 100 ranges from a second to all of " + millions(m_samples), mostOf(times),
                "shortest frame", m_shortest)
            .Aim("at most 0.25", mostOf(times) <= 0.25 * m_shortest)
            .Print();
    }

private:
    static std::string millions(int samples)
    {
        return NumberText(samples / 1e6, 1) + " million";
    }
    /// Keeps the compiler from leaving out what is measured.
    static void useResult(double sum)
    {
        if (std::isnan(sum)) {
            std::fprintf(stderr, "not a number\n");
        }
    }

    static void lookInto(XYChart& chart, const clsHistory& history)
    {
        chart.YLimits(kLower, kUpper);
        chart.Source(&history, 1.0);
        chart.ShowTime(history.Range().end);
        show(chart);
    }

    static double frame(XYChart& chart, const PlaceRange& range)
    {
        return timed([&chart, &range] {
            chart.Look(range);
            chart.repaint();
        });
    }

    /// Ends the program when there is nothing to measure: the curve, which alone is blue, must go through the plot.
    void requireCurve()
    {
        const QImage plot = m_chart.grab(m_chart.PlotArea().toRect()).toImage();
        int columns = 0;
        for (int x = 0; x < plot.width(); ++x) {
            int y = 0;
            while (y < plot.height() && qBlue(plot.pixel(x, y)) - qRed(plot.pixel(x, y)) < 80) {
                ++y;
            }
            columns += y < plot.height() ? 1 : 0;
        }
        if (columns == 0 || columns < plot.width() * 9 / 10) {
            std::fprintf(stderr, "The chart draws %d of %d columns of the curve\n", columns, plot.width());
            std::exit(EXIT_FAILURE);
        }
    }

    void compare(const std::string& what, Move move, const Zoom& zoom)
    {
        const PlaceRange home = partOf(m_history.Range(), zoom.length);
        const PlaceRange homeOfFew = m_fewHistory.Range();
        std::vector<double> ours, first, few, fewLooked, library;
        frame(m_chart, home);
        requireCurve();
        for (int round = 0; round < 10; ++round) {
            for (int i = 0; i < 60; ++i) {
                // The first one of a round finds nothing but the other charts' pixels in the processor's caches.
                (i == 0 ? first : ours).push_back(frame(m_chart, move(home, round * 60 + i)));
            }
            for (int i = 0; i < 30; ++i) {
                fewLooked.push_back(frame(m_fewChart, move(homeOfFew, round * 30 + i)));
            }
            for (int i = 0; i < 30; ++i) {
                few.push_back(m_follower.FrameWithScales());
            }
#ifdef ORVEX_HAS_QCUSTOMPLOT
            const PlaceRange points{timeOf(0), timeOf(m_libraryPoints)};
            for (int i = 0; i < 3; ++i) {
                library.push_back(m_library->Frame(move(partOf(points, zoom.length), round * 3 + i)));
            }
#endif
        }
        const double middle = Median(ours);
        m_shortest = std::min(m_shortest, middle);
        TimeRow(kPart, what, middle, std::to_string(kFew) + " points, scales redrawn", Median(few))
            .RatioAtMost(1.5)
            .Print();
        TimeRow(kPart, what, middle, std::to_string(kFew) + " points, looked at as well", Median(fewLooked))
            .RatioAtMost(1.5)
            .Print();
        TimeRow(kPart, what + ", 99 of 100 frames", mostOf(ours), "half of them", middle).RatioAtMost(2.0).Print();
        TimeRow(kPart, what + ", first frame after other charts", Median(first), "frames that follow", middle).Print();
        if (!library.empty()) {
            TableRow row = TimeRow(kPart, what, middle, "QCustomPlot, " + millions(m_libraryPoints), Median(library));
            // Only there does it draw all of them.
            (zoom.length == 0.0 ? row.TimesFaster(10.0) : row.TimesFaster(1.0)).Print();
        }
    }

    int m_samples;
    clsHistory m_history, m_fewHistory;
    XYChart m_chart{nullptr}, m_fewChart{nullptr};
    Follower m_follower;
    int m_libraryPoints;
#ifdef ORVEX_HAS_QCUSTOMPLOT
    std::unique_ptr<LibraryPlot> m_library;
#endif
    std::mt19937 m_random{2};
    double m_shortest = 1.0; ///< the median of the move whose frames cost least, s
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
#ifndef ORVEX_HAS_QCUSTOMPLOT
    std::fprintf(stderr, "QCustomPlot is MISSING from this table: install libqcustomplot-dev and configure anew\n");
#endif
    LookBench bench(argc > 1 ? std::atoi(argv[1]) : 30000000);
    bench.Frames("dragging", dragged);
    bench.Frames("zooming", zoomed);
    bench.Scales();
    bench.Memory();
    bench.Pointer();
    bench.AnyStatistics();
    return 0;
}
