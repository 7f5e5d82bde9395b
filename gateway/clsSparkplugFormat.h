// Messages as Sparkplug B 3.0: the gateway is an edge node, each sensor a device of it. They go out with QoS 1 as all
// messages do. Deliberate: Sparkplug B has QoS 0, but what the broker has not acknowledged is sent again from the
// recordings; a subscriber sees no difference. Aliases are not used.
#pragma once

#include "gateway/GatewayMessages.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvex::sparkplug {
class Metric;
class Payload;
} // namespace orvex::sparkplug

class clsSparkplugFormat : public MessageFormat {
public:
    using Clock = std::function<double()>; ///< UTC, days since 1899-12-30

    /// `group` and names are checked already, see `modTopic::IsPart`. `nextBirths` numbers the connections; it begins
    /// with the run, so that a will of an earlier start is not taken for one of this start, and outlives the format,
    /// so that the next one goes on.
    clsSparkplugFormat(std::string_view group, std::string_view gateway, std::string_view version,
                       std::uint8_t& nextBirths, Clock clock);
    ~clsSparkplugFormat() override;
    clsSparkplugFormat(const clsSparkplugFormat&) = delete;
    clsSparkplugFormat& operator=(const clsSparkplugFormat&) = delete;

    /// The births of the gateway and of every sensor that is there, or has values waiting. Also the answer to a
    /// rebirth command.
    std::vector<MqttMessage> Online(double now) override;
    MqttMessage Will() override;
    std::vector<MqttMessage> Offline(double now) override;
    std::vector<std::string> CommandTopics() const override;
    std::optional<GatewayCommand> ReadCommand(std::string_view topic, std::string_view payload) const override;
    std::vector<MqttMessage> Introduce(std::string_view sensor) override;
    MqttMessage Values(std::string_view sensor, std::span<const GatewayValue> values, bool areHistorical) override;
    /// Birth when the sensor is there, what has changed since, and death when it has gone and the broker has all of
    /// its values: data after a death would ask for a birth.
    std::vector<MqttMessage> State(std::string_view sensor, const SensorState& state) override;
    std::vector<MqttMessage> Parameters(std::string_view sensor, const SensorIdentity& identity,
                                        const ParameterSet& set, double now) override;
    std::vector<MqttMessage> Event(const GatewayEvent& event, bool isHistorical) override;
    std::vector<MqttMessage> Answer(const CommandAnswer& answer, double now) override;
    std::vector<MqttMessage> Forget(std::string_view sensor, double now) override;

private:
    using Payload = orvex::sparkplug::Payload;
    using Metric = orvex::sparkplug::Metric;

    struct Sensor {
        std::optional<SensorState> state;
        std::optional<SensorIdentity> identity;
        std::optional<ParameterSet> set;
        std::optional<GatewayValue> last;          ///< the newest value
        bool isBorn = false;                       ///< and has not died since
        std::map<std::string, std::string> told{}; ///< metrics that are only sent when they change, as sent last
    };

    std::string topicOf(std::string_view kind, std::string_view sensor = {}) const;
    MqttMessage message(std::string_view kind, std::string_view sensor, Payload& payload);
    MqttMessage nodeBirth(double now);
    MqttMessage nodeDeath(double now) const;
    MqttMessage birth(std::string_view name, Sensor& sensor);
    MqttMessage death(std::string_view name, Sensor& sensor);
    std::vector<MqttMessage> changes(std::string_view name, Sensor& sensor, std::vector<Metric> metrics, double time);
    MqttMessage nodeText(std::string_view metric, std::string text, double time, bool isHistorical);
    Sensor& sensorOf(std::string_view name);

    std::string m_group, m_gateway, m_version;
    Clock m_clock;
    std::uint8_t& m_nextBirths;
    std::uint8_t m_births = 0;   ///< "bdSeq" of the present connection
    bool m_isOnline = false;     ///< the gateway was born and has not died since
    std::uint8_t m_sequence = 0; ///< of the next message
    std::map<std::string, Sensor, std::less<>> m_sensors;
};
