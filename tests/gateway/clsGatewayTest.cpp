// The service's loop with simulated sensors and a broker that the test plays.
#include "gateway/clsGateway.h"

#include "base/modAPI.h"
#include "gateway/clsJsonFormat.h"
#include "gateway/clsSparkplugFormat.h"
#include "simulator/clsSimulatedSensor.h"
#include "tests/gateway/FakeBroker.h"
#include "tests/gateway/LineOfSimulatedSensor.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using nlohmann::json;

/// A message on "again" asks for everything.
class clsAskedFormat : public clsJsonFormat {
public:
    using clsJsonFormat::clsJsonFormat;

    std::optional<GatewayCommand> ReadCommand(std::string_view topic, std::string_view payload) const override
    {
        GatewayCommand again;
        again.isRebirth = true;
        return topic == "again" ? again : clsJsonFormat::ReadCommand(topic, payload);
    }
};

/// Faults at the end of each tick.
struct FaultyListener : SessionListener {
    void Ticked() override { throw std::runtime_error("a fault"); }
};

struct GatewaySite {
    std::uint8_t births = 0;
    TemporaryFolder folder;
    FakeBroker broker;
    std::vector<std::string> log;
    std::vector<GatewayCommand> commands;
    std::function<void(std::string_view, clsSession&)> onBegin; ///< of a sensor
    std::vector<std::unique_ptr<simulator::clsSimulatedSensor>> sensors;
    GatewayConfig config;
    std::unique_ptr<clsJournal> journal;
    std::unique_ptr<clsGateway> gateway;

    explicit GatewaySite(const std::vector<std::string>& names)
    {
        config.folder = folder.path;
        for (const std::string& name : names) {
            sensors.push_back(std::make_unique<simulator::clsSimulatedSensor>(
                FastSensor(), (folder.path / ("line " + name)).string()));
            SensorConfig sensor;
            sensor.name = name;
            sensor.port = folder.path / ("line " + name);
            sensor.rate = 115200;
            config.sensors.push_back(sensor);
        }
    }
    void Begin()
    {
        journal = std::make_unique<clsJournal>(config.folder, clsJournal::Bounds{std::int64_t{1} << 30, 30});
        gateway = std::make_unique<clsGateway>(
            config,
            clsGateway::Parts{
                .journal = *journal,
                .makeFormat = [this](const GatewayConfig& wanted) -> std::unique_ptr<MessageFormat> {
                    if (wanted.broker.format == PayloadKind::Sparkplug) {
                        return std::make_unique<clsSparkplugFormat>(wanted.broker.prefix, wanted.name, "1.0", births,
                                                                    modAPI::LocalTime);
                    }
                    return std::make_unique<clsAskedFormat>(wanted.broker.prefix, wanted.name, "1.0");
                },
                .makeBroker = [this](const GatewayConfig&) { return std::make_unique<clsFakeBrokerLine>(broker); },
                .log = [this](LogLevel, const std::string& text) { log.push_back(text); },
                .version = "1.0",
                .commands = {.begin = onBegin,
                             .end = {},
                             .take = [this](const auto& command, const auto&, double) { commands.push_back(command); }},
                .patienceWithLine_s = 2.0});
    }
    void End()
    {
        gateway->End();
        gateway.reset();
        journal.reset();
    }
    bool Until(const std::function<bool()>& condition, double most_s = 20.0)
    {
        const double end_s = modAPI::UpTime_s() + most_s;
        while (!condition() && modAPI::UpTime_s() < end_s) {
            gateway->Serve(0.05);
        }
        return condition();
    }
    struct Value {
        std::int64_t run = 0, sequence = 0;
        bool isHistorical = false;
        auto operator<=>(const Value&) const = default;
    };
    /// What a subscriber has got of a sensor, in its order.
    std::vector<Value> Values(const std::string& sensor) const
    {
        std::vector<Value> values;
        for (const MqttMessage& message : broker.On("orvex/gateway/" + sensor + "/value")) {
            const json content = json::parse(message.payload);
            for (const json& value : content.contains("values") ? content["values"] : json::array({content})) {
                values.push_back({value["run"], value.value("seq", 0), value.value("historical", false)});
            }
        }
        return values;
    }
    std::set<std::pair<std::int64_t, std::int64_t>> Numbers(const std::string& sensor) const
    {
        std::set<std::pair<std::int64_t, std::int64_t>> numbers;
        for (const Value& value : Values(sensor)) {
            numbers.emplace(value.run, value.sequence);
        }
        return numbers;
    }
    /// What a subscriber has not got, up to the last number.
    std::string Missing(const std::string& sensor) const
    {
        const auto numbers = Numbers(sensor);
        std::string missing;
        for (std::int64_t i = 1; !numbers.empty() && i < numbers.rbegin()->second; ++i) {
            missing += numbers.contains({numbers.rbegin()->first, i}) ? "" : std::to_string(i) + " ";
        }
        return missing;
    }
    std::vector<std::string> Events(const std::string& sensor) const
    {
        std::vector<std::string> events;
        for (const MqttMessage& message : broker.On("orvex/gateway/" + sensor + "/event")) {
            events.push_back(json::parse(message.payload)["event"]);
        }
        return events;
    }
    json State(const std::string& sensor) const
    {
        const auto states = broker.On("orvex/gateway/" + sensor + "/state");
        return states.empty() ? json() : json::parse(states.back().payload);
    }
};

