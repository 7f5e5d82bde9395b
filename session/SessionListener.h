// What a session tells: a window, a program on the command line and a service each listen to what they need. Nothing is
// asked back, so that a session runs the same with any face or none. Every operation is called within a tick, a command
// or a playback, and does nothing unless a listener overrides it.
#pragma once

#include "plot/clsChartData.h"
#include "sensor/Measurement.h"

#include <cmath>
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

/// Which controls may be used now.
struct ControlRule {
    bool Start = false; ///< start, stop and the sensor's settings
    bool Single = false;
    bool Settings = true; ///< the settings window may be opened
    bool operator==(const ControlRule&) const = default;
};

/// The sensor's settings that a main window shows.
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
    /// The dialogue as `clsRVQ::CommStatus` has it: 0 no connection, 1 idle, 2 measuring. When it has changed.
    virtual void ShowDialogue(std::int32_t commStatus) { static_cast<void>(commStatus); }
    /// A panel (1 messages, 3 clock) of a status bar, UTF-8.
    virtual void ShowStatus(std::int32_t panel, std::string_view text)
    {
        static_cast<void>(panel);
        static_cast<void>(text);
    }
    /// Whenever it changes.
    virtual void ShowRule(const ControlRule& rule) { static_cast<void>(rule); }
    /// What the sensor has reported of averaging and laser; to be shown without sending it back.
    virtual void ShowSensorSettings(const SensorSettings& settings) { static_cast<void>(settings); }
    /// A tick has come to its end.
    virtual void Ticked() {}

    // The measurement.
    /// The sensor has sent a measurement. `temperature` is the text that was read last, one byte a character.
    virtual void Measured(const Measurement& measurement, std::string_view temperature)
    {
        static_cast<void>(measurement);
        static_cast<void>(temperature);
    }
    /// The text of the distance, live or from a recording; empty when nothing is measured.
    virtual void ShowDistance(const std::string& text) { static_cast<void>(text); }
    /// The sensor's temperature text, live or from a recording, one byte a character.
    virtual void ShowTemperature(const std::string& text) { static_cast<void>(text); }
    /// Continuous measurement is running: a start button reads "Stop".
    virtual void ShowRunning(bool running) { static_cast<void>(running); }
    /// The sensor has shut its laser down.
    virtual void ShowShutDown(bool shutDown) { static_cast<void>(shutDown); }

    // The curve.
    /// Forgets the curve; a new run begins.
    virtual void ResetChart() {}
    /// The unit of the values that follow.
    virtual void ShowUnit(std::string_view unit) { static_cast<void>(unit); }
    /// A point of the curve: days since 1899-12-30, value in the shown unit.
    virtual void AddChartPoint(double time, double value)
    {
        static_cast<void>(time);
        static_cast<void>(value);
    }
    /// No value at this time: what comes later is not joined to what was before.
    virtual void AddChartGap(double time) { static_cast<void>(time); }
    /// Points of a recording that is played, in order; one without a value is a gap. Unless it is overridden each of
    /// them comes as a point or a gap.
    virtual void AddPlayedPoints(std::span<const ChartPoint> points)
    {
        for (const ChartPoint& point : points) {
            if (std::isnan(point.y)) {
                AddChartGap(point.x);
            } else {
                AddChartPoint(point.x, point.y);
            }
        }
    }
    /// The right end of the curve while measuring.
    virtual void ShowChartTime(double time) { static_cast<void>(time); }
    /// Values of another unit or run follow: an automatic value axis starts from nothing.
    virtual void ForgetRange() {}
    /// An automatic value axis is to fit the newest values, which are in a unit of so many millimetres.
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
    /// An earlier recording could not be closed.
    virtual void RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why)
    {
        static_cast<void>(file);
        static_cast<void>(why);
    }
    /// What there was to tell of recordings in this tick has been told.
    virtual void FilesServed() {}
    /// A recording is played from now on: the points that follow are its lines.
    virtual void PlaybackBegins() {}
    /// Every line has been told, or all that can be read: the time axis can be placed. The texts of the last one
    /// follow.
    virtual void PlaybackLoaded(const modPlayback::Loaded& loaded) { static_cast<void>(loaded); }
    /// The playback is over, the texts of its last line included.
    virtual void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded)
    {
        static_cast<void>(file);
        static_cast<void>(loaded);
    }
};
