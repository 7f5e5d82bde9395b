// The transfers against the simulated sensor on a real line: what goes over the wire and what the window is told.
#include "sensor/Parameters.h"
#include "session/clsTransfer.h"
#include "tests/support/SensorOnLine.h"
#include "tests/support/clsRecordingTransferView.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

constexpr char kSerialUpload[] =
    "101 ASCII\r|111 MM\r|301 64\r|302 25\r|304 0\r|305 0\r|306 1\r|311 0\r|401 1000\r|402 9000\r|403 0\r|"
    "501 10000\r|502 9900\r|503 1\r|504 1000\r|505 900\r|506 1\r|601 38400\r|603 C\r|701 0\r|702 1000\r|801 200\r|"
    "802 1013\r|351 OFF\r|C";

struct TransferOnLine : clsRecordingTransferView {
    SensorOnLine line;
    Configuration entry;
    std::function<void()> pump = [this] { line.Tick(); };
    clsTransfer transfer{line.device, entry, *this, [this] { pump(); }};

    TransferOnLine()
    {
        EXPECT_TRUE(line.Configured());
        transfer.Download();
        told.clear();
        line.TakeLog();
    }
};

TEST(Transfer, UploadStoringAndDownloadAreTheSameHoweverTheBytesAreCut)
{
    for (const double beat_s : {0.0002, 0.003, 0.05, 0.11}) { // less than a byte, some bytes, the usual, many lines
        SCOPED_TRACE(beat_s);
        TransferOnLine window;
        window.line.beat_s = beat_s;
        window.entry.Parameters.OutputFormat = 0;
        window.entry.Parameters.DistanceUnit = 0;
        window.entry.Parameters.DistanceWindow = 5; // never sent, so the sensor's own value comes back
        window.transfer.Upload();
        EXPECT_EQ(window.line.TakeLog(), kSerialUpload);
        EXPECT_EQ(window.TakeTold(), "select 1274 ");
        EXPECT_EQ(window.progress.step, 25);
        EXPECT_EQ(window.progress.steps, 25);
        EXPECT_EQ(window.entry.Parameters.DistanceWindow, 20000);
        EXPECT_TRUE(window.line.device.UnstoredChanges());

        window.transfer.StoreInSensor();
        EXPECT_EQ(window.line.TakeLog(), "999 \r");
        EXPECT_EQ(window.TakeTold(), "1271 ");
        EXPECT_FALSE(window.line.device.UnstoredChanges());
        EXPECT_EQ(window.line.sensor.StoredParameter("101"), 0);
        window.entry.Parameters.DistanceUnit = 7;
        window.transfer.Download();
        EXPECT_EQ(window.entry.Parameters.DistanceUnit, 0);
    }
}

TEST(Transfer, WhatASensorLacksIsLeftOut)
{
    const std::string head = "101 111 301 302 304 305 306 311 ";
    const std::string tail = "701 702 801 802 ";
    const std::string one = head + "401 402 403 501 502 503 506 601 603 " + tail;
    const std::string both = head + "401 402 403 501 502 503 504 505 506 601 603 " + tail;
    const std::string profibus = head + "601 610 " + tail;
    using Row = std::tuple<std::int32_t, std::int32_t, std::int32_t, const char*, std::string>;
    for (const auto& [node, analog, rain, attenuator, codes] :
         {Row{-1, 0, 0, "E", both + "351 "}, Row{-1, 1, 2, "DE", one + "351 "}, Row{-1, 0, -1, "E", both},
          Row{-1, 0, 3, "E", both}, Row{5, 1, 1, "D", profibus}, Row{0, 0, 1, "E", profibus + "351 "}}) {
        ParameterSet set;
        SensorIdentity sensor;
        set.NodeAddress = node;
        set.AnalogOutput = analog;
        set.RainFilter = rain;
        sensor.Attenuator = attenuator;
        std::string sent;
        for (const std::string_view code : UploadCodes(set, sensor)) {
            sent += std::string(code) + " ";
        }
        EXPECT_EQ(sent, codes);
    }
}

