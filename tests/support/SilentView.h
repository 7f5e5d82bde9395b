// A window that shows nothing, for tests that look at only a few of its calls.
#pragma once

#include "session/SessionListener.h"

struct SilentView : SessionListener {
    void Echo(std::string_view) override {}
    void ShowDistance(const std::string&) override {}
    void ShowTemperature(const std::string&) override {}
    void ShowStatus(std::int32_t, std::string_view) override {}
    void ShowDialogue(std::int32_t) override {}
    void ShowRunning(bool) override {}
    void ShowShutDown(bool) override {}
    void ShowRule(const ControlRule&) override {}
    void ShowSensorSettings(const SensorSettings&) override {}
    void ResetChart() override {}
    void ShowUnit(std::string_view) override {}
    void AddChartPoint(double, double) override {}
    void AddChartGap(double) override {}
    void ShowYLimits(double, double) override {}
    std::optional<std::array<double, 2>> ChartedValues() override { return {}; }
    void ShowChartTime(double) override {}
};
