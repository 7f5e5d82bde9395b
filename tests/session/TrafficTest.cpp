// The traffic of the line: what the dialogue says that it is, and the file that a simulated sensor plays.
#include "sensor/Parameters.h"
#include "session/modHandSending.h"
#include "tests/support/TrafficSite.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

struct Case {
    std::int32_t format;
    double lost, garbage;
};

/// Connects, measures for some seconds with damage, reads the temperature meanwhile, and ends idle.
void measure(TrafficSite& site, const Case& play)
{
    site.line->model.SetParameter("101", play.format);
    site.line->model.SetParameter("301", 0);
    site.Run(8.0);
    site.line->model.Faults().lost = play.lost;
    site.line->model.Faults().garbage = play.garbage;
    site.StartStop();
    site.Run(6.0);
    site.StartStop();
    site.line->model.Faults() = {};
    site.Run(4.0);
}

bool isMeasurement(const TrafficEntry& entry)
{
    return entry.kind >= TrafficKind::Distance && entry.kind <= TrafficKind::TempError;
}

class Traffic : public testing::TestWithParam<Case> {};

/// No byte is told twice or left out, and what is a measurement for the list is one for the program, with the same
/// value, and the other way round.
TEST_P(Traffic, HasEveryByteOnceAndTheMeasurementsOfTheSession)
{
    TrafficSite site;
    measure(site, GetParam());
    const clsTraffic& traffic = *site.session.Traffic();
    std::string received, sent;
    std::vector<double> values;
    std::int64_t damaged = 0;
    for (const TrafficEntry& entry : site.Entries()) {
        (IsToSensor(entry.kind) ? sent : received) += traffic.BytesOf(entry);
        if (isMeasurement(entry)) {
            values.push_back(entry.kind == TrafficKind::Distance ? entry.value : 0.0);
        }
        damaged += entry.kind == TrafficKind::Damaged || entry.kind == TrafficKind::DamagedCrc ? 1 : 0;
    }
    EXPECT_EQ(sent, site.line->received);
    ASSERT_EQ(received, site.line->delivered.substr(0, received.size()));
    EXPECT_LE(site.line->delivered.size() - received.size(), 64U);
    ASSERT_GT(site.samples.size(), 300U);
    std::vector<double> expected;
    for (const Measurement& sample : site.samples) {
        expected.push_back(KindOf(sample) == MeasurementKind::Distance ? sample.value : 0.0);
    }
    EXPECT_EQ(values, expected);
    EXPECT_EQ(damaged > 0, site.session.Device().DamagedReplies() > 0);
}

/// The recording of a session, played to another one, gives the same measurements and the same sensor.
TEST_P(Traffic, ARecordingPlayedGivesTheSameSession)
{
    TrafficSite before;
    before.line->model.SetParameter("701", 123);
    measure(before, GetParam());
    TrafficSite after(before.Recording());
    measure(after, GetParam());
    ASSERT_EQ(after.samples.size(), before.samples.size());
    for (std::size_t i = 0; i < before.samples.size(); ++i) {
        ASSERT_EQ(after.samples[i].value_mm, before.samples[i].value_mm) << i;
    }
    EXPECT_EQ(after.session.Device().Parameters(), before.session.Device().Parameters());
    EXPECT_EQ(after.session.Device().Parameters().Offset, 123);
    EXPECT_EQ(after.session.SerialNo(), before.session.SerialNo());
    EXPECT_NE(after.session.SerialNo(), "");
}

INSTANTIATE_TEST_SUITE_P(Formats, Traffic,
                         testing::Values(Case{FormatAscii, 0, 0}, Case{FormatAscii, 0.002, 0.002},
                                         Case{FormatAsciiUnit, 0.002, 0.002}, Case{FormatBinary, 0, 0},
                                         Case{FormatBinary, 0.002, 0.002}, Case{FormatBinaryCrc, 0.002, 0.002}),
                         [](const auto& play) {
                             return "Format" + std::to_string(play.param.format) +
                                    (play.param.lost > 0 ? "Damaged" : "Clean");
                         });

