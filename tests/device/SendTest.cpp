// Commands on the wire, their deadlines, and the one wait for the sensor.
#include "device/Parameters.h"
#include "device/modRVQComm.h"
#include "tests/support/ScriptedSensor.h"

#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <tuple>

namespace {

using modRVQComm::SendParameter;

TEST(SendCommand, DeadlineOfEachCommand)
{
    const std::tuple<const char*, std::int32_t, double> rows[] = {
        {"M", 9600, 3500},           {"S", 9600, 2000},      {"T", 9600, 1500},
        {"G", 9600, 2000},           {"X", 9600, 2000},      {"O", 9600, 2000},
        {"C", 1200, 4667},           {"C", 38400, 630},      {"302 50\r", 9600, 2000},
        {"701 1000\r", 9600, 3500},  {"999 \r", 9600, 3500}, {"000 \r", 9600, 3500},
        {"501 99901\r", 9600, 3500}, {"C", -1, 1021}, // a closed port has no rate: the last one set counts
    };
    for (const auto& [command, rate, wait_ms] : rows) {
        ScriptedSensor sensor;
        sensor.port.Rate = rate;
        sensor.device.EventNr = EventAcknowledged;
        sensor.device.InBuffer = "old";
        sensor.device.SendCommand(command);
        EXPECT_NEAR((sensor.device.FailTime - ScriptedSensor::kStart) * kMsPerDay, wait_ms, 0.01)
            << command << " at " << rate;
        EXPECT_EQ(sensor.port.Sent, command);
        EXPECT_EQ(sensor.device.LastCommand, command);
        EXPECT_EQ(sensor.device.EventNr, EventNone);
        EXPECT_EQ(sensor.device.InBuffer, "");
    }
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

/// Lets the sensor's side of a wait happen: one step a pump.
struct Script {
    std::deque<std::function<void()>> steps;
    modRVQComm::PumpEvents Pump()
    {
        return [this] {
            ASSERT_FALSE(steps.empty()) << "the wait should have ended";
            const auto step = steps.front();
            steps.pop_front();
            step();
        };
    }
};

TEST(SendParameter, EndsWithTheVerdict)
{
    using Row = std::pair<const char*, std::int32_t>;
    for (const auto& [reply, verdict] :
         {Row{"OK 302\r\n", EventAcknowledged}, Row{"Error 302\r\n", EventRefused}, Row{"23 C,  OK\r\n", EventRefused},
          Row{"Type: Serial\r\nend", EventRefused}}) {
        ScriptedSensor sensor;
        sensor.device.CommStatus = DialogueIdle;
        sensor.device.TimeOut = 2;
        sensor.device.Journal.Append(EventAcknowledged); // of an earlier command
        Script script{{[] {}, [&, bytes = reply] { sensor.Arrive(bytes); }}};
        EXPECT_EQ(SendParameter(sensor.device, "302", script.Pump()), verdict) << reply;
        EXPECT_EQ(sensor.device.EventNr, verdict) << reply;
        EXPECT_EQ(sensor.port.Sent, "302 50\r");
        EXPECT_FALSE(sensor.device.Wait.Running);
    }
}

TEST(SendParameter, SeesAnAnswerThatALaterTickCovers)
{
    // Several ticks run inside one pump, and something sends after the answer has come.
    ScriptedSensor sensor;
    sensor.device.CommStatus = DialogueIdle;
    Script script{{[&] {
        sensor.Arrive("OK 302\r\n");
        sensor.device.SendCommand("M");
        sensor.Arrive("");
    }}};
    EXPECT_EQ(SendParameter(sensor.device, "302", script.Pump()), EventAcknowledged);
}

TEST(SendParameter, EndsWithoutAnAnswer)
{
    const std::function<void(ScriptedSensor&)> endings[] = {
        [](ScriptedSensor& s) { s.At(2100), s.Arrive(""); },
        [](ScriptedSensor& s) { s.At(2100), s.Arrive("xyz"); },
        [](ScriptedSensor& s) { s.port.Vanished = true, s.Arrive(""); },
        [](ScriptedSensor& s) { s.device.CloseComPort(), s.device.OpenComPort(1, 9600); },
        [](ScriptedSensor& s) { s.device.Wait.Ended = true; },
    };
    for (const auto& ending : endings) {
        ScriptedSensor sensor;
        sensor.device.CommStatus = DialogueIdle;
        Script script{{[&] { ending(sensor); }}};
        EXPECT_EQ(SendParameter(sensor.device, "302", script.Pump()), EventNoAnswer) << (&ending - endings);
        EXPECT_EQ(sensor.device.EventNr, EventNoAnswer);
    }
}

TEST(SendParameter, RefusesToStartInsideAWaitOrATick)
{
    ScriptedSensor sensor;
    sensor.device.CommStatus = DialogueIdle;
    Script script{{[&] {
        EXPECT_THROW(SendParameter(sensor.device, "304", [] {}), std::logic_error);
        sensor.Arrive("OK 302\r\n");
    }}};
    EXPECT_EQ(SendParameter(sensor.device, "302", script.Pump()), EventAcknowledged);
    sensor.device.CommStatus = DialogueMeasuring;
    EXPECT_THROW(SendParameter(sensor.device, "302", [] {}), std::logic_error) << "a verdict would never come";
    const modRVQComm::TickScope tick(sensor.device);
    EXPECT_THROW(modRVQComm::ChangeParameter(sensor.device, "302", [] {}), std::logic_error);
    EXPECT_EQ(sensor.port.Sent, "302 25\r") << "nothing went out";
}

TEST(ChangeParameter, SendsNothingMoreFromAProgramThatEnds)
{
    ScriptedSensor sensor;
    sensor.device.CommStatus = DialogueMeasuring;
    Script script{{[&] { sensor.device.Wait.Ended = true; }}};
    modRVQComm::ChangeParameter(sensor.device, "304", script.Pump());
    EXPECT_EQ(sensor.port.Sent, "S304 0\r");
}

} // namespace
