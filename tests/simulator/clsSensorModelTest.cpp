// The simulated sensor as seen from its line, with the time set by the tests.
#include "simulator/clsSensorModel.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

namespace simulator {

namespace {

/// A sensor and its clock: whatever it sends is collected in steps of a millisecond.
struct Bench {
    clsSensorModel sensor;
    double now_s = 0;

    std::string Run(double seconds)
    {
        std::string out;
        for (const double end_s = now_s + seconds; now_s < end_s; now_s += 0.001) {
            out += sensor.Transmit(now_s);
        }
        return out;
    }
    std::string Ask(std::string_view bytes, double seconds = 2)
    {
        sensor.Receive(bytes, now_s);
        return Run(seconds);
    }
};

} // namespace

TEST(SensorModel, CommandsGetTheirAnswers)
{
    using Row = std::tuple<std::string_view, std::string_view, std::int32_t>;
    for (const auto& [sent, answered, atRest] :
         {Row{"X", "Sensor ready\r\n", 1}, Row{"T", "23 C,  OK\r\n", 1}, Row{"G", "       5.000 m\r\n", 1},
          Row{"S", "", 1}, Row{"P", "", 1}, Row{"?\n x", "", 1}, Row{"302 50\r", "OK 302\r\n", 2},
          Row{"302 50\rT", "OK 302\r\n23 C,  OK\r\n", 2}, Row{"302 51\r", "Error 302\r\n", 1},
          Row{"302 \r", "Error 302\r\n", 1}, Row{"777 1\r", "Error 777\r\n", 1}, Row{"610 7\r", "Error 610\r\n", 1},
          Row{"802 799\r", "Error 802\r\n", 1}, Row{"802 1013x\r", "Error 802\r\n", 1},
          Row{"351 \r", "Error 351\r\n", 1}, Row{"501 -1000000\r", "OK 501\r\n", 1}, Row{"30T\r", "Error ???\r\n", 1},
          Row{"999 1\r", "Error 999\r\n", 1}}) {
        Bench bench;
        bench.sensor.HoldDistance(5000);
        EXPECT_EQ(bench.Ask(sent), answered) << sent;
        EXPECT_EQ(bench.sensor.Parameter("302"), atRest) << sent;
    }
}

TEST(SensorModel, AFrameMayComeInPiecesButNotForever)
{
    Bench bench;
    EXPECT_EQ(bench.Ask("10", 1), "");
    EXPECT_EQ(bench.Ask("1 BINARY+C", 1), "") << "letters belong to the frame";
    EXPECT_EQ(bench.Ask("RC\r", 1), "OK 101\r\n");
    EXPECT_EQ(bench.Ask("301 1", 2.1), "");
    EXPECT_EQ(bench.Ask("X", 1), "Sensor ready\r\n") << "the unfinished frame is forgotten";
    EXPECT_EQ(bench.sensor.Parameter("301"), 2);
    EXPECT_EQ(bench.sensor.WireLog(), (std::deque<std::string>{"101 BINARY+CRC\r", "X"}));
    EXPECT_EQ(bench.Ask("1" + std::string(60, 'y') + "X", 1), "Sensor ready\r\n") << "an endless frame is given up";
}

TEST(SensorModel, BytesNeverOutrunTheLine)
{
    Bench bench{clsSensorModel({.lineRate = 38400})};
    bench.sensor.SetParameter("301", 0); // more values than any line can carry
    bench.sensor.Receive("MCT", 0);
    std::size_t count = 0;
    for (int step = 1; step <= 300; ++step) {
        count += bench.sensor.Transmit(step * 0.01).size();
        ASSERT_LE(static_cast<double>(count), step * 0.01 * 3840) << step;
    }
    EXPECT_GT(static_cast<double>(count), 2.8 * 3840) << "the line is kept busy";
}

TEST(SensorModel, WhatIsStoredComesBackWithThePower)
{
    Bench bench;
    EXPECT_EQ(bench.Ask("305 1\r601 19200\r999 \r701 50\r", 1), "OK 305\r\nOK 601\r\nOK 999\r\nOK 701\r\n");
    EXPECT_EQ(bench.sensor.LineRate(), 9600) << "the line waits for the next start";
    EXPECT_EQ(bench.Ask("000 \r", 1), "OK 000\r\n");
    EXPECT_EQ(bench.sensor.Parameter("305"), 0);
    bench.sensor.PowerOn(bench.now_s);
    EXPECT_TRUE(bench.Run(0.2).starts_with("RVQ ready\r\n"));
    EXPECT_EQ(bench.sensor.LineRate(), 19200);
    EXPECT_TRUE(bench.sensor.IsMeasuring()) << "autostart";
    EXPECT_EQ(bench.sensor.Parameter("701"), 0) << "never stored";
}

TEST(SensorModel, FaultsShowOnTheLine)
{
    using Row = std::tuple<double Faults::*, double, std::string_view, std::string_view>;
    for (const auto& [rate, value, sent, answered] :
         {Row{&Faults::silence, 1, "X", ""}, Row{&Faults::noecho, 1, "G", "     No Echo\r\n"},
          Row{&Faults::temperr, 1, "G", "    TempErr!\r\n"}, Row{&Faults::shutdown, 0.5, "T", "23 C, NOK\r\n"},
          Row{&Faults::lost, 1, "X", ""}, Row{&Faults::announce, 1, "T", "23 C,RVQ ready\r\n  OK\r\n"},
          Row{&Faults::split, 1, "X", "Sensor ready\r\n"}, Row{&Faults::slow, 1, "X", "Sensor ready\r\n"},
          Row{&Faults::burst, 1, "X", "Sensor ready\r\n"}}) {
        Bench bench;
        bench.sensor.Faults().*rate = value;
        EXPECT_EQ(bench.Ask(sent), answered) << sent;
    }
    Bench noisy;
    noisy.sensor.Faults().garbage = 1;
    const std::string doubled = noisy.Ask("X");
    ASSERT_EQ(doubled.size(), 28U);
    EXPECT_EQ(doubled[1], 'S');
    EXPECT_EQ(doubled[27], '\n');
}

TEST(SensorModel, FaultsOfOneParameterLeaveTheOthersAlone)
{
    using Row = std::tuple<const char*, std::string_view, std::string_view, std::int32_t>;
    for (const auto& [fault, sent, answered, value] :
         {Row{"refuse=701", "701 57\r", "Error 701\r\n", 3}, Row{"ignore=701", "701 57\r", "OK 701\r\n", 3},
          Row{"round=701", "701 -57\r", "OK 701\r\n", -60}, Row{"refuse=802", "701 57\r", "OK 701\r\n", 57},
          Row{"ignore=000", "000 \r", "OK 000\r\n", 3}, Row{"refuse=000", "000 \r", "Error 000\r\n", 3},
          Row{"forget=1", "X", "Sensor ready\r\n", 0}}) {
        Bench bench;
        bench.sensor.SetParameter("701", 3);
        ASSERT_EQ(ParseFault(fault, bench.sensor.Faults()), "");
        EXPECT_EQ(bench.Ask(sent), answered) << fault;
        EXPECT_EQ(bench.sensor.Parameter("701"), value) << fault;
    }
    Bench bench;
    const std::string dump = bench.Ask("C", 2);
    bench.sensor.Faults().falsedump = 1;
    const std::string falsified = bench.Ask("C", 2);
    EXPECT_EQ(std::ranges::mismatch(dump, falsified).in1 == dump.end(), false);
    EXPECT_EQ(falsified.size(), dump.size());
    bench.sensor.Faults() = {};
    bench.sensor.Faults().omitted = "701";
    EXPECT_EQ(bench.Ask("C", 2).find("701:"), std::string::npos);
}

TEST(SensorFaults, BadTextsAreRefusedAndGoodOnesTaken)
{
    for (const char* text :
         {"", "silence", "=1", "noise=1", "silence=", "silence=1,5", "silence=1.1", "silence=-0.1", "silence=nan",
          "silence=0x1", "silence= 1", "Silence=1", "refuse=", "refuse=700", "ignore=70"}) {
        Faults faults;
        EXPECT_NE(ParseFault(text, faults), "") << text;
        EXPECT_EQ(faults.silence, 0) << text;
        EXPECT_EQ(faults.refused + faults.ignored, "") << text;
    }
    Faults faults;
    EXPECT_EQ(ParseFault("garbage=0.25", faults), "");
    EXPECT_EQ(ParseFault("announce=1", faults), "");
    EXPECT_EQ(faults.garbage, 0.25);
    EXPECT_EQ(faults.announce, 1);
}

namespace {

/// A sensor that measures and is looked at exactly when it asks for it.
struct MeasuringBench {
    clsSensorModel sensor;
    double now_s = 0;

