#include "session/clsSession.h"

#include <utility>

clsSession::clsSession(std::unique_ptr<SerialPort> port, const modGlobals::Settings& settings,
                       std::filesystem::path folder, char decimalSeparator, clsRecordFile::FlushFunction flush)
    : m_port(std::move(port)), m_device(*m_port), m_loop(m_device, settings, m_listeners, decimalSeparator),
      m_recorder(std::move(folder), flush)
{
    m_listeners.Add(*this);
}

clsSession::~clsSession()
{
    End();
}

void clsSession::Tick(double now)
{
    if (m_recorder.Mode != RecorderPlaying) {
        m_loop.Tick(now);
        stepOperations();
    }
}

void clsSession::stepOperations()
{
    if (m_isStepping) {
        return; // a step lets events be handled, a tick among them
    }
    struct Stepping {
        clsSession& session;
        bool isOver = true; ///< also when the step throws
        ~Stepping()
        {
            session.m_isStepping = false;
            if (isOver) {
                session.m_operations.pop_front();
            }
            if (session.m_device.Wait().Ended) {
                session.m_operations.clear();
            }
        }
    };
    while (!m_operations.empty()) {
        m_isStepping = true;
        Stepping stepping{*this};
        stepping.isOver = m_operations.front().Step();
        if (!stepping.isOver) {
            return;
        }
    }
}

void clsSession::ServeFiles(double now)
{
    if (m_recorder.Mode == RecorderPlaying) {
        return;
    }
    m_recorder.Flush(now);
    tellFailure();
    for (const auto& [file, error] : m_recorder.TakeLateFailures()) {
        m_listeners.RecordingNotClosed(file, error);
    }
}

void clsSession::tellFailure()
{
    const std::error_code failure = m_recorder.Failure();
    if (std::exchange(m_toldFailure, failure) != failure && failure) {
        m_listeners.RecordingFailed(failure);
    }
}

void clsSession::StartRecording()
{
    m_recorder.StartRecording();
    m_listeners.RecordingStarted(m_recorder.FileName);
}

void clsSession::Measured(const Measurement& measurement, std::string_view temperature)
{
    m_recorder.Record(measurement, temperature);
    tellFailure();
}

void clsSession::Sampled(std::span<const Measurement> samples, std::string_view /*temperature*/)
{
    m_history.Add(samples, m_loop.Account().Ended());
}

modPlayback::Loaded clsSession::Play(const std::filesystem::path& file,
                                     const std::function<bool(double fraction)>& goOn)
{
    struct Playing {
        clsSession& session;
        ~Playing() ///< also when a listener throws
        {
            session.m_loop.StopPlaying();
            session.m_recorder.Stop();
        }
    } const playing{*this};
    m_recorder.StartPlaying(file);
    m_listeners.PlaybackBegins();
    m_loop.BeginPlaying();
    modPlayback::Loaded loaded =
        modPlayback::LoadData(file, m_device.Parameters(),
                              {.show = [this](const Measurement& measurement) { m_loop.Play(measurement); },
                               .gap = [this](double time) { m_loop.PlayGap(time); },
                               .goOn = [&](double read) { return goOn(read) && m_recorder.Mode == RecorderPlaying; }},
                              m_recorder.Played);
    m_loop.TellPlayed();
    m_listeners.PlaybackLoaded(loaded);
    m_loop.EndPlaying(loaded.end);
    if (!loaded.temperature.empty()) {
        m_listeners.ShowTemperature(loaded.temperature);
    }
    m_listeners.PlaybackEnds(file, loaded);
    return loaded;
}

void clsSession::End()
{
    m_loop.Unload();
    if (!m_isStepping) {
        m_operations.clear(); // else once the step is over that ends the session
    }
    m_recorder.Stop();
}
