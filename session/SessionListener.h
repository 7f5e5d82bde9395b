// The folder session/ is what one sensor's session is without a face: the measurement and its loop, transfers,
// recording, playback. The dialogue itself is sensor/'s, files are store/'s, and windows are ui/'s. Here: what the loop
// shows, so that it runs with any face or none.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class clsRVQ;

/// Which controls may be used now.
struct ControlRule {
    bool Start = false; ///< start, stop and the sensor's settings
    bool Single = false;
    bool Settings = true; ///< the settings window may be opened
    bool operator==(const ControlRule&) const = default;
};

/// The sensor's settings that the main window shows.
struct SensorSettings {
    std::int32_t AverageDepth = 0; ///< index of the list
    bool MovingAverage = false;
    bool RedLaser = false;
};

class SessionListener {
public:
    virtual ~SessionListener() = default;

    /// Raw text that the sensor has sent, never empty.
    virtual void Echo(std::string_view received) = 0;
    /// The distance text; empty when nothing is measured.
    virtual void ShowDistance(const std::string& text) = 0;
    /// The sensor's temperature text, one byte a character.
    virtual void ShowTemperature(const std::string& text) = 0;
    /// A panel (1..3) of the status bar, UTF-8: 1 messages, 2 file, 3 clock.
    virtual void ShowStatus(std::int32_t panel, std::string_view text) = 0;
    /// The lamp: 0 no connection, 1 idle, 2 measuring.
    virtual void ShowDialogue(std::int32_t commStatus) = 0;
    /// The start button reads "Stop" while `running`.
    virtual void ShowRunning(bool running) = 0;
    /// The sensor has shut its laser down.
    virtual void ShowShutDown(bool shutDown) = 0;
    virtual void ShowRule(const ControlRule& rule) = 0;
    /// What the sensor has reported of averaging and laser; to be shown without sending it back.
    virtual void ShowSensorSettings(const SensorSettings& settings) = 0;
    /// Forgets the curve; a new run begins.
    virtual void ResetChart() = 0;
    /// The unit of the values that follow.
    virtual void ShowUnit(std::string_view unit) = 0;
    /// A point of the curve: days since 1899-12-30, value in the shown unit.
    virtual void AddChartPoint(double time, double value) = 0;
    /// No value at this time: what comes later is not joined to what was before.
    virtual void AddChartGap(double time) = 0;
    /// The chart's y limits, in the shown unit.
    virtual void ShowYLimits(double lower, double upper) = 0;
    /// The lowest and highest value that the chart shows now; empty when it shows none.
    virtual std::optional<std::array<double, 2>> ChartedValues() = 0;
    /// The chart's right end while measuring.
    virtual void ShowChartTime(double time) = 0;
};
