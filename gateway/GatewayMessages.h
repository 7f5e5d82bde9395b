// What the gateway has to say, independent of how it is written down: values, the state of a sensor, its parameters,
// events, answers to commands. All times are UTC: the service runs without a time zone.
#pragma once

#include "gateway/BrokerLine.h"
#include "gateway/GatewayConfig.h"
#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"
#include "sensor/ParameterSet.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// One value of a sensor. `run` counts the starts of the gateway and `sequence` the recorded values of one sensor in a
/// run, both from 1: together they name a value for good, so a receiver can tell a value that comes twice.
struct GatewayValue {
    double time = 0.0; ///< days since 1899-12-30, UTC
    MeasurementKind kind = MeasurementKind::Distance;
    std::int32_t value_mm = 0; ///< of a distance
    std::int32_t unit = 0;     ///< index of a unit, 0..6, that `value_mm` is also given in
    std::int64_t run = 0;
    std::int64_t sequence = 0; ///< 0: not recorded, so it is sent once or never
    bool operator==(const GatewayValue&) const = default;
};

enum class SensorConnection : std::uint8_t { NoPort, NoAnswer, Connected };

/// A sensor as its topic "state" shows it.
struct SensorState {
    double time = 0.0;
    SensorConnection connection = SensorConnection::NoPort;
    std::string whyNoPort; ///< English; empty when it is open
    bool isMeasuring = false;
    std::optional<double> temperature_C;
    std::optional<SensorIdentity> identity; ///< one byte per character
    std::optional<double> lastValue;        ///< when the last value came
    AccountFigures account;
    std::int64_t waiting = 0; ///< recorded values that the broker has not acknowledged
    std::int64_t dropped = 0; ///< recorded values that had to go before they could be sent
    bool isRecording = false;
    std::string whyNotRecording; ///< English
    bool operator==(const SensorState&) const = default;
};

/// Something that has happened to a sensor, or to the gateway when the sensor's name is empty.
struct GatewayEvent {
    double time = 0.0;
    std::int64_t run = 0, sequence = 0; ///< names it for good, as with values
    std::string sensor;
    std::string what; ///< "line lost", "line back", "refused", "changed", "dropped", "recording failed"
    std::vector<std::pair<std::string, std::string>> details{}; ///< names and values, UTF-8
    bool operator==(const GatewayEvent&) const = default;
};

/// A command from outside, checked for form only.
struct GatewayCommand {
    std::string sensor;              ///< by the topic; empty: the gateway itself
    std::string id;                  ///< of the sender; the answer repeats it
    std::optional<double> time;      ///< when it was given
    std::optional<CommandKind> kind; ///< none: see `isRebirth`, or nothing that is known
    bool isRebirth = false;          ///< everything that is retained or born is to be said again
    bool isOn = false;               ///< of the laser
    bool stores = false;             ///< a write is to be stored in the sensor
    std::vector<std::pair<std::string, std::string>> values{}; ///< of a write: code or name, and the text of the value
    std::string problem;                                       ///< why it cannot be understood; English
};

/// What has become of a command.
struct CommandAnswer {
    std::string sensor, id;
    std::string result; ///< "done", "refused", "failed", "differs"
    std::string text;   ///< English, why
    struct Value {
        std::string code, name, sent, read; ///< what differs, or what was read
        bool differs = false;
    };
    std::vector<Value> values{};
};

/// How all this is written down: JSON on plain topics, or Sparkplug B.
class MessageFormat {
public:
    virtual ~MessageFormat() = default;

    /// What the broker is to say when the gateway has vanished. Call it once for each connection, before it is made.
    virtual MqttMessage Will() = 0;
    /// What is said first on a new connection.
    virtual std::vector<MqttMessage> Online(double now) = 0;
    /// What is said last before an orderly end.
    virtual std::vector<MqttMessage> Offline(double now) = 0;
    /// Topics on which commands come.
    virtual std::vector<std::string> CommandTopics() const = 0;
    /// Empty for a topic that carries no command.
    virtual std::optional<GatewayCommand> ReadCommand(std::string_view topic, std::string_view payload) const = 0;

    /// What has to be said before values of a sensor; nothing in most cases. Call it before each `Values`.
    virtual std::vector<MqttMessage> Introduce(std::string_view sensor)
    {
        static_cast<void>(sensor);
        return {};
    }
    /// One message for all these values of a sensor.
    virtual MqttMessage Values(std::string_view sensor, std::span<const GatewayValue> values, bool areHistorical) = 0;
    /// The state as it is now, with the set if one is known; nothing when there is nothing new to say in this format.
    virtual std::vector<MqttMessage> State(std::string_view sensor, const SensorState& state) = 0;
    virtual std::vector<MqttMessage> Parameters(std::string_view sensor, const SensorIdentity& identity,
                                                const ParameterSet& set, double now) = 0;
    virtual std::vector<MqttMessage> Event(const GatewayEvent& event, bool isHistorical) = 0;
    virtual std::vector<MqttMessage> Answer(const CommandAnswer& answer, double now) = 0;
    /// A sensor that the configuration no longer has: what is retained of it goes.
    virtual std::vector<MqttMessage> Forget(std::string_view sensor, double now) = 0;
};
