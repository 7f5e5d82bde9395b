// One sensor of the gateway: a session with it, its recording, and what is to be told about it. It does not know where
// its values go.
#pragma once

#include "gateway/GatewayMessages.h"
#include "gateway/clsLineEnd.h"
#include "gateway/clsTickPhase.h"
#include "port/modPComm.h"
#include "session/SessionListener.h"
#include "session/clsSession.h"
#include "store/modGlobals.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class clsPortSensors;
class clsSensorLine;

/// Whom a line tells. Everything is called while the line is served.
class SensorLineListener {
public:
    virtual ~SensorLineListener() = default;

    using Details = std::vector<std::pair<std::string, std::string>>;

    /// A recording is about to begin: its name without ".rec".
    virtual std::string NameForRecording(clsSensorLine& line) = 0;
    /// It has begun in this file, or goes on in it; the first line of the recording has this sequence number.
    virtual void RecordingBegan(clsSensorLine& line, const std::filesystem::path& file, std::int64_t firstSequence) = 0;
    /// Lines up to this one were handed over to it.
    virtual void Recorded(clsSensorLine& line, std::int64_t lastSequence) = 0;
    /// No further line follows.
    virtual void RecordingEnded(clsSensorLine& line) = 0;
    /// Values have come; those that are recorded have their sequence numbers, and `Recorded` was called for them.
    virtual void Measured(clsSensorLine& line, std::span<const GatewayValue> values) = 0;
    /// An event, see `GatewayEvent::what`.
    virtual void Happened(clsSensorLine& line, std::string_view what, const Details& details) = 0;
};

class clsSensorLine : private SessionListener {
public:
    /// What all sensors of a gateway have in common.
    struct Places {
        std::filesystem::path backups, passports;
        std::string version;                   ///< of the program
        std::int64_t run = 0;                  ///< of the gateway
        clsPortSensors* portSensors = nullptr; ///< may be null
    };

    /// Recordings are made in `recordings`. `listener` must outlive the line.
    clsSensorLine(SensorConfig config, std::filesystem::path recordings, const Places& places,
                  SensorLineListener& listener, double now_s);
    ~clsSensorLine() override;
    clsSensorLine(const clsSensorLine&) = delete;
    clsSensorLine& operator=(const clsSensorLine&) = delete;

    const SensorConfig& Config() const { return m_config; }
    const std::string& Name() const { return m_config.name; }

    /// When `Serve` has something to do, in seconds of `modAPI::UpTime_s`; earlier when bytes come.
    double Due_s() const { return HasLeft() ? std::numeric_limits<double>::max() : m_phase.Due_s(); }
    /// Values of this sensor were recorded before in this run of the gateway, up to this number.
    void ContinueAfter(std::int64_t sequence) { m_sequence = sequence; }
    /// Makes a tick. `now` is the time, days since 1899-12-30, UTC. Throws what a session throws.
    void Serve(double now, double now_s);
    /// The descriptor that becomes readable when bytes arrive, -1 for none, and a number that changes when the same
    /// descriptor stands for another line.
    std::pair<int, std::int32_t> Arrivals() const
    {
        return {m_session.Device().ArrivalHandle(), m_session.Device().Openings()};
    }
    /// It is readable. Returns whether anything has come.
    bool Arrived(double now, double now_s);
    /// So long, from the last arrival on, nothing but pieces of a line comes: the rest of it cannot be faster. 0: not
    /// known.
    double Quiet_s() const;

    /// All but what only the journal knows.
    SensorState State(double now) const;
    bool IsConnected() const { return m_isConnected; }
    /// What the sensor has said of itself last; a number that changes with it, 0 when it has not said anything.
    struct Report {
        SensorIdentity identity;
        ParameterSet set;
    };
    /// How far the disk has come: a file, its bytes, and the number of the last line in it. None without a recording.
    struct Written {
        std::filesystem::path file;
        std::int64_t bytes = 0, lastSequence = 0;
    };
    std::optional<Written> LastWritten() const;
    const std::optional<Report>& LastReport() const { return m_report; }
    std::int32_t Reports() const { return m_reports; }

    /// For commands from outside.
    clsSession& Session() { return m_session; }

    /// Ends: what is under way is finished, and a sensor that measures is stopped. Go on serving the line until
    /// `HasLeft`, which takes a second as a rule.
    void BeginLeaving(double now_s);
    bool HasLeft() const { return m_leaving == Leaving::Left; }
    /// It has left without any of this: only its recording is closed. For a line that cannot be served any more.
    void GiveUp(double now_s);
    /// Once it has left: waits until its recording is on the disk, if the disk is slow.
    bool FinishWriting(std::chrono::milliseconds patience) { return m_session.FinishWriting(patience); }

private:
    enum class Leaving : std::uint8_t { No, Finishing, Stopping, Writing, Left };

    static modGlobals::Settings settingsFor(const SensorConfig& config, modPComm::PortDevices& devices);
    RecordingInfo origin() const;
    bool wants(const Measurement& measurement);
    void noteRecording(double now_s);
    void beginRecording(double now_s);
    void failRecording(const std::string& why, double now_s);
    void followConnection();
    void followReport();
    void leave(double now_s);
    std::string whyNoPort() const;

    void Echo(std::string_view received) override;
    void RateFollowed(std::int32_t former, std::int32_t rate) override;
    void ShowTemperature(const std::string& text) override;
    void Sampled(std::span<const Measurement> samples, std::string_view temperature) override;

    const SensorConfig m_config;
    const std::int64_t m_run;
    const std::string m_version;
    SensorLineListener& m_listener;
    modPComm::PortDevices m_devices;
    modGlobals::Settings m_settings;
    clsLineEnd m_lineEnd;
    std::int32_t m_lineRate = 0; ///< as it was set last
    clsSession m_session;
    clsTickPhase m_phase;
    double m_now_s = 0.0; ///< of the present tick

    bool m_isConnected = false, m_wasConnected = false;
    std::optional<double> m_temperature_C, m_lastValue;
    double m_temperatureDue_s = 0.0;
    std::optional<Report> m_report;
    std::int32_t m_reports = 0;
    std::uint64_t m_dumps = 0;

    bool m_isRecording = false;
    std::string m_recordingFile;       ///< as it was told last
    std::int64_t m_recordingFirst = 0; ///< sequence number of its first line
    std::string m_whyNotRecording;
    double m_recordAgain_s = 0.0, m_recordPause_s, m_recordingSince_s = 0.0;
    std::int64_t m_sequence = 0;   ///< of the last recorded value
    std::int64_t m_knownLines = 0; ///< of the recording
    std::int64_t m_slot = 0;       ///< with `every_ms`, of the last value that was taken
    std::size_t m_asked = 0;       ///< for how many values of this tick the recorder has asked
    std::vector<GatewayValue> m_taken,
        m_written; ///< of this tick: those that are wanted, and as the recording says them

    Leaving m_leaving = Leaving::No;
    double m_leaveUntil_s = 0.0, m_stoppedAt_s = 0.0, m_lastByte_s = 0.0;
};
