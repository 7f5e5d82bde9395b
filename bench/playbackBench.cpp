// Plays recordings in the program's own windows, against tools that read the same file in the same run: "grep -c"
// counts its lines, mawk splits them into the same fields. Then it loads a recording of several gigabytes and watches
// how long the window stands still. orvex_bench_playback [LINES [LINES OF THE LONGEST]], 6 and 100 million by default.
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
#include <QElapsedTimer>
#include <QEvent>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 7;
constexpr double kHistoryBytes = 12.0;  // for each line
constexpr double kFrame_s = 1.0 / 60.0; // of a display
constexpr int kShortLines = 30000;

/// A line every 50 ms, a level that wanders, now and then no echo.
void writeRecording(const std::string& file, int lines)
{
    using namespace std::chrono;
    constexpr std::int64_t kInterval_ms = 50;
    std::mt19937 random(4711);
    std::ofstream stream(file, std::ios::binary);
    std::string block;
    int distance = 5000;
    for (int i = 0; i < lines; ++i) {
        const hh_mm_ss time(milliseconds(i * kInterval_ms % 86400000));
        const year_month_day date(sys_days(2026y / 11 / 1) + days(i * kInterval_ms / 86400000));
        char line[80];
        distance = std::clamp(distance + static_cast<int>(random() % 21) - 10, 200, 30000);
        std::snprintf(line, sizeof line, "%02u.%02u.%d %02d:%02d:%02d,%03d; ", static_cast<unsigned>(date.day()),
                      static_cast<unsigned>(date.month()), static_cast<int>(date.year()),
                      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                      static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
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

/// The peak of memory use counts from here.
void countPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
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
    template <typename Widget>
    Widget* Find(const char* name) const
    {
        return window.findChild<Widget*>(QString::fromLatin1(name));
    }
    void Play(const std::string& file)
    {
        recorder->ChooseFiles = [&file] { return QStringList{QString::fromStdString(file)}; };
        recorder->findChild<QPushButton*>("cmdPlay")->click();
    }
};

/// Watches the chart and the overview while a recording is loaded: when they are painted, and how much of the recording
/// there is when the overview first shows another picture than before.
class PaintWatch : public QObject {
public:
    explicit PaintWatch(Program& program)
        : m_session(program.session), m_chart(program.Find<QWidget>("picGraph")),
          m_overview(program.Find<QWidget>("picOverview")), m_before(m_overview->grab().toImage())
    {
        m_chart->installEventFilter(this);
        m_overview->installEventFilter(this);
        m_sinceLast.start();
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && !m_isGrabbing) {
            noteFrame();
            if (watched == m_overview && m_linesAtFirst == 0 && !m_session.Shown().IsEmpty()) {
                QMetaObject::invokeMethod(
                    this, [this] { comparePicture(); }, Qt::QueuedConnection);
            }
        }
        return false;
    }
    /// The longest time between two frames, up to now, in seconds.
    double Longest()
    {
        noteFrame();
        return m_longest;
    }
    /// 0: the overview has not changed.
    std::size_t LinesAtFirst() const { return m_linesAtFirst; }

private:
    void noteFrame()
    {
        m_longest = std::max(m_longest, static_cast<double>(m_sinceLast.nsecsElapsed()) * 1e-9);
        m_sinceLast.restart();
    }
    void comparePicture()
    {
        m_isGrabbing = true;
        const bool isNew = m_overview->grab().toImage() != m_before;
        m_isGrabbing = false;
        m_linesAtFirst = isNew && m_linesAtFirst == 0 ? m_session.Shown().Size() : m_linesAtFirst;
    }

    const clsSession& m_session;
    QWidget *m_chart, *m_overview;
    QImage m_before;
    QElapsedTimer m_sinceLast;
    double m_longest = 0.0;
    std::size_t m_linesAtFirst = 0;
    bool m_isGrabbing = false;
};

/// How far memory has risen since `before`, in KiB, against 12 bytes for each line.
TableRow memoryRow(const std::string& what, long before, int lines)
{
    const long rise = memory("VmHWM") - before;
    const double perLine = 1024.0 * static_cast<double>(rise) / lines;
    return {.part = "playback",
            .what = what + ", rise of resident memory, " + NumberText(perLine, 1) + " bytes a line",
            .ours = std::to_string(rise) + " KiB",
            .reference = "with " + std::to_string(kShortLines) + " lines played: " + std::to_string(before) + " KiB",
            .ratio = static_cast<double>(rise) / static_cast<double>(before),
            .aim = {}};
}

void compareLong(Program& program, const std::string& file, int lines)
{
    std::vector<double> ours, grep, mawk;
    const std::string fields =
        "mawk -F '[.:,; ]+' '{ sum += $1 + $2 + $3 + $4 + $5 + $6 + $7 + $8 } END { print sum }' ";
    const std::string what = NumberText(lines / 1e6, 1) + " million lines";
    countPeak();
    const long before = memory("VmRSS");
    TableRow once;
    long rise = 0;
    for (int round = 0; round < kRounds; ++round) {
        ours.push_back(secondsOf([&] { program.Play(file); }));
        if (round == 0) {
            once = memoryRow(what, before, lines);
            rise = memory("VmHWM") - before;
        }
        grep.push_back(secondsOf([&] { run("grep -c ';' " + file); }));
        if (round < 3) {
            mawk.push_back(secondsOf([&] { run(fields + file); }));
        }
    }
    TimeRow("playback", what + ", " + NumberText(lines / Median(ours) / 1e6, 0) + " million/s", Median(ours), "grep -c",
            Median(grep))
        .RatioAtMost(1.5)
        .Print();
    TimeRow("playback", what, Median(ours), "mawk, same fields", Median(mawk)).TimesFaster(15.0).Print();
    const double most = 4096.0 + kHistoryBytes * lines / 1024.0;
    once.Aim("at most 12 bytes a line and 4 MiB", static_cast<double>(rise) <= most);
    once.Print();
    // The recording that is shown stays until the next one is there.
    memoryRow(what + " played again", before, lines).Print();
}

/// How early there is something to see.
void timeFirstSight(const std::string& file, int lines)
{
    Program program;
    PaintWatch watch(program);
    program.Play(file);
    QApplication::processEvents();
    const double part = static_cast<double>(watch.LinesAtFirst()) / lines;
    TableRow row{.part = "playback",
                 .what = NumberText(lines / 1e6, 1) + " million lines, read when the overview first shows some",
                 .ours = watch.LinesAtFirst() == 0 ? "never" : NumberText(100.0 * part, 1) + " %",
                 .reference = "all",
                 .ratio = part,
                 .aim = {}};
    row.Aim("at most 0.05", part > 0.0 && part <= 0.05).Print();
}

/// How long the window stands still while a recording is loaded that is larger than the memory for it.
void watchLongest(const std::string& file, int lines)
{
    constexpr std::uintmax_t kBytesPerLine = 60; // a third more than a line has
    const auto free = std::filesystem::space(std::filesystem::path(file).parent_path()).available;
    if (free < kBytesPerLine * static_cast<std::uintmax_t>(lines)) {
        std::fprintf(stderr, "No room for a recording of %d lines: loading it is not measured\n", lines);
        return;
    }
    writeRecording(file, lines);
    const std::string what = NumberText(lines / 1e6, 0) + " million lines";
    const double grep = secondsOf([&] { run("grep -c ';' " + file); });
    Program program;
    countPeak();
    const long before = memory("VmRSS");
    PaintWatch watch(program);
    const double ours = secondsOf([&] { program.Play(file); });
    const double longest = watch.Longest();
    const long rise = memory("VmHWM") - before;
    TimeRow("playback", what, ours, "grep -c", grep).Print();
    TimeRow("playback", what + ", longest time between two repaints", longest, "frame of a display", kFrame_s)
        .RatioAtMost(5.0)
        .Print();
    const auto bound = static_cast<long>(clsHistory::kMostBytes / 1024);
    TableRow row{.part = "playback",
                 .what = what + ", rise of resident memory",
                 .ours = std::to_string(rise) + " KiB",
                 .reference = "bound: " + std::to_string(bound) + " KiB",
                 .ratio = static_cast<double>(rise) / static_cast<double>(bound),
                 .aim = {}};
    row.Aim("the bound and 16 MiB", rise <= bound + 16 * 1024).Print();
    std::filesystem::remove(file);
}

void timeShort(Program& program, const std::string& file)
{
    std::vector<double> together, grep;
    auto* chart = program.Find<XYChart>("picGraph");
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
    const int mostLines = argc > 2 ? std::atoi(argv[2]) : 100000000;
    const QTemporaryDir folder;
    const auto pathOf = [&folder](const char* name) {
        return folder.filePath(QString::fromLatin1(name)).toStdString();
    };
    writeRecording(pathOf("long.rec"), lines);
    writeRecording(pathOf("short.rec"), kShortLines);
    {
        Program program;
        timeShort(program, pathOf("short.rec"));
        compareLong(program, pathOf("long.rec"), lines);
    }
    timeFirstSight(pathOf("long.rec"), lines);
    watchLongest(pathOf("longest.rec"), mostLines);
    return 0;
}
