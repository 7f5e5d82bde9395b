// What a sensor of the gateway costs: many simulated sensors in a process of their own, and the lines that serve them
// in this one, without journal and broker.
//   orvex_bench_lines SENSORS SECONDS [VALUES]
#include "base/modAPI.h"
#include "gateway/clsSensorLine.h"
#include "simulator/clsSimulatedSensor.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kMostSensors = 500;
constexpr double kMostSeconds = 3600.0;

struct Count : SensorLineListener {
    std::int64_t values = 0;

    std::string NameForRecording(clsSensorLine& /*line*/) override { return "Run 000001"; }
    void RecordingBegan(clsSensorLine&, const std::filesystem::path&, std::int64_t) override {}
    void Recorded(clsSensorLine&, std::int64_t) override {}
    void RecordingEnded(clsSensorLine&) override {}
    void Measured(clsSensorLine& /*line*/, std::span<const GatewayValue> measured) override
    {
        values += std::ssize(measured);
    }
    void Happened(clsSensorLine&, std::string_view, const Details&) override {}
};

std::string linkOf(const std::filesystem::path& folder, int number)
{
    return folder / ("sensor" + std::to_string(number));
}

/// The child: until the parent closes its end of the pipe.
[[noreturn]] void playSensors(int count, double values_Hz, const std::filesystem::path& folder, int pipe)
{
    {
        std::vector<std::unique_ptr<simulator::clsSimulatedSensor>> sensors;
        simulator::SensorOptions options;
        options.values_Hz = values_Hz;
        options.lineRate = 38400;
        for (int i = 0; i < count; ++i) {
            options.seed = static_cast<std::uint64_t>(i) + 1;
            sensors.push_back(std::make_unique<simulator::clsSimulatedSensor>(options, linkOf(folder, i)));
        }
        char byte = 'x';
        [[maybe_unused]] const auto none = read(pipe, &byte, 1);
    }
    std::_Exit(0);
}

long residentKiB()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::atol(line.c_str() + 6);
        }
    }
    return 0;
}

double usedTime_s()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void serve(std::vector<std::unique_ptr<clsSensorLine>>& lines, int poll,
           std::vector<std::pair<int, std::int32_t>>& seen)
{
    const double now = modAPI::LocalTime(), now_s = modAPI::UpTime_s();
    double due_s = now_s + 0.05;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i]->Due_s() <= now_s) {
            lines[i]->Serve(now, now_s);
            const auto arrivals = lines[i]->Arrivals();
            if (std::exchange(seen[i], arrivals) != arrivals && arrivals.first >= 0) {
                epoll_event event{};
                event.events = EPOLLIN | EPOLLET;
                event.data.u64 = i;
                epoll_ctl(poll, EPOLL_CTL_ADD, arrivals.first, &event);
            }
        }
        due_s = std::min(due_s, lines[i]->Due_s());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    std::array<epoll_event, 256> events{};
    const int wait_ms = std::max(0, static_cast<int>((due_s - modAPI::UpTime_s()) * 1000.0));
    const int count = epoll_wait(poll, events.data(), static_cast<int>(events.size()), wait_ms);
    for (int i = 0; i < count; ++i) {
        lines[events[static_cast<std::size_t>(i)].data.u64]->Arrived(modAPI::LocalTime(), modAPI::UpTime_s());
    }
}

} // namespace

int main(int argc, char** argv)
{
    const int count = argc > 1 ? std::clamp(std::atoi(argv[1]), 1, kMostSensors) : 1;
    const double seconds = argc > 2 ? std::clamp(std::atof(argv[2]), 1.0, kMostSeconds) : 30.0;
    const double values_Hz = argc > 3 ? std::atof(argv[3]) : 20.0;
    std::string name = (std::filesystem::temp_directory_path() / "orvex-lines-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        return 1;
    }
    const std::filesystem::path folder = name;
    std::array<int, 2> pipes{};
    if (pipe(pipes.data()) != 0) {
        return 1;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(pipes[1]);
        playSensors(count, values_Hz, folder, pipes[0]);
    }
    close(pipes[0]);
    mallopt(M_ARENA_MAX, 1); // as in rvqd
    std::this_thread::sleep_for(std::chrono::seconds(2));
    {
        Count told;
        std::vector<std::unique_ptr<clsSensorLine>> lines;
        for (int i = 0; i < count; ++i) {
            SensorConfig config;
            config.name = "sensor" + std::to_string(i);
            config.port = linkOf(folder, i);
            config.rate = 38400;
            lines.push_back(std::make_unique<clsSensorLine>(
                config, folder / "REC" / config.name,
                clsSensorLine::Places{folder / "BACKUP", folder / "PASSPORT", "1.0", 1}, told, modAPI::UpTime_s()));
        }
        const int poll = epoll_create1(EPOLL_CLOEXEC);
        std::vector<std::pair<int, std::int32_t>> seen(lines.size(), {-1, -1});
        const double begin_s = modAPI::UpTime_s();
        double used_s = 0.0, from_s = begin_s;
        std::int64_t before = 0;
        while (modAPI::UpTime_s() < begin_s + seconds) {
            serve(lines, poll, seen);
            if (used_s == 0.0 && modAPI::UpTime_s() > begin_s + seconds / 2) { // all have begun
                used_s = usedTime_s();
                from_s = modAPI::UpTime_s();
                before = told.values;
            }
        }
        const double over_s = modAPI::UpTime_s() - from_s;
        std::printf("%d sensors: %ld KiB resident, %.3f %% of a processor for each, %.1f values/s each\n", count,
                    residentKiB(), (usedTime_s() - used_s) / over_s * 100.0 / count,
                    static_cast<double>(told.values - before) / over_s / count);
        close(poll);
    }
    close(pipes[1]);
    waitpid(child, nullptr, 0);
    std::filesystem::remove_all(folder);
    return 0;
}
