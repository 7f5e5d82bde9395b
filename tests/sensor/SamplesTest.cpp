// Which replies of an evaluation become samples, read by read, beside the one value that is shown.
#include "sensor/Parameters.h"
#include "tests/support/ScriptedSensor.h"

#include <gtest/gtest.h>

namespace {

using Values = std::vector<std::int32_t>;

std::string frame(std::int32_t mm)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(static_cast<std::uint32_t>(mm) >> shift);
    }
    return bytes;
}

std::string crc(std::int32_t mm)
{
    return WithCrc(frame(mm));
}

struct Read {
    std::string bytes;
    Values samples;                   ///< millimetres
    std::optional<std::int32_t> shown ///< the number, if the read changes it
        = std::nullopt;
};

struct Case {
    const char* name;
    std::int32_t format;
    std::vector<Read> reads;
    int damaged = 0;
};

void check(const std::vector<Case>& cases)
{
    for (const Case& row : cases) {
        ScriptedSensor sensor;
        sensor.device.Parameters().OutputFormat = row.format;
        sensor.Expect(DialogueMeasuring, "m");
        double last = 0.0;
        int number = 0;
        for (const Read& read : row.reads) {
            SCOPED_TRACE(std::string(row.name) + ", read " + std::to_string(++number));
            sensor.At(number * 20.0);
            const bool damaged = sensor.Arrive(read.bytes) == EventCrcError;
            if (damaged) {
                sensor.device.EvaluateBehindDamage();
            }
            Values samples;
            for (const Measurement& sample : sensor.device.Samples()) {
                samples.push_back(sample.value_mm);
                EXPECT_GE(sample.time, last);
                EXPECT_LE(sample.time, sensor.device.CurrentTime());
                last = sample.time;
            }
            std::optional<std::int32_t> shown;
            for (bool more = sensor.device.NewDistance(); more; sensor.device.EvaluateInBuffer()) {
                shown = sensor.device.MeasValue_mm();
                more = sensor.device.HasDue();
                if (!more) {
                    break;
                }
            }
            EXPECT_EQ(samples, read.samples);
            EXPECT_EQ(shown, read.shown);
        }
        EXPECT_EQ(sensor.device.DamagedReplies(), row.damaged) << row.name;
    }
}

TEST(Samples, EveryLineIsOne)
{
    const std::string one = "     1.234 m\r\n", two = "     1.235 m\r\n", three = "     1.236 m\r\n";
    const std::string none = "     No Echo\r\n", error = "    TempErr!\r\n", zero = "     0.000 m\r\n";
    check({
        {"the odd line comes with the next read",
         FormatAsciiUnit,
         {{one + two + three, {1234, 1235}, 1235}, {"", {1236}, 1236}}},
        {"half a line at the start", FormatAsciiUnit, {{"34 m\r\n" + one, {1234}, 1234}, {two, {1235}, 1235}}},
        {"no echo",
         FormatAsciiUnit,
         {{none + none, {0, 0}, 0},
          {one + one, {1234, 1234}, 1234},
          {one + none, {1234, 0}, 0},
          {none + two, {0, 1235}, 1235}}},
        {"a damaged line",
         FormatAsciiUnit,
         {{one, {1234}, 1234}, {two + "   1.?36 m\r\n", {1235}, 1235}, {three, {1236}, 1236}},
         1},
        {"lines without an end",
         FormatAsciiUnit,
         {{one, {1234}, 1234}, {std::string(10 * one.size(), 'x') + "\r\n", {}}, {two, {1235}, 1235}},
         10},
        {"a line of another length waits and is given up",
         FormatAsciiUnit,
         {{one, {1234}, 1234}, {"     1.35 m\r\n", {}}, {two + three, {1235, 1236}, 1236}},
         1},
        {"lines of another unit wait and are confirmed",
         FormatAsciiUnit,
         {{one, {1234}, 1234}, {"     4.049 ft\r\n", {}}, {"     4.100 ft\r\n", {1234, 1250}, 1250}}},
        {"short lines",
         FormatAsciiUnit,
         {{"1.234 m\r\n", {}}, {"1.235 m\r\n", {1234, 1235}}, {"1.236 m\r\n", {1236}}, {"1.237 m\r\n", {1237}}}},
        // A line of 0 is a missing echo, but never the value: a pair that ends with it shows nothing. So it is the one
        // reply that may follow the value in the samples.
        {"a line of 0",
         FormatAsciiUnit,
         {{one + two, {1234, 1235}, 1235},
          {zero + three, {0, 1236}, 1236},
          {two + zero, {1235, 0}},
          {one + two + zero + "  1.?3 m\r\n", {1234, 1235, 0}, 1235}},
         1},
        {"a temperature error is the value, and what follows it comes with the next read",
         FormatAsciiUnit,
         {{one, {1234}, 1234},
          {two + error + error + three, {1235, kMarkerTempError, kMarkerTempError}, kMarkerTempError},
          {"", {1236}},
          {error + "     1.2", {kMarkerTempError}, kMarkerTempError},
          {"34 m\r\n", {1234}, 1234}}},
        {"a number in an unknown unit is none",
         FormatAscii,
         {{"       1.234\r\n", {1234}, 1234}, {"       4.0490\r\n", {}}, {"       4.0500\r\n", {}}, {none, {0}}},
         2},
        {"lines before a temperature error at the start",
         FormatAsciiUnit,
         {{one + "12 m\r\n" + error, {1234, kMarkerTempError}, kMarkerTempError}},
         1},
    });
}

