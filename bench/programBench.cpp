// What the program costs as a whole, seen from outside, beside bare Qt windows of the same size on the same display:
// the time from starting the process to the first painted window, resident memory, and processor use, idle and
// measuring. The sensor is simulated by rvqsim in a process of its own. All files are in a folder that is deleted after
// the run. orvex_bench_program [SECONDS], 20 by default: how long processor use is watched, three times.
#include "bench/Process.h"
#include "bench/Table.h"

#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr int kStarts = 61;      // one start can take half as long again as the next, and the median must be stable
constexpr double kPause_s = 0.1; // until the display has finished with the window before
constexpr int kWatches = 3;
constexpr int kSettle_s = 5; // until the program has read the sensor's parameters and is measuring
constexpr int kPatience_ms = 30000;

/// A program with a witness in it, which prints when the window is painted.
class Program {
public:
    explicit Program(std::vector<std::string> arguments)
        : m_pipe(makePipe()), m_started_s(SecondsOf(CLOCK_MONOTONIC)), m_process(std::move(arguments), m_pipe[1])
    {}
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() { close(m_pipe[0]); }

    /// Waits for the witness: returns the seconds from the start to the painted window, and sets that window's size.
    double Painted(std::array<std::string, 2>& size)
    {
        std::string word;
        std::istringstream line(nextLine());
        double at_s = 0.0;
        if (!(line >> word >> at_s >> size[0] >> size[1]) || word != "painted") {
            throw std::runtime_error("a program said \"" + line.str() + "\" instead of showing a window");
        }
        return at_s - m_started_s;
    }
    /// Lines that it has printed since the last call.
    int Lines()
    {
        int lines = 0;
        std::array<char, 4096> bytes{};
        pollfd look{m_pipe[0], POLLIN, 0};
        while (poll(&look, 1, 0) > 0) {
            const ssize_t count = read(m_pipe[0], bytes.data(), bytes.size());
            if (count <= 0) {
                break;
            }
            lines += static_cast<int>(std::count(bytes.begin(), bytes.begin() + count, '\n'));
        }
        return lines;
    }
    double Used_s() const { return m_process.Used_s(); }
    double Resident_KiB() const { return m_process.Memory_KiB("smaps_rollup", "Rss:"); }

private:
    static std::array<int, 2> makePipe()
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        return ends;
    }
    std::string nextLine()
    {
        std::string line;
        pollfd look{m_pipe[0], POLLIN, 0};
        for (char byte = 0; byte != '\n'; line += byte) {
            if (poll(&look, 1, kPatience_ms) <= 0 || read(m_pipe[0], &byte, 1) != 1) {
                throw std::runtime_error("a program ended or hung before its window was painted");
            }
        }
        return line;
    }

    std::array<int, 2> m_pipe;
    double m_started_s;
    Process m_process;
};

/// Where the programs are and with which arguments they start.
class Bench {
public:
    Bench() : m_bin(std::filesystem::canonical("/proc/self/exe").parent_path().string() + "/")
    {
        for (const char* folder : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
            setenv(folder, m_folder.path().toStdString().c_str(), 1);
        }
        setenv("QT_PLUGIN_PATH", (m_bin + "../bench-plugins").c_str(), 1);
        setenv("QT_LOGGING_RULES", "*.warning=false", 1);
        watchFor("");
        Program program(programArguments());
        program.Painted(m_size); // its settings file is written when it ends
    }

    /// The first window is the start-up window or, with an option, the main window.
    void CompareStarts()
    {
        const Program sensor(sensorArguments());
        waitForSensor();
        compareStart("from the start to the first painted window", startArguments());
        compareStart("from the start to the painted main window, with --connect", programArguments());
    }

    void CompareUse(double seconds, bool measuring)
    {
        Watch watch;
        for (int i = 0; i < kWatches; ++i) {
            watchOnce(seconds, measuring, watch);
        }
        const double values = Median(watch.values) / seconds;
        const std::string state = measuring ? "measuring, " + NumberText(values, 1) + " values/s" : "idle";
        memoryRow(state, Median(watch.ours_KiB), Median(watch.bare_KiB)).RatioAtMost(1.6).Print();
        const double ours = Median(watch.ours_s) / seconds;
        const double bare = Median(watch.bare_s) / seconds;
        const char* kind = measuring ? "bare window, repainted 20 times/s" : "bare window, 50 ms timer";
        useRow(state, ours, kind, bare).RatioAtMost(measuring ? 2.0 : 1.5).Print();
        if (!measuring) {
            useRow(state, ours, "the same with a label as a clock", Median(watch.clock_s) / seconds).Print();
        }
    }

    /// The program beside itself, over the same seconds: what does it cost that more values come?
    void CompareRates(double seconds)
    {
        constexpr double kUsual_Hz = 20, kFast_Hz = 60;
        std::vector<double> usual_s, fast_s;
        for (int i = 0; i < kWatches; ++i) {
            MeasuringProgram usual(*this, "usual", kUsual_Hz);
            MeasuringProgram fast(*this, "fast", kFast_Hz);
            SleepFor(kSettle_s);
            const double usualBefore_s = usual.program->Used_s();
            const double fastBefore_s = fast.program->Used_s();
            SleepFor(seconds);
            usual_s.push_back(usual.program->Used_s() - usualBefore_s);
            fast_s.push_back(fast.program->Used_s() - fastBefore_s);
            if (usual.program->Lines() == 0 || fast.program->Lines() == 0) {
                throw std::runtime_error("the program does not measure when it should");
            }
        }
        useRow("measuring, 60 values/s", Median(fast_s) / seconds, "20 values/s", Median(usual_s) / seconds)
            .RatioAtMost(1.5)
            .Print();
    }

private:
    /// The program that measures, with a sensor and a folder of its own.
    struct MeasuringProgram {
        std::optional<Program> sensor, program;