TEST(TrafficList, SaysWhatWasAskedAndAnsweredAndWhenTheLineWasCut)
{
    TrafficSite site;
    site.Run(8.0);
    site.line->Pulled = true;
    site.Run(1.0);
    const std::string meanings = site.Meanings();
    for (const char* part :
         {"line opened, 38400 bit/s|request: is a sensor there?|power-on message|",
          "request: configuration|configuration|", "|request: temperature|temperature|", "|line closed|"}) {
        EXPECT_NE(meanings.find(part), meanings.npos) << part << " in " << meanings;
    }
    EXPECT_EQ(meanings.find("not understood"), meanings.npos) << meanings;
}

/// The ring is full: the oldest entries go, and bytes are never those of others.
TEST(TrafficRing, KeepsTheNewestEntriesWithTheirOwnBytes)
{
    for (const std::size_t size : {std::size_t{4}, std::size_t{60}}) {
        clsTraffic traffic;
        traffic.Begin(0);
        std::int64_t end = 0;
        for (int i = 0; i < 250000; ++i) {
            std::string bytes = std::to_string(i);
            bytes.resize(size, 'x');
            traffic.Received(bytes, 1.0);
            traffic.Means(end, end + static_cast<std::int64_t>(size), TrafficKind::Refused);
            end += static_cast<std::int64_t>(size);
        }
        EXPECT_EQ(traffic.End(), 250000U);
        const std::size_t most = std::min(clsTraffic::kMostEntries, clsTraffic::kReceivedBytes / size);
        EXPECT_EQ(traffic.End() - traffic.First(), most) << size;
        for (const std::uint64_t number : {traffic.First(), traffic.First() + 1000, traffic.End() - 1}) {
            EXPECT_EQ(traffic.BytesOf(traffic.At(number)).substr(0, size),
                      (std::to_string(number) + std::string(size, 'x')).substr(0, size));
        }
    }
}

/// A long upload overwrites its beginning while the answers are still there, and the other way round. What stands at
/// the top keeps nothing.
TEST(TrafficRing, AnEntryGoesWithItsBytesWhateverIsOlder)
{
    for (const bool isSent : {true, false}) {
        clsTraffic traffic;
        traffic.Begin(0);
        traffic.Opened(38400, 1.0);
        traffic.Received("1\n", 1.0);
        traffic.Settle(2, TrafficKind::Unexplained);
        traffic.Sent("T", TrafficKind::Sent, Request::Temperature, 1.0);
        const std::string piece(clsTraffic::kMostBytes, 'x');
        std::int64_t end = 2;
        for (std::size_t i = 0; i < 80000; ++i) {
            if (isSent) {
                traffic.Sent(piece, TrafficKind::Sent, Request::Parameter, 1.0);
            } else {
                traffic.Received(piece, 1.0);
                traffic.Means(end, end + 64, TrafficKind::Refused);
                end += 64;
            }
        }
        const std::size_t kept = isSent ? clsTraffic::kSentBytes : clsTraffic::kReceivedBytes;
        EXPECT_EQ(traffic.End() - traffic.First(), kept / piece.size()) << isSent;
        EXPECT_EQ(traffic.BytesOf(traffic.At(traffic.First())), piece) << isSent;
    }
}

TEST(TrafficFile, HasOneLineForAnEntryWithoutControlCharacters)
{
    clsTraffic traffic;
    traffic.Begin(0);
    traffic.Received("\x02 1\\\r\n\xFF", 46000.5);
    traffic.Settle(7, TrafficKind::Unexplained);
    const std::string line = modTrafficText::FileLine(traffic, traffic.At(0), {LanguageEnglish, '.'});
    EXPECT_EQ(line.substr(0, 23), "2025-12-09T12:00:00.000");
    EXPECT_EQ(line.substr(29), " < 02 20 31 5C 0D 0A  # \"\\x02 1\\\\\\r\\n\" not understood");
}

