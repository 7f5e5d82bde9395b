// The one place where exceptions end: every slot and every tick runs inside it, so that a fault in one of them neither
// ends the program nor stops the timer.
#pragma once

#include <QDebug>

#include <exception>
#include <utility>

template <typename Body>
void Guarded(Body&& body)
{
    try {
        std::forward<Body>(body)();
    } catch (const std::exception& fault) {
        qWarning() << "orvex:" << fault.what();
    } catch (...) {
        qWarning() << "orvex: unknown fault";
    }
}
