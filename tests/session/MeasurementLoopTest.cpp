// The measurement loop against a scripted port: order, texts, states and commands.
#include "sensor/Crc16.h"
#include "sensor/modRVQComm.h"
#include "session/clsMeasurementLoop.h"
#include "tests/support/ScriptedSensor.h"
#include "tests/support/clsRecordingView.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <utility>

namespace {

constexpr char kLine[] = "     1.234 m\r\n";

struct Monitor {
    ScriptedSensor sensor;
    modGlobals::Settings settings{.Language = LanguageEnglish};
    clsRecordingView view;
    clsMeasurementLoop loop{sensor.device, settings, view, '.'};
    double now_ms = 0;

    void Tick(std::string_view bytes = {}, double step_ms = 50)
    {
        now_ms += step_ms;
        sensor.port.Arriving += bytes;
        loop.Tick(ScriptedSensor::kStart + now_ms / kMsPerDay);
    }
    std::string Sent() { return sensor.port.TakeSent(); }
    /// Measuring, the first distance shown.
    void Measure()
    {
        sensor.device.CommStatus() = DialogueIdle;
        loop.StartStop({});
        Tick(kLine);
        Sent();
    }
};

TEST(MeasurementLoop, StartsShowsAndStops)
{
    Monitor monitor;
    monitor.Tick();
    EXPECT_FALSE(monitor.view.rule.Start);
    EXPECT_EQ(monitor.Sent(), "X");
    monitor.Tick("Sensor ready\r\n");
    EXPECT_EQ(monitor.Sent(), "C");
    monitor.Tick("Type: Serial\r\nTemperature: 23 C,  OK\r\nPointer: shutdown\r\nend\r\n");
    EXPECT_EQ(monitor.view.status[0], "Read new configuration data");
    EXPECT_TRUE(monitor.view.shutDown);
    EXPECT_EQ(monitor.view.rule, (ControlRule{.Start = true, .Single = true}));

    monitor.loop.StartStop({});
    monitor.Tick(kLine);
    EXPECT_EQ(monitor.Sent(), "M");
    EXPECT_EQ(monitor.view.status[0], "Read new distance value");
    EXPECT_EQ(monitor.view.points.size(), 1U);
    EXPECT_FALSE(monitor.view.shutDown);
    EXPECT_EQ(monitor.view.rule, (ControlRule{.Start = true, .Single = false}));
    monitor.loop.RequestSingleValue();
    EXPECT_EQ(monitor.Sent(), "") << "not while measuring";
    monitor.Tick();
    EXPECT_EQ(monitor.view.status[0], "") << "nothing new";

    monitor.loop.StartStop({});
    EXPECT_EQ(monitor.Sent(), "S");
    EXPECT_EQ(monitor.view.distance, "");
    EXPECT_FALSE(monitor.loop.IsMeasuring());
}

TEST(MeasurementLoop, MarkersAreShownAndNotCharted)
{
    Monitor monitor;
    monitor.sensor.device.Parameters().OutputFormat = FormatBinary;
    monitor.sensor.device.CommStatus() = DialogueIdle;
    monitor.loop.StartStop({});
    monitor.Tick("\xFF\xFF\xFF\x7F"s);
    EXPECT_EQ(monitor.view.distance, "No Echo");
    EXPECT_FALSE(monitor.view.shutDown);
    monitor.sensor.device.Parameters().DistanceUnit = 0;
    monitor.Tick("\xF0\xFF\xFF\x7F"s);
    EXPECT_EQ(monitor.view.distance, "TempError");
    EXPECT_TRUE(monitor.view.shutDown) << "the value is exactly the marker";
    EXPECT_TRUE(monitor.view.points.empty());
}

TEST(MeasurementLoop, ZeroIsChartedOnlyWhenWantedAndGapsAreMarkedOnce)
{
    Monitor monitor;
    monitor.Measure();
    monitor.sensor.device.Parameters().OutputFormat = FormatBinaryCrc;
    std::string zero(4, '\0');
    const std::uint16_t crc = Crc16(zero, 0xFFFFFFFF);
    zero += {static_cast<char>(crc & 0xFFU), static_cast<char>(crc >> 8U)};
    for (const bool wanted : {false, true}) {
        monitor.settings.ShowZeroValues = wanted;
        monitor.Tick(zero);
        monitor.Tick(zero);
        EXPECT_EQ(monitor.view.points.size(), wanted ? 3U : 1U);
        EXPECT_EQ(monitor.view.gaps, 1);
    }
}

TEST(MeasurementLoop, TheRangeFollowsTheValuesInTheShownUnitUnlessItIsFixed)
{
    Monitor monitor;
    monitor.Measure();
    monitor.Tick("     2.000 m\r\n");
    const auto before = monitor.view.limits;
    EXPECT_LT(before.first, 1.234);
    EXPECT_GT(before.second, 2.0);
    EXPECT_LT(before.second, 10.0) << "metres, not millimetres";
    monitor.settings.AutoScale = false;
    monitor.Tick("     9.000 m\r\n");
    EXPECT_EQ(monitor.view.limits, before);
}

TEST(MeasurementLoop, AnotherUnitBeginsAnotherChart)
{
    Monitor monitor;
    monitor.Measure();
    const int resets = monitor.view.resets;
    monitor.sensor.device.Parameters().DistanceUnit = 3;
    monitor.Tick("     9.000 ft\r\n");
    EXPECT_EQ(monitor.view.resets, resets + 1);
    EXPECT_EQ(monitor.view.unit, "ft");
    EXPECT_EQ(monitor.loop.Values().Size(), modGlobals::kHistoryLength);
    EXPECT_EQ(monitor.loop.Values().Count(), 1) << "metres and feet do not mix";
}

TEST(MeasurementLoop, ASensorWithSingleOutputIsAskedForOneValue)
{
    struct Row {
        const char* name;
        void (*happens)(Monitor&);
        int in, passes; ///< the pass in which it happens, and the last pass
        bool found = false;
    };
    const Row rows[] = {
        {"a value", [](Monitor& m) { m.sensor.port.Arriving = kLine; }, 5, 5, true},
        // 41 checks of the port, 40 waits between them
        {"silence", [](Monitor&) {}, 1, 40},
        // the value comes from the other sensor
        {"another port", [](Monitor& m) { m.loop.ChangePort(), m.sensor.port.Arriving = kLine; }, 1, 1},
        {"the end", [](Monitor& m) { m.loop.Unload(); }, 1, 1},
    };
    for (const Row& row : rows) {
        Monitor monitor;
        monitor.sensor.device.Parameters().OutputMode = OutputSingle;
        monitor.sensor.device.CommStatus() = DialogueIdle;
        int passes = 0;
        monitor.loop.StartStop([&] {
            if (++passes == row.in) {
                row.happens(monitor);
            }
            monitor.Tick(); // the timer keeps running and leaves the port alone
            EXPECT_FALSE(monitor.view.rule.Start) << row.name;
            return ScriptedSensor::kStart + monitor.now_ms / kMsPerDay;
        });
        EXPECT_EQ(passes, row.passes) << row.name;
        EXPECT_EQ(monitor.Sent(), "M") << row.name;
        EXPECT_EQ(monitor.view.distance, row.found ? "1.234 m" : "") << row.name;
        EXPECT_EQ(monitor.view.points.size(), row.found ? 1U : 0U) << row.name;
        EXPECT_TRUE(!row.found || monitor.view.points[0].first == monitor.sensor.device.CurrentTime());
        EXPECT_EQ(monitor.sensor.device.CommStatus() == DialogueIdle, row.found) << row.name;
        EXPECT_FALSE(monitor.loop.IsMeasuring()) << row.name;
        monitor.sensor.port.Arriving.clear();
        monitor.Tick();
        EXPECT_EQ(monitor.view.rule.Start, row.found) << row.name;
        EXPECT_EQ(monitor.view.status[0] == "No connection to sensor", row.passes == 40) << "it stays to be read";
    }
}

TEST(MeasurementLoop, ARefusedSettingIsShownBack)
{
    Monitor monitor;
    monitor.Measure();
    for (const bool accepted : {true, false}) {
        monitor.loop.ChangeSetting(&ParameterSet::MovingAverage, accepted ? 1 : 0,
                                   [&] { monitor.Tick(accepted ? "OK 304\r\n" : "E304\r\n"); });
        EXPECT_EQ(monitor.Sent(), accepted ? "S304 1\rM" : "S304 0\rM");
        EXPECT_TRUE(monitor.view.sensor.MovingAverage);
    }
    EXPECT_TRUE(monitor.loop.IsMeasuring());
}

TEST(MeasurementLoop, NoAnswerStepsDownOneStatePerDispatch)
{
    Monitor monitor;
    monitor.Measure();
    monitor.Tick({}, 3100);
    EXPECT_EQ(monitor.view.status[0], "No connection to sensor");
    EXPECT_EQ(monitor.view.dialogue, DialogueIdle);
    EXPECT_TRUE(monitor.view.running) << "the measuring flag is set";
    EXPECT_EQ(monitor.view.distance, "1.234 m");
    monitor.Tick();
    EXPECT_EQ(monitor.view.dialogue, DialogueNone);
    EXPECT_EQ(monitor.view.temperature, "");
    EXPECT_FALSE(monitor.view.rule.Start);
    monitor.Tick();
    monitor.Tick();
    EXPECT_EQ(monitor.Sent(), "X");
}

TEST(MeasurementLoop, NoAnswerIsNotReportedWhereNoneIsOwed)
{
    for (const bool isHot : {false, true}) {
        Monitor monitor;
        monitor.Measure();
        (isHot ? monitor.sensor.device.TempStatus() : monitor.sensor.device.Parameters().OutputMode) =
            isHot ? 0 : OutputSingle;
        monitor.Tick({}, 3100);
        EXPECT_EQ(monitor.view.status[0], isHot ? "TempError" : "Read new distance value");
        EXPECT_EQ(monitor.view.dialogue, DialogueMeasuring);
    }
}

TEST(MeasurementLoop, TemperatureIsReadBetweenDistances)
{
    Monitor monitor;
    monitor.sensor.device.ReadTempInterval() = 1000;
    monitor.loop.PollTemperature(true);
    monitor.Measure(); // "M" was sent, then "S" right after the distance
    EXPECT_TRUE(monitor.loop.IsTemperaturePending());
    EXPECT_EQ(monitor.sensor.device.CommStatus(), DialogueMeasuring) << "the lamp stays green";
    monitor.Tick(kLine); // a value still in flight
    monitor.Tick({}, 2000);
    monitor.Tick("31 C,  OK\r\n");
    EXPECT_EQ(monitor.Sent(), "TM");
    EXPECT_FALSE(monitor.loop.IsTemperaturePending());
    int stops = 0;
    for (int i = 0; i < 60; ++i) { // three seconds of distances
        monitor.sensor.device.LastCommand("m");
        monitor.Tick(kLine);
        stops += monitor.Sent() == "S" ? 1 : 0;
    }
    EXPECT_LE(stops, 3);
    EXPECT_GE(stops, 2);
    monitor.loop.PollTemperature(false);
    monitor.sensor.device.LastCommand("m");
    monitor.Tick(kLine, 5000);
    EXPECT_EQ(monitor.Sent(), "");
}

TEST(MeasurementLoop, ATemperatureThrowsAwayNoDistanceThatIsStillDue)
{
    Monitor monitor;
    monitor.sensor.device.Parameters().OutputFormat = FormatBinary;
    monitor.Measure();
    for (int i = 0; i < 4; ++i) {
        monitor.Tick("\x10\x27\x00\x00"s);
    }
    monitor.loop.PollTemperature(true);
    monitor.Tick("\xAA\x11\x27\x00"s); // a jump, or damage: the next one will tell
    const std::size_t before = monitor.view.points.size();
    EXPECT_EQ(monitor.Sent(), "");
    monitor.Tick("\xAB\x11\x27\x00"s);
    EXPECT_EQ(monitor.view.points.size(), before + 2);
    EXPECT_EQ(monitor.Sent(), "S");
}

TEST(MeasurementLoop, MeasuringResumesOnlyWhenTheConfigurationHasBeenRead)
{
    Monitor monitor;
    monitor.loop.MeasureWhenConnected();
    monitor.sensor.device.Parameters().OutputFormat = FormatBinary;
    monitor.sensor.Expect(DialogueIdle, "T");
    monitor.Tick("23 C,  OK\r\n"); // a text: the format has changed
    EXPECT_EQ(monitor.Sent(), "C");
    monitor.Tick("Type: Serial\r\n101: 1\r\nend\r\n");
    monitor.Tick({}, 2000);
    EXPECT_EQ(monitor.Sent(), "T");
    monitor.Tick("23 C,  OK\r\n");
    EXPECT_EQ(monitor.Sent(), "M");
}

TEST(MeasurementLoop, AReopenedPortIsAskedAtOnce)
{
    Monitor monitor;
    monitor.Measure();
    monitor.sensor.port.Vanished = true;
    monitor.Tick();
    monitor.sensor.port.Vanished = false;
    monitor.Tick("half a line of the new device");
    EXPECT_EQ(monitor.Sent(), "X") << "whatever the old one owed";
    EXPECT_EQ(monitor.sensor.device.InBuffer(), "");
}

TEST(MeasurementLoop, APortThatDoesNotOpenIsTriedWithGrowingPausesUntilSomethingChanges)
{
    Monitor monitor;
    clsScriptedPort& port = monitor.sensor.port;
    monitor.Tick();
    port.Vanished = true;
    port.OpenResult = -1;
    const auto opens = [&] {
        monitor.Tick();
        const auto count = std::ranges::count(port.Calls, "open " + std::to_string(monitor.settings.Comport));
        port.Calls.clear();
        return count;
    };
    for (int i = 0; i < 17; ++i) { // 0, 100, 300, 800 ms
        opens();
    }
    EXPECT_EQ(opens(), 0);
    EXPECT_EQ(monitor.view.status[0], "Comport not open");
    port.Changed = true;
    EXPECT_EQ(opens(), 1) << "something has been plugged in";
    port.Changed = false;
    EXPECT_EQ(opens(), 0);
    EXPECT_EQ(opens(), 1) << "the pauses begin anew";
    monitor.settings.Comport = 3;
    monitor.loop.ChangePort();
    EXPECT_EQ(std::ranges::count(port.Calls, "open 3"), 1) << "the operator's choice";
    monitor.loop.ChangePort();
    EXPECT_EQ(std::ranges::count(port.Calls, "open 3"), 2) << "the same one again";
    port.OpenResult = 0;
    port.Changed = true;
    EXPECT_EQ(opens(), 3) << "one of the choice";
    port.Changed = port.Vanished = false;
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(opens(), 0);
    }
    port.Vanished = true;
    EXPECT_EQ(opens(), 1) << "one that has worked is not waited for";
    EXPECT_EQ(opens(), 0) << "one that is gone at once is";
}

