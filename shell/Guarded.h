// The one place where exceptions end: every slot and every tick runs inside it, so that a fault in one of them neither
// ends the program nor stops the timer.
#pragma once

#include <QDebug>

#include <exception>
#include <functional>
#include <utility>

/// Is told of every fault that `Guarded` has stopped; the window with the debug console sets it. Program-wide, like the
/// message log that it stands beside, because any slot of any window may fail.
inline std::function<void(const char* what)> FaultNoted;

inline void NoteFault(const char* what)
{
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
