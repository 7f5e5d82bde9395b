// Passes everything it hears on to all listeners of a session, in the order in which they were added.
#pragma once

#include "session/SessionListener.h"

#include <algorithm>
#include <cstddef>
#include <vector>

class clsListeners final : public SessionListener {
public:
    /// `listener` must be removed before it is destroyed. Listeners may be added and removed during a report.
    void Add(SessionListener& listener) { m_listeners.push_back(&listener); }
    void Remove(SessionListener& listener)
    {
        std::ranges::replace(m_listeners, &listener, nullptr);
        if (m_telling == 0) {
            std::erase(m_listeners, nullptr);
        }
    }

    void Echo(std::string_view received) override
    {
        tell([&](SessionListener& listener) { listener.Echo(received); });
    }
    void ShowDialogue(std::int32_t commStatus) override
    {
        tell([&](SessionListener& listener) { listener.ShowDialogue(commStatus); });
    }
    void ShowStatus(StatusPanel panel, std::string_view text) override
    {
        tell([&](SessionListener& listener) { listener.ShowStatus(panel, text); });
    }
    void ShowRule(const ControlRule& rule) override
    {
        tell([&](SessionListener& listener) { listener.ShowRule(rule); });
    }
    void RateFollowed(std::int32_t former, std::int32_t rate) override
    {
        tell([&](SessionListener& listener) { listener.RateFollowed(former, rate); });
    }
    void ShowSensorSettings(const SensorSettings& settings) override
    {
        tell([&](SessionListener& listener) { listener.ShowSensorSettings(settings); });
    }
    void Ticked() override
    {
        tell([&](SessionListener& listener) { listener.Ticked(); });
    }
    void Measured(const Measurement& measurement, std::string_view temperature) override
    {
        tell([&](SessionListener& listener) { listener.Measured(measurement, temperature); });
    }
    void Sampled(std::span<const Measurement> samples, std::string_view temperature) override
    {
        tell([&](SessionListener& listener) { listener.Sampled(samples, temperature); });
    }
    void ShowDistance(const std::string& text) override
    {
        tell([&](SessionListener& listener) { listener.ShowDistance(text); });
    }
    void ShowTemperature(const std::string& text) override
    {
        tell([&](SessionListener& listener) { listener.ShowTemperature(text); });
    }
    void ShowRunning(bool running) override
    {
        tell([&](SessionListener& listener) { listener.ShowRunning(running); });
    }
    void ShowShutDown(bool shutDown) override
    {
        tell([&](SessionListener& listener) { listener.ShowShutDown(shutDown); });
    }
    void ResetChart() override
    {
        tell([&](SessionListener& listener) { listener.ResetChart(); });
    }
    void ShowUnit(std::string_view unit) override
    {
        tell([&](SessionListener& listener) { listener.ShowUnit(unit); });
    }
    void AddChartPoint(double time, double value) override
    {
        tell([&](SessionListener& listener) { listener.AddChartPoint(time, value); });
    }
    void AddChartGap(double time) override
    {
        tell([&](SessionListener& listener) { listener.AddChartGap(time); });
    }
    void AddPlayedPoints(std::span<const ChartPoint> points) override
    {
        tell([&](SessionListener& listener) { listener.AddPlayedPoints(points); });
    }
    void ShowChartTime(double time) override
    {
        tell([&](SessionListener& listener) { listener.ShowChartTime(time); });
    }
    void ForgetRange() override
    {
        tell([&](SessionListener& listener) { listener.ForgetRange(); });
    }
    void FitValueAxis(const clsFIFO& newest, double millimetres) override
    {
        tell([&](SessionListener& listener) { listener.FitValueAxis(newest, millimetres); });
    }
    void RecordingStarted(const std::filesystem::path& file) override
    {
        tell([&](SessionListener& listener) { listener.RecordingStarted(file); });
    }
    void RecordingFailed(const std::error_code& why) override
    {
        tell([&](SessionListener& listener) { listener.RecordingFailed(why); });
    }
    void RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why) override
    {
        tell([&](SessionListener& listener) { listener.RecordingNotClosed(file, why); });
    }
    void PlaybackBegins() override
    {
        tell([&](SessionListener& listener) { listener.PlaybackBegins(); });
    }
    void PlaybackGoesOn() override
    {
        tell([](SessionListener& listener) { listener.PlaybackGoesOn(); });
    }
    void PlaybackLoaded(const modPlayback::Loaded& loaded) override
    {
        tell([&](SessionListener& listener) { listener.PlaybackLoaded(loaded); });
    }
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override
    {
        tell([&](SessionListener& listener) { listener.PlaybackEnds(file, loaded); });
    }

private:
    /// Goes by index and skips the places of removed listeners, since a listener may be added or removed meanwhile.
    template <typename Operation>
    void tell(const Operation& operation)
    {
        struct Telling {
            std::int32_t& depth;
            explicit Telling(std::int32_t& nested) : depth(nested) { ++depth; }
            ~Telling() { --depth; }
        } const telling(m_telling);
        for (std::size_t i = 0; i < m_listeners.size(); ++i) {
            if (m_listeners[i] != nullptr) {
                operation(*m_listeners[i]);
            }
        }
    }

    std::vector<SessionListener*> m_listeners; ///< null: left while something was told
    std::int32_t m_telling = 0;                ///< calls that go through them
};
