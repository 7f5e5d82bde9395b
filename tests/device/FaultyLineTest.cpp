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
