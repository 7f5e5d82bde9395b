// Garbage, lost bytes and floods: the evaluation stays bounded and finds its way back.
#include "device/Crc16.h"
#include "tests/support/ScriptedSensor.h"

#include <gtest/gtest.h>
#include <random>

namespace {

struct Format {
    std::int32_t index;
    std::string goodReply;
};

const Format kFormats[] = {
    {FormatAscii, "       1.234\r\n"},
    {FormatAsciiUnit, "     1.234 m\r\n"},
    {FormatBinary, "\xD2\x04\x00\x00"s},
    {FormatBinaryCrc, "\x10\x27\x00\x00\xB4\xEF"s},
};

TEST(FaultyLine, AnyBytesInAnyStateStayBoundedAndEndAtTheDeadline)
{
    std::mt19937 random(7);
    const char* commands[] = {"", "M", "m", "S", "T", "G", "C", "X", "O", "302 50\r"};
    const char* pieces[] = {"Type:", "end", " C,", "\r\n", "O", "E", "No Echo", "TempErr!", "RVQ ready", "C, ", "0"};
    for (int round = 0; round < 3000; ++round) {
        ScriptedSensor sensor;
        sensor.device.OutputFormat = static_cast<std::int32_t>(random() % 5);
        sensor.device.OutputMode = static_cast<std::int32_t>(random() % 2);
        sensor.Expect(static_cast<std::int32_t>(random() % 3), commands[random() % std::size(commands)]);
        for (int step = 0; step < 12; ++step) {
            std::string bytes;
            for (auto n = random() % 30; n > 0; --n) {
                bytes += random() % 3 == 0 ? pieces[random() % std::size(pieces)]
                                           : std::string(1, static_cast<char>(random()));
            }
            if (random() % 200 == 0) {
                bytes.append(3 * clsRVQ::kMaxPending, 'x'); // a flood without a line end
            }
            sensor.At(step * 100.0);
            sensor.Arrive(bytes);
            ASSERT_LE(sensor.device.InBuffer.size(), clsRVQ::kMaxPending) << "round " << round;
        }
        // Silence from here on. After some evaluations past every deadline nothing old is left over, but for what the
        // loop's step back to no dialogue clears away.
        for (int step = 0; step < 8; ++step) {
            sensor.At(60000.0 + step * 6000.0);
            sensor.Arrive("");
            if (sensor.device.EventNr == EventNoAnswer && sensor.device.CommStatus > 0) {
                --sensor.device.CommStatus;
            }
        }
        EXPECT_EQ(sensor.device.InBuffer, "") << "round " << round;
    }
}

TEST(FaultyLine, GoodRepliesAreFoundAgainAfterDamage)
{
    std::mt19937 random(11);
    for (const Format& format : kFormats) {
        for (int round = 0; round < 300; ++round) {
            ScriptedSensor sensor;
            sensor.device.OutputFormat = format.index;
            sensor.Expect(DialogueMeasuring, "m");
            // Damaged replies: bytes lost, doubled or changed.
            std::string damaged;
            for (int i = 0; i < 6; ++i) {
                for (const char c : format.goodReply) {
                    const auto what = random() % 20;
                    damaged += what == 0 ? ""s : what == 1 ? std::string(2, c) : what == 2 ? "?"s : std::string(1, c);
                }
            }
            sensor.Arrive(damaged);
            // Good ones after it, one a tick: soon the value is right and no error is left.
            for (int i = 0; i < 40; ++i) {
                sensor.device.MeasValue_mm = 0;
                sensor.Arrive(format.goodReply);
            }
            EXPECT_EQ(sensor.device.EventNr, EventDistance) << format.index << " round " << round;
            EXPECT_EQ(sensor.device.MeasValue_mm, format.index == FormatBinaryCrc ? 10000 : 1234) << format.index;
        }
    }
}

TEST(FaultyLine, HowTheBytesAreCutMakesNoDifference)
{
    for (const Format& format : kFormats) {
        std::string stream;
        for (int i = 0; i < 8; ++i) {
            stream += format.goodReply;
        }
        for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
            ScriptedSensor sensor;
            sensor.device.OutputFormat = format.index;
            sensor.Expect(DialogueMeasuring, "m");
            bool error = false;
            for (std::size_t at = 0; at < stream.size(); at += piece) {
                error |= sensor.Arrive(stream.substr(at, piece)) == EventCrcError;
            }
            sensor.Arrive(""); // an odd line at the end waits for one more evaluation
            EXPECT_FALSE(error) << format.index << " in pieces of " << piece;
            EXPECT_EQ(sensor.device.MeasValue_mm, format.index == FormatBinaryCrc ? 10000 : 1234) << piece;
            EXPECT_EQ(sensor.device.InBuffer, "") << format.index << " in pieces of " << piece;
        }
    }
}

} // namespace
