#include "bench/Process.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

extern char** environ;

double SecondsOf(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void SleepFor(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

void WaitForFile(const std::string& file)
{
    for (int i = 0; i < 100 && !std::filesystem::exists(file); ++i) {
        SleepFor(0.05);
    }
}

Process::Process(std::vector<std::string> arguments, int output)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    std::vector<char*> list;
    for (std::string& argument : arguments) {
        list.push_back(argument.data());
    }
    list.push_back(nullptr);
    const int failure = posix_spawn(&m_pid, list[0], &actions, nullptr, list.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(output);
    if (failure != 0) {
        throw std::runtime_error("cannot start " + arguments[0]);
    }
}

Process::~Process()
{
    if (m_pid > 0) { // else it would be our own group
        kill(m_pid, SIGTERM);
        Wait();
    }
}

void Process::Wait()
{
    if (m_pid > 0) {
        waitpid(std::exchange(m_pid, 0), nullptr, 0);
    }
}

double Process::Used_s() const
{
    clockid_t clock{};
    if (clock_getcpuclockid(m_pid, &clock) != 0) {
        throw std::runtime_error("a program has ended by itself");
    }
    return SecondsOf(clock);
}

double Process::Memory_KiB(const std::string& file, std::string_view name) const
{
    std::ifstream lines("/proc/" + std::to_string(m_pid) + '/' + file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name)) {
            return std::strtod(line.c_str() + name.size(), nullptr);
        }
    }
    throw std::runtime_error("a program has ended by itself");
}
