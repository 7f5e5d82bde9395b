#include "gateway/clsSparkplugFormat.h"

#include "gateway/modCommandText.h"
#include "gateway/modMessageJson.h"
#include "gateway/modTopic.h"
#include "gateway/modUtc.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "session/modParameterNames.h"
#include "store/JsonValues.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <sparkplug_b.pb.h>
#include <utility>

using orvex::sparkplug::Metric;
using orvex::sparkplug::Payload;

namespace {

constexpr std::string_view kNamespace = "spBv1.0/";
constexpr std::string_view kRebirth = "Node Control/Rebirth", kCommand = "Command", kAnswer = "Answer",
                           kEvent = "Event", kBirths = "bdSeq", kParameters = "Parameters/";
constexpr int kMostMetrics = 64; // of a command

enum DataType : std::uint32_t { TypeInt64 = 4, TypeDouble = 10, TypeBoolean = 11, TypeString = 12, TypeDateTime = 13 };

/// A metric without a value.
Metric metricOf(std::string_view name, DataType type, double time)
{
    Metric metric;
    metric.set_name(std::string(name));
    metric.set_datatype(type);
    metric.set_timestamp(modUtc::EpochOf(time));
    metric.set_is_null(true);
    return metric;
}

void setText(Metric& metric, std::string text)
{
    metric.clear_is_null();
    metric.set_string_value(std::move(text));
}

Metric textMetric(std::string_view name, std::string text, double time)
{
    Metric metric = metricOf(name, TypeString, time);
    setText(metric, std::move(text));
    return metric;
}

Metric truthMetric(std::string_view name, bool truth, double time)
{
    Metric metric = metricOf(name, TypeBoolean, time);
    metric.clear_is_null();
    metric.set_boolean_value(truth);
    return metric;
}

Metric wholeMetric(std::string_view name, std::int64_t number, double time)
{
    Metric metric = metricOf(name, TypeInt64, time);
    metric.clear_is_null();
    metric.set_long_value(static_cast<std::uint64_t>(number));
    return metric;
}

Metric numberMetric(std::string_view name, std::optional<double> number, double time)
{
    Metric metric = metricOf(name, TypeDouble, time);
    if (number) {
        metric.clear_is_null();
        metric.set_double_value(*number);
    }
    return metric;
}

void setUnit(Metric& metric, std::string_view unit)
{
    if (!unit.empty()) {
        metric.mutable_properties()->add_keys("engUnit");
        auto* value = metric.mutable_properties()->add_values();
        value->set_type(TypeString);
        value->set_string_value(std::string(unit));
    }
}

// The metrics of a sensor. A birth has all of them, so each exists also while nothing is known of it.

void addValue(std::vector<Metric>& metrics, const GatewayValue& value)
{
    const bool isDistance = value.kind == MeasurementKind::Distance;
    metrics.push_back(
        numberMetric("Distance", isDistance ? std::optional<double>(value.value_mm) : std::nullopt, value.time));
    metrics.push_back(textMetric("Kind", std::string(modMessageJson::KindName(value.kind)), value.time));
    metrics.push_back(wholeMetric("Run", value.run, value.time));
    Metric sequence = metricOf("Sequence", TypeInt64, value.time);
    if (value.sequence > 0) {
        sequence = wholeMetric("Sequence", value.sequence, value.time);
    }
    metrics.push_back(std::move(sequence));
}

std::vector<Metric> lastValueMetrics(const std::optional<GatewayValue>& last, double now)
{
    std::vector<Metric> metrics;
    if (last) {
        addValue(metrics, *last);
    } else {
        metrics = {metricOf("Distance", TypeDouble, now), metricOf("Kind", TypeString, now),
                   metricOf("Run", TypeInt64, now), metricOf("Sequence", TypeInt64, now)};
    }
    setUnit(metrics.front(), "mm");
    metrics.push_back(textMetric("Unit", "mm", now));
    return metrics;
}

void addIdentity(std::vector<Metric>& metrics, const std::optional<SensorIdentity>& identity, double time)
{
    const auto add = [&](std::string_view key, std::string SensorIdentity::*member) {
        Metric metric = metricOf("Identity/" + std::string(key), TypeString, time);
        if (identity) {
            setText(metric, modMessageJson::SensorText(*identity.*member));
        }
        metrics.push_back(std::move(metric));
    };
    for (const auto& [key, member] : JsonValues::kSensorTexts) {
        add(key, member);
    }
    add("laser", &SensorIdentity::HWPointer);
}

std::vector<Metric> stateMetrics(const SensorState& state)
{
    const double time = state.time;
    std::vector<Metric> metrics{
        textMetric("Connection", std::string(modMessageJson::ConnectionName(state.connection)), time),
        textMetric("Reason", state.whyNoPort, time), truthMetric("Measuring", state.isMeasuring, time),
        numberMetric("Temperature", state.temperature_C, time)};
    setUnit(metrics.back(), "°C");
    Metric last = metricOf("Last value", TypeDateTime, time);
    if (state.lastValue) {
        last.clear_is_null();
        last.set_long_value(modUtc::EpochOf(*state.lastValue));
    }
    metrics.push_back(std::move(last));
    addIdentity(metrics, state.identity, time);
    for (const auto& [key, count] : kAccountCounts) {
        metrics.push_back(wholeMetric("Account/" + std::string(key), state.account.*count, time));
    }
    metrics.push_back(numberMetric("Account/longestGap_ms", std::round(state.account.longestGap_ms), time));
    metrics.push_back(truthMetric("Journal/recording", state.isRecording, time));
    metrics.push_back(textMetric("Journal/reason", state.whyNotRecording, time));
    metrics.push_back(wholeMetric("Journal/waiting", state.waiting, time));
    metrics.push_back(wholeMetric("Journal/dropped", state.dropped, time));
    return metrics;
}

std::vector<Metric> parameterMetrics(const SensorIdentity& identity, const ParameterSet& set, double time)
{
    std::vector<Metric> metrics;
    for (const ComparedRow& compared : Compare(set, set)) {
        const ParameterDef& row = *compared.row;
        if (IsReported(row, set, identity)) {
            const std::string name =
                std::string(kParameters) + std::string(row.code) + ' ' + CaptionOf(row, LanguageEnglish);
            metrics.push_back(textMetric(name, DataValue(row, set.*row.value), time));
            setUnit(metrics.back(), row.unit);
        }
    }
    return metrics;
}

/// What a metric says, without its time.
std::string essenceOf(Metric metric)
{
    metric.clear_timestamp();
    return metric.SerializeAsString();
}

void add(Payload& payload, std::vector<Metric> metrics)
{
    for (Metric& metric : metrics) {
        *payload.add_metrics() = std::move(metric);
    }
}

/// A connection that was sensed lost is dead to others, but for values that are still to come.
bool isAlive(const SensorState& state)
{
    return state.connection == SensorConnection::Connected || state.waiting > 0;
}

void readNodeMetric(const Metric& metric, GatewayCommand& command)
{
    if (metric.name() == kRebirth && metric.boolean_value()) {
        command.isRebirth = true;
    } else {
        command.problem = "the gateway takes \"" + std::string(kRebirth) + "\" = true only";
    }
}

void readDeviceMetric(const Metric& metric, std::uint64_t sent, GatewayCommand& command)
{
    if (metric.name() != kCommand || metric.value_case() != Metric::kStringValue) {
        command.problem = "a sensor takes the metric \"Command\" only, a text";
        return;
    }
    modCommandText::Read(metric.string_value(), command);
    const std::uint64_t time = metric.has_timestamp() ? metric.timestamp() : sent;
    if (!command.time && time != 0) {
        command.time = modUtc::TimeOfEpoch(time);
    }
}

} // namespace