    explicit MeasuringBench(const SensorOptions& options) : sensor(options) { sensor.Receive("M", 0); }

    /// The bytes up to the end of the next values.
    std::string NextValues()
    {
        std::string bytes;
        do {
            now_s = sensor.NextDue();
            bytes += sensor.Transmit(now_s);
        } while (sensor.JustSent().empty());
        return bytes;
    }
};

} // namespace

TEST(SensorModel, TheLastByteOfAValueLeavesOnTimeAtTheGivenRate)
{
    struct Row {
        Format format;
        std::int32_t lineRate;
        double values_Hz, bytes;
    };
    for (const Row& row : {Row{Format::Binary, 38400, 500, 4}, Row{Format::BinaryCrc, 9600, 60, 6},
                           Row{Format::AsciiUnit, 9600, 20, 16}, Row{Format::Ascii, 38400, 250, 14}}) {
        MeasuringBench bench({.lineRate = row.lineRate, .format = row.format, .values_Hz = row.values_Hz});
        for (int i = 1; i <= 1000; ++i) {
            bench.NextValues();
            const double due_s = i / row.values_Hz + row.bytes * 10 / row.lineRate;
            ASSERT_EQ(bench.sensor.JustSent().size(), 1U) << row.values_Hz << " Hz, value " << i;
            ASSERT_NEAR(bench.now_s, due_s, 0.0005) << row.values_Hz << " Hz, value " << i;
        }
    }
}

TEST(SensorModel, CountedDistancesAreOneMillimetreApartAndHaveNoLowestByteOfZero)
{
    MeasuringBench bench({.lineRate = 38400, .format = Format::Binary, .values_Hz = 500, .counts = true});
    std::int32_t before_mm = 0;
    for (int number = 1; number <= 8001; ++number) {
        const std::string bytes = bench.NextValues();
        const SentValue& value = bench.sensor.JustSent().front();
        const std::int32_t value_mm = std::stoi(value.text);
        ASSERT_EQ(value.number, number);
        ASSERT_EQ(DistanceMessage(Format::Binary, 0, value_mm), bytes) << "the log tells what was sent";
        ASSERT_NE(value_mm % 256, 0);
        const std::int32_t step_mm = value_mm - before_mm;
        const std::int32_t usual_mm = (value_mm - 1) % 256 == 0 ? 2 : 1;
        ASSERT_TRUE(step_mm == usual_mm || value_mm == 1004) << value.text << " after " << before_mm;
        before_mm = value_mm;
    }
    EXPECT_EQ(before_mm, 1004) << "after 8000 values it begins anew";
}

TEST(SensorModel, AValueIsCalledDamagedExactlyWhenItsBytesAreOthers)
{
    for (const char* fault : {"lost=0.05", "garbage=0.05"}) {
        SensorOptions options{.lineRate = 38400, .format = Format::BinaryCrc, .values_Hz = 100, .counts = true};
        ASSERT_EQ(ParseFault(fault, options.faults), "");
        MeasuringBench bench(options);
        int damaged = 0;
        for (int i = 0; i < 2000; ++i) {
            const std::string bytes = bench.NextValues();
            ASSERT_EQ(bench.sensor.JustSent().size(), 1U);
            const SentValue& value = bench.sensor.JustSent().front();
            ASSERT_EQ(value.isDamaged, bytes != DistanceMessage(Format::BinaryCrc, 0, std::stoi(value.text))) << fault;
            damaged += value.isDamaged ? 1 : 0;
        }
        EXPECT_GT(damaged, 300) << fault;
        EXPECT_LT(damaged, 800) << fault;
    }
}

} // namespace simulator
