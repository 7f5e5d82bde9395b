// What it costs to look at the traffic of the line: processor time of the thread that does everything, at 500 values a
// second, with and without the window, in turns of one run. And of a session alone, with and without the ring.
// orvex_bench_traffic [SECONDS], 6 by default: how long a turn takes; three turns each.
#include "base/modAPI.h"
#include "bench/Table.h"
#include "port/clsPosixPort.h"
#include "session/clsSession.h"
#include "simulator/clsSimulatedSensor.h"
#include "store/clsConfigLibrary.h"
#include "tests/support/PlayedLine.h"
#include "tests/support/TemporaryFolder.h"
#include "ui/console/frmTraffic.h"
#include "ui/help/Help.h"
#include "ui/main/frmMain.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QPushButton>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int kTurns = 3;
constexpr int kSettle_ms = 1500;
constexpr double kBegin = 46000.5;
constexpr int kValuesPerTick = 25, kTicks = 40000;
constexpr std::uint64_t kLeastEntries = 400; // a second

double threadTime_s()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double least(const std::array<double, kTurns>& times)
{
    return *std::ranges::min_element(times);
}

void runFor(int ms)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
}

/// A sensor that measures at 500 values a second, in frames of 4 bytes.
struct FullLine : PlayedLine {
    void sent(char) override {}
    void arrive() override
    {
        for (int i = 0; i < kValuesPerTick; ++i) {
            Arriving += std::string{static_cast<char>(1 + (m_count++ & 0x7F)), '\x10', '\0', '\0'};
        }
    }
    int m_count = 0;
};

/// Nanoseconds for a value.
double sessionCost_ns(bool watched)
{
    const TemporaryFolder folder;
    modGlobals::Settings settings{.Baudrate = 38400};
    auto line = std::make_unique<FullLine>();
    clsSession session(std::move(line), settings, folder.path, '.');
    session.WatchTraffic(watched);
    session.Tick(kBegin);
    session.Device().AssumeParameter(&ParameterSet::OutputFormat, FormatBinary);
    session.Device().StartMeasurement();
    const double before_s = threadTime_s();
    for (int tick = 1; tick <= kTicks; ++tick) {
        session.Tick(kBegin + tick * 0.05 / kSecondsPerDay);
    }
    const double after_s = threadTime_s();
    if (session.Loop().Account().Figures().received < static_cast<std::int64_t>(kTicks) * kValuesPerTick / 2) {
        std::fprintf(stderr, "the session has not measured\n");
        std::exit(1);
    }
    return (after_s - before_s) * 1e9 / (static_cast<double>(kTicks) * kValuesPerTick);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    const int seconds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 6;
    std::array<double, kTurns> without{}, with{}, closed{}, open{};
    for (int turn = 0; turn < kTurns; ++turn) {
        without[static_cast<std::size_t>(turn)] = sessionCost_ns(false);
        with[static_cast<std::size_t>(turn)] = sessionCost_ns(true);
    }
    TimeRow("traffic", "a value for the session, noted", least(with) * 1e-9, "not noted", least(without) * 1e-9)
        .Print();

    const TemporaryFolder folder;
    simulator::clsSimulatedSensor sensor({.lineRate = 38400, .format = simulator::Format::Binary, .values_Hz = 500});
    modPComm::PortDevices devices;
    devices.Override(1, sensor.Path());
    modGlobals::Settings settings{.Baudrate = 38400, .Language = LanguageEnglish};
    clsConfigLibrary library{{}};
    Help help{settings, folder.path};
    clsSession session(std::make_unique<clsPosixPort>(devices), settings, folder.path / "REC", '.');
    frmMain window(settings, session, devices, frmMain::Storage{library, folder.path}, help);
    window.show();
    window.MeasureWhenConnected();
    for (int i = 0; i < 100 && !session.Loop().IsMeasuring(); ++i) {
        runFor(100);
    }
    runFor(2 * kSettle_ms);
    const auto turnOf = [&](double& time_s) {
        runFor(kSettle_ms);
        const double before_s = threadTime_s();
        runFor(seconds * 1000);
        time_s = threadTime_s() - before_s;
    };
    for (std::size_t turn = 0; turn < kTurns; ++turn) {
        turnOf(closed[turn]);
        window.findChild<QAction*>("mnuOptionsTraffic")->trigger();
        auto* traffic = window.findChild<frmTraffic*>();
        turnOf(open[turn]);
        if (session.Traffic()->End() < static_cast<std::uint64_t>(seconds) * kLeastEntries) {
            std::fprintf(stderr, "the window has not seen the values\n");
            return 1;
        }
        traffic->close();
    }
    const auto use = [seconds](const auto& times) { return NumberText(least(times) / seconds * 100, 1) + " %"; };
    TableRow{.part = "traffic",
             .what = "processor use, measuring, 500 values/s, window open",
             .ours = use(open) + " of a core",
             .reference = "closed: " + use(closed),
             .ratio = least(open) / least(closed),
             .aim = {}}
        .RatioAtMost(1.5)
        .Print();
    return 0;
}