TEST(Gateway, WhatTheBrokerHasMissedComesWhenItIsBackBehindNewValues)
{
    GatewaySite site({"a", "b"});
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return site.Values("a").size() >= 10 && site.Values("b").size() >= 10; }));
    EXPECT_FALSE(site.Values("a").back().isHistorical);
    site.broker.acknowledges = false; // what is on its way now gets lost
    const std::size_t before = site.Values("a").size();
    ASSERT_TRUE(site.Until([&] { return site.Values("a").size() >= before + 5; }));
    site.broker.sent.erase(site.broker.sent.begin() + static_cast<std::ptrdiff_t>(site.broker.acknowledged),
                           site.broker.sent.end());
    site.broker.Disconnect();
    const double away_s = modAPI::UpTime_s() + 6.0; // longer than it takes the recorder to reach the disk
    site.Until([&] { return modAPI::UpTime_s() > away_s; });
    const std::int64_t last = site.Numbers("a").rbegin()->second;
    EXPECT_LT(last, 40) << "nothing was sent meanwhile";
    site.broker.acknowledges = true;
    site.broker.Connect();
    const auto hasNoHole = [&](const std::string& sensor) {
        return site.Numbers(sensor).rbegin()->second > 120 && site.Missing(sensor).empty();
    };
    EXPECT_TRUE(site.Until([&] { return hasNoHole("a") && hasNoHole("b"); }))
        << site.Missing("a") << "and " << site.Missing("b") << "are missing; " << site.journal->Problem();
    const auto values = site.Values("a");
    EXPECT_GT(std::ranges::count(values, true, &GatewaySite::Value::isHistorical), 80);
    std::vector<GatewaySite::Value> historical;
    std::ranges::copy_if(values, std::back_inserter(historical), &GatewaySite::Value::isHistorical);
    EXPECT_TRUE(std::ranges::is_sorted(historical)) << "in their order";
    const std::size_t then = values.size();
    ASSERT_TRUE(site.Until([&] { return site.Values("a").size() > then + 3; }));
    EXPECT_FALSE(site.Values("a").back().isHistorical) << "new ones go on";
    site.End();
}

