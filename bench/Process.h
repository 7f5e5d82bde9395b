// A program that a benchmark starts and looks at, and the time that passes meanwhile.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <time.h>
#include <vector>

double SecondsOf(clockid_t clock);
void SleepFor(double seconds);
/// Waits until there is such a file, for some seconds at most.
void WaitForFile(const std::string& file);

/// It runs as long as this object exists, or until it ends by itself. What fails throws std::runtime_error.
class Process {
public:
    /// Starts it with its standard output going to `output`, which is closed here.
    Process(std::vector<std::string> arguments, int output);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    void Wait();
    /// The processor time of all its threads.
    double Used_s() const;
    /// A line such as "Rss:" of a file in its folder of /proc.
    double Memory_KiB(const std::string& file, std::string_view name) const;

private:
    pid_t m_pid = 0;
};
