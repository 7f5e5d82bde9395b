// A monitor without a window that remembers what the loop has shown.
#pragma once

#include "plot/clsValueAxis.h"
#include "session/SessionListener.h"

#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

class clsRecordingView : public SessionListener {
public:
    std::string distance, temperature, unit;
    std::array<std::string, 3> status;
    std::vector<std::string> distances; ///< the text of every distance
    std::vector<std::string> messages;  ///< every text of panel 1 that differs from the one before it
    std::int32_t dialogue = -1;
    bool running = false, shutDown = false;
    ControlRule rule;
    std::vector<std::pair<double, double>> points;
    std::pair<double, double> limits;
    SensorSettings sensor;
    std::int32_t resets = 0, gaps = 0;
    std::vector<std::pair<std::int32_t, std::int32_t>> followed; ///< rates, the former one first

    void ShowDistance(const std::string& text) override
    {
        distance = text;
        if (!text.empty()) {
            distances.push_back(text);
        }
    }
    void ShowTemperature(const std::string& text) override { temperature = text; }
    void ShowStatus(StatusPanel panel, std::string_view text) override
    {
        std::string& shown = status.at(static_cast<std::size_t>(panel - 1));
        if (panel == 1 && shown != text && !text.empty()) {
            messages.emplace_back(text);
        }
        shown = text;
    }
    void ShowDialogue(std::int32_t commStatus) override { dialogue = commStatus; }
    void RateFollowed(std::int32_t former, std::int32_t rate) override { followed.emplace_back(former, rate); }
    void ShowRunning(bool isRunning) override { running = isRunning; }
    void ShowShutDown(bool isShutDown) override { shutDown = isShutDown; }
    void ShowRule(const ControlRule& shown) override { rule = shown; }
    void ShowSensorSettings(const SensorSettings& shown) override { sensor = shown; }
    void ResetChart() override { ++resets; }
    void ShowUnit(std::string_view shown) override { unit = shown; }
    void AddChartPoint(double time, double value) override { points.emplace_back(time, value); }
    void AddChartGap(double) override { ++gaps; }
    void AddPlayedPoints(std::span<const ChartPoint> played) override
    {
        for (const ChartPoint& point : played) {
            if (std::isnan(point.y)) {
                AddChartGap(point.x);
            } else {
                AddChartPoint(point.x, point.y);
            }
        }
    }
    void ForgetRange() override { m_axis.Reset(); }
    void FitValueAxis(const clsFIFO& newest, double millimetres) override
    {
        if (const auto fitted = m_axis.Fit(newest, {}, millimetres)) {
            limits = {fitted->front(), fitted->back()};
        }
    }
    void Measured(const Measurement& measurement, std::string_view degrees) override
    {
        if (OnMeasured) {
            OnMeasured(measurement, degrees);
        }
    }
    void Ticked() override
    {
        if (OnTick) {
            OnTick();
        }
    }

    std::function<void(const Measurement&, std::string_view)> OnMeasured;
    std::function<void()> OnTick;

private:
    clsValueAxis m_axis;
};