TEST(MeasurementLoop, HoweverAnOpeningEndsTheNextOnesComeWithGrowingPauses)
{
    struct Row {
        const char* name;
        std::int32_t result;
        PortState reached;
    };
    for (const Row& row : {Row{"refused", -1, PortState::Closed}, Row{"opens and vanishes", 0, PortState::Open},
                           Row{"begins and fails", 0, PortState::Closed}}) {
        Monitor monitor;
        clsScriptedPort& port = monitor.sensor.port;
        port.Vanished = true;
        port.OpenResult = row.result;
        port.Reached = row.reached;
        std::vector<int> tries; // in milliseconds
        for (int ms = 0; ms < 4000; ms += 50) {
            monitor.Tick();
            if (std::ranges::count(std::exchange(port.Calls, {}), "open 1") != 0) {
                tries.push_back(ms);
            }
        }
        EXPECT_EQ(tries, (std::vector<int>{0, 100, 300, 800, 1800, 2800, 3800})) << row.name;
    }
}

TEST(MeasurementLoop, AnOpeningThatTakesSeveralTicksIsFollowedToItsEnd)
{
    Monitor monitor;
    clsScriptedPort& port = monitor.sensor.port;
    const auto tick = [&](int ticks) {
        port.Calls.clear();
        for (int i = 0; i < ticks; ++i) {
            monitor.Tick();
            monitor.loop.RequestSingleValue();
            EXPECT_EQ(monitor.view.status[0], "Comport not open");
        }
        return port.Calls;
    };
    using Calls = std::vector<std::string>;
    monitor.sensor.device.CloseComPort();
    port.Reached = PortState::Opening;
    EXPECT_EQ(tick(100), (Calls{"close 1", "open 1"})) << "one opening, nothing sent";
    port.Reached = PortState::Closed; // it has failed
    EXPECT_EQ(tick(2), Calls());
    port.Reached = PortState::Opening;
    EXPECT_EQ(tick(100), (Calls{"close 1", "open 1"}));
    monitor.settings.Comport = 3;
    monitor.loop.ChangePort();
    EXPECT_EQ(port.Calls, (Calls{"close 1", "open 1", "close 1", "close 3", "open 3"})) << "given up for another";
    monitor.settings.Baudrate = 115200;
    monitor.loop.ChangeBaudrate();
    EXPECT_EQ(tick(1), Calls());
    const std::int32_t openings = monitor.sensor.device.Openings();
    port.Reached = PortState::Open;
    monitor.Tick();
    EXPECT_EQ(port.Calls, Calls{"baud 115200"});
    EXPECT_EQ(monitor.view.status[0], "");
    EXPECT_EQ(monitor.sensor.device.Openings(), openings + 1);
    monitor.Tick();
    EXPECT_EQ(monitor.Sent(), "X");
}

