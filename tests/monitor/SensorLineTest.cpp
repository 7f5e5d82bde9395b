// The whole way from the sensor over a real pseudo-terminal to the view, and back.
#include "device/Parameters.h"
#include "device/modRVQComm.h"
#include "tests/support/SensorOnLine.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using simulator::clsSensorModel;
using simulator::SensorOptions;

TEST(SensorLine, EveryFormatInEveryUnit)
{
    SensorOnLine line;
    line.sensor.With([](clsSensorModel& model) { model.HoldDistance(3300.0); });
    ASSERT_TRUE(line.Configured());
    for (std::int32_t format = FormatAscii; format <= FormatBinaryCrc; ++format) {
        for (std::int32_t unit = 0; unit < 7; ++unit) {
            const std::string name = std::string(kOutputFormatTexts[static_cast<std::size_t>(format)]) + " in " +
                                     std::string(UnitOf(unit).name);
            line.InSensor("101", format);
            line.InSensor("111", unit);
            line.device.SendCommand("C");
            ASSERT_TRUE(line.Configured()) << name;
            EXPECT_EQ(line.device.OutputFormat, format);
            EXPECT_EQ(line.device.DistanceUnit, unit);
            line.loop.StartStop({});
            ASSERT_TRUE(line.UntilEvent(EventDistance)) << name;
            EXPECT_NEAR(line.device.MeasValue_mm, 3300, unit >= 5 ? 10 : 1) << name;
            EXPECT_NEAR(line.device.MeasValue * UnitOf(unit).millimetres, 3300.0, unit >= 5 ? 10 : 1) << name;
            line.loop.StartStop({});
        }
        // A temperature and a single value in this format.
        line.device.SendCommand("C");
        ASSERT_TRUE(line.Configured());
        const std::int32_t celsius = 40 + format;
        line.sensor.With([&](clsSensorModel& model) { model.SetTemperature(celsius); });
        line.device.SendCommand("T");
        const std::string expected = std::to_string(celsius) + " C,  OK";
        ASSERT_TRUE(line.Until([&] { return line.device.InBuffer.size() == 2 || line.view.temperature == expected; }));
        line.PutForward(format == FormatBinary ? 1.6 : 0.0); // two bytes alone wait for the deadline
        ASSERT_TRUE(line.Until([&] { return line.view.temperature == expected; })) << format;
        line.loop.RequestSingleValue();
        ASSERT_TRUE(line.UntilEvent(EventDistance)) << format;
        EXPECT_NEAR(line.device.MeasValue_mm, 3300, 10) << format;
        EXPECT_EQ(line.device.CommStatus, DialogueIdle);
    }
}

TEST(SensorLine, DumpsOfAllKinds)
{
    struct Row {
        simulator::DeviceKind kind;
        const char* attenuator;
        bool legacy;
        std::int32_t window, node;
    };
    for (const Row& row : {Row{simulator::DeviceKind::Serial, "E", false, 12345, -1},
                           Row{simulator::DeviceKind::Serial, "D", true, 20000, -1},
                           Row{simulator::DeviceKind::Profibus, "DE", true, 12345, 5},
                           Row{simulator::DeviceKind::Profibus, "", false, 20000, 5}}) {
        SensorOptions options;
        options.kind = row.kind;
        options.attenuator = row.attenuator;
        options.isLegacyDump = row.legacy;
        SensorOnLine line(options);
        line.InSensor("306", 0);
        line.InSensor("502", -777);
        line.InSensor("802", 987);
        if (row.window != 20000) {
            line.InSensor("352", row.window);
        }
        ASSERT_TRUE(line.Configured()) << row.attenuator;
        EXPECT_EQ(line.device.DeviceType, row.kind == simulator::DeviceKind::Serial ? "Serial" : "Profibus");
        EXPECT_EQ(line.device.EchoCheck, 0) << row.attenuator;
        EXPECT_EQ(line.device.S1OffThreshold, -777);
        EXPECT_EQ(line.device.AirPressure, 987);
        EXPECT_EQ(line.device.DistanceWindow, row.window) << row.attenuator;
        EXPECT_EQ(line.device.NodeAddress, row.node) << row.attenuator;
        EXPECT_EQ(line.view.dialogue, DialogueIdle);
    }
}

