// What a session reports. A window, a command-line program or a service listens to what it needs. A session never asks
// anything back, so it runs the same with any front end or with none. Every operation is called during a tick, a
// command or a playback, or while files are served, and does nothing unless a listener overrides it. What a listener
// throws ends the call that it was told in.
#pragma once

#include "plot/clsChartData.h"
#include "sensor/Measurement.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

class clsFIFO;

namespace modPlayback {
struct Loaded;
}

/// The panels of a status bar.
enum StatusPanel : std::int32_t { PanelMessages = 1, PanelFile = 2, PanelClock = 3 };

/// Which controls may be used now.
struct ControlRule {
    bool Start = false; ///< start, stop and the sensor's settings
    bool Single = false;
    bool Settings = true; ///< the settings window may be opened
    bool operator==(const ControlRule&) const = default;
};

/// The sensor's settings that are shown beside the measurement.
struct SensorSettings {
    std::int32_t AverageDepth = 0; ///< index of the list
    bool MovingAverage = false;
    bool RedLaser = false;
};

class SessionListener {
public:
    virtual ~SessionListener() = default;

    // The line and the dialogue.
    /// Raw text that the sensor has sent, never empty.
    virtual void Echo(std::string_view received) { static_cast<void>(received); }
    /// The state of the dialogue, as in `clsRVQ::CommStatus`: 0 no connection, 1 idle, 2 measuring. Called when it has
    /// changed.
    virtual void ShowDialogue(std::int32_t commStatus) { static_cast<void>(commStatus); }
    /// The text of a status bar panel, UTF-8.
    virtual void ShowStatus(StatusPanel panel, std::string_view text)
    {
        static_cast<void>(panel);
        static_cast<void>(text);
    }
    /// Called whenever the rule changes.
    virtual void ShowRule(const ControlRule& rule) { static_cast<void>(rule); }
    /// The sensor has been found at another rate than that of the settings, in bit/s: the one that it was set to before
    /// it fell silent. The line has that rate now; a front end that keeps the settings takes it over.
    virtual void RateFollowed(std::int32_t former, std::int32_t rate)
    {
        static_cast<void>(former);
        static_cast<void>(rate);
    }
    /// The averaging and laser settings that the sensor has reported. Show them without sending them back.
    virtual void ShowSensorSettings(const SensorSettings& settings) { static_cast<void>(settings); }
    /// Called at the end of a tick.
    virtual void Ticked() {}

    // The measurement.
    /// The sensor has sent a measurement. `temperature` is the text read last, one byte per character.
    virtual void Measured(const Measurement& measurement, std::string_view temperature)
    {
        static_cast<void>(measurement);
        static_cast<void>(temperature);
    }
    /// Every measurement that the sensor has sent since the last call, oldest first, each at the time when its last
    /// byte arrived. Comes before `Measured`, which has the newest of a tick. `temperature` is the text read last.
    virtual void Sampled(std::span<const Measurement> samples, std::string_view temperature)
    {
        static_cast<void>(samples);
        static_cast<void>(temperature);
    }
    /// The text of the distance, live or from a recording; empty when nothing is measured.
    virtual void ShowDistance(const std::string& text) { static_cast<void>(text); }
    /// The sensor's temperature text, live or from a recording, one byte per character.
    virtual void ShowTemperature(const std::string& text) { static_cast<void>(text); }
    /// Whether continuous measurement is running; a start button then reads "Stop".
    virtual void ShowRunning(bool running) { static_cast<void>(running); }
    /// Whether the sensor has shut down its laser. Called when it has changed.
    virtual void ShowShutDown(bool shutDown) { static_cast<void>(shutDown); }

    // The curve. Its points lie at places on the time axis, as those of the session's history do: days since
    // 1899-12-30, which are times as long as nobody sets the clock; see `clsTimeLine`.
    /// Clears the curve; a new run begins.
    virtual void ResetChart() {}
    /// The unit of the values that follow. Called when it has changed.
    virtual void ShowUnit(std::string_view unit) { static_cast<void>(unit); }
    /// A point of the curve, its value in the shown unit.
    virtual void AddChartPoint(double place, double value)
    {
        static_cast<void>(place);
        static_cast<void>(value);
    }
    /// There is no value at this place, and the curve is not joined across it.
    virtual void AddChartGap(double place) { static_cast<void>(place); }
    /// Points of a recording that is played, in order and in pieces of thousands; one without a value is a gap.
    virtual void AddPlayedPoints(std::span<const ChartPoint> points) { static_cast<void>(points); }
    /// The right end of the curve while measuring.
    virtual void ShowChartTime(double place) { static_cast<void>(place); }
    /// Values of another unit or run follow: an automatic value axis starts afresh.
    virtual void ForgetRange() {}
    /// Fits an automatic value axis to the newest values. `millimetres` is the length of their unit.
    virtual void FitValueAxis(const clsFIFO& newest, double millimetres)
    {
        static_cast<void>(newest);
        static_cast<void>(millimetres);
    }

    // Files.
    /// A recording has begun in this file.
    virtual void RecordingStarted(const std::filesystem::path& file) { static_cast<void>(file); }
    /// The recording has ended by itself, or could not be closed.
    virtual void RecordingFailed(const std::error_code& why) { static_cast<void>(why); }
    /// An earlier recording could not be closed, or a recording is complete but its sidecar could not be written.
    virtual void RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why)
    {
        static_cast<void>(file);
        static_cast<void>(why);
    }
    /// A playback begins: the points that follow are the lines of a recording.
    virtual void PlaybackBegins() {}
    /// More of its lines are in the session's history; called many times a second.
    virtual void PlaybackGoesOn() {}
    /// All lines, or all that can be read, have been reported, so the time axis can be placed. The texts of the last
    /// line follow.
    virtual void PlaybackLoaded(const modPlayback::Loaded& loaded) { static_cast<void>(loaded); }
    /// The playback is over, and the texts of its last line have been reported.
    virtual void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded)
    {
        static_cast<void>(file);
        static_cast<void>(loaded);
    }
};
