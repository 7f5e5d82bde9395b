// Another program that a test runs, killed at the test's end.
#pragma once

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

class RunningProgram {
public:
    RunningProgram() = default;
    /// `environment` are words like "NAME=value"; what the program says goes into the file `said`.
    RunningProgram(const std::vector<std::string>& words, const std::filesystem::path& said,
                   const std::vector<std::string>& environment = {})
        : m_process(fork())
    {
        if (m_process != 0) {
            return;
        }
        std::vector<char*> arguments;
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        for (const std::string& variable : environment) {
            putenv(const_cast<char*>(variable.c_str()));
        }
        const int output = open(said.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    ~RunningProgram() { Kill(); }
    RunningProgram(RunningProgram&& other) noexcept : m_process(std::exchange(other.m_process, -1)) {}
    RunningProgram& operator=(RunningProgram&& other) noexcept
    {
        std::swap(m_process, other.m_process);
        return *this;
    }

    void Signal(int number) const { kill(m_process, number); }
    void Kill()
    {
        if (m_process > 0) {
            Signal(SIGKILL);
            Wait();
        }
    }
    /// Waits for its end and returns its code, -1 if it was killed.
    int Wait()
    {
        int status = 0;
        waitpid(std::exchange(m_process, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    bool IsRunning() const
    {
        siginfo_t ended{};
        return m_process > 0 && waitid(P_PID, static_cast<id_t>(m_process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               ended.si_pid == 0;
    }

private:
    pid_t m_process = -1;
};
