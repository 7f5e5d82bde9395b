// Messages as JSON on plain topics, which any dashboard reads.
#pragma once

#include "gateway/GatewayMessages.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class clsJsonFormat : public MessageFormat {
public:
    /// `prefix` may have several levels. Names are checked already, see `modTopic::IsPart`.
    clsJsonFormat(std::string_view prefix, std::string_view gateway, std::string_view version);

    MqttMessage Will() override;
    std::vector<MqttMessage> Online(double now) override;
    std::vector<MqttMessage> Offline(double now) override;
    std::vector<std::string> CommandTopics() const override;
    std::optional<GatewayCommand> ReadCommand(std::string_view topic, std::string_view payload) const override;
    MqttMessage Values(std::string_view sensor, std::span<const GatewayValue> values, bool areHistorical) override;
    std::vector<MqttMessage> State(std::string_view sensor, const SensorState& state) override;
    std::vector<MqttMessage> Parameters(std::string_view sensor, const SensorIdentity& identity,
                                        const ParameterSet& set, double now) override;
    std::vector<MqttMessage> Event(const GatewayEvent& event, bool isHistorical) override;
    std::vector<MqttMessage> Answer(const CommandAnswer& answer, double now) override;
    std::vector<MqttMessage> Forget(std::string_view sensor, double now) override;

private:
    std::string topicOf(std::string_view sensor, std::string_view last) const;

    std::string m_base; ///< "orvex/gateway/"
    std::string m_version;
};
