// What rvqctl costs: the time to its help beside that of another program, and processor use and memory while it prints
// 60 values a second, beside the bare loop of a session over the same seconds. Sensors are simulated by rvqsim.
// orvex_bench_cli [SECONDS], 20 by default: how long processor use is watched, three times.
#include "bench/Process.h"
#include "bench/Table.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kStarts = 200, kWatches = 3;
constexpr double kSettle_s = 5.0; // until both are measuring
constexpr double kMostResident_MiB = 10.0;
constexpr char kRate[] = "38400";

/// A new file for a program's output.
int fileOf(const std::string& name)
{
    return open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

class Bench {
public:
    Bench()
    {
        std::string name = (std::filesystem::temp_directory_path() / "orvex-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_folder = name;
    }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;
    ~Bench()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    void CompareStarts() const
    {
        std::vector<double> ours, others;
        for (int i = 0; i < kStarts; ++i) {
            ours.push_back(timeOf({m_bin + "rvqctl", "--help"}));
            others.push_back(timeOf({"/bin/ls", "--help"}));
        }
        TimeRow("rvqctl", "--help, from start to end", Median(ours), "ls --help", Median(others))
            .RatioAtMost(2.0)
            .Print();
    }

    void CompareUse(double seconds) const
    {
        std::vector<double> ours_s, bare_s, ours_MiB, bare_MiB;
        double values = 0.0;
        for (int i = 0; i < kWatches; ++i) {
            const std::string line = m_folder + "/ours", bareLine = m_folder + "/bare";
            const Process sensor(sensorOf(line), fileOf("/dev/null")),
                bareSensor(sensorOf(bareLine), fileOf("/dev/null"));
            WaitForFile(line);
            WaitForFile(bareLine);
            const Process program({m_bin + "rvqctl", "--folder", m_folder, "--port", line, "--baud", kRate, "-q",
                                   "measure", "--every", "--format", "csv"},
                                  fileOf(m_folder + "/values"));
            const Process bare({m_bin + "orvex_bench_bare", bareLine, kRate, m_folder}, fileOf("/dev/null"));
            SleepFor(kSettle_s);
            const double before_s = program.Used_s(), bareBefore_s = bare.Used_s();
            const auto linesBefore = lines();
            SleepFor(seconds);
            ours_s.push_back(program.Used_s() - before_s);
            bare_s.push_back(bare.Used_s() - bareBefore_s);
            ours_MiB.push_back(program.Memory_KiB("status", "VmHWM:") / 1024.0);
            bare_MiB.push_back(bare.Memory_KiB("status", "VmHWM:") / 1024.0);
            values = static_cast<double>(lines() - linesBefore) / seconds;
        }
        const std::string state = "measuring, " + NumberText(values, 1) + " values/s printed";
        const double ours = Median(ours_s) / seconds * 100.0, bare = Median(bare_s) / seconds * 100.0;
        TableRow{.part = "rvqctl",
                 .what = "processor use, " + state,
                 .ours = NumberText(ours, 2) + " % of a core",
                 .reference = "bare loop: " + NumberText(bare, 2) + " %",
                 .ratio = ours / bare,
                 .aim = {}}
            .RatioAtMost(1.2)
            .Print();
        const double resident = Median(ours_MiB), bareResident = Median(bare_MiB);
        TableRow{.part = "rvqctl",
                 .what = "most memory resident, " + state,
                 .ours = NumberText(resident, 1) + " MiB",
                 .reference = "bare loop: " + NumberText(bareResident, 1) + " MiB",
                 .ratio = resident / bareResident,
                 .aim = {}}
            .Aim("at most " + NumberText(kMostResident_MiB, 0) + " MiB", resident <= kMostResident_MiB)
            .Print();
    }

private:
    static double timeOf(const std::vector<std::string>& arguments)
    {
        const double before_s = SecondsOf(CLOCK_MONOTONIC);
        Process(arguments, fileOf("/dev/null")).Wait();
        return SecondsOf(CLOCK_MONOTONIC) - before_s;
    }
    std::vector<std::string> sensorOf(const std::string& link) const
    {
        return {m_bin + "rvqsim", "--link", link, "--rate", kRate, "--values", "60"};
    }
    std::int64_t lines() const
    {
        std::ifstream file(m_folder + "/values");
        std::int64_t count = 0;
        for (std::string line; std::getline(file, line);) {
            ++count;
        }
        return count;
    }

    std::string m_bin = std::filesystem::canonical("/proc/self/exe").parent_path().string() + "/";
    std::string m_folder;
};

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::strtod(argv[1], nullptr) : 20.0;
    if (argc > 2 || seconds < 1.0) {
        std::fprintf(stderr, "Usage: orvex_bench_cli [SECONDS]\n");
        return 2;
    }
    try {
        const Bench bench;
        bench.CompareStarts();
        bench.CompareUse(seconds);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "orvex_bench_cli: %s\n", fault.what());
        return 1;
    }
    return 0;
}