TEST(MeasurementLoop, ACommandWaitsForTheAnswerToAPoll)
{
    struct Row {
        const char* name;
        void (*act)(Monitor&);
        const char* sent;
    };
    const Row rows[] = {
        {"single", [](Monitor& m) { m.loop.RequestSingleValue(); }, "G"},
        {"start", [](Monitor& m) { m.loop.StartStop({}); }, "M"},
        {"laser", [](Monitor& m) { m.loop.SwitchRedLaser(true); }, "P"},
        {"averaging",
         [](Monitor& m) {
             m.loop.ChangeSetting(&ParameterSet::AverageDepth, 2,
                                  [&m] { m.Tick(m.sensor.device.LastCommand() == "T" ? "\x17\x01" : "OK 301\r\n"); });
         },
         "301 64\r"},
    };
    for (const Row& row : rows) {
        Monitor monitor;
        monitor.Tick();
        monitor.sensor.device.Parameters().OutputFormat = FormatBinary;
        monitor.sensor.device.CommStatus() = DialogueIdle;
        monitor.sensor.device.SendCommand("T");
        monitor.Sent();
        int ticks = 0;
        monitor.loop.PumpEvents = [&] {
            EXPECT_EQ(monitor.Sent(), "") << row.name << " before the answer";
            EXPECT_FALSE(monitor.view.rule.Single) << row.name;
            monitor.Tick(++ticks == 3 ? "\x17\x01" : "");
            ASSERT_LT(ticks, 5) << row.name;
        };
        row.act(monitor);
        EXPECT_EQ(monitor.view.temperature, "23 C,  OK") << row.name;
        EXPECT_EQ(monitor.Sent(), row.sent) << row.name;
    }
}

