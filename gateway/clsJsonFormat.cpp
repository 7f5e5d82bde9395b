#include "gateway/clsJsonFormat.h"

#include "gateway/modCommandText.h"
#include "gateway/modMessageJson.h"
#include "gateway/modTopic.h"

clsJsonFormat::clsJsonFormat(std::string_view prefix, std::string_view gateway, std::string_view version)
    : m_base(std::string(prefix) + '/' + std::string(gateway) + '/'), m_version(version)
{}

/// Without a sensor it is a topic of the gateway itself.
std::string clsJsonFormat::topicOf(std::string_view sensor, std::string_view last) const
{
    std::string topic = m_base;
    topic += sensor;
    topic += sensor.empty() ? "" : "/";
    topic += last;
    return topic;
}

MqttMessage clsJsonFormat::Will()
{
    return {topicOf({}, "status"), modMessageJson::Status(false, std::nullopt, m_version), true};
}

std::vector<MqttMessage> clsJsonFormat::Online(double now)
{
    return {{topicOf({}, "status"), modMessageJson::Status(true, now, m_version), true}};
}

std::vector<MqttMessage> clsJsonFormat::Offline(double now)
{
    return {{topicOf({}, "status"), modMessageJson::Status(false, now, m_version), true}};
}

std::vector<std::string> clsJsonFormat::CommandTopics() const
{
    return {m_base + "+/command"};
}

std::optional<GatewayCommand> clsJsonFormat::ReadCommand(std::string_view topic, std::string_view payload) const
{
    constexpr std::string_view kEnd = "/command";
    if (!topic.starts_with(m_base) || !topic.ends_with(kEnd) || topic.size() < m_base.size() + kEnd.size()) {
        return std::nullopt;
    }
    topic.remove_prefix(m_base.size());
    topic.remove_suffix(kEnd.size());
    if (!modTopic::IsPart(topic)) {
        return std::nullopt;
    }
    GatewayCommand command;
    command.sensor = topic;
    modCommandText::Read(payload, command);
    return command;
}

MqttMessage clsJsonFormat::Values(std::string_view sensor, std::span<const GatewayValue> values, bool areHistorical)
{
    return {topicOf(sensor, "value"), modMessageJson::Values(values, areHistorical)};
}

std::vector<MqttMessage> clsJsonFormat::State(std::string_view sensor, const SensorState& state)
{
    return {{topicOf(sensor, "state"), modMessageJson::State(state), true}};
}

std::vector<MqttMessage> clsJsonFormat::Parameters(std::string_view sensor, const SensorIdentity& identity,
                                                   const ParameterSet& set, double now)
{
    return {{topicOf(sensor, "parameters"), modMessageJson::Parameters(identity, set, now), true}};
}

std::vector<MqttMessage> clsJsonFormat::Event(const GatewayEvent& event, bool isHistorical)
{
    return {{topicOf(event.sensor, "event"), modMessageJson::Event(event, isHistorical)}};
}

std::vector<MqttMessage> clsJsonFormat::Answer(const CommandAnswer& answer, double now)
{
    return {{topicOf(answer.sensor, "answer"), modMessageJson::Answer(answer, now)}};
}

/// An empty retained message takes the place of what the broker keeps, and deletes it.
std::vector<MqttMessage> clsJsonFormat::Forget(std::string_view sensor, double)
{
    return {{topicOf(sensor, "state"), {}, true}, {topicOf(sensor, "parameters"), {}, true}};
}
