// Plays recordings in the program's own windows, against tools that read the same file in the same run: "grep -c"
// counts its lines, mawk splits them into the same fields. orvex_bench_playback [LINES], 6 million by default.
#include "bench/Table.h"
#include "port/clsPosixPort.h"
#include "session/clsSession.h"
#include "store/clsConfigLibrary.h"
#include "ui/chart/XYChart.h"
#include "ui/help/Help.h"
#include "ui/main/frmMain.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/widgets/QtText.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 7;
constexpr int kShortLines = 30000;

/// A line every 50 ms, a level that wanders, now and then no echo.
void writeRecording(const std::string& file, int lines)
{
    std::mt19937 random(4711);
    std::ofstream stream(file, std::ios::binary);
    std::string block;
    int distance = 5000;
    for (int i = 0; i < lines; ++i) {
        const int ms = i * 50 % 86400000;
        const int day = i / (86400000 / 50);
        char line[80];
        distance = std::clamp(distance + static_cast<int>(random() % 21) - 10, 200, 30000);
        std::snprintf(line, sizeof line, "%02d.11.2026 %02d:%02d:%02d,%03d; ", 1 + day, ms / 3600000, ms / 60000 % 60,
                      ms / 1000 % 60, ms % 1000);
        block += line;
        block += random() % 500 == 0 ? "No Echo" : std::to_string(distance) + " mm";
        block += "; 23 \xB0\x43\r\n";
        if (block.size() > 1000000 || i + 1 == lines) {
            stream << block;
            block.clear();
        }
    }
}

double secondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void run(const std::string& command)
{
    // Through cat: grep stops at the first match when it writes to /dev/null.
    if (std::system((command + " | cat >/dev/null").c_str()) != 0) {
        std::fprintf(stderr, "cannot run %s\n", command.c_str());
        std::exit(1);
    }
}

/// A figure of /proc/self/status in KiB.
long memory(const std::string& key)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key + ":")) {
            return std::atol(line.c_str() + key.size() + 1);
        }
    }
    return 0;
}

struct Program {
    QTemporaryDir folder;
    modPComm::PortDevices devices;
    modGlobals::Settings settings;
    Help help{settings, folder.path().toStdString()};
    clsConfigLibrary library{{}};
    clsSession session{std::make_unique<clsPosixPort>(devices), settings, folder.path().toStdString() + "/REC",
                       DecimalSeparator()};
    frmMain window{settings, session, devices, {library, folder.path().toStdString()}, help};
    frmRecorder* recorder = nullptr;

    Program()
    {
        window.resize(1200, 700);
        window.show();
        window.findChild<QAction*>("mnuRecorder")->trigger();
        recorder = window.findChild<frmRecorder*>();
        QApplication::processEvents();
    }
    void Play(const std::string& file)
    {
        recorder->ChooseFiles = [&file] { return QStringList{QString::fromStdString(file)}; };
        recorder->findChild<QPushButton*>("cmdPlay")->click();
    }
    std::uint64_t Points() { return window.findChild<XYChart*>("picGraph")->Series().Added(); }
};

void compareLong(Program& program, const std::string& file, int lines)
{
    std::vector<double> ours, grep, mawk;
    const std::string fields =
        "mawk -F '[.:,; ]+' '{ sum += $1 + $2 + $3 + $4 + $5 + $6 + $7 + $8 } END { print sum }' ";
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak of memory use counts from here
    const long before = memory("VmRSS");
    for (int round = 0; round < kRounds; ++round) {
        ours.push_back(secondsOf([&] { program.Play(file); }));
        grep.push_back(secondsOf([&] { run("grep -c ';' " + file); }));
        if (round < 3) {
            mawk.push_back(secondsOf([&] { run(fields + file); }));
        }
    }
    const long rise = memory("VmHWM") - before;
    const std::string what = NumberText(lines / 1e6, 1) + " million lines";
    TimeRow("playback", what + ", " + NumberText(lines / Median(ours) / 1e6, 0) + " million/s", Median(ours), "grep -c",
            Median(grep))
        .RatioAtMost(1.0)
        .Print();
    TimeRow("playback", what, Median(ours), "mawk, same fields", Median(mawk)).TimesFaster(15.0).Print();
    const double most_KiB = 4096.0;
    TableRow memoryRow{.part = "playback",
                       .what = what + ", rise of resident memory",
                       .ours = std::to_string(rise) + " KiB",
                       .reference =
                           "with " + std::to_string(kShortLines) + " lines played: " + std::to_string(before) + " KiB",
                       .ratio = static_cast<double>(rise) / static_cast<double>(before),
                       .aim = {}};
    memoryRow.Aim("at most 4 MiB", static_cast<double>(rise) <= most_KiB).Print();
}

void timeShort(Program& program, const std::string& file)
{
    std::vector<double> together, grep;
    auto* chart = program.window.findChild<XYChart*>("picGraph");
    for (int round = 0; round < 5 * kRounds; ++round) {
        together.push_back(secondsOf([&] {
            program.Play(file);
            chart->repaint();
        }));
        grep.push_back(secondsOf([&] { run("grep -c ';' " + file); }));
    }
    TimeRow("playback", std::to_string(kShortLines) + " lines, loaded and drawn once", Median(together), "grep -c",
            Median(grep))
        .Aim("under 5 ms", Median(together) < 0.005)
        .Print();
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    const int lines = argc > 1 ? std::atoi(argv[1]) : 6000000;
    Program program;
    const std::string longFile = program.folder.filePath("long.rec").toStdString();
    const std::string shortFile = program.folder.filePath("short.rec").toStdString();
    writeRecording(longFile, lines);
    writeRecording(shortFile, kShortLines);
    timeShort(program, shortFile);
    compareLong(program, longFile, lines);
    return 0;
}