TEST(MeasurementLoop, ADumpThatComesFirstDoesNotChangeWhatTheOperatorChose)
{
    Monitor monitor;
    monitor.Tick();
    monitor.sensor.device.CommStatus() = DialogueIdle;
    const char* dump = "Type: Serial\r\nPointer: off\r\n301: 4\r\nend\r\n";
    const auto pump = [&] { monitor.Tick(monitor.sensor.device.LastCommand() == "C" ? dump : "OK 301\r\n"); };
    monitor.loop.PumpEvents = pump;
    monitor.sensor.device.SendCommand("C");
    monitor.loop.ChangeSetting(&ParameterSet::AverageDepth, 1, pump);
    EXPECT_EQ(monitor.Sent(), "XC301 16\r");
    EXPECT_EQ(monitor.view.sensor.AverageDepth, 1);
    monitor.sensor.device.SendCommand("C");
    monitor.loop.SwitchRedLaser(true);
    EXPECT_EQ(monitor.Sent(), "CP");
    EXPECT_TRUE(monitor.view.sensor.RedLaser);
}

TEST(MeasurementLoop, LinesThatChangeWithoutAUnitAskForTheConfiguration)
{
    Monitor monitor;
    monitor.sensor.device.Parameters().OutputFormat = FormatAscii;
    monitor.sensor.device.CommStatus() = DialogueIdle;
    monitor.loop.StartStop({});
    monitor.Tick("       1.234\r\n");
    monitor.Sent();
    monitor.Tick("        1234\r\n");
    monitor.Tick("        1235\r\n");
    EXPECT_EQ(monitor.view.distance, "1.234 [m]") << "not 1235 m";
    EXPECT_EQ(monitor.Sent(), "SC");
    monitor.Tick("Type: Serial\r\n101: 0\r\n111: 0\r\nend\r\n");
    monitor.Tick({}, 2000);
    monitor.Tick("23 C,  OK\r\n");
    EXPECT_EQ(monitor.Sent(), "TM") << "it goes on by itself";
    monitor.Tick("        1236\r\n");
    EXPECT_EQ(monitor.view.distance, "1236 [mm]");
}

