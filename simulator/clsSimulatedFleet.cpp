// One epoll for all terminals, and a list of when each sensor has something to do by itself.
#include "simulator/clsSimulatedFleet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace simulator {

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kFirstSerialNo = 100001;
constexpr double kLongestWait_ms = 60000;
constexpr std::uint64_t kEnd = std::numeric_limits<std::uint64_t>::max(); // in the place of a sensor's

std::string nameOf(std::int32_t place)
{
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "s%03d", place + 1);
    return name.data();
}

/// "FOLDER/s001" and the ending; empty without a folder.
std::string pathIn(const std::string& folder, std::int32_t place, const std::string& ending)
{
    return folder.empty() ? std::string() : (fs::path(folder) / (nameOf(place) + ending)).string();
}

void makeFolder(const std::string& folder)
{
    std::error_code error;
    if (!folder.empty() && !fs::is_directory(folder, error) && !fs::create_directories(folder, error)) {
        throw std::runtime_error("cannot make the folder " + folder + ": " + error.message());
    }
}

/// Terminals and logs of five hundred sensors need more than a process may usually have open.
void allowManyFiles()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit); // if it cannot, opening says so
    }
}

} // namespace

clsSimulatedFleet::clsSimulatedFleet(const FleetOptions& options)
    : m_start_s(SteadySeconds()), m_epoll(epoll_create1(EPOLL_CLOEXEC))
{
    if (m_epoll < 0) {
        throw std::runtime_error("cannot make an epoll descriptor");
    }
    allowManyFiles();
    makeFolder(options.links);
    makeFolder(options.logs);
    for (std::int32_t i = 0; i < options.count; ++i) {
        SensorOptions sensor = options.sensor;
        sensor.seed += static_cast<std::uint64_t>(i);
        if (options.faulty != 0 && options.faulty != i + 1) {
            sensor.faults = Faults{};
        }
        Member& member = m_members.emplace_back();
        member.sensor =
            std::make_unique<clsDrivenSensor>(sensor, pathIn(options.links, i, ""), pathIn(options.logs, i, ".log"));
        member.sensor->Model().SetSerialNo(std::to_string(kFirstSerialNo + i));
    }
}

clsSimulatedFleet::~clsSimulatedFleet()
{
    close(m_epoll);
}

std::vector<std::string> clsSimulatedFleet::Paths() const
{
    std::vector<std::string> paths;
    for (const Member& member : m_members) {
        paths.push_back(member.sensor->Path());
    }
    return paths;
}

void clsSimulatedFleet::RunUntilReadable(int descriptor)
{
    epoll_event end{};
    end.events = EPOLLIN;
    end.data.u64 = kEnd;
    epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &end);
    std::array<epoll_event, 64> events{};
    for (bool hasEnded = false; !hasEnded;) {
        const int count = epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), untilNext_ms());
        for (int i = 0; i < count; ++i) {
            const std::uint64_t place = events.at(static_cast<std::size_t>(i)).data.u64;
            if (place == kEnd) {
                hasEnded = true;
            } else {
                m_members.at(place).due_s = 0;
            }
        }
        const double now = now_s();
        for (std::size_t i = 0; i < m_members.size(); ++i) {
            if (m_members[i].due_s <= now) {
                serve(m_members[i], i);
            }
        }
    }
    epoll_ctl(m_epoll, EPOLL_CTL_DEL, descriptor, nullptr);
}

void clsSimulatedFleet::Restart()
{
    for (Member& member : m_members) {
        member.sensor->Model().PowerOn(now_s());
        member.due_s = 0;
    }
}

void clsSimulatedFleet::serve(Member& member, std::size_t place)
{
    const double now = now_s();
    member.due_s = now + member.sensor->Step(now);
    const int waitOn = member.sensor->WaitOn();
    if (waitOn == member.watched) {
        return;
    }
    if (member.watched >= 0) {
        epoll_ctl(m_epoll, EPOLL_CTL_DEL, member.watched, nullptr); // a closed one has gone by itself
    }
    member.watched = waitOn;
    if (waitOn >= 0) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = place;
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, waitOn, &event);
    }
}

/// Rounded up to whole milliseconds: sensors that are due within the same one share a wake-up.
int clsSimulatedFleet::untilNext_ms() const
{
    double next_s = std::numeric_limits<double>::infinity();
    for (const Member& member : m_members) {
        next_s = std::min(next_s, member.due_s);
    }
    return static_cast<int>(std::clamp(std::ceil((next_s - now_s()) * 1000), 0.0, kLongestWait_ms));
}

double clsSimulatedFleet::now_s() const
{
    return SteadySeconds() - m_start_s;
}

} // namespace simulator
