// All who listen to a session, as one listener: what it hears goes to each of them, in the order in which they came.
#pragma once

#include "session/SessionListener.h"

#include <algorithm>
#include <vector>

class clsListeners final : public SessionListener {
public:
    /// `listener` must leave before it goes. It may come and leave while something is told.
    void Add(SessionListener& listener) { m_listeners.push_back(&listener); }
    void Remove(SessionListener& listener) { std::ranges::replace(m_listeners, &listener, nullptr); }

    void Echo(std::string_view received) override { tell(&SessionListener::Echo, received); }
    void ShowDialogue(std::int32_t commStatus) override { tell(&SessionListener::ShowDialogue, commStatus); }
    void ShowStatus(std::int32_t panel, std::string_view text) override
    {
        tell(&SessionListener::ShowStatus, panel, text);
    }
    void ShowRule(const ControlRule& rule) override { tell(&SessionListener::ShowRule, rule); }
    void ShowSensorSettings(const SensorSettings& settings) override
    {
        tell(&SessionListener::ShowSensorSettings, settings);
    }
    void Ticked() override { tell(&SessionListener::Ticked); }
    void Measured(const Measurement& measurement, std::string_view temperature) override
    {
        tell(&SessionListener::Measured, measurement, temperature);
    }
    void ShowDistance(const std::string& text) override { tell(&SessionListener::ShowDistance, text); }
    void ShowTemperature(const std::string& text) override { tell(&SessionListener::ShowTemperature, text); }
    void ShowRunning(bool running) override { tell(&SessionListener::ShowRunning, running); }
    void ShowShutDown(bool shutDown) override { tell(&SessionListener::ShowShutDown, shutDown); }
    void ResetChart() override { tell(&SessionListener::ResetChart); }
    void ShowUnit(std::string_view unit) override { tell(&SessionListener::ShowUnit, unit); }
    void AddChartPoint(double time, double value) override { tell(&SessionListener::AddChartPoint, time, value); }
    void AddChartGap(double time) override { tell(&SessionListener::AddChartGap, time); }
    void ShowChartTime(double time) override { tell(&SessionListener::ShowChartTime, time); }
    void ForgetRange() override { tell(&SessionListener::ForgetRange); }
    void FitValueAxis(const clsFIFO& newest, double millimetres) override
    {
        tell(&SessionListener::FitValueAxis, newest, millimetres);
    }
    void RecordingStarted(const std::filesystem::path& file) override
    {
        tell(&SessionListener::RecordingStarted, file);
    }
    void RecordingFailed(const std::error_code& why) override { tell(&SessionListener::RecordingFailed, why); }
    void RecordingNotClosed(const std::filesystem::path& file, const std::error_code& why) override
    {
        tell(&SessionListener::RecordingNotClosed, file, why);
    }
    void FilesServed() override { tell(&SessionListener::FilesServed); }
    void PlaybackBegins() override { tell(&SessionListener::PlaybackBegins); }
    void PlaybackLoaded(const modPlayback::Loaded& loaded) override { tell(&SessionListener::PlaybackLoaded, loaded); }
    void PlaybackEnds(const std::filesystem::path& file, const modPlayback::Loaded& loaded) override
    {
        tell(&SessionListener::PlaybackEnds, file, loaded);
    }

private:
    /// By index, and a place of one who has left is skipped: a listener may come or leave meanwhile.
    template <typename... Parameters, typename... Arguments>
    void tell(void (SessionListener::*operation)(Parameters...), const Arguments&... arguments)
    {
        for (std::size_t i = 0; i < m_listeners.size(); ++i) {
            if (m_listeners[i] != nullptr) {
                (m_listeners[i]->*operation)(arguments...);
            }
        }
    }

    std::vector<SessionListener*> m_listeners;
};