TEST(Gateway, AnUnpluggedSensorIsTold)
{
    GatewaySite site({"a"});
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return site.Values("a").size() >= 3; }));
    ASSERT_TRUE(site.Until([&] { return site.broker.On("orvex/gateway/a/parameters").size() == 1; }));
    site.sensors[0]->Unplug();
    ASSERT_TRUE(site.Until([&] { return site.State("a")["connection"] == "no port"; }));
    site.sensors[0]->Replug();
    ASSERT_TRUE(
        site.Until([&] { return site.State("a")["connection"] == "connected" && site.Events("a").size() == 2; }));
    EXPECT_EQ(site.Events("a"), (std::vector<std::string>{"line lost", "line back"}));
    site.End();
    EXPECT_EQ(json::parse(site.broker.On("orvex/gateway/status").back().payload)["online"], false);
}

TEST(Gateway, AReloadLeavesUnchangedSensorsAlone)
{
    GatewaySite site({"a", "b", "c"});
    const SensorConfig third = site.config.sensors[2];
    site.config.sensors.pop_back();
    site.config.broker.batch_ms = 1500; // longer than a sensor takes to leave
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return site.Values("a").size() >= 3 && site.Values("b").size() >= 3; }));
    GatewayConfig wanted = site.config;
    wanted.sensors[1] = third; // b goes
    const std::size_t before = site.Values("a").size();
    site.gateway->Reload(wanted);
    ASSERT_TRUE(site.Until([&] { return site.Values("c").size() >= 3; }));
    EXPECT_EQ(site.Events("a"), std::vector<std::string>());
    EXPECT_GT(site.Values("a").size(), before + 3) << "its values have come all the time";
    const auto isOfB = [](const MqttMessage& message) { return message.topic.starts_with("orvex/gateway/b/"); };
    std::vector<MqttMessage> ofB;
    std::ranges::copy_if(site.broker.sent, std::back_inserter(ofB), isOfB);
    ASSERT_GT(ofB.size(), 3U);
    EXPECT_EQ(ofB[ofB.size() - 3].topic, "orvex/gateway/b/value") << "the batch that has waited";
    EXPECT_EQ(ofB[ofB.size() - 2].topic + ofB[ofB.size() - 2].payload, "orvex/gateway/b/state") << "what is kept goes";
    EXPECT_EQ(ofB.back().topic + ofB.back().payload, "orvex/gateway/b/parameters");
    site.sensors[1]->With([](const auto& model) { EXPECT_FALSE(model.IsMeasuring()); });
    wanted.sensors[1].temperature_s = 60; // it begins anew, and its numbers go on
    const std::size_t first = site.Values("c").size();
    site.gateway->Reload(wanted);
    ASSERT_TRUE(site.Until([&] { return site.Values("c").size() >= first + 3; }));
    EXPECT_EQ(site.Numbers("c").size(), site.Values("c").size()) << "no number names two values";
    wanted.sensors[1].rate = 9600; // no answer comes at that rate
    wanted.folder = "/other";
    site.gateway->Reload(wanted);
    site.gateway->Reload(wanted);
    EXPECT_EQ(std::ranges::count(site.log, "another folder or size of the journal holds from the next start"), 1);
    ASSERT_TRUE(site.Until([&] { return site.State("c")["connection"] == "no answer"; }));
    site.End();
}

TEST(Gateway, WhatIsRetainedOnTopicsThatAreNoLongerUsedGoes)
{
    GatewaySite site({"a", "b"});
    const auto content = [&](const std::string& topic) {
        const auto messages = site.broker.On(topic);
        return messages.empty() ? "nothing" : messages.back().payload;
    };
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] {
        return content("orvex/gateway/a/parameters") != "nothing" && content("orvex/gateway/b/parameters") != "nothing";
    }));
    GatewayConfig wanted = site.config;
    wanted.broker.prefix = "other";
    site.gateway->Reload(wanted);
    for (const std::string sensor : {"a", "b"}) {
        EXPECT_EQ(content("orvex/gateway/" + sensor + "/state"), "") << sensor;
        EXPECT_EQ(content("orvex/gateway/" + sensor + "/parameters"), "") << sensor;
    }
    EXPECT_EQ(json::parse(content("orvex/gateway/status"))["online"], false);
    EXPECT_EQ(site.broker.sent.back().topic, "orvex/gateway/status");
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return content("other/gateway/b/parameters") != "nothing"; }));
    site.End();
    site.config = wanted;
    site.config.sensors.pop_back(); // b goes while the gateway is down
    site.Begin();
    site.broker.Connect();
    EXPECT_TRUE(site.Until([&] { return content("other/gateway/b/state").empty(); }));
    EXPECT_EQ(content("other/gateway/b/parameters"), "");
    EXPECT_NE(content("other/gateway/a/state"), "");
    site.End();
}