TEST(MeasurementLoop, SingleValuesThatChangeWithoutAUnitAskForTheConfiguration)
{
    Monitor monitor;
    monitor.Tick();
    monitor.sensor.device.Parameters().OutputFormat = FormatAscii;
    monitor.sensor.device.CommStatus() = DialogueIdle;
    for (const char* line : {"       1.234\r\n", "        1234\r\n", "        1235\r\n"}) {
        monitor.loop.RequestSingleValue();
        EXPECT_EQ(monitor.Sent().back(), 'G');
        monitor.Tick(line);
    }
    EXPECT_EQ(monitor.view.distance, "1.234 [m]");
    EXPECT_EQ(monitor.Sent(), "C") << "or no value would be shown any more";
}

TEST(MeasurementLoop, ACommandEndsWithThePortItWaitsFor)
{
    Monitor monitor;
    monitor.Tick();
    monitor.sensor.device.CommStatus() = DialogueIdle;
    monitor.sensor.device.SendCommand("T");
    monitor.Sent();
    monitor.sensor.port.OpenResult = -1;
    monitor.loop.PumpEvents = [&] {
        monitor.sensor.port.Vanished = true;
        monitor.Tick();
    };
    monitor.loop.StartStop({});
    monitor.loop.RequestSingleValue();
    EXPECT_FALSE(monitor.loop.IsMeasuring()) << "nothing begins by itself on the next device";
    EXPECT_EQ(monitor.sensor.port.Sent.find('M'), std::string::npos);
}

