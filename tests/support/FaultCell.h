// One meeting of an operation with a fault: a program with main and settings window on a line that breaks and is
// mended.
#pragma once

#include "settings/clsTransfer.h"
#include "tests/support/SensorOnLine.h"
#include "tests/support/clsRecordingTransferView.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

enum class Strike : std::uint8_t { Line, Unplug, Replug, OtherFormat };

/// What goes wrong with the sensor or its line during an operation.
struct LineFault {
    const char* name;
    double simulator::Faults::*rate; ///< null: see `strike`
    double value;
    Strike strike;
    double quiet_s; ///< after so long without a byte or a send nothing will come: the clock may be put forward
    double pace;    ///< of the program's clock while bytes may come, as a multiple of real time
};

inline constexpr double kLongestStep_s = 0.02;
inline constexpr double kQuiet_s = 0.12;
inline constexpr LineFault kFaults[] = {
    {"none", nullptr, 0, Strike::Line, kQuiet_s, 1},
    {"silence", &simulator::Faults::silence, 1, Strike::Line, kQuiet_s, 1},
    {"refusal", &simulator::Faults::refusal, 1, Strike::Line, kQuiet_s, 1},
    {"late", &simulator::Faults::slow, 1, Strike::Line, 1.2, 1},
    {"too late", &simulator::Faults::slow, 1, Strike::Line, 1.2, 6},
    {"byte by byte", &simulator::Faults::split, 1, Strike::Line, kQuiet_s, 1},
    {"burst", &simulator::Faults::burst, 1, Strike::Line, 0.4, 1},
    {"1 % garbage", &simulator::Faults::garbage, 0.01, Strike::Line, kQuiet_s, 1},
    {"1 % lost", &simulator::Faults::lost, 0.01, Strike::Line, kQuiet_s, 1},
    {"dump cut", &simulator::Faults::cutdump, 1, Strike::Line, kQuiet_s, 1},
    {"announcement", &simulator::Faults::announce, 1, Strike::Line, kQuiet_s, 1},
    {"unplug", nullptr, 0, Strike::Unplug, kQuiet_s, 1},
    {"replug", nullptr, 0, Strike::Replug, kQuiet_s, 1},
    {"other format", nullptr, 0, Strike::OtherFormat, kQuiet_s, 1},
};

/// A program with main and settings window on one line, whose clock runs ahead whenever only a deadline is waited for.
struct FaultCell : SensorOnLine {
    const LineFault& fault;
    clsRecordingTransferView window;
    clsRVQ entry;
    clsTransfer transfer{device, entry, window, [this] { Step(); }};
    std::size_t messagesBefore = 0;
    std::int32_t openingsBefore = 0;
    double start = 0.0, limit_s = 0.0;
    bool isDead = false; ///< the limit has passed; every wait is ended then

    const std::int32_t format;

    FaultCell(const LineFault& struck, std::int32_t sensorFormat, const std::string& link, std::uint64_t seed)
        : SensorOnLine({.seed = seed}, link), fault(struck), format(sensorFormat)
    {
        InSensor("101", format);
        sensor.With([](simulator::clsSensorModel& model) { model.HoldDistance(3300.0); });
    }

    void Step()
    {
        const std::size_t before = view.echoed.size();
        // On a busy machine the program must not see time pass in which the sensor's thread could not run.
        const std::chrono::duration<double> since = std::chrono::steady_clock::now() - m_lastStep;
        PutForward(std::min(0.0, kLongestStep_s - since.count()));
        Tick();
        const auto now = std::chrono::steady_clock::now();
        if (view.echoed.size() != before || device.FailTime != m_deadline) { // a byte has come, or something was sent
            m_lastEvent = now;
            m_deadline = device.FailTime;
        }
        const bool quiet = now - m_lastEvent > std::chrono::duration<double>(fault.quiet_s);
        PutForward(quiet ? 0.05 : (m_pace - 1.0) * std::chrono::duration<double>(now - m_lastStep).count());
        m_lastStep = now;
        if (Elapsed_s() > limit_s && !isDead) {
            isDead = true;
            device.Wait.Ended = true;
        }
    }
    bool StepUntil(double most_s, const std::function<bool()>& condition)
    {
        Begin(most_s);
        while (!isDead && !condition()) {
            Step();
        }
        return !isDead;
    }
    void Begin(double most_s)
    {
        start = device.CurrentTime;
        limit_s = most_s;
        m_lastEvent = m_lastStep = std::chrono::steady_clock::now();
    }
    double Elapsed_s() const { return (device.CurrentTime - start) * 86400.0; }

    void Break()
    {
        m_pace = fault.pace;
        messagesBefore = view.messages.size();
        openingsBefore = device.Openings;
        if (fault.rate != nullptr) {
            sensor.With([this](simulator::clsSensorModel& model) { model.Faults().*fault.rate = fault.value; });
        } else if (fault.strike == Strike::OtherFormat) {
            InSensor("101", format == FormatBinaryCrc ? FormatAsciiUnit : FormatBinaryCrc);
        } else if (fault.strike != Strike::Line) {
            sensor.Unplug();
        }
        if (fault.strike == Strike::Replug) {
            sensor.Replug();
        }
    }
    void Mend()
    {
        m_pace = 1.0;
        sensor.With([](simulator::clsSensorModel& model) { model.Faults() = {}; });
        sensor.Replug();
    }

    bool HasSaid(std::string_view message) const
    {
        return std::find(view.messages.begin() + static_cast<std::ptrdiff_t>(messagesBefore), view.messages.end(),
                         message) != view.messages.end();
    }
    template <typename Look>
    auto InSensorNow(Look look)
    {
        decltype(look(std::declval<const simulator::clsSensorModel&>())) seen{};
        sensor.With([&](const simulator::clsSensorModel& model) { seen = look(model); });
        return seen;
    }
    /// A dump has no checksum, so such a line can change what it says.
    bool Falsifies() const
    {
        return fault.rate == &simulator::Faults::garbage || fault.rate == &simulator::Faults::lost;
    }
    bool SensorMeasures()
    {
        return InSensorNow([](const simulator::clsSensorModel& model) { return model.IsMeasuring(); });
    }
    std::int32_t SensorHas(std::string_view code)
    {
        return InSensorNow([code](const simulator::clsSensorModel& model) { return model.Parameter(code); });
    }

private:
    double m_pace = 1.0, m_deadline = 0.0;
    std::chrono::steady_clock::time_point m_lastEvent = std::chrono::steady_clock::now(), m_lastStep = m_lastEvent;
};
