// A simulated sensor that runs: the model in real time behind a pseudo-terminal, in a thread of its own.
#pragma once

#include "simulator/clsDrivenSensor.h"

#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace simulator {

class clsSimulatedSensor {
public:
    /// Opens the terminal, and starts the thread of a sensor that is on and idle. link: path of a symbolic link to the
    /// terminal, empty for none. log: path of a clsValueLog, empty for none. Throws std::runtime_error when there is no
    /// terminal, or the link or the log cannot be made.
    explicit clsSimulatedSensor(const SensorOptions& options = {}, std::string link = {}, const std::string& log = {});
    /// Ends the thread within some milliseconds and removes the link.
    ~clsSimulatedSensor();
    clsSimulatedSensor(const clsSimulatedSensor&) = delete;
    clsSimulatedSensor& operator=(const clsSimulatedSensor&) = delete;

    /// What to open: the link when there is one, else the device, which changes with every Replug.
    std::string Path() const;
    /// The model's time in seconds; 0 at the start.
    double Now_s() const;

    /// Lets the caller read or change the model while the sensor stands still. The callback must not call this object.
    void With(const std::function<void(clsSensorModel&)>& use);

    /// Switches the sensor off and on again. A stored rate counts from then on.
    void Restart();
    /// Pulls the line until Replug: whoever has it open sees a hang-up within some milliseconds.
    void Unplug();
    /// Does nothing while the line is plugged in. Throws std::runtime_error like the constructor.
    void Replug();

private:
    void run();
    void waitFor(double seconds);
    void wake();

    mutable std::mutex m_mutex; // guards the members below, down to m_isStopping
    clsDrivenSensor m_sensor;
    bool m_isStopping = false;

    double m_start_s;
    int m_wakeUp;
    std::thread m_thread;
};

} // namespace simulator