TEST(Gateway, BirthsSayWhatIsNowAndADeathIsTheLastWord)
{
    GatewaySite site({"a", "b"});
    site.config.broker.format = PayloadKind::Sparkplug;
    site.config.broker.batch_ms = 1500;
    site.config.sensors[0].records = false; // or it would be born to send what it has
    const auto number = [&](const std::string& what) { return site.broker.On("spBv1.0/orvex/" + what).size(); };
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return number("DDATA/gateway/a") > 2 && number("DDATA/gateway/b") > 2; }));
    site.broker.Disconnect();
    site.sensors[0]->Unplug();
    ASSERT_TRUE(site.Until([&] { return site.log.back().starts_with("a: no port"); }));
    site.broker.sent.clear();
    site.broker.acknowledged = 0;
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return number("DDATA/gateway/b") > 2; }));
    EXPECT_EQ(number("DBIRTH/gateway/a"), 0U) << "it has gone meanwhile";
    GatewayConfig wanted = site.config;
    wanted.sensors.pop_back();
    site.gateway->Reload(wanted);
    ASSERT_TRUE(site.Until([&] { return number("DDEATH/gateway/b") > 0; }));
    const double end_s = modAPI::UpTime_s() + 2.0;
    site.Until([&] { return modAPI::UpTime_s() > end_s; });
    std::string last;
    for (const MqttMessage& message : site.broker.sent) {
        last = message.topic.ends_with("/b") ? message.topic : last;
    }
    EXPECT_EQ(last, "spBv1.0/orvex/DDEATH/gateway/b");
    site.End();
}

TEST(Gateway, ALineThatFaultsInEachTickHoldsUpNeitherAReloadNorTheEnd)
{
    FaultyListener faulty;
    GatewaySite site({"a", "b"});
    site.onBegin = [&](std::string_view sensor, clsSession& session) {
        if (sensor == "a") {
            session.Listen(faulty);
        }
    };
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return site.Values("b").size() >= 3; }));
    GatewayConfig wanted = site.config;
    wanted.sensors[0].temperature_s = 60;
    wanted.sensors[1].temperature_s = 60;
    const std::size_t before = site.Values("b").size();
    site.gateway->Reload(wanted);
    EXPECT_TRUE(site.Until([&] { return site.Values("b").size() >= before + 40; }, 6.0)) << "it has begun anew";
    const double end_s = modAPI::UpTime_s();
    site.End();
    EXPECT_LT(modAPI::UpTime_s() - end_s, 10.0);
    EXPECT_EQ(site.broker.sent.back().topic, "orvex/gateway/status");
    EXPECT_LT(std::ranges::count(site.log, "a: a fault"), 4) << "twice it has begun";
}

TEST(Gateway, WhatWaitsForASensorThatWasRemovedIsSentNevertheless)
{
    GatewaySite site({"a", "b"});
    site.Begin();
    const double away_s = modAPI::UpTime_s() + 3.0; // without a broker
    site.Until([&] { return modAPI::UpTime_s() > away_s; });
    GatewayConfig wanted = site.config;
    wanted.sensors.pop_back(); // b goes
    site.gateway->Reload(wanted);
    const std::int64_t recorded = site.journal->Waiting("b");
    EXPECT_GT(recorded, 20);
    site.broker.Connect();
    EXPECT_TRUE(site.Until([&] { return site.journal->Waiting("b") == 0; }));
    EXPECT_GE(std::ssize(site.Numbers("b")), recorded);
    EXPECT_EQ(site.Missing("b"), "");
    const auto states = [&] { return site.broker.On("orvex/gateway/b/state"); };
    const std::size_t before = states().size();
    EXPECT_TRUE(site.Until([&] { return states().size() > before; }, 5.0)) << "then it is forgotten again";
    EXPECT_EQ(states().back().payload, "");
    site.End();
}

