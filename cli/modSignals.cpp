#include "cli/modSignals.h"

#include "base/modAPI.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>

namespace modSignals {

namespace {

constexpr long kSecond_ms = 500; // earlier it is the same wish: some programs send a signal twice

std::atomic<long> firstEnd_ms = 0; ///< 0: nobody has asked
std::atomic<bool> mustRedraw = false;
std::atomic<void (*)()> restoreTerminal = nullptr;

long now_ms()
{
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return time.tv_sec * 1000 + time.tv_nsec / 1000000 + 1;
}

void restore()
{
    if (void (*const function)() = restoreTerminal) {
        function();
    }
}

/// What the signal does by default, now.
void actAsUsual(int signal)
{
    struct sigaction usual {
    }, ours{};
    usual.sa_handler = SIG_DFL;
    sigaction(signal, &usual, &ours);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    raise(signal);
    sigprocmask(SIG_UNBLOCK, &set, nullptr); // it acts here
    sigaction(signal, &ours, nullptr);
}

extern "C" void noteEnd(int signal)
{
    const int before = errno;
    long none = 0;
    if (!firstEnd_ms.compare_exchange_strong(none, now_ms()) && signal == SIGINT &&
        now_ms() - firstEnd_ms >= kSecond_ms) {
        restore();
        actAsUsual(signal);
    }
    errno = before;
}

extern "C" void noteRedraw(int)
{
    mustRedraw = true;
}

extern "C" void stopProgram(int signal)
{
    const int before = errno;
    restore();
    actAsUsual(signal);
    mustRedraw = true;
    errno = before;
}

extern "C" void endAtOnce(int signal)
{
    restore();
    actAsUsual(signal);
}

extern "C" void passOver(int) {}

} // namespace

void Watch()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        modAPI::HandleSignal(signal, noteEnd);
    }
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        modAPI::HandleSignal(signal, passOver);
    }
    for (const int signal : {SIGQUIT, SIGABRT}) {
        modAPI::HandleSignal(signal, endAtOnce);
    }
    modAPI::HandleSignal(SIGWINCH, noteRedraw);
    modAPI::HandleSignal(SIGTSTP, stopProgram);
}

bool EndIsWanted()
{
    return firstEnd_ms != 0;
}

void AtSuddenEnd(void (*function)())
{
    restoreTerminal = function;
}

bool TakeRedraw()
{
    return mustRedraw.exchange(false);
}

} // namespace modSignals