TEST(MeasurementLoop, AStopIsAStopWhateverBecomesOfThePoll)
{
    Monitor monitor;
    monitor.Measure();
    monitor.sensor.device.SendCommand("T"); // between the values
    monitor.loop.PumpEvents = [&] { monitor.Tick({}, 1600); };
    monitor.loop.StartStop({});
    EXPECT_EQ(monitor.Sent(), "TS");
    EXPECT_FALSE(monitor.view.running);
    EXPECT_FALSE(monitor.loop.IsMeasuring());
}

TEST(MeasurementLoop, NeitherATickNorTheOperatorSendsDuringAWait)
{
    Monitor monitor;
    monitor.Measure();
    modRVQComm::StopMeasurement(monitor.sensor.device);
    {
        const modRVQComm::WaitScope wait(monitor.sensor.device);
        monitor.Sent();
        monitor.Tick("23 C,  OK\r\n"); // would restart the measurement
        EXPECT_EQ(monitor.view.temperature, "23 C,  OK");
        EXPECT_EQ(monitor.view.rule, ControlRule{.Settings = false});
        monitor.loop.StartStop({});
        monitor.loop.RequestSingleValue();
        EXPECT_EQ(monitor.Sent(), "");
    }
    monitor.Tick();
    EXPECT_TRUE(monitor.view.rule.Start);
}