        MeasuringProgram(const Bench& bench, const std::string& name, double values_Hz)
        {
            const std::string folder = bench.m_folder.filePath(QString::fromStdString(name)).toStdString();
            const std::string line = folder + "/sensor";
            std::filesystem::create_directories(folder);
            std::ofstream(folder + "/RVQ.ini") << "[GENERAL]\r\nBaudrate=38400\r\n";
            sensor.emplace(std::vector<std::string>{bench.m_bin + "rvqsim", "--link", line, "--rate", "38400",
                                                    "--values", NumberText(values_Hz, 0)});
            WaitForFile(line);
            watchFor("cmdStart");
            program.emplace(std::vector<std::string>{bench.m_bin + "RVQ", "--folder", folder, "--port", "1=" + line,
                                                     "--language", "en", "--connect", "--print"});
            std::array<std::string, 2> size;
            program->Painted(size);
            watchFor("");
        }
    };

    struct Watch {
        std::vector<double> ours_s, bare_s, clock_s, ours_KiB, bare_KiB, values;
    };

    void compareStart(const std::string& what, const std::vector<std::string>& arguments)
    {
        std::vector<double> ours, bare, text;
        std::array<std::string, 2> size;
        const auto start = [&size](std::vector<double>& times, const std::vector<std::string>& program) {
            SleepFor(kPause_s);
            times.push_back(Program(program).Painted(size));
        };
        for (int i = 0; i < kStarts; ++i) {
            start(ours, arguments);
            start(bare, bareArguments("still", size));
            start(text, bareArguments("text", size));
        }
        TimeRow("program", what, Median(ours), "bare window", Median(bare)).RatioAtMost(1.5).Print();
        TimeRow("program", what, Median(ours), "the same with a label", Median(text)).Print();
    }

    static TableRow useRow(const std::string& state, double ours, const std::string& kind, double bare)
    {
        return {.part = "program",
                .what = "processor use, " + state,
                .ours = NumberText(ours * 100.0, 2) + " % of a core",
                .reference = kind + ": " + NumberText(bare * 100.0, 2) + " %",
                .ratio = ours / bare,
                .aim = {}};
    }

    std::vector<std::string> startArguments() const
    {
        const std::string folder = m_folder.path().toStdString();
        return {m_bin + "RVQ", "--folder", folder, "--port", "1=" + link(), "--language", "en"};
    }
    std::vector<std::string> programArguments() const
    {
        std::vector<std::string> arguments = startArguments();
        arguments.insert(arguments.end(), {"--connect", "--print"});
        return arguments;
    }
    std::vector<std::string> bareArguments(const std::string& mode, const std::array<std::string, 2>& size) const
    {
        return {m_bin + "orvex_bench_window", mode, size[0], size[1]};
    }
    std::vector<std::string> sensorArguments() const { return {m_bin + "rvqsim", "--link", link()}; }
    std::string link() const { return m_folder.filePath("sensor").toStdString(); }

    static void watchFor(const std::string& button)
    {
        setenv("QT_QPA_GENERIC_PLUGINS", ("orvexwitness" + (button.empty() ? "" : ":" + button)).c_str(), 1);
    }

    void waitForSensor() const { WaitForFile(link()); }

    /// Watches the program and the bare windows side by side, over the same seconds.
    void watchOnce(double seconds, bool measuring, Watch& watch)
    {
        const Program sensor(sensorArguments());
        waitForSensor();
        watchFor(measuring ? "cmdStart" : "");
        Program program(programArguments());
        program.Painted(m_size);
        watchFor("");
        Program bare(bareArguments(measuring ? "repaint" : "timer", m_size));
        bare.Painted(m_size);
        std::optional<Program> clock;
        if (!measuring) {
            clock.emplace(bareArguments("clock", m_size));
            clock->Painted(m_size);
        }
        Program still(bareArguments("still", m_size));
        still.Painted(m_size);
        SleepFor(kSettle_s);
        program.Lines();
        const double ours_s = program.Used_s();
        const double bare_s = bare.Used_s();
        const double clock_s = clock ? clock->Used_s() : 0.0;
        SleepFor(seconds);
        watch.ours_s.push_back(program.Used_s() - ours_s);
        watch.bare_s.push_back(bare.Used_s() - bare_s);
        watch.clock_s.push_back((clock ? clock->Used_s() : 0.0) - clock_s);
        watch.values.push_back(program.Lines());
        watch.ours_KiB.push_back(program.Resident_KiB());
        watch.bare_KiB.push_back(still.Resident_KiB());
        if (measuring != (watch.values.back() > 0)) {
            throw std::runtime_error("the program measures when it should not, or does not when it should");
        }
    }

    static TableRow memoryRow(const std::string& state, double ours_KiB, double bare_KiB)
    {
        return {.part = "program",
                .what = "resident memory, " + state,
                .ours = NumberText(ours_KiB / 1024.0, 1) + " MiB",
                .reference = "bare window: " + NumberText(bare_KiB / 1024.0, 1) + " MiB",
                .ratio = ours_KiB / bare_KiB,
                .aim = {}};
    }

    std::string m_bin;
    QTemporaryDir m_folder;
    std::array<std::string, 2> m_size;
};

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 20.0;
    try {
        Bench bench;
        bench.CompareStarts();
        bench.CompareUse(seconds, false);
        bench.CompareUse(seconds, true);
        bench.CompareRates(seconds);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "orvex_bench_program: %s\n", fault.what());
        return 1;
    }
    return 0;
}
