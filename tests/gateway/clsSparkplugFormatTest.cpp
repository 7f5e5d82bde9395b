// Sparkplug B: births, deaths, numbers of messages.
#include "gateway/clsSparkplugFormat.h"

#include "gateway/modUtc.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sparkplug_b.pb.h>

namespace {

using orvex::sparkplug::Metric;
using orvex::sparkplug::Payload;

constexpr double kNow = 46348.9166680787;

struct Births {
    std::uint8_t next = 41;
};

struct Format : Births, clsSparkplugFormat {
    Format() : clsSparkplugFormat("plant", "gw", "1.2", next, [] { return kNow; }) {}
};

Payload payloadOf(const MqttMessage& message)
{
    Payload payload;
    EXPECT_TRUE(payload.ParseFromString(message.payload)) << message.topic;
    EXPECT_FALSE(message.retain) << message.topic;
    return payload;
}

Metric metricOf(const MqttMessage& message, const std::string& name)
{
    const Payload payload = payloadOf(message);
    for (const Metric& metric : payload.metrics()) {
        if (metric.name() == name) {
            return metric;
        }
    }
    ADD_FAILURE() << message.topic << " has no " << name;
    return {};
}

SensorState connected()
{
    SensorState state;
    state.time = kNow;
    state.connection = SensorConnection::Connected;
    return state;
}

GatewayValue distance(std::int64_t sequence)
{
    return {kNow + static_cast<double>(sequence) / 86400.0, MeasurementKind::Distance, 1234, 1, 41, sequence};
}

std::string topicsOf(const std::vector<MqttMessage>& messages)
{
    std::string topics;
    for (const MqttMessage& message : messages) {
        topics += message.topic.substr(message.topic.find('/', 8) + 1) + ' ';
    }
    return topics;
}

TEST(Sparkplug, NumbersRunRoundAndStartAnewWithEachBirth)
{
    Format format;
    format.Will();
    ASSERT_EQ(topicsOf(format.Online(kNow)), "NBIRTH/gw ");
    std::uint64_t expected = 1;
    EXPECT_EQ(payloadOf(format.State("a", connected()).front()).seq(), expected++);
    for (int i = 1; i < 600; ++i) {
        const GatewayValue value = distance(i);
        EXPECT_EQ(payloadOf(format.Values("a", {&value, 1}, false)).seq(), expected++ % 256) << i;
    }
    const std::vector<MqttMessage> births = format.Online(kNow); // a rebirth
    ASSERT_EQ(topicsOf(births), "NBIRTH/gw DBIRTH/gw/a ");
    EXPECT_EQ(payloadOf(births[0]).seq(), 0U);
    EXPECT_EQ(payloadOf(births[1]).seq(), 1U);
    EXPECT_EQ(metricOf(births[1], "Sequence").long_value(), 599U) << "the last value";
}

TEST(Sparkplug, WillAndBirthOfAConnectionHaveTheSameNumber)
{
    Format format;
    for (const std::uint64_t expected : {41U, 42U, 43U}) {
        const MqttMessage will = format.Will();
        EXPECT_EQ(will.topic, "spBv1.0/plant/NDEATH/gw");
        EXPECT_FALSE(payloadOf(will).has_seq());
        EXPECT_EQ(metricOf(will, "bdSeq").long_value(), expected);
        EXPECT_EQ(metricOf(format.Online(kNow).front(), "bdSeq").long_value(), expected);
        EXPECT_EQ(metricOf(format.Online(kNow).front(), "bdSeq").long_value(), expected) << "a rebirth";
        EXPECT_EQ(metricOf(format.Offline(kNow).front(), "bdSeq").long_value(), expected);
    }
    clsSparkplugFormat next("plant", "gw", "1.2", format.next, [] { return kNow; });
    EXPECT_EQ(metricOf(next.Will(), "bdSeq").long_value(), 44U) << "made for another configuration";
}

TEST(Sparkplug, ASensorIsBornToldOfInPartsAndDies)
{
    Format format;
    SensorState state = connected();
    EXPECT_EQ(topicsOf(format.State("a", state)), "") << "nothing before the birth of the gateway";
    format.Will();
    ASSERT_EQ(topicsOf(format.Online(kNow)), "NBIRTH/gw DBIRTH/gw/a ");

    EXPECT_EQ(topicsOf(format.State("a", state)), "") << "nothing has changed";
    state.time += 1.0 / 86400.0;
    state.account.valid = 7;
    state.temperature_C = 23.0;
    const std::vector<MqttMessage> changed = format.State("a", state);
    ASSERT_EQ(topicsOf(changed), "DDATA/gw/a ");
    EXPECT_EQ(payloadOf(changed[0]).metrics_size(), 2);
    EXPECT_EQ(metricOf(changed[0], "Temperature").double_value(), 23.0);
    EXPECT_EQ(metricOf(changed[0], "Account/valid").timestamp(), modUtc::EpochOf(state.time));

    state.connection = SensorConnection::NoAnswer;
    state.waiting = 3;
    EXPECT_EQ(topicsOf(format.State("a", state)), "DDATA/gw/a ") << "values are still to come";
    state.waiting = 0;
    EXPECT_EQ(topicsOf(format.State("a", state)), "DDEATH/gw/a ");
    EXPECT_EQ(topicsOf(format.State("a", state)), "") << "once";
    EXPECT_EQ(topicsOf(format.Online(kNow)), "NBIRTH/gw ");
    EXPECT_EQ(topicsOf(format.Introduce("a")), "DBIRTH/gw/a ") << "for values of an earlier run";
    EXPECT_EQ(topicsOf(format.Introduce("a")), "");
    EXPECT_EQ(topicsOf(format.State("a", state)), "DDEATH/gw/a ");
    state.connection = SensorConnection::Connected;
    EXPECT_EQ(topicsOf(format.State("a", state)), "DBIRTH/gw/a ");
    EXPECT_EQ(topicsOf(format.Forget("a", kNow)), "DDEATH/gw/a ");
    EXPECT_EQ(topicsOf(format.Online(kNow)), "NBIRTH/gw ");
}

TEST(Sparkplug, ParametersThatTheBirthDidNotHaveNeedAnother)
{
    Format format;
    format.Online(kNow);
    format.State("a", connected());
    SensorIdentity identity;
    ParameterSet set;
    EXPECT_EQ(topicsOf(format.Parameters("a", identity, set, kNow)), "DBIRTH/gw/a ");
    set.Offset = 5;
    const std::vector<MqttMessage> changed = format.Parameters("a", identity, set, kNow);
    ASSERT_EQ(topicsOf(changed), "DDATA/gw/a ");
    EXPECT_EQ(payloadOf(changed[0]).metrics_size(), 1);
    EXPECT_EQ(metricOf(changed[0], "Parameters/701 Offset").string_value(), "5");
    EXPECT_EQ(metricOf(changed[0], "Parameters/701 Offset").properties().values(0).string_value(), "mm");
    EXPECT_EQ(topicsOf(format.Parameters("a", identity, set, kNow)), "");
}

TEST(Sparkplug, EachValueHasItsOwnTimeAndMayBeHistorical)
{
    Format format;
    format.Online(kNow);
    format.State("a", connected());
    const GatewayValue values[] = {distance(2), {distance(3).time, MeasurementKind::NoEcho, kMarkerNoEcho, 1, 41, 3}};
    for (const bool isHistorical : {false, true}) {
        const Payload payload = payloadOf(format.Values("a", values, isHistorical));
        ASSERT_EQ(payload.metrics_size(), 8);
        for (const Metric& metric : payload.metrics()) {
            EXPECT_EQ(metric.is_historical(), isHistorical) << metric.name();
        }
        EXPECT_EQ(payload.metrics(0).double_value(), 1234.0);
        EXPECT_EQ(payload.metrics(0).timestamp(), modUtc::EpochOf(values[0].time));
        EXPECT_TRUE(payload.metrics(4).is_null()) << "no echo is no distance";
        EXPECT_EQ(payload.metrics(4).timestamp(), modUtc::EpochOf(values[1].time));
        EXPECT_EQ(payload.metrics(5).string_value(), "no echo");
    }
}

TEST(Sparkplug, AnswersAndEventsNeverNeedASensorThatIsBorn)
{
    Format format;
    format.Online(kNow);
    EXPECT_EQ(topicsOf(format.Answer({"a", "x", "refused", "why"}, kNow)), "NDATA/gw ");
    const std::vector<MqttMessage> event = format.Event({kNow, 1, 2, "a", "line lost"}, true);
    ASSERT_EQ(topicsOf(event), "NDATA/gw ");
    EXPECT_TRUE(metricOf(event[0], "Event").is_historical());
    EXPECT_EQ(nlohmann::json::parse(metricOf(event[0], "Event").string_value())["sensor"], "a");
    format.State("a", connected());
    EXPECT_EQ(topicsOf(format.Answer({"a", "x", "done", ""}, kNow)), "DDATA/gw/a ");
}

TEST(Sparkplug, ReadsCommandsForGatewayAndSensor)
{
    const auto written = [](const std::string& name, const std::string& text, bool truth) {
        Payload payload;
        payload.set_timestamp(modUtc::EpochOf(kNow));
        Metric& metric = *payload.add_metrics();
        metric.set_name(name);
        text.empty() ? metric.set_boolean_value(truth) : metric.set_string_value(text);
        return payload.SerializeAsString();
    };
    Format format;
    const std::string command = R"({"id":"x","command":"stop"})", rebirth = "Node Control/Rebirth";
    const std::string node = "spBv1.0/plant/NCMD/gw", device = "spBv1.0/plant/DCMD/gw/Süd";
    EXPECT_TRUE(format.ReadCommand(node, written(rebirth, "", true))->isRebirth);
    const auto stop = format.ReadCommand(device, written("Command", command, false));
    EXPECT_EQ(stop->kind, CommandKind::Stop);
    EXPECT_EQ(stop->sensor, "Süd");
    EXPECT_NEAR(stop->time.value_or(0.0), kNow, 1e-8) << "that of the payload";
    for (const auto& [topic, payload] :
         {std::pair(node, written(rebirth, "", false)), std::pair(node, written("Command", command, false)),
          std::pair(device, written(rebirth, "", true)), std::pair(device, written("Command", "", true)),
          std::pair(device, command), std::pair(device, std::string()), std::pair(device, std::string(70000, 'x'))}) {
        const auto read = format.ReadCommand(topic, payload);
        ASSERT_TRUE(read) << topic;
        EXPECT_FALSE(read->problem.empty()) << topic << ' ' << payload.substr(0, 40);
        EXPECT_FALSE(read->isRebirth);
    }
    for (const char* topic : {"spBv1.0/plant/NDATA/gw", "spBv1.0/plant/NCMD/other", "spBv1.0/plant/DCMD/gw",
                              "spBv1.0/plant/DCMD/gw/a/b", "spBv1.0/plant/NCMD/gw/a", ""}) {
        EXPECT_FALSE(format.ReadCommand(topic, written(rebirth, "", true))) << topic;
    }
}

} // namespace