TEST(HandSending, TakesWhatHasTheFormOfACommandOrAFrame)
{
    struct Row {
        const char* typed;
        TextId problem;
        const char* bytes;
    };
    for (const Row& row :
         {Row{"T", TextId::None, "T"}, Row{"301 64", TextId::None, "301 64\r"}, Row{"999 ", TextId::None, "999 \r"},
          Row{"RVQ", TextId::None, "RVQ\r"}, Row{"", TextId::HandNothing, ""}, Row{"  ", TextId::HandNothing, ""},
          Row{"3", TextId::HandNoFrame, ""}, Row{"30164", TextId::HandNoFrame, ""},
          Row{"T\r", TextId::HandCharacters, ""}, Row{"\xE4", TextId::HandCharacters, ""},
          Row{"301 0123456789012345678901234567890123456", TextId::HandTooLong, ""}}) {
        EXPECT_EQ(modHandSending::ProblemOf(row.typed), row.problem) << row.typed;
        if (row.problem == TextId::None) {
            EXPECT_EQ(modHandSending::BytesOf(row.typed), row.bytes);
        }
    }
}

/// A frame that changes a parameter: the program knows it afterwards, and that it is not stored.
TEST(HandSending, AFrameIsFollowedByReadingTheParameters)
{
    TrafficSite site;
    site.Run(8.0);
    site.session.SendByHand("701 55");
    site.Run(4.0);
    EXPECT_EQ(site.session.Device().Parameters().Offset, 55);
    EXPECT_TRUE(site.session.Device().UnstoredChanges());
    EXPECT_NE(site.Meanings().find("|sent by hand: Offset|acknowledged|request: configuration|configuration|"),
              std::string::npos)
        << site.Meanings();
    site.session.SendByHand("701 x"); // refused
    site.Run(4.0);
    EXPECT_NE(site.Meanings().find("|sent by hand: Offset|refused|request: configuration|"), std::string::npos);
    EXPECT_EQ(site.session.Device().CommStatus(), DialogueIdle);
}

/// What the program does not know may have any answer or none: the connection stays, and nothing is left waiting.
TEST(HandSending, AnUnknownTextDoesNotEndTheConnection)
{
    TrafficSite site;
    site.Run(8.0);
    for (const char* answer : {"", "What?\r\n", "a much longer answer that means nothing\r\n", "OK\r\n"}) {
        site.session.SendByHand("V");
        site.Run(0.2);
        EXPECT_EQ(site.line->received.back(), 'V');
        site.line->Arriving = answer;
        for (int tick = 0; tick < 80; ++tick) {
            site.Run(0.05);
            EXPECT_EQ(site.session.Device().CommStatus(), DialogueIdle) << answer;
        }
        EXPECT_FALSE(site.session.Device().Wait().Running);
        EXPECT_EQ(site.session.Operations(), 0U);
    }
    EXPECT_NE(site.Meanings().find("|sent by hand: unknown text|not understood|"), std::string::npos)
        << site.Meanings();
}

TEST(HandSending, IsRefusedWhileTheSensorMeasuresOrTheLineIsAway)
{
    TrafficSite site;
    EXPECT_EQ(site.session.ObstacleByHand("T"), TextId::HandNoPort);
    site.Run(8.0);
    EXPECT_EQ(site.session.ObstacleByHand("T"), TextId::None);
    site.session.SendByHand("M");
    site.Run(2.0);
    EXPECT_TRUE(site.session.Loop().IsMeasuring());
    EXPECT_GT(site.samples.size(), 0U);
    EXPECT_EQ(site.session.ObstacleByHand("T"), TextId::HandMeasuring);
    site.line->received.clear();
    site.session.SendByHand("701 55");
    site.Run(1.0);
    EXPECT_EQ(site.line->received, "");
    site.session.SendByHand("S");
    site.Run(1.0);
    EXPECT_FALSE(site.session.Loop().IsMeasuring());
    site.session.SendByHand("701 55");
    site.Run(0.1);
    EXPECT_EQ(site.session.ObstacleByHand("T"), TextId::HandBusy);
    site.line->Pulled = true; // in the middle of it
    site.Run(1.0);
    EXPECT_EQ(site.session.Operations(), 0U);
    EXPECT_EQ(site.session.ObstacleByHand("T"), TextId::HandNoPort);
}

} // namespace