TEST(Transfer, AFailureIsAskedAbout)
{
    TransferOnLine window;
    window.line.sensor.Faults().refusal = 1.0;
    window.answers = {FailureAnswer::Retry, FailureAnswer::Ignore, FailureAnswer::Abort};
    window.entry.Parameters.Offset = 12;
    window.transfer.Upload();
    EXPECT_EQ(window.line.TakeLog(), "101 ASCII+UNIT\r|101 ASCII+UNIT\r|111 M\r");
    EXPECT_EQ(window.TakeTold(), "ask 1293 ask 1293 ask 1293 !1361:1293 ");
    EXPECT_EQ(window.entry.Parameters.Offset, 0) << "the entry keeps what was read";
    EXPECT_FALSE(window.line.device.UnstoredChanges());
    EXPECT_FALSE(window.line.device.Wait().Running);
}

TEST(Transfer, SaysWhatWasNotDoneAndWhy)
{
    TransferOnLine window;
    window.line.sensor.Faults().silence = 1.0;
    window.transfer.Download();
    EXPECT_EQ(window.TakeTold(), "!1360:1292 fill ");

    window.line.sensor.Faults().silence = 0.0;
    ASSERT_TRUE(window.line.Configured());
    int ticks = 0;
    window.pump = [&] {
        if (++ticks == 20) {
            window.line.Unplug();
        }
        window.line.Tick();
    };
    window.answers = {FailureAnswer::Retry, FailureAnswer::Abort};
    window.transfer.Upload();
    EXPECT_EQ(window.TakeTold(), "ask 1292 ask 1292 !1361:1136 ");
    window.line.Replug();
    window.pump = [&] { window.line.Tick(); };
    ASSERT_TRUE(window.line.Configured());
    window.transfer.Upload();
    EXPECT_EQ(window.TakeTold(), "select 1274 ");
}

TEST(Transfer, ASensorThatRestartsIsSentEverythingAgain)
{
    for (const FailureAnswer answer : {FailureAnswer::Retry, FailureAnswer::Ignore}) {
        TransferOnLine window;
        window.line.beat_s = 0.001; // no answer is on its way yet
        window.entry.Parameters.Offset = 12;
        int commands = 0;
        window.pump = [&] {
            const std::size_t before = window.line.sensor.WireLog().size();
            window.line.Tick();
            if (window.line.sensor.WireLog().size() > before && ++commands == 5) {
                window.line.PowerOn(); // instead of its answer
            }
        };
        window.answers = {answer};
        window.transfer.Upload();
        const std::string log = window.line.TakeLog(), sent = "101 ASCII+UNIT\r|111 M\r|301 64\r|302 25\r|304 0\r|";
        const bool again = answer == FailureAnswer::Retry;
        EXPECT_TRUE(log.starts_with(sent + (again ? "101 ASCII+UNIT\r|" : "305 0\r|"))) << log;
        EXPECT_EQ(window.TakeTold(), "ask 1292 select 1274 ");
        EXPECT_EQ(window.line.device.Parameters().Offset, 12);
    }
}

TEST(Transfer, AMeasurementGoesOnOnlyWithTheSameSensor)
{
    using Row = std::tuple<const char*, void (*)(ScriptedSensor&), const char*>;
    for (const auto& [what, happens, sent] :
         {Row{"an answer", [](ScriptedSensor& s) { s.Arrive("OK 999\r\n"); }, "S999 \rM"},
          Row{"a closed port", [](ScriptedSensor& s) { s.device.CloseComPort(); }, "S999 \r"},
          Row{"another device", [](ScriptedSensor& s) { s.device.CloseComPort(), s.device.OpenComPort(1, 9600); },
              "S999 \r"}}) {
        ScriptedSensor sensor;
        Configuration entry;
        clsRecordingTransferView view;
        clsTransfer transfer(sensor.device, entry, view, [&, act = happens] { act(sensor); });
        sensor.device.CommStatus() = DialogueMeasuring;
        transfer.StoreInSensor();
        EXPECT_EQ(sensor.port.Sent, sent) << what;
    }
}

TEST(Transfer, TheProgramEndsInTheMiddle)
{
    TransferOnLine window;
    window.line.sensor.Faults().silence = 1.0;
    window.pump = [&] {
        window.line.Tick();
        window.transfer.Download(); // a second transfer does not start
        window.line.loop.Unload();
    };
    window.transfer.Upload();
    EXPECT_EQ(window.line.TakeLog(), "101 ASCII+UNIT\r");
    EXPECT_EQ(window.TakeTold(), "") << "no question any more";
}

} // namespace
