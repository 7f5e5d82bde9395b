// A sensor of the gateway at the program's own simulated sensor, in real time.
#pragma once

#include "base/modAPI.h"
#include "gateway/clsSensorLine.h"
#include "gateway/modUtc.h"
#include "simulator/clsSimulatedSensor.h"
#include "store/modRecordLine.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

/// Notes what a line tells.
struct NotingListener : SensorLineListener {
    std::vector<std::string> events;
    std::vector<GatewayValue> values;
    std::vector<std::filesystem::path> recordings;
    std::int64_t firstSequence = 0, lastSequence = 0;
    int ended = 0;

    std::vector<std::string> Times() const
    {
        std::vector<std::string> times;
        for (const GatewayValue& value : values) {
            times.push_back(modUtc::Text(value.time));
        }
        return times;
    }
    std::string NameForRecording(clsSensorLine& /*line*/) override { return "Run 000001"; }
    void RecordingBegan(clsSensorLine& /*line*/, const std::filesystem::path& file, std::int64_t first) override
    {
        recordings.push_back(file);
        firstSequence = first;
    }
    void Recorded(clsSensorLine& /*line*/, std::int64_t last) override { lastSequence = last; }
    void RecordingEnded(clsSensorLine& /*line*/) override { ++ended; }
    void Measured(clsSensorLine& /*line*/, std::span<const GatewayValue> measured) override
    {
        values.insert(values.end(), measured.begin(), measured.end());
    }
    void Happened(clsSensorLine& /*line*/, std::string_view what, const Details& /*details*/) override
    {
        events.emplace_back(what);
    }
};

inline simulator::SensorOptions FastSensor()
{
    simulator::SensorOptions options;
    options.lineRate = 115200;
    options.values_Hz = 20.0;
    options.counts = true;
    return options;
}

struct LineOfSimulatedSensor {
    TemporaryFolder folder;
    simulator::clsSimulatedSensor sensor;
    NotingListener told;
    clsSensorLine line;

    explicit LineOfSimulatedSensor(const std::function<void(SensorConfig&)>& change = [](SensorConfig&) {})
        : sensor(FastSensor(), (folder.path / "line").string()),
          line(configOf(change), folder.path / "REC", {folder.path / "BACKUP", folder.path / "PASSPORT", "1.0", 7},
               told, modAPI::UpTime_s())
    {}

    /// Serves the line until the condition holds; false after so many seconds.
    bool Until(const std::function<bool()>& condition, double most_s = 20.0)
    {
        const double end_s = modAPI::UpTime_s() + most_s;
        while (!condition()) {
            if (modAPI::UpTime_s() > end_s) {
                return false;
            }
            if (modAPI::WaitForArrival(line.Arrivals().first,
                                       std::clamp(line.Due_s() - modAPI::UpTime_s(), 0.0, 0.05))) {
                line.Arrived(modAPI::LocalTime(), modAPI::UpTime_s());
            }
            if (line.Due_s() <= modAPI::UpTime_s()) {
                line.Serve(modAPI::LocalTime(), modAPI::UpTime_s());
            }
        }
        return true;
    }
    bool UntilValues(std::size_t number)
    {
        const std::size_t wanted = told.values.size() + number;
        return Until([&] { return told.values.size() >= wanted; });
    }
    /// What the lines of the recordings say.
    std::vector<std::string> RecordedTimes() const
    {
        std::vector<std::string> times;
        for (const auto& file : told.recordings) {
            modRecordLine::clsLineParser parser;
            modRecordLine::RecordedValue value;
            std::istringstream lines(TemporaryFolder::Read(file));
            for (std::string text; std::getline(lines, text);) {
                times.push_back(parser.Parse(text, value) ? modUtc::Text(value.time) : text);
            }
        }
        return times;
    }

private:
    SensorConfig configOf(const std::function<void(SensorConfig&)>& change) const
    {
        SensorConfig config;
        config.name = "Silo";
        config.port = (folder.path / "line").string();
        config.rate = 115200;
        change(config);
        return config;
    }
};
