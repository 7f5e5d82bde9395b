// A simulated sensor behind a pseudo-terminal, without a thread: whoever owns it steps it and waits in between. It also
// plays the cable that a fault pulls, and writes the log of the values.
#pragma once

#include "simulator/clsPseudoTerminal.h"
#include "simulator/clsSensorModel.h"
#include "simulator/clsValueLog.h"

#include <optional>
#include <random>
#include <string>

namespace simulator {

/// Seconds on a steady scale.
double SteadySeconds();

class clsDrivenSensor {
public:
    /// A sensor that is on and idle. link: path of a symbolic link to the terminal, empty for none. log: path of a
    /// clsValueLog, empty for none. Throws std::runtime_error when there is no terminal, or the link or the log cannot
    /// be made.
    clsDrivenSensor(const SensorOptions& options, std::string link, const std::string& log);

    /// What to open: the link when there is one, else the device, which changes with every Replug.
    const std::string& Path() const { return m_terminal.Path(); }
    clsSensorModel& Model() { return m_model; }

    /// Looks at everything once; returns for how many seconds nothing will happen by itself. Then, or as soon as
    /// WaitOn() is readable or hangs up, it is to be called again. Times are those of the model.
    double Step(double now_s);
    /// The terminal while it can report something, else -1. It may change with every step.
    int WaitOn() const { return m_waitOn; }

    /// Pulls the line until Replug: whoever has it open sees a hang-up.
    void Unplug();
    /// Does nothing while the line is plugged in. Throws std::runtime_error like the constructor.
    void Replug();

private:
    void transmit(double now_s);
    void playUnplugFault(double now_s);

    clsSensorModel m_model;
    clsPseudoTerminal m_terminal;
    std::optional<clsValueLog> m_log;
    std::mt19937_64 m_random;
    double m_nextUnplugDraw_s = 0;
    std::optional<double> m_replugAt_s; // set while the unplug fault keeps the line pulled
    int m_waitOn = -1;
};

} // namespace simulator
