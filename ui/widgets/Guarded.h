// The one place where exceptions end: every slot and every tick runs inside it, so a fault in one of them does not end
// the program or stop the timer.
#pragma once

#include <QDebug>

#include <chrono>
#include <exception>
#include <functional>
#include <string>
#include <utility>

/// Called with every fault that `Guarded` has stopped; the window with the debug console sets it. Program-wide, like
/// the message log it accompanies, because any slot of any window may fail.
inline std::function<void(const char* what)> FaultNoted;

/// Notes a fault, unless the same one was noted within the last ten seconds: a tick that fails does so 20 times a
/// second.
inline void NoteFault(const char* what)
{
    constexpr std::chrono::seconds kQuiet{10};
    static std::string last;
    static std::chrono::steady_clock::time_point lastTime;
    const auto now = std::chrono::steady_clock::now();
    if (last == what && now - lastTime < kQuiet) {
        return;
    }
    last = what;
    lastTime = now;
    qWarning() << "orvex:" << what;
    try {
        if (FaultNoted) {
            FaultNoted(what);
        }
    } catch (...) {
        qWarning() << "orvex: the fault could not be noted";
    }
}

template <typename Body>
void Guarded(Body&& body)
{
    try {
        std::forward<Body>(body)();
    } catch (const std::exception& fault) {
        NoteFault(fault.what());
    } catch (...) {
        NoteFault("unknown fault");
    }
}
