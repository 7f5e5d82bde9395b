// The program's side of a real pseudo-terminal with the simulated sensor at its other end: device and measurement loop,
// driven in real time. The loop's clock can be put forward, so that a deadline need not be waited for.
#pragma once

#include "device/clsPosixPort.h"
#include "monitor/clsMeasurementLoop.h"
#include "simulator/clsSimulatedSensor.h"
#include "tests/support/clsRecordingView.h"

#include <chrono>
#include <cmath>
#include <functional>
#include <thread>

struct SensorOnLine {
    simulator::clsSimulatedSensor sensor;
    modPComm::PortDevices devices;
    clsPosixPort port{devices};
    modGlobals::Settings settings{.Baudrate = 38400, .Language = LanguageEnglish};
    clsRVQ device{port, [](std::int32_t ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }};
    clsRecordingView view;
    clsMeasurementLoop loop{device, settings, view, '.'};

    explicit SensorOnLine(simulator::SensorOptions options = {}, const std::string& link = {})
        : sensor(fast(std::move(options)), link)
    {
        devices.Override(1, sensor.Path());
    }

    /// Ticks until the condition holds; false after twenty seconds of real time.
    bool Until(const std::function<bool()>& condition)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < end) {
            Tick();
            if (condition()) {
                return true;
            }
        }
        return false;
    }
    bool UntilEvent(std::int32_t event)
    {
        return Until([&] { return device.EventNr == event; });
    }
    /// Waits for a configuration dump and for the line to be quiet after it: its last line end comes after the event,
    /// and a measurement must not begin with it.
    bool Configured()
    {
        const bool read =
            UntilEvent(EventConfiguration) && Until([&] {
                bool quiet = false;
                sensor.With([&](simulator::clsSensorModel& model) { quiet = std::isinf(model.NextDue()); });
                return quiet;
            });
        for (int i = 0; i < 5; ++i) {
            Tick();
        }
        return read;
    }

    void Tick()
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_start;
        loop.Tick(46000.5 + (passed.count() + m_ahead_s) / 86400.0);
    }
    void PutForward(double seconds) { m_ahead_s += seconds; }

    /// Changes a parameter in the sensor alone.
    void InSensor(std::string_view code, std::int32_t value)
    {
        sensor.With([&](simulator::clsSensorModel& model) { model.SetParameter(code, value); });
    }
    /// The commands that the sensor has got since the last look, joined by "|".
    std::string TakeLog()
    {
        std::string log;
        sensor.With([&](simulator::clsSensorModel& model) {
            for (const std::string& command : model.WireLog()) {
                log += (log.empty() ? "" : "|") + command;
            }
            model.ClearWireLog();
        });
        return log;
    }

private:
    static simulator::SensorOptions fast(simulator::SensorOptions options)
    {
        options.lineRate = 38400;
        return options;
    }

    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    double m_ahead_s = 0.0;
};
