// Messages as JSON, read by another reader.
#include "gateway/clsJsonFormat.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

constexpr double kNow = 46348.9166680787; // 2026-11-22T22:00:00.122Z, and a bit

struct Format : clsJsonFormat {
    Format() : clsJsonFormat("orvex", "Süd", "1.2") {}
};

TEST(JsonFormat, WritesValuesThatAnotherReaderUnderstands)
{
    struct Row {
        const char* what;
        std::vector<GatewayValue> values;
        bool areHistorical;
        const char* expected;
    };
    const GatewayValue metres{kNow, MeasurementKind::Distance, 1234, 1, 12, 345};
    const GatewayValue inches{kNow, MeasurementKind::Distance, -1000, 2, 12, 0};
    const GatewayValue noEcho{kNow, MeasurementKind::NoEcho, kMarkerNoEcho, 1, 12, 346};
    const GatewayValue tooHot{kNow, MeasurementKind::TempError, kMarkerTempError, 1, 12, 347};
    for (const Row& row :
         {Row{"a distance",
              {metres},
              false,
              R"({"v":1,"time":"2026-11-22T22:00:00.122Z","run":12,"seq":345,"kind":"distance","mm":1234,)"
              R"("value":1.234,"unit":"m"})"},
          Row{"not recorded, another unit",
              {inches},
              false,
              R"({"v":1,"time":"2026-11-22T22:00:00.122Z","run":12,"kind":"distance","mm":-1000,"value":-39.370,)"
              R"("unit":"in"})"},
          Row{"a marker",
              {noEcho},
              true,
              R"({"v":1,"time":"2026-11-22T22:00:00.122Z","run":12,"seq":346,"kind":"no echo","unit":"m",)"
              R"("historical":true})"},
          Row{"several, with the unit of one that differs",
              {metres, tooHot, inches},
              true,
              R"({"v":1,"unit":"m","values":[{"time":"2026-11-22T22:00:00.122Z","run":12,"seq":345,)"
              R"("kind":"distance","mm":1234,"value":1.234,"historical":true},)"
              R"({"time":"2026-11-22T22:00:00.122Z","run":12,"seq":347,"kind":"temperature error",)"
              R"("historical":true},{"time":"2026-11-22T22:00:00.122Z","run":12,"kind":"distance","mm":-1000,)"
              R"("value":-39.370,"unit":"in","historical":true}]})"}}) {
        const MqttMessage message = Format().Values("Kran-Nord", row.values, row.areHistorical);
        EXPECT_EQ(message.topic, "orvex/Süd/Kran-Nord/value") << row.what;
        EXPECT_FALSE(message.retain) << row.what;
        EXPECT_EQ(json::parse(message.payload, nullptr, false), json::parse(row.expected)) << row.what;
    }
}

/// A sensor's texts have one byte per character and may hold anything; so may a reason of the system.
TEST(JsonFormat, StateIsPrintableWhateverTheSensorSays)
{
    SensorState state;
    state.time = kNow;
    state.connection = SensorConnection::Connected;
    state.lastValue = kNow - 1.5 / 86400.0;
    state.temperature_C = -3.5;
    state.identity.emplace().SerialNo = "\xC4\"\x01\n7";
    state.account.valid = 5;
    state.waiting = 9;
    state.whyNotRecording = "disk \xFF full";
    const MqttMessage message = Format().State("silo 7", state).front();
    EXPECT_TRUE(message.retain);
    const json read = json::parse(message.payload, nullptr, false);
    ASSERT_TRUE(read.is_object());
    EXPECT_EQ(read["identity"]["serial"], "Ä\"? 7");
    EXPECT_EQ(read["connection"], "connected");
    EXPECT_EQ(read["temperature"], -3.5);
    EXPECT_EQ(read["age_s"], 1.5);
    EXPECT_EQ(read["account"]["valid"], 5);
    EXPECT_EQ(read["journal"]["waiting"], 9);
    EXPECT_EQ(read["journal"]["reason"], "disk \xEF\xBF\xBD full");

    const json empty = json::parse(Format().State("silo 7", SensorState()).front().payload);
    EXPECT_TRUE(empty["identity"].is_null() && empty["temperature"].is_null() && empty["lastValue"].is_null());
}

TEST(JsonFormat, ParametersAreThoseThatTheSensorHas)
{
    const auto codesOf = [](const char* attenuator) {
        SensorIdentity identity;
        identity.Attenuator = attenuator;
        ParameterSet set;
        set.RainFilter = 1;
        std::string codes;
        const json message = json::parse(Format().Parameters("a", identity, set, kNow)[0].payload);
        for (const json& parameter : message["parameters"]) {
            codes += parameter["code"].get<std::string>() + (parameter["code"] == "701" ? parameter.dump() : "") + ' ';
        }
        return codes;
    };
    EXPECT_NE(codesOf("E").find("351 "), std::string::npos);
    EXPECT_EQ(codesOf("").find("351 "), std::string::npos);
    EXPECT_NE(codesOf("").find(R"(701{"code":"701","name":"Offset","unit":"mm","value":"0"} )"), std::string::npos);
}

