// Every value counts: what a measurement passes on as samples, beside what was sent.
#include "tests/support/DamagedStream.h"

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr const char* kFormats[] = {"ASCII", "ASCII+UNIT", "BINARY", "BINARY+CRC"};

/// Each case at three rates, read in ticks of two lengths, most of which end inside a reply.
template <typename Check>
void playAll(const StreamCase& base, Check check)
{
    for (const double rate_Hz : {20.0, 60.0, 500.0}) {
        for (const double tick_s : {0.05, 0.037}) {
            for (const double noEcho : {0.0, 0.1}) {
                StreamCase play = base;
                play.rate_Hz = rate_Hz;
                play.tick_s = tick_s;
                play.noEcho = noEcho;
                SCOPED_TRACE(std::string(kFormats[play.format]) + ", unit " + std::to_string(play.unit) + ", " +
                             std::to_string(rate_Hz) + " Hz, tick " + std::to_string(tick_s) + " s, no echo " +
                             std::to_string(noEcho) + ", course " + std::to_string(static_cast<int>(play.course)) +
                             ", damage " + std::to_string(static_cast<int>(play.damage)) + ", padded " +
                             std::to_string(play.isPadded) + ", from " + std::to_string(play.from_mm));
                const StreamResult result = DamagedStream(play).Play();
                EXPECT_EQ(result.unordered, 0) << "not sent, or not in this order";
                EXPECT_EQ(result.backwards, 0) << "times";
                check(play, result);
            }
        }
    }
}

/// Frames whose lowest byte is 0 are samples although they are not the value, so here the last sample may be one.
TEST(SampleStream, AnUndamagedStreamGivesEveryValueOnceAndInOrder)
{
    for (const std::int32_t format : {FormatAscii, FormatAsciiUnit, FormatBinary, FormatBinaryCrc}) {
        for (const Course course : {Course::Still, Course::Moving, Course::Anywhere}) {
            for (const auto& [from_mm, to_mm] : {std::pair(300.0, 9000.0), std::pair(-1000.0, 1000.0)}) {
                if (course == Course::Anywhere && from_mm < 0.0) {
                    continue; // no target jumps to and fro around 0, and a few such frames cannot be told from damage
                }
                for (const bool hasVoids : {false, true}) {
                    if (hasVoids && (format != FormatBinary || course != Course::Moving)) {
                        continue; // such a frame counts only where it continues the ones before
                    }
                    const StreamCase play{.format = format,
                                          .from_mm = from_mm,
                                          .to_mm = to_mm,
                                          .course = course,
                                          .hasVoids = hasVoids,
                                          .damages = 1500};
                    playAll(play, [](const StreamCase& played, const StreamResult& result) {
                        EXPECT_EQ(result.samples, result.all);
                        EXPECT_EQ(result.counted, 0);
                        EXPECT_TRUE(played.hasVoids || result.apart == 0) << result.apart;
                    });
                }
            }
        }
    }
}

/// Of lines that are not padded, the first one may be a part of a line. One that comes alone may be too short for a
/// value, so slow ones never become one, and the measurement ends.
TEST(SampleStream, LinesOfAnyLengthMissAtMostTheFirst)
{
    for (const std::int32_t unit : {0, 1, 3, 5}) {
        for (const Course course : {Course::Still, Course::Moving}) {
            const StreamCase play{
                .format = FormatAsciiUnit, .unit = unit, .course = course, .isPadded = false, .damages = 1500};
            playAll(play, [](const StreamCase& played, const StreamResult& result) {
                if (played.rate_Hz * played.tick_s < 2.5) {
                    return;
                }
                ASSERT_GE(result.samples.size() + 1, result.all.size());
                EXPECT_EQ(result.counted, 0);
                EXPECT_TRUE(std::equal(result.samples.rbegin(), result.samples.rend(), result.all.rbegin()));
            });
        }
    }
}

TEST(SampleStream, OfADamagedStreamEverySampleWasSent)
{
    for (const std::int32_t format : {FormatAscii, FormatAsciiUnit, FormatBinary, FormatBinaryCrc}) {
        for (const Damage damage : {Damage::Lost, Damage::Doubled, Damage::Foreign}) {
            for (const Course course : {Course::Still, Course::Moving}) {
                for (const auto& [from_mm, to_mm] : {std::pair(300.0, 9000.0), std::pair(70000.0, 150000.0)}) {
                    const StreamCase play{.format = format,
                                          .from_mm = from_mm,
                                          .to_mm = to_mm,
                                          .course = course,
                                          .damage = damage,
                                          .damages = 100};
                    playAll(play, [](const StreamCase&, const StreamResult& result) {
                        const int lost = result.sent - static_cast<int>(result.samples.size());
                        EXPECT_EQ(result.apart, 0);
                        EXPECT_LT(lost, 2 * result.damaged) << "what a damage costs";
                        EXPECT_LT(std::abs(lost - result.counted), result.damaged / 2) << lost << ' ' << result.counted;
                    });
                }
            }
        }
    }
}

} // namespace