TEST(MeasurementLoop, ANoisyLineOfCheckedFramesStaysUpToDate)
{
    // 960 bytes a second, one foreign byte in a hundred.
    Monitor monitor;
    std::mt19937 random(3);
    monitor.sensor.device.Parameters().OutputFormat = FormatBinaryCrc;
    monitor.Measure();
    for (int tick = 0; tick < 2000; ++tick) {
        std::string bytes;
        for (int i = 0; i < 48; ++i) {
            bytes += random() % 100 == 0 ? "?" : "";
            bytes += "\x10\x27\x00\x00\xB4\xEF"s[static_cast<std::size_t>(i % 6)];
        }
        monitor.Tick(bytes);
        ASSERT_LT(monitor.sensor.device.InBuffer().size(), 200U);
    }
    EXPECT_GT(monitor.view.points.size(), 1900U);
}

TEST(MeasurementLoop, ClockAndItsFactor)
{
    Monitor monitor;
    monitor.Tick();
    EXPECT_EQ(monitor.view.status[2], "12:00:00");
    monitor.view.status[2] = "untouched";
    monitor.Tick({}, 501); // 501 ms count as 498.7
    EXPECT_EQ(monitor.view.status[2], "untouched");
    monitor.Tick({}, 2);
    EXPECT_EQ(monitor.view.status[2], "12:00:00");
}

TEST(MeasurementLoop, AClockThatIsSetLosesNoConnectionAndNoDeadline)
{
    for (const double jump_ms : {-3600e3, 3600e3}) {
        Monitor monitor;
        monitor.Measure();
        monitor.Tick({}, jump_ms);
        EXPECT_EQ(monitor.view.dialogue, DialogueMeasuring);
        EXPECT_EQ(monitor.Sent(), "");
        EXPECT_EQ(monitor.view.gaps, 1) << "no line is drawn across the hour";
        monitor.Tick({}, 3100);
        EXPECT_EQ(monitor.view.status[0], "No connection to sensor") << "real silence is still noticed";
    }
}

TEST(MeasurementLoop, AClockThatIsSetNeitherPutsOffATemperatureNorBringsItForward)
{
    for (const double jump_ms : {-3600e3, 3600e3}) {
        Monitor monitor;
        monitor.sensor.device.ReadTempInterval() = 1000;
        monitor.loop.PollTemperature(true);
        monitor.Measure(); // and the first temperature is due
        monitor.sensor.device.LastCommand("m");
        monitor.Tick(kLine, jump_ms);
        EXPECT_EQ(monitor.Sent(), "") << jump_ms;
        monitor.Tick(kLine, 1001);
        EXPECT_EQ(monitor.Sent(), "S") << jump_ms;
    }
}

} // namespace