TEST(Gateway, CommandsArePassedOnAndARebirthSaysEverything)
{
    GatewaySite site({"a"});
    site.config.sensors[0].measures = false;
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return site.State("a")["connection"] == "connected"; }));
    EXPECT_FALSE(site.broker.wills.empty() || site.broker.filters.empty());
    site.broker.events.emplace_back(
        BrokerReceived{"orvex/gateway/a/command", R"({"id":"1","command":"start"})", false});
    ASSERT_TRUE(site.Until([&] { return !site.commands.empty(); }));
    EXPECT_EQ(site.commands[0].sensor, "a");
    site.broker.sent.clear();
    site.broker.acknowledged = 0;
    site.broker.Disconnect();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return !site.broker.On("orvex/gateway/a/parameters").empty(); }));
    EXPECT_EQ(site.broker.sent.front().topic, "orvex/gateway/status");
    EXPECT_FALSE(site.State("a").is_null());
    site.broker.sent.clear();
    site.broker.acknowledged = 0;
    const double most_s = modAPI::UpTime_s() + 2.5;
    const auto isOver = [&] {
        site.broker.events.resize(site.broker.events.size() + 100, BrokerReceived{"again", {}, false});
        return modAPI::UpTime_s() > most_s;
    };
    ASSERT_TRUE(site.Until(isOver));
    const std::size_t births = site.broker.On("orvex/gateway/status").size();
    EXPECT_TRUE(births == 1 || births == 2) << births << " in two seconds";
    site.broker.events.clear();
    site.broker.sent.clear();
    site.broker.acknowledged = 0;
    site.broker.events.assign(3, BrokerReceived{"orvex/gateway/a/command", R"({"id":"2"})", true});
    site.Until([&] { return modAPI::UpTime_s() > most_s + 2.5; });
    EXPECT_LE(site.broker.On("orvex/gateway/status").size(), 1u) << "the last that was asked for";
    EXPECT_EQ(site.commands.size(), 1u);
    EXPECT_EQ(std::ranges::count(site.log, "a retained command is ignored: orvex/gateway/a/command"), 1);
    site.End();
}

TEST(Gateway, NoStateSaysAfterTheEndThatASensorMeasures)
{
    GatewaySite site({"a", "b"});
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] {
        return !site.State("a").is_null() && site.State("a")["measuring"] == true && !site.State("b").is_null() &&
               site.State("b")["measuring"] == true;
    }));
    GatewayConfig renamed = site.config;
    renamed.name = "other";
    site.gateway->Reload(renamed);
    for (const char* sensor : {"a", "b"}) {
        EXPECT_EQ(site.broker.On("orvex/gateway/" + std::string(sensor) + "/state").back().payload, "") << sensor;
    }
    site.broker.Connect();
    const auto stateOf = [&](const std::string& sensor) {
        const auto states = site.broker.On("orvex/other/" + sensor + "/state");
        return states.empty() ? json() : json::parse(states.back().payload);
    };
    ASSERT_TRUE(site.Until([&] { return !stateOf("b").is_null() && stateOf("b")["measuring"] == true; }));
    site.End(); // less than a second after these states
    for (const char* sensor : {"a", "b"}) {
        EXPECT_EQ(stateOf(sensor)["measuring"], false) << sensor;
        EXPECT_EQ(stateOf(sensor)["connection"], "no port") << sensor;
    }
}

