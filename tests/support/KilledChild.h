// A process that works until it is killed in the middle of it.
#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

/// Calls `work` with 1, 2, 3 ... in a child process and kills the child after a share of the time that one call takes;
/// 1.5 falls into the middle of the second call after the clock was started. Returns how many calls had returned; 0
/// when the child has failed.
inline int KillAmid(double calls, const std::function<void(int)>& work)
{
    int done[2]; // one byte for each call that has returned
    if (pipe(done) != 0) {
        return 0;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(done[0]); // closed so that a write without a reader ends the child
        for (int i = 1;; ++i) {
            work(i);
            if (write(done[1], "x", 1) != 1) {
                _exit(1);
            }
        }
    }
    close(done[1]);
    char byte = 0;
    int count = read(done[0], &byte, 1) == 1 ? 1 : 0;
    const auto start = std::chrono::steady_clock::now();
    count += read(done[0], &byte, 1) == 1 ? 1 : 0;
    const std::chrono::duration<double, std::micro> one = std::chrono::steady_clock::now() - start;
    usleep(static_cast<useconds_t>(calls * one.count()));
    if (child > 0) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    while (read(done[0], &byte, 1) == 1) {
        ++count;
    }
    close(done[0]);
    return count < 2 ? 0 : count;
}