TEST(Samples, EveryLineOfZeroIsOneAsSoonAsItsFormIsKnown)
{
    const std::string one = "     1.234 m\r\n", two = "     1.235 m\r\n", zero = "     0.000 m\r\n";
    const std::string feet = "     4.049 ft\r\n", zeroFeet = "     0.000 ft\r\n", other = "     1.35 m\r\n";
    std::string many;
    for (int i = 0; i < 100; ++i) {
        many += zero;
    }
    check({
        {"from the start", FormatAsciiUnit, {{zero, {0}}, {zero + zero, {0, 0}}, {zero + one, {0, 1234}, 1234}}},
        {"two short ones", FormatAsciiUnit, {{"0.000 m\r\n", {}}, {"0.000 m\r\n", {0, 0}}, {"0.000 m\r\n", {0}}}},
        {"a pair of short ones",
         FormatAscii,
         {{"0.000\r\n0.000\r\n", {0, 0}}, {"1.234\r\n1.235\r\n", {1234, 1235}, 1235}}},
        {"the end of another number", FormatAsciiUnit, {{"0.000 m\r\n12.345 m\r\n", {12345}, 12345}}},
        {"behind a line that is confirmed",
         FormatAsciiUnit,
         {{one, {1234}, 1234}, {feet + zeroFeet, {}}, {feet, {1234, 0, 1234}, 1234}}},
        {"behind a line that is given up",
         FormatAsciiUnit,
         {{one, {1234}, 1234}, {other + zero, {}}, {one + two, {0, 1234, 1235}, 1235}},
         1},
        {"for long behind a line", FormatAsciiUnit, {{one, {1234}, 1234}, {other, {}}, {many, Values(100, 0)}}, 1},
        {"of another form",
         FormatAsciiUnit,
         {{one, {1234}, 1234}, {"0\r\n", {}}, {"0\r\n", {0, 0}}, {two, {1235}, 1235}, {"0\r\n", {0}}}},
        {"a damaged one", FormatAsciiUnit, {{one, {1234}, 1234}, {"     0.00 m\r\n", {}}, {two, {1235}, 1235}}, 1},
    });
}

TEST(Samples, EveryFrameIsOne)
{
    const std::string four = frame(10000) + frame(10001) + frame(10002) + frame(10003);
    const Values fourValues{10000, 10001, 10002, 10003};
    check({
        {"in pieces", FormatBinary, {{four + "\x14\x27", fourValues, 10003}, {"\x00\x00"s, {10004}, 10004}}},
        {"markers",
         FormatBinary,
         {{four, fourValues, 10003},
          {frame(kMarkerNoEcho) + frame(kMarkerTempError), {kMarkerNoEcho, kMarkerTempError}, kMarkerTempError}}},
        {"held back with good ones before it, and confirmed",
         FormatBinary,
         {{four, fourValues, 10003},
          {frame(10004) + frame(10005) + "\xAA\x11\x27\x00"s, {}},
          {"\xAB\x11\x27\x00"s, {10004, 10005, 0x2711AA, 0x2711AB}, 0x2711AB}}},
        {"held back and given up",
         FormatBinary,
         {{four, fourValues, 10003},
          {frame(10004) + "\xAA\x11\x27\x00"s, {}},
          {"\x00\x12\x27\x00\x00"s, {10004, 10002}, 10002}},
         1},
        // A frame whose lowest byte is 0 keeps the step, but is never the value.
        {"the lowest byte is 0",
         FormatBinary,
         {{frame(9983) + frame(9984) + frame(9985), {9983, 9984, 9985}, 9985}, {frame(9984), {9984}}}},
        {"a frame of 0",
         FormatBinary,
         {{four, fourValues, 10003}, {frame(0) + frame(10004), {0, 10004}, 10004}, {frame(0), {0}}}},
        {"the lowest byte is 0 from the start", FormatBinary, {{frame(9984) + frame(9984), {}}, {frame(0), {}}}, 3},
        {"0 and a CRC from the start", FormatBinaryCrc, {{crc(0) + crc(9984), {0, 9984}, 9984}}},
        {"a CRC", FormatBinaryCrc, {{crc(0) + crc(10001) + "\x10", {0, 10001}, 10001}}},
        {"damage between good ones",
         FormatBinaryCrc,
         {{crc(10000), {10000}, 10000},
          {crc(10001) + crc(10002).substr(1) + crc(10003) + crc(10004) + "xxxxxx" + crc(10005),
           {10001, 10003, 10004, 10005},
           10005},
          {crc(10006), {10006}, 10006}},
         2},
    });
}