TEST(JsonFormat, EventsAndAnswersNameWhatTheyAreAbout)
{
    Format format;
    const MqttMessage own = format.Event({kNow, 3, 4, "", "dropped", {{"count", "7"}}}, true).front();
    EXPECT_EQ(own.topic, "orvex/Süd/event");
    EXPECT_EQ(json::parse(own.payload), json::parse(R"({"v":1,"time":"2026-11-22T22:00:00.122Z","run":3,"seq":4,
        "event":"dropped","details":{"count":"7"},"historical":true})"));
    EXPECT_EQ(format.Event({kNow, 3, 4, "a", "line lost"}, false).front().topic, "orvex/Süd/a/event");
    const MqttMessage answer =
        format.Answer({"a", "x1", "differs", "why", {{"701", "Offset", "5", "0", true}}}, kNow).front();
    EXPECT_EQ(answer.topic, "orvex/Süd/a/answer");
    EXPECT_EQ(json::parse(answer.payload), json::parse(R"({"v":1,"time":"2026-11-22T22:00:00.122Z","id":"x1",
        "result":"differs","text":"why","values":[{"code":"701","name":"Offset","sent":"5","read":"0","differs":true}]})"));
    for (const MqttMessage& forgotten : format.Forget("a", kNow)) {
        EXPECT_TRUE(forgotten.retain && forgotten.payload.empty()) << forgotten.topic;
    }
}

TEST(JsonFormat, TakesCommandsOnTheirTopicsOnly)
{
    const std::string payload = R"({"id":"x","time":"2026-11-22T22:00:00Z","command":"stop"})";
    for (const char* topic : {"orvex/Süd/command", "orvex/Süd//command", "orvex/Süd/a/b/command",
                              "orvex/Nord/a/command", "orvex/Süd/a/commands", "orvex/Süd/+/command", ""}) {
        EXPECT_FALSE(Format().ReadCommand(topic, payload)) << topic;
    }
    const auto command = Format().ReadCommand("orvex/Süd/Kran Süd/command", payload);
    ASSERT_TRUE(command);
    EXPECT_EQ(command->sensor, "Kran Süd");
    EXPECT_EQ(command->kind, CommandKind::Stop);
    EXPECT_EQ(command->problem, "");
}

TEST(CommandText, IsTakenWholeOrHasAProblem)
{
    struct Row {
        const char* members;
        const char* problem; ///< a part of it
    };
    const std::string head = R"({"v":1,"id":"x","time":"2026-11-22T23:00:00+01:00",)";
    const auto read = [&](const std::string& text) { return *Format().ReadCommand("orvex/Süd/a/command", text); };
    for (const Row& row :
         {Row{R"("command":"start"})", ""}, Row{R"("command":"laser","on":true})", ""},
          Row{R"("command":"write","values":{"701":5,"Autostart":true,"702":"1,001"},"store":true})", ""},
          Row{R"("command":"laser"})", "\"on\" belongs"}, Row{R"("command":"start","on":true})", "\"on\" belongs"},
          Row{R"("command":"laser","on":"yes"})", "true or false"},
          Row{R"("command":"reboot"})", "no command \"reboot\""}, Row{R"("command":7})", "takes a text"},
          Row{R"("comand":"start"})", "no \"comand\""}, Row{R"("command":"write"})", "takes \"values\""},
          Row{R"("command":"write","values":{}})", "takes \"values\""},
          Row{R"("command":"write","values":[1]})", "takes an object"},
          Row{R"("command":"write","values":{"701":null}})", "the value of \"701\""},
          Row{R"("command":"write","values":{"701":{"a":1}}})", "the value of \"701\""},
          Row{R"("command":"write","values":{"701":1,"701":2}})", "comes twice"},
          Row{R"("command":"start","command":"stop"})", "comes twice"},
          Row{R"("command":"read","values":{"701":1}})", "belong to \"write\""},
          Row{R"("command":"start")", "no JSON"}}) {
        const GatewayCommand command = read(head + row.members);
        EXPECT_NE(command.problem.find(row.problem), std::string::npos) << row.members << ": " << command.problem;
        EXPECT_EQ(command.problem.empty(), *row.problem == '\0') << row.members << ": " << command.problem;
    }
    const GatewayCommand write = read(head + R"("command":"write","values":{"701":5,"305":true,"702":"1,001"}})");
    using Values = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(write.values, (Values{{"305", "on"}, {"701", "5"}, {"702", "1,001"}}));
    EXPECT_NEAR(write.time.value_or(0.0), 46348.0 + 22.0 / 24.0, 1e-9) << "the offset counts";

    const std::string deep(100000, '[');
    for (const std::string& text :
         {std::string(), std::string("null"), deep, deep.substr(0, 60000), "{\"id\":\"\xFF\"}" + std::string(),
          std::string(R"({"id":"a\u0000b","command":"start"})"), R"({"id":")" + std::string(65, 'x') + R"("})",
          std::string(R"({"time":"2026-11-22T22:00:00","id":"x","command":"start"})"),
          std::string(R"({"v":2,"id":"x","command":"start"})"), std::string(R"({"v":18446744073709551617})")}) {
        EXPECT_NE(read(text).problem, "") << text.substr(0, 50);
    }
    EXPECT_EQ(read(R"({"id":"x7","command":"reboot"})").id, "x7") << "the answer needs it";
}

} // namespace
