// The program's side of a real pseudo-terminal with the simulated sensor at its other end, both in one thread and on
// one clock that only the ticks move. A run is the same however busy the machine is, and no deadline takes real time.
#pragma once

#include "base/Days.h"
#include "port/clsPosixPort.h"
#include "session/clsMeasurementLoop.h"
#include "simulator/clsPseudoTerminal.h"
#include "simulator/clsSensorModel.h"
#include "tests/support/ScriptedSensor.h"
#include "tests/support/clsRecordingView.h"

#include <chrono>
#include <cmath>
#include <deque>
#include <functional>
#include <poll.h>
#include <stdexcept>
#include <thread>

struct SensorOnLine {
    /// Every byte arrives within the call that sends it, so no byte takes time of the clock but `delay_s`.
    struct Port : clsPosixPort {
        SensorOnLine& line;

        explicit Port(SensorOnLine& owner) : clsPosixPort(owner.devices), line(owner) {}
        std::int32_t sio_write(std::int32_t number, std::span<const char> bytes) override
        {
            const std::int32_t taken = clsPosixPort::sio_write(number, bytes);
            if (taken > 0) {
                line.takeSent(static_cast<std::size_t>(taken));
            }
            return taken;
        }
        std::int32_t Delay_ms(std::int32_t) const override { return static_cast<std::int32_t>(line.delay_s * 2000.0); }
    };

    static constexpr std::int32_t kRate = 38400;

    double beat_s = clsMeasurementLoop::kInterval_ms / 1000.0; ///< between two ticks
    double sensorPace = 1.0;                                   ///< rate of the sensor's clock; below 1 it is slow
    double delay_s = 0.0;                                      ///< of the line, in either direction
    simulator::clsSensorModel sensor;
    simulator::clsPseudoTerminal terminal{{}, kRate};
    modPComm::PortDevices devices;
    Port port{*this};
    modGlobals::Settings settings{.Baudrate = kRate, .Language = LanguageEnglish};
    OpenRVQ device{port};
    clsRecordingView view;
    clsMeasurementLoop loop{device, settings, view, '.'};

    explicit SensorOnLine(simulator::SensorOptions options = {}) : sensor(fast(std::move(options)))
    {
        devices.Override(1, terminal.Path());
    }

    /// Ticks until the condition holds; false after a minute of its clock.
    bool Until(const std::function<bool()>& condition)
    {
        const double end_s = m_now_s + 60.0;
        while (m_now_s < end_s) {
            Tick();
            if (condition()) {
                return true;
            }
        }
        return false;
    }
    bool UntilEvent(std::int32_t event)
    {
        return Until([&] { return device.EventNr() == event; });
    }
    /// Waits for a configuration dump and then for a quiet line: the last line end of the dump comes after the event,
    /// and a measurement must not begin with it.
    bool Configured()
    {
        const bool read = UntilEvent(EventConfiguration) && Until([&] { return std::isinf(sensor.NextDue()); });
        Tick();
        return read;
    }

    void Tick()
    {
        sensor.Receive(carry(m_toSensor, std::exchange(m_sent, {})), m_sensor_s);
        pass(beat_s);
        deliver(carry(m_toProgram, sensor.Transmit(m_sensor_s)));
        loop.Tick(ScriptedSensor::kStart + m_now_s / kSecondsPerDay);
    }
    void Unplug()
    {
        terminal.Unplug();
        // The terminal's number is free now: a program that goes on trying it would take another test's terminal.
        devices.Override(1, "/dev/unplugged");
    }
    void Replug()
    {
        terminal.Replug(sensor.LineRate());
        devices.Override(1, terminal.Path());
    }
    void PowerOn() { sensor.PowerOn(m_sensor_s); }

    /// The commands that have reached the sensor since the last call, joined by "|".
    std::string TakeLog()
    {
        std::string log;
        for (const std::string& command : sensor.WireLog()) {
            log += (log.empty() ? "" : "|") + command;
        }
        sensor.ClearWireLog();
        return log;
    }

private:
    /// Bytes that the line has not delivered yet.
    struct Underway {
        double due_s;
        std::string bytes;
    };

    static simulator::SensorOptions fast(simulator::SensorOptions options)
    {
        options.lineRate = kRate;
        return options;
    }
    void pass(double seconds)
    {
        m_now_s += seconds;
        m_sensor_s += seconds * sensorPace;
    }
    /// Puts bytes on their way; returns what is at its end now.
    std::string carry(std::deque<Underway>& way, std::string bytes)
    {
        way.push_back({m_now_s + delay_s, std::move(bytes)});
        std::string arrived;
        while (!way.empty() && way.front().due_s <= m_now_s) {
            arrived += way.front().bytes;
            way.pop_front();
        }
        return arrived;
    }
    void takeSent(std::size_t count)
    {
        pollfd sent{terminal.Descriptor(), POLLIN, 0};
        const std::size_t whole = m_sent.size() + count;
        while (m_sent.size() < whole && poll(&sent, 1, kPatience_ms) == 1 && (sent.revents & POLLIN) != 0) {
            m_sent += terminal.Read(sensor.LineRate());
        }
    }
    void deliver(const std::string& bytes)
    {
        const std::int32_t before = port.sio_iqueue(1);
        if (bytes.empty() || before < 0 || !terminal.IsAttached()) {
            return;
        }
        terminal.Write(bytes, sensor.LineRate());
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatience_ms);
        while (port.sio_iqueue(1) < before + static_cast<std::int32_t>(bytes.size())) {
            if (std::chrono::steady_clock::now() > end) {
                throw std::runtime_error("the pseudo-terminal keeps bytes to itself");
            }
            std::this_thread::yield();
        }
    }

    static constexpr int kPatience_ms = 20000; // real time; it runs out only if the system does not carry the bytes
    std::string m_sent;                        // by the program, and not yet taken by the sensor
    std::deque<Underway> m_toSensor, m_toProgram;
    double m_now_s = 0.0, m_sensor_s = 0.0;
};