TEST(SensorLine, AcknowledgedRefusedAndSilent)
{
    struct Row {
        bool shortAcknowledge;
        double simulator::Faults::*fault;
        std::int32_t verdict, stored;
    };
    for (const Row& row : {Row{false, nullptr, EventAcknowledged, 3}, Row{true, nullptr, EventAcknowledged, 3},
                           Row{false, &simulator::Faults::refusal, EventRefused, 1},
                           Row{false, &simulator::Faults::silence, EventNoAnswer, 1}}) {
        SensorOptions options;
        options.isShortAcknowledge = row.shortAcknowledge;
        SensorOnLine line(options);
        ASSERT_TRUE(line.Configured());
        line.loop.StartStop({});
        ASSERT_TRUE(line.UntilEvent(EventDistance));
        line.TakeLog();
        if (row.fault != nullptr) {
            line.sensor.With([&](clsSensorModel& model) { model.Faults().*row.fault = 1.0; });
        }
        line.device.TimeOut = 3;
        int pumps = 0;
        const auto pump = [&] {
            line.Tick();
            if (row.verdict == EventNoAnswer && ++pumps == 100) {
                line.PutForward(2.0); // nothing will come
            }
        };
        EXPECT_EQ(modRVQComm::ChangeParameter(line.device, "302", pump), row.verdict) << row.shortAcknowledge;
        line.sensor.With([&](clsSensorModel& model) {
            EXPECT_EQ(model.Parameter("302"), row.stored);
            model.Faults() = {};
        });
        std::string log;
        EXPECT_TRUE(line.Until([&] {
            const std::string more = line.TakeLog();
            log += (log.empty() || more.empty() ? "" : "|") + more;
            return log.ends_with("S|302 100\r|M");
        })) << log;
        EXPECT_EQ(line.device.CommStatus, DialogueMeasuring);
    }
}

TEST(SensorLine, LaserMarkerAndTemperatureDuringAMeasurement)
{
    SensorOnLine line;
    ASSERT_TRUE(line.Configured());
    line.device.SendCommand("P");
    EXPECT_TRUE(line.Until([&] {
        bool on = false;
        line.sensor.With([&](clsSensorModel& model) { on = model.IsMarkerOn(); });
        return on;
    }));
    line.loop.StartStop({});
    ASSERT_TRUE(line.UntilEvent(EventDistance));
    line.TakeLog();
    line.sensor.With([](clsSensorModel& model) { model.SetTemperature(-7); });
    line.loop.PollTemperature(true);
    ASSERT_TRUE(line.Until([&] { return line.device.LastCommand == "S"; }));
    line.PutForward(2.0);
    ASSERT_TRUE(line.Until([&] { return line.view.temperature == "-7 C,  OK"; }));
    ASSERT_TRUE(line.UntilEvent(EventDistance));
    EXPECT_EQ(line.TakeLog(), "S|T|M");
    EXPECT_EQ(line.view.dialogue, DialogueMeasuring);
}

TEST(SensorLine, RestartedAndUnpluggedSensorMeasuresAgainWithoutAClick)
{
    const auto link = std::filesystem::temp_directory_path() / ("orvex-line-" + std::to_string(getpid()));
    SensorOnLine line({}, link.string());
    ASSERT_TRUE(line.Configured());
    line.loop.StartStop({});
    ASSERT_TRUE(line.UntilEvent(EventDistance));

    const auto resumes = [&] {
        line.PutForward(5.0);
        const bool back = line.Until([&] { return line.device.LastCommand == "C" && line.device.CommStatus == 0; }) &&
                          line.UntilEvent(EventConfiguration);
        line.PutForward(1.0);
        return back && line.UntilEvent(EventDistance);
    };
    line.sensor.Unplug();
    ASSERT_TRUE(line.Until([&] { return !line.device.PortIsOpen; }));
    EXPECT_EQ(line.view.status[0], "Comport not open");
    EXPECT_EQ(line.view.dialogue, DialogueNone);
    line.sensor.Replug();
    EXPECT_TRUE(resumes());
    EXPECT_EQ(line.view.dialogue, DialogueMeasuring);

    line.sensor.With([&](clsSensorModel& model) { model.PowerOn(line.sensor.Now_s()); });
    EXPECT_TRUE(line.Until([&] { return line.device.CommStatus == DialogueIdle; }));
    EXPECT_TRUE(resumes());
    EXPECT_EQ(line.view.dialogue, DialogueMeasuring);
}

TEST(SensorLine, AFaultyLineIsSurvived)
{
    for (const char* fault :
         {"split=1", "burst=1", "slow=1", "garbage=0.01", "lost=0.01", "noecho=0.5", "temperr=0.5"}) {
        SensorOnLine line;
        line.InSensor("301", 1); // many values a second
        ASSERT_TRUE(line.Configured()) << fault;
        line.loop.StartStop({});
        ASSERT_TRUE(line.UntilEvent(EventDistance));
        line.sensor.With([&](clsSensorModel& model) { EXPECT_EQ(ParseFault(fault, model.Faults()), ""); });
        int distances = 0;
        EXPECT_TRUE(line.Until([&] { return (distances += line.device.EventNr == EventDistance ? 1 : 0) >= 20; }))
            << fault << ": " << distances;
        EXPECT_EQ(line.view.dialogue, DialogueMeasuring) << fault;
    }
}

} // namespace