TEST(Samples, TheAnswerToASingleRequestIsOne)
{
    for (const auto& [format, bytes] : {std::pair(FormatAsciiUnit, "     1.234 m\r\n"s),
                                        std::pair(FormatBinary, frame(1234)), std::pair(FormatBinaryCrc, crc(1234))}) {
        ScriptedSensor sensor;
        sensor.device.Parameters().OutputFormat = format;
        sensor.Expect(DialogueIdle, "G");
        EXPECT_EQ(sensor.Arrive(bytes), EventDistance);
        ASSERT_EQ(sensor.device.Samples().size(), 1U) << format;
        EXPECT_EQ(sensor.device.Samples()[0].value_mm, 1234);
        EXPECT_EQ(sensor.device.Samples()[0].outputFormat, format);
        sensor.Arrive("");
        EXPECT_TRUE(sensor.device.Samples().empty()) << "told once";
    }
}

/// Only while a measurement may come: the bytes that a command discards are no loss.
TEST(Samples, DiscardedBytesCountAsTheRepliesThatTheyWouldHaveBeen)
{
    struct Row {
        const char* name;
        std::int32_t format, commStatus;
        const char* request;
        double at_ms; ///< the deadline is at 2000
        std::string bytes;
        int damaged;
    };
    const std::string line = "     1.234 m\r\n", noise(10 * line.size(), 'x');
    const std::string flood(clsRVQ::kMaxPending + noise.size(), 'x');
    for (const Row& row : {
             Row{"noise", FormatAscii, DialogueMeasuring, "m", 2001, noise, 10},
             Row{"less than a line", FormatAscii, DialogueMeasuring, "m", 2001, "xyz", 1},
             Row{"noise that may still become a line", FormatAscii, DialogueMeasuring, "m", 1999, noise, 0},
             Row{"a flood", FormatAscii, DialogueMeasuring, "m", 1999, flood, 10},
             Row{"a single value", FormatAscii, DialogueIdle, "G", 2001, noise, 10},
             Row{"idle", FormatAscii, DialogueIdle, "", 2001, noise, 0},
             Row{"behind a stop", FormatAscii, DialogueMeasuring, "S", 2001, noise, 0},
             Row{"interrupted", FormatAscii, DialogueMeasuring, "T", 2001, noise, 0},
             Row{"a restart", FormatAsciiUnit, DialogueMeasuring, "m", 1999, line + "RVQ ready", 1},
             Row{"half a frame", FormatBinary, DialogueMeasuring, "m", 2001, "\x10\x27", 1},
             Row{"half a frame with CRC", FormatBinaryCrc, DialogueMeasuring, "m", 2001, "\x10\x27", 1},
             Row{"a text among frames", FormatBinary, DialogueMeasuring, "m", 1999,
                 frame(10000) + frame(10001) + "    TempErr!\r\n", 2},
         }) {
        ScriptedSensor sensor;
        sensor.device.Parameters().OutputFormat = row.format;
        sensor.Expect(row.commStatus, row.request);
        sensor.At(row.at_ms);
        sensor.Arrive(row.bytes);
        EXPECT_EQ(sensor.device.DamagedReplies(), row.damaged) << row.name;
    }
}

TEST(Samples, EachHasTheTimeOfItsLastByte)
{
    ScriptedSensor sensor; // at 9600 bit/s
    sensor.device.Parameters().OutputFormat = FormatBinary;
    sensor.Expect(DialogueMeasuring, "m");
    sensor.At(100);
    sensor.Arrive(frame(10000) + frame(10001).substr(0, 1));
    const double first = sensor.device.Samples()[0].time;
    sensor.At(200);
    sensor.Arrive(frame(10001).substr(1) + frame(10002) + frame(10003));
    const auto samples = sensor.device.Samples();
    ASSERT_EQ(samples.size(), 3U);
    constexpr double kByte_ms = 10.0 / 9.6, kExact_ms = 0.01;
    const auto ms = [](double time) { return (time - ScriptedSensor::kStart) * kMsPerDay; };
    EXPECT_NEAR(ms(first), 100 - kByte_ms, kExact_ms);
    EXPECT_NEAR(ms(samples[0].time), 200 - 8 * kByte_ms, kExact_ms);
    EXPECT_NEAR(ms(samples[2].time), 200, kExact_ms);
}

} // namespace