TEST(Gateway, ANewBrokerIsNotWaitedForAndBeginsBehindTheFormerOne)
{
    GatewaySite site({"a"});
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return site.Values("a").size() >= 3 && !site.State("a").is_null(); }));
    site.broker.acknowledges = site.broker.letsLeave = false; // ill
    GatewayConfig wanted = site.config;
    wanted.broker.batch_ms = 100;
    const double begin_s = modAPI::UpTime_s();
    site.gateway->Reload(wanted);
    EXPECT_LT(modAPI::UpTime_s() - begin_s, 0.2);
    EXPECT_EQ(json::parse(site.broker.sent.back().payload)["online"], false);
    EXPECT_FALSE(site.State("a").is_null()) << "the topics stay the same, and so does what is kept on them";
    site.broker.acknowledges = true;
    site.broker.Connect();
    const std::size_t sent = site.broker.sent.size();
    site.Until([&] { return modAPI::UpTime_s() > begin_s + 0.5; });
    EXPECT_EQ(site.broker.sent.size(), sent) << "the former one has not left";
    site.broker.letsLeave = true;
    const std::size_t before = site.Values("a").size();
    EXPECT_TRUE(site.Until([&] { return site.Values("a").size() > before; }));
    EXPECT_EQ(site.Missing("a"), "");
    site.End();
}

TEST(Gateway, ValuesThatARemovedSensorLosesAreTold)
{
    GatewaySite site({"a", "b"});
    site.Begin();
    ASSERT_TRUE(site.Until([&] { return site.journal->Waiting("b") > 5; }));
    GatewayConfig wanted = site.config;
    wanted.sensors.pop_back();
    site.gateway->Reload(wanted);
    site.End();
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24 * 40);
    for (const auto& entry : std::filesystem::directory_iterator(site.config.folder / "REC" / "b")) {
        std::filesystem::last_write_time(entry.path(), old);
    }
    site.config = wanted;
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return !site.broker.On("orvex/gateway/event").empty(); }, 15.0));
    const json event = json::parse(site.broker.On("orvex/gateway/event").back().payload);
    EXPECT_EQ(event["event"], "dropped") << event;
    EXPECT_EQ(event["details"]["sensor"], "b") << event;
    site.End();
}

TEST(Gateway, ValuesWaitForOthersInABatch)
{
    GatewaySite site({"a"});
    site.config.broker.batch_ms = 500;
    site.config.broker.batchValues = 6;
    site.Begin();
    site.broker.Connect();
    ASSERT_TRUE(site.Until([&] { return site.Values("a").size() >= 24; }));
    EXPECT_EQ(site.broker.On("orvex/gateway/a/value").size(), (site.Values("a").size() + 5) / 6);
    site.End();
}

TEST(Gateway, ABatchThatWaitsIsSentBeforeTheGoodbye)
{
    GatewaySite site({"a"});
    site.config.sensors[0].records = false; // it comes now or never
    site.config.broker.batch_ms = 60000;
    site.Begin();
    site.broker.Connect();
    const auto measureFor = [&](double time_s) {
        const double end_s = modAPI::UpTime_s() + time_s;
        site.Until([&] { return modAPI::UpTime_s() > end_s; });
    };
    ASSERT_TRUE(site.Until([&] { return site.State("a")["measuring"] == true; }));
    measureFor(1.0);
    EXPECT_EQ(site.Values("a").size(), 0U) << "they wait";
    GatewayConfig wanted = site.config;
    wanted.broker.batch_ms = 50000;
    site.gateway->Reload(wanted);
    const std::size_t values = site.Values("a").size();
    EXPECT_GT(values, 10U);
    EXPECT_EQ(site.broker.sent.back().topic, "orvex/gateway/status") << "the values before it";
    site.broker.Connect();
    measureFor(1.0);
    site.End();
    EXPECT_GT(site.Values("a").size(), values + 10);
    EXPECT_EQ(site.broker.sent.back().topic, "orvex/gateway/status");
}

} // namespace