clsSparkplugFormat::clsSparkplugFormat(std::string_view group, std::string_view gateway, std::string_view version,
                                       std::uint8_t& nextBirths, Clock clock)
    : m_group(group), m_gateway(gateway), m_version(version), m_clock(std::move(clock)), m_nextBirths(nextBirths)
{}

clsSparkplugFormat::~clsSparkplugFormat() = default;

std::string clsSparkplugFormat::topicOf(std::string_view kind, std::string_view sensor) const
{
    std::string topic(kNamespace);
    topic += m_group;
    topic += '/';
    topic += kind;
    topic += '/';
    topic += m_gateway;
    topic += sensor.empty() ? "" : "/";
    topic += sensor;
    return topic;
}

/// A message after the birth of the gateway: they are numbered, whatever they are about, and start again behind 255.
MqttMessage clsSparkplugFormat::message(std::string_view kind, std::string_view sensor, Payload& payload)
{
    payload.set_timestamp(modUtc::EpochOf(m_clock()));
    payload.set_seq(m_sequence++);
    return {topicOf(kind, sensor), payload.SerializeAsString()};
}

MqttMessage clsSparkplugFormat::Will()
{
    m_births = m_nextBirths++;
    m_isOnline = false;
    return nodeDeath(m_clock());
}

/// Its time is that of the will, which a subscriber does not rely on; the number leads to its birth.
MqttMessage clsSparkplugFormat::nodeDeath(double now) const
{
    Payload payload;
    payload.set_timestamp(modUtc::EpochOf(now));
    *payload.add_metrics() = wholeMetric(kBirths, m_births, now);
    return {topicOf("NDEATH"), payload.SerializeAsString()};
}

