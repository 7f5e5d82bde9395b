// An operation that meets a fault: a program with main window, settings window and a running recording, on a line that
// breaks and is mended.
#pragma once

#include "base/Days.h"
#include "session/clsRecorder.h"
#include "session/clsTransfer.h"
#include "store/modRecordLine.h"
#include "tests/support/SensorOnLine.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/clsRecordingTransferView.h"

#include <algorithm>
#include <string>
#include <string_view>

enum class Strike : std::uint8_t { Line, Unplug, Replug, OtherFormat, Restart, Delay };

/// What goes wrong with the sensor or its line during an operation.
struct LineFault {
    const char* name;
    double simulator::Faults::*rate; ///< null: the fault is `strike`
    double value;
    Strike strike;
    double pace; ///< how fast the sensor's clock runs
};

inline constexpr LineFault kFaults[] = {
    {"none", nullptr, 0, Strike::Line, 1},
    {"silence", &simulator::Faults::silence, 1, Strike::Line, 1},
    {"refusal", &simulator::Faults::refusal, 1, Strike::Line, 1},
    {"late", &simulator::Faults::slow, 1, Strike::Line, 1},
    {"too late", &simulator::Faults::slow, 1, Strike::Line, 1.0 / 6},
    {"byte by byte", &simulator::Faults::split, 1, Strike::Line, 1},
    {"burst", &simulator::Faults::burst, 1, Strike::Line, 1},
    {"1 % garbage", &simulator::Faults::garbage, 0.01, Strike::Line, 1},
    {"1 % lost", &simulator::Faults::lost, 0.01, Strike::Line, 1},
    {"dump cut", &simulator::Faults::cutdump, 1, Strike::Line, 1},
    {"announcement", &simulator::Faults::announce, 1, Strike::Line, 1},
    {"unplug", nullptr, 0, Strike::Unplug, 1},
    {"replug", nullptr, 0, Strike::Replug, 1},
    {"other format", nullptr, 0, Strike::OtherFormat, 1},
    {"restart", nullptr, 0, Strike::Restart, 1},
    {"no echo", &simulator::Faults::noecho, 1, Strike::Line, 1},
    {"too hot", &simulator::Faults::temperr, 1, Strike::Line, 1},
    {"200 ms delay", nullptr, 0, Strike::Delay, 1},
};

struct FaultCell : SensorOnLine {
    const LineFault& fault;
    const std::int32_t format;
    clsRecordingTransferView window;
    Configuration entry;
    clsTransfer transfer{device, entry, window, [this] { Step(); }};
    TemporaryFolder folder;
    clsRecorder recorder{folder.path};
    std::int32_t openingsBefore = 0; ///< before the fault
    std::int64_t linesBefore = 0;    ///< before the fault, in the recording
    double start = 0.0, limit_s = 0.0;
    bool isDead = false; ///< the limit has passed and every wait has been ended

    FaultCell(const LineFault& struck, std::int32_t sensorFormat, std::uint64_t seed)
        : SensorOnLine({.seed = seed}), fault(struck), format(sensorFormat)
    {
        sensor.SetParameter("101", format);
        sensor.HoldDistance(3300.0);
        delay_s = fault.strike == Strike::Delay ? 0.2 : 0.0; // from the beginning to the end
        view.OnMeasured = [this](const Measurement& measured, std::string_view temperature) {
            recorder.Record(measured, temperature);
            if (!modRecordLine::HasTemperature(temperature)) {
                view.distances.pop_back(); // a line needs a temperature; such values are counted as unwritten
            }
        };
    }

    void Step()
    {
        Tick();
        if (Elapsed_s() > limit_s && !isDead) {
            isDead = true;
            device.Wait().Ended = true;
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
        start = device.CurrentTime();
        limit_s = most_s;
    }
    double Elapsed_s() const { return (device.CurrentTime() - start) * kSecondsPerDay; }

    void Break()
    {
        sensorPace = fault.pace;
        view.messages.clear();
        openingsBefore = device.Openings();
        linesBefore = recorder.Lines();
        if (fault.rate != nullptr) {
            sensor.Faults().*fault.rate = fault.value;
        } else if (fault.strike == Strike::OtherFormat) {
            sensor.SetParameter("101", format == FormatBinaryCrc ? FormatAsciiUnit : FormatBinaryCrc);
        } else if (fault.strike == Strike::Restart) {
            PowerOn();
        } else if (fault.strike == Strike::Unplug || fault.strike == Strike::Replug) {
            Unplug();
        }
        if (fault.strike == Strike::Replug) {
            Replug();
        }
    }
    void Mend()
    {
        sensorPace = 1.0;
        sensor.Faults() = {};
        Replug();
    }

    bool HasSaid(std::string_view message) const
    {
        return std::ranges::find(view.messages, message) != view.messages.end();
    }
    bool HasRead() const { return entry.Parameters.Offset == sensor.Parameter("701"); }
    /// A dump has no checksum, so such a line can change what it says.
    bool Falsifies() const
    {
        return fault.rate == &simulator::Faults::garbage || fault.rate == &simulator::Faults::lost;
    }
};
