#include "simulator/modReplayRun.h"

#include "simulator/clsPseudoTerminal.h"
#include "simulator/clsReplay.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <poll.h>
#include <stdexcept>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace simulator {

namespace {

constexpr double kNobodyThere_s = 0.02; // a hung-up terminal cannot be waited on
constexpr double kLongest_s = 3600.0;

double steadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

clsReplay read(const std::string& file)
{
    std::ifstream recording(file, std::ios::binary);
    if (!recording) {
        throw std::runtime_error(file + ": " + std::generic_category().message(errno));
    }
    try {
        return clsReplay(recording);
    } catch (const std::runtime_error& wrong) {
        throw std::runtime_error(file + ": " + wrong.what());
    }
}

/// Returns whether a signal has come before the time is over.
bool waitFor(double seconds, int terminal, int signals)
{
    pollfd sources[] = {{terminal, POLLIN, 0}, {signals, POLLIN, 0}};
    const double most_s = std::clamp(seconds, 0.0, kLongest_s);
    const auto whole_s = static_cast<time_t>(most_s);
    const timespec limit{whole_s, static_cast<long>((most_s - static_cast<double>(whole_s)) * 1e9)};
    ppoll(sources, 2, &limit, nullptr);
    return sources[1].revents != 0;
}

} // namespace

int PlayRecording(const std::string& file, const std::string& link, const sigset_t& endSignals)
{
    clsReplay replay = read(file);
    clsPseudoTerminal terminal(link, clsPseudoTerminal::kAnyRate);
    const int signals = signalfd(-1, &endSignals, SFD_CLOEXEC);
    std::cout << terminal.Path() << std::endl;
    std::cerr << "rvqsim: plays " << replay.Requests() << " requests\n";
    bool wasAttached = false;
    for (double wait_s = 0; !waitFor(wait_s, wasAttached ? terminal.Descriptor() : -1, signals);) {
        const double now_s = steadySeconds();
        const std::string received = terminal.Read(clsPseudoTerminal::kAnyRate);
        const bool isAttached = terminal.IsAttached();
        if (isAttached && !wasAttached) {
            std::cerr << "rvqsim: the line was opened, the recording begins\n";
            replay.Start(now_s);
        }
        wasAttached = isAttached;
        replay.Receive(received, now_s);
        if (isAttached) {
            terminal.Write(replay.TakeDue(now_s), clsPseudoTerminal::kAnyRate);
        }
        for (const std::string& news : replay.TakeNews()) {
            std::cerr << "rvqsim: " << news << "\n";
        }
        wait_s = isAttached ? replay.NextDue() - now_s : kNobodyThere_s;
    }
    close(signals);
    return 0;
}

} // namespace simulator
