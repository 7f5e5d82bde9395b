// The parameters' values on the wire, commands and their deadlines, and the one wait for the sensor.
#include "sensor/Parameters.h"
#include "sensor/modRVQComm.h"
#include "tests/support/ScriptedSensor.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>
#include <tuple>

namespace {

using modRVQComm::SendParameter;

TEST(Parameters, NoRowKeepsWhatItWasCopiedWith)
{
    std::set<std::int32_t> ids;
    std::set<TextId> labels;
    std::set<std::pair<bool, std::int32_t>> numbers; // boxes are numbered apart from lists and check boxes
    for (const ParameterDef& row : ParameterTable()) {
        EXPECT_TRUE(ids.insert(row.codeId).second && labels.insert(row.labelId).second) << row.code;
        EXPECT_TRUE(numbers.emplace(row.control == ControlKind::Number, row.number).second) << row.code;
    }
}

TEST(WireValue, OfListedAndPlainParameters)
{
    using Row = std::tuple<const char*, std::int32_t ParameterSet::*, std::int32_t, const char*>;
    for (const auto& [code, member, value, wire] :
         {Row{"601", &ParameterSet::Baudrate, 3, "9600"}, Row{"601", &ParameterSet::Baudrate, -1, "9600"},
          Row{"111", &ParameterSet::DistanceUnit, 7, "M"}, Row{"101", &ParameterSet::OutputFormat, 4, "ASCII+UNIT"},
          Row{"603", &ParameterSet::OutputMode, 2, "R"}, Row{"603", &ParameterSet::OutputMode, 3, "C"},
          Row{"301", &ParameterSet::AverageDepth, 9, "1024"}, Row{"302", &ParameterSet::TimeOut, 4, "200"},
          Row{"351", &ParameterSet::RainFilter, 3, ""}, Row{"701", &ParameterSet::Offset, -5, "-5"},
          Row{"502", &ParameterSet::S1OffThreshold, 2147483647, "2147483647"}, Row{"999", &ParameterSet::Offset, 1, ""},
          Row{"30", &ParameterSet::TimeOut, 1, ""}}) {
        ParameterSet set;
        set.*member = value;
        EXPECT_EQ(WireValue(set, code), wire) << code << " = " << value;
    }
}

TEST(SendCommand, DeadlineOfEachCommand)
{
    const std::tuple<const char*, std::int32_t, double> rows[] = {
        {"M", 9600, 3500},           {"S", 9600, 2000},      {"T", 9600, 1500},
        {"G", 9600, 2000},           {"X", 9600, 2000},      {"O", 9600, 2000},
        {"C", 1200, 4667},           {"C", 38400, 630},      {"302 50\r", 9600, 2000},
        {"701 1000\r", 9600, 3500},  {"999 \r", 9600, 3500}, {"000 \r", 9600, 3500},
        {"501 99901\r", 9600, 3500}, {"C", -1, 1021}, // a closed port has no rate, so the last one set counts
    };
    for (const auto& [command, rate, wait_ms] : rows) {
        ScriptedSensor sensor;
        sensor.port.Rate = rate;
        sensor.device.SendCommand(command);
        EXPECT_NEAR((sensor.device.FailTime() - ScriptedSensor::kStart) * kMsPerDay, wait_ms, 0.01)
            << command << " at " << rate;
    }
}

TEST(SendCommand, LeavesNothingOfWhatWasBefore)
{
    ScriptedSensor sensor;
    sensor.device.EventNr() = EventAcknowledged;
    sensor.device.InBuffer() = "old";
    sensor.device.SendCommand("302 50\r");
    EXPECT_EQ(sensor.port.Sent, "302 50\r");
    EXPECT_EQ(sensor.device.LastCommand(), "302 50\r");
    EXPECT_EQ(sensor.device.EventNr(), EventNone);
    EXPECT_EQ(sensor.device.InBuffer(), "");
}

TEST(SendCommand, WaitsForTheEndOfThePauseWithoutBlocking)
{
    for (const auto& [rate, pause_ms] : {std::pair{9600, 18}, {1200, 142}}) {
        clsScriptedPort port;
        clsRVQ device(port);
        device.OpenComPort(1, rate);
        const auto readAt = [&](double ms) {
            device.CurrentTime(ScriptedSensor::kStart + ms / kMsPerDay);
            device.ReadComportData();
            return port.TakeSent();
        };
        readAt(0);
        for (const bool inTick : {true, false}) {
            device.InTick(inTick);
            for (const char* command : {"S", "P", "M"}) {
                device.SendCommand(command);
            }
            device.InTick(false);
            // A stop that is sent between two ticks may be as young as the next one.
            const double start_ms = (device.CurrentTime() - ScriptedSensor::kStart) * kMsPerDay + (inTick ? 0 : 50);
            port.Arriving = "in flight";
            EXPECT_EQ(inTick ? port.TakeSent() : readAt(start_ms), "S") << rate;
            EXPECT_EQ(readAt(start_ms + pause_ms - 0.1), "") << rate;
            EXPECT_EQ(device.NewInData(), "") << "the next send throws it away";
            EXPECT_EQ(readAt(start_ms + pause_ms + 0.1), "PM") << rate;
        }
        device.SendCommand("S");
        device.SendCommand("M");
        device.CloseComPort();
        device.OpenComPort(1, rate);
        EXPECT_EQ(readAt(10000), "S") << "the start was meant for the device before";
    }
}

TEST(SendCommand, AFullLineNeverMixesTwoCommands)
{
    ScriptedSensor sensor;
    sensor.port.Room = 4;
    sensor.device.SendCommand("302 50\r");
    sensor.device.SendCommand("T");
    EXPECT_EQ(sensor.port.TakeSent(), "302 ");
    sensor.port.Room = 1;
    sensor.device.ReadComportData();
    sensor.port.Room = 10;
    sensor.device.SendCommand("S");
    EXPECT_EQ(sensor.port.TakeSent(), "50\rS");
    sensor.port.Room = 0;
    sensor.device.SendCommand("M");
    sensor.port.Room = 2;
    sensor.device.SendCommand("303 1\r");
    sensor.device.CloseComPort();
    sensor.device.OpenComPort(1, 9600);
    sensor.port.Room = 10;
    sensor.device.SendCommand("X");
    EXPECT_EQ(sensor.port.TakeSent(), "30X") << "what was never begun, or for the port before, is not sent late";
}

TEST(SendCommand, FlushesThenSendsAndPausesOnlyAfterAStop)
{
    ScriptedSensor sensor;
    sensor.device.SendCommand("T");
    EXPECT_EQ(sensor.port.Calls, (std::vector<std::string>{"flush 0", "putch T"}));
    EXPECT_TRUE(sensor.pauses.empty());
    sensor.device.SendCommand("S");
    sensor.port.Rate = 1200;
    sensor.device.SendCommand("S");
    EXPECT_EQ(sensor.pauses, (std::vector<std::int32_t>{18, 142}));
}

TEST(SendParameter, EndsWithTheVerdictOrWithoutAnAnswer)
{
    using Happening = std::function<void(ScriptedSensor&)>;
    const auto arrives = [](const char* reply) -> Happening { return [reply](ScriptedSensor& s) { s.Arrive(reply); }; };
    struct Row {
        const char* what;
        Happening happens;
        std::int32_t answer;
    };
    const Row rows[] = {
        {"taken", arrives("OK 302\r\n"), EventAcknowledged},
        {"refused", arrives("Error 302\r\n"), EventRefused},
        {"a temperature", arrives("23 C,  OK\r\n"), EventRefused},
        {"a dump", arrives("Type: Serial\r\nend"), EventRefused},
        {"several ticks in one pump, and something sends after the answer has come",
         [](ScriptedSensor& s) { s.Arrive("OK 302\r\n"), s.device.SendCommand("M"), s.Arrive(""); }, EventAcknowledged},
        {"silence", [](ScriptedSensor& s) { s.At(2100), s.Arrive(""); }, EventNoAnswer},
        {"noise", [](ScriptedSensor& s) { s.At(2100), s.Arrive("xyz"); }, EventNoAnswer},
        {"a pulled plug", [](ScriptedSensor& s) { s.port.Vanished = true, s.Arrive(""); }, EventNoAnswer},
        {"a port opened anew", [](ScriptedSensor& s) { s.device.CloseComPort(), s.device.OpenComPort(1, 9600); },
         EventNoAnswer},
        {"the end of the program", [](ScriptedSensor& s) { s.device.EndWaits(); }, EventNoAnswer},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ScriptedSensor sensor;
        sensor.device.CommStatus() = DialogueIdle;
        sensor.device.Parameters().TimeOut = 2;
        sensor.device.Journal().Append(EventAcknowledged); // from an earlier command
        int pumps = 0;
        const auto pump = [&] {
            if (++pumps > 2) {
                throw std::runtime_error("the wait should have ended");
            }
            pumps == 2 ? row.happens(sensor) : void();
        };
        EXPECT_EQ(SendParameter(sensor.device, "302", pump), row.answer);
        EXPECT_EQ(sensor.device.EventNr(), row.answer);
        EXPECT_TRUE(sensor.port.Sent.starts_with("302 50\r"));
        EXPECT_FALSE(sensor.device.Wait().Running);
    }
}

TEST(SendParameter, RefusesToStartInsideAWaitOrATick)
{
    ScriptedSensor sensor;
    sensor.device.CommStatus() = DialogueIdle;
    const auto pump = [&] {
        EXPECT_THROW(SendParameter(sensor.device, "304", [] {}), std::logic_error);
        sensor.Arrive("OK 302\r\n");
    };
    EXPECT_EQ(SendParameter(sensor.device, "302", pump), EventAcknowledged);
    sensor.device.CommStatus() = DialogueMeasuring;
    EXPECT_THROW(SendParameter(sensor.device, "302", [] {}), std::logic_error) << "a verdict would never come";
    const modRVQComm::TickScope tick(sensor.device);
    EXPECT_THROW(modRVQComm::ChangingParameter(sensor.device, "302").Step(), std::logic_error);
    EXPECT_EQ(sensor.port.Sent, "302 25\r") << "nothing went out";
}

TEST(ChangingParameter, StartsNothingWhenTheProgramEndsOrThePortIsNoLongerTheSame)
{
    using Row = std::pair<const char*, void (*)(clsRVQ&)>;
    for (const auto& [what, happens] :
         {Row{"the end", [](clsRVQ& device) { device.EndWaits(); }},
          Row{"a closed port", [](clsRVQ& device) { device.CloseComPort(); }},
          Row{"another device", [](clsRVQ& device) { device.CloseComPort(), device.OpenComPort(1, 9600); }}}) {
        ScriptedSensor sensor;
        sensor.device.CommStatus() = DialogueMeasuring;
        RunToEnd(modRVQComm::ChangingParameter(sensor.device, "304"), [&, act = happens] { act(sensor.device); });
        EXPECT_EQ(sensor.port.Sent, "S304 0\r") << what;
    }
}

} // namespace