MqttMessage clsSparkplugFormat::nodeBirth(double now)
{
    m_sequence = 0;
    Payload payload;
    add(payload,
        {wholeMetric(kBirths, m_births, now), truthMetric(kRebirth, false, now), textMetric("Version", m_version, now),
         metricOf(kEvent, TypeString, now), metricOf(kAnswer, TypeString, now)});
    return message("NBIRTH", {}, payload);
}

std::vector<MqttMessage> clsSparkplugFormat::Online(double now)
{
    m_isOnline = true;
    std::vector<MqttMessage> births{nodeBirth(now)};
    for (auto& [name, sensor] : m_sensors) {
        sensor.isBorn = false;
        if (sensor.state && isAlive(*sensor.state)) {
            births.push_back(birth(name, sensor));
        }
    }
    return births;
}

std::vector<MqttMessage> clsSparkplugFormat::Offline(double now)
{
    m_isOnline = false;
    return {nodeDeath(now)};
}

std::vector<std::string> clsSparkplugFormat::CommandTopics() const
{
    return {topicOf("NCMD"), topicOf("DCMD", "+")};
}

std::optional<GatewayCommand> clsSparkplugFormat::ReadCommand(std::string_view topic, std::string_view payload) const
{
    GatewayCommand command;
    const std::string device = topicOf("DCMD") + '/';
    const bool isDevice = topic.starts_with(device) && modTopic::IsPart(topic.substr(device.size()));
    if (!isDevice && topic != topicOf("NCMD")) {
        return std::nullopt;
    }
    command.sensor = isDevice ? topic.substr(device.size()) : std::string_view();
    Payload read;
    if (payload.size() > modCommandText::kMostBytes) {
        command.problem = "a command has at most 64 KiB";
    } else if (!read.ParseFromArray(payload.data(), static_cast<int>(payload.size())) ||
               read.metrics_size() > kMostMetrics) {
        command.problem = "the payload is no Sparkplug B";
    } else if (read.metrics_size() != 1) {
        command.problem = "a command has one metric";
    } else if (isDevice) {
        readDeviceMetric(read.metrics(0), read.timestamp(), command);
    } else {
        readNodeMetric(read.metrics(0), command);
    }
    return command;
}

clsSparkplugFormat::Sensor& clsSparkplugFormat::sensorOf(std::string_view name)
{
    const auto found = m_sensors.find(name);
    return found != m_sensors.end() ? found->second : m_sensors.emplace(name, Sensor()).first->second;
}

/// All that there is, with the answer to "what is this?" for what comes later.
MqttMessage clsSparkplugFormat::birth(std::string_view name, Sensor& sensor)
{
    const double now = m_clock();
    if (!sensor.state) {
        sensor.state.emplace().time = now;
    }
    std::vector<Metric> told = stateMetrics(*sensor.state);
    if (sensor.identity && sensor.set) {
        std::ranges::move(parameterMetrics(*sensor.identity, *sensor.set, now), std::back_inserter(told));
    }
    sensor.told.clear();
    for (const Metric& metric : told) {
        sensor.told[metric.name()] = essenceOf(metric);
    }
    sensor.isBorn = true;
    Payload payload;
    add(payload, lastValueMetrics(sensor.last, now));
    add(payload, std::move(told));
    add(payload, {metricOf(kCommand, TypeString, now), metricOf(kAnswer, TypeString, now)});
    return message("DBIRTH", name, payload);
}

MqttMessage clsSparkplugFormat::death(std::string_view name, Sensor& sensor)
{
    sensor.isBorn = false;
    Payload payload;
    return message("DDEATH", name, payload);
}

