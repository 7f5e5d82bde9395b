// What a tick with a new value costs: the measurement loop in the real main window with its chart, shown offscreen, and
// a sensor played without a line. Nothing is painted: the chart's benchmark measures what a frame costs. The reference
// is showing the same texts in a bare label.
#include "bench/Micro.h"
#include "bench/Table.h"
#include "port/modPComm.h"
#include "session/clsSession.h"
#include "store/clsConfigLibrary.h"
#include "tests/support/PlayedLine.h"
#include "ui/help/Help.h"
#include "ui/main/frmMain.h"
#include "ui/widgets/QtText.h"

#include <QApplication>
#include <QLabel>
#include <QTemporaryDir>
#include <QTimer>

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <string>

namespace {

constexpr char kDump[] = "Type: Serial\r\nAttenuator: D\r\nSerial-No: 1\r\nPointer: off\r\nTemperature: 23 C,  OK\r\n"
                         "101: 1\r\n111: 1\r\n603: 0\r\n301: 2\r\nend\r\n";

/// A sensor that answers at once and sends values only on request.
class PlayedSensor : public PlayedLine {
public:
    bool isMeasuring = false;

private:
    void sent(char command) override
    {
        Arriving += command == 'X'   ? "Sensor ready\r\n"
                    : command == 'C' ? kDump
                    : command == 'T' ? "23 C,  OK\r\n"
                                     : "";
        isMeasuring = command == 'M';
    }
};

/// A level that rises and falls.
std::string valueText(int i)
{
    return NumberText(2.0 + std::sin(i / 100.0), 3) + " m";
}

struct Program {
    QTemporaryDir folder;
    modPComm::PortDevices devices;
    PlayedSensor* sensor = new PlayedSensor; ///< the session's
    modGlobals::Settings settings;
    Help help{settings, folder.path().toStdString()};
    clsConfigLibrary library{{}};
    clsSession session{std::unique_ptr<SerialPort>(sensor), settings, folder.path().toStdString() + "/REC",
                       DecimalSeparator()};
    frmMain window{settings, session, devices, {library, folder.path().toStdString()}, help};
    QTimer* timer = window.findChild<QTimer*>(QStringLiteral("Timer"));

    /// Measures from now on; ticks come only on request.
    Program()
    {
        window.MeasureWhenConnected();
        window.resize(1200, 700);
        window.show();
        while (!sensor->isMeasuring) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        timer->stop();
    }
    void Tick(const std::string& value)
    {
        sensor->Arriving += "       " + value + "\r\n"; // twelve characters, and the unit
        QMetaObject::invokeMethod(timer, "timeout");
    }
    QString Shown() { return window.findChild<QLabel*>(QStringLiteral("lblMeasValue"))->text(); }
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int noArguments = 1;
    const QApplication application(noArguments, argv);
    Program program;
    int ticks = 0;
    program.Tick(valueText(7));
    if (program.Shown().toStdString() != valueText(7)) {
        std::fprintf(stderr, "The window shows \"%s\" after a tick with a value.\n", qPrintable(program.Shown()));
        return 1;
    }
    benchmark::RegisterBenchmark("window", [&](benchmark::State& state) {
        for (auto round : state) {
            program.Tick(valueText(++ticks));
        }
        QApplication::processEvents(); // not timed
    });
    QLabel label;
    label.resize(300, 50);
    label.show();
    benchmark::RegisterBenchmark("label", [&](benchmark::State& state) {
        for (auto round : state) {
            label.setText(QString::fromStdString(valueText(++ticks)));
        }
    });
    auto times = RunBenchmarks(argc, argv);
    TimeRow("tick", "with a new value, without painting", times["window"], "text of a bare label", times["label"])
        .Aim("under 0.1 ms", times["window"] < 1e-4)
        .Print();
    return 0;
}