/// What is not as it was told last, in one message. A metric that the birth did not have needs another birth.
std::vector<MqttMessage> clsSparkplugFormat::changes(std::string_view name, Sensor& sensor, std::vector<Metric> metrics,
                                                     double time)
{
    Payload payload;
    for (Metric& metric : metrics) {
        const auto told = sensor.told.find(metric.name());
        if (told == sensor.told.end()) {
            return {birth(name, sensor)};
        }
        std::string essence = essenceOf(metric);
        if (told->second != essence) {
            told->second = std::move(essence);
            metric.set_timestamp(modUtc::EpochOf(time));
            *payload.add_metrics() = std::move(metric);
        }
    }
    if (payload.metrics_size() == 0) {
        return {};
    }
    return {message("DDATA", name, payload)};
}

std::vector<MqttMessage> clsSparkplugFormat::Introduce(std::string_view sensor)
{
    Sensor& known = sensorOf(sensor);
    if (known.isBorn || !m_isOnline) {
        return {};
    }
    return {birth(sensor, known)};
}

MqttMessage clsSparkplugFormat::Values(std::string_view sensor, std::span<const GatewayValue> values,
                                       bool areHistorical)
{
    Sensor& known = sensorOf(sensor);
    std::vector<Metric> metrics;
    metrics.reserve(4 * values.size());
    for (const GatewayValue& value : values) {
        addValue(metrics, value);
        known.last = !known.last || value.time >= known.last->time ? value : *known.last;
    }
    if (areHistorical) {
        std::ranges::for_each(metrics, [](Metric& metric) { metric.set_is_historical(true); });
    }
    Payload payload;
    add(payload, std::move(metrics));
    return message("DDATA", sensor, payload);
}

std::vector<MqttMessage> clsSparkplugFormat::State(std::string_view sensor, const SensorState& state)
{
    Sensor& known = sensorOf(sensor);
    known.state = state;
    if (!m_isOnline) {
        return {}; // the birth will say it
    }
    if (isAlive(state)) {
        return known.isBorn ? changes(sensor, known, stateMetrics(state), state.time)
                            : std::vector<MqttMessage>{birth(sensor, known)};
    }
    return known.isBorn ? std::vector<MqttMessage>{death(sensor, known)} : std::vector<MqttMessage>{};
}

std::vector<MqttMessage> clsSparkplugFormat::Parameters(std::string_view sensor, const SensorIdentity& identity,
                                                        const ParameterSet& set, double now)
{
    Sensor& known = sensorOf(sensor);
    known.identity = identity;
    known.set = set;
    if (!m_isOnline || !known.isBorn) {
        return {};
    }
    std::vector<Metric> metrics = parameterMetrics(identity, set, now);
    const auto isTold = [](const auto& told) { return told.first.starts_with(kParameters); };
    if (std::ranges::count_if(known.told, isTold) != std::ssize(metrics)) {
        return {birth(sensor, known)}; // another sensor has taken the place of one with other parameters
    }
    return changes(sensor, known, std::move(metrics), now);
}

/// What is not about values is said by the gateway: a sensor may not be born when it happens.
MqttMessage clsSparkplugFormat::nodeText(std::string_view metric, std::string text, double time, bool isHistorical)
{
    Payload payload;
    Metric& added = *payload.add_metrics();
    added = textMetric(metric, std::move(text), time);
    if (isHistorical) {
        added.set_is_historical(true);
    }
    return message("NDATA", {}, payload);
}

std::vector<MqttMessage> clsSparkplugFormat::Event(const GatewayEvent& event, bool isHistorical)
{
    return {nodeText(kEvent, modMessageJson::Event(event, isHistorical, event.sensor), event.time, isHistorical)};
}

std::vector<MqttMessage> clsSparkplugFormat::Answer(const CommandAnswer& answer, double now)
{
    std::string text = modMessageJson::Answer(answer, now, answer.sensor);
    const auto found = m_sensors.find(answer.sensor);
    if (found == m_sensors.end() || !found->second.isBorn) {
        return {nodeText(kAnswer, std::move(text), now, false)};
    }
    Payload payload;
    *payload.add_metrics() = textMetric(kAnswer, std::move(text), now);
    return {message("DDATA", answer.sensor, payload)};
}

std::vector<MqttMessage> clsSparkplugFormat::Forget(std::string_view sensor, double)
{
    const auto found = m_sensors.find(sensor);
    std::vector<MqttMessage> messages;
    if (found != m_sensors.end()) {
        if (m_isOnline && found->second.isBorn) {
            messages.push_back(death(sensor, found->second));
        }
        m_sensors.erase(found);
    }
    return messages;
}
