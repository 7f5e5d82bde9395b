// A recording that is played: what it does with the requests of a program, and what it refuses.
#include "simulator/clsReplay.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using simulator::clsReplay;

constexpr char kDay[] = "2026-11-20T14:03:";

/// Lines such as "05.250 > 43".
std::string recordingOf(std::initializer_list<const char*> lines)
{
    std::string recording = "# a comment\n\n";
    for (const char* line : lines) {
        recording += std::string(kDay) + line + "\r\n";
    }
    return recording;
}

clsReplay replayOf(const std::string& recording)
{
    std::istringstream file(recording);
    return clsReplay(file);
}

/// X, C, T, T, M with values, S, and a frame.
const std::string kSession =
    recordingOf({"00.000+01:00 - # line opened", "00.500+01:00 < 68 69  # \"hi\" unasked", "01.000+01:00 > 58",
                 "01.100+01:00 < 78", "02.000+01:00 > 43", "02.100+01:00 < 63 31", "02.250+01:00 < 63 32",
                 "03.000+01:00 > 54", "03.100+01:00 < 74 31", "04.000+01:00 > 54", "04.100+01:00 < 74 32",
                 "05.000+01:00 > 4D", "05.100+01:00 < 31", "05.200+01:00 < 32", "05.300+01:00 < 33",
                 "06.000+01:00 > 53", "07.000+01:00 > 33 30", "07.001+01:00 > 31 20 31 0D", "07.200+01:00 < 4F"});

TEST(Replay, ReleasesAnAnswerWithItsRequestAndAsLateAsThen)
{
    clsReplay replay = replayOf(kSession);
    replay.Start(100.0);
    EXPECT_EQ(replay.TakeDue(100.49), "");
    EXPECT_EQ(replay.TakeDue(100.51), "hi");
    replay.Receive("X", 110.0);
    EXPECT_NEAR(replay.NextDue(), 110.1, 1e-6);
    EXPECT_EQ(replay.TakeDue(111.0), "x");
    replay.Receive("C", 120.0);
    EXPECT_EQ(replay.TakeDue(120.11), "c1");
    EXPECT_EQ(replay.TakeDue(120.26), "c2");
    EXPECT_TRUE(replay.TakeNews().empty());
}

/// Each row: what the program sends one after another, two seconds apart, and what it gets.
TEST(Replay, KnowsWhatToDoWithAnotherRequest)
{
    struct Row {
        const char* name;
        std::vector<std::string> requests;
        std::string answers;
        const char* news; ///< a part of what is said last; empty: nothing is said
    };
    for (const Row& row : {
             Row{"as recorded", {"X", "C", "T", "T", "M", "S", "301 1\r"}, "hixc1c2t1t2123O", "is over"},
             Row{"polls that were not made", {"X", "C", "M"}, "hixc1c2123", "leaves out 2"},
             Row{"more polls", {"X", "C", "T", "T", "T", "M"}, "hixc1c2t1t2t2123", "asked again"},
             Row{"asked later only", {"X", "M"}, "hix123", "leaves out 3"},
             Row{"never asked", {"X", "G", "C"}, "hixc1c2", "\"G\" is not in the recording"},
             Row{"another frame", {"301 9\r"}, "hi", "\"301 9\\r\" is not in the recording"},
         }) {
        clsReplay replay = replayOf(kSession);
        replay.Start(0.0);
        std::string answers = replay.TakeDue(1.0);
        double now_s = 1.0;
        std::string news;
        for (const std::string& request : row.requests) {
            replay.Receive(request, now_s += 1.0);
            answers += replay.TakeDue(now_s += 1.0);
            for (const std::string& line : replay.TakeNews()) {
                news = line;
            }
        }
        EXPECT_EQ(answers, row.answers) << row.name;
        EXPECT_NE(news.find(row.news), news.npos) << row.name << ": " << news;
    }
}

/// A stop ends a measurement that the recording still goes on with, and the line is opened anew from the beginning.
TEST(Replay, AnAnsweredRequestEndsTheOneBefore)
{
    clsReplay replay = replayOf(kSession);
    replay.Start(0.0);
    replay.Receive("M", 10.0);
    EXPECT_EQ(replay.TakeDue(10.25), "12");
    replay.Receive("S", 10.26);
    EXPECT_EQ(replay.TakeDue(20.0), "");
    replay.Start(30.0);
    EXPECT_EQ(replay.TakeDue(31.0), "hi");
}

/// A temperature that is asked for earlier than then costs none of the values that are still due.
TEST(Replay, AnEarlierTemperatureComesAmongTheValues)
{
    clsReplay replay = replayOf(recordingOf({"00.000 > 4D", "00.100 < 31", "02.000 < 32", "03.000 > 54", "03.100 < 74",
                                             "03.500 < 33", "05.000 < 34", "06.000 > 53"}));
    replay.Start(0.0);
    replay.Receive("M", 10.0);
    replay.Receive("T", 11.0);
    EXPECT_EQ(replay.TakeDue(11.2), "1t");
    EXPECT_EQ(replay.TakeDue(13.4), "2");
    EXPECT_EQ(replay.TakeDue(13.6), "3") << "as late as then, seen from the start";
    replay.Receive("S", 13.7);
    EXPECT_EQ(replay.TakeDue(20.0), "");
}

/// Ten values a second, whether the temperature is asked for once, as in the recording, or all the time.
TEST(Replay, ValuesKeepTheirPaceHoweverOftenTheTemperatureIsAsked)
{
    std::string recording = recordingOf({"00.000 > 4D"});
    for (int tenth = 1; tenth < 300; ++tenth) {
        const std::string second = std::to_string(tenth / 10);
        const std::string time = std::string(2 - second.size(), '0') + second + "." + std::to_string(tenth % 10) + "50";
        recording += recordingOf({(time + " < 56").c_str()});
        if (tenth == 20) {
            recording += recordingOf({"02.060 > 54", "02.070 < 56", "02.090 < 32 33 20 43 2C 0D 0A"});
        }
    }
    for (const double every_s : {100.0, 1.5, 0.01}) {
        clsReplay replay = replayOf(recording);
        replay.Start(0.0);
        replay.Receive("M", 100.0);
        double asked_s = 101.0 - every_s;
        for (int second = 0; second < 29; ++second) {
            std::string heard;
            long questions = 0;
            for (int step = 1; step <= 100; ++step) {
                const double now_s = 100.0 + second + step / 100.0;
                if (now_s >= asked_s + every_s) {
                    replay.Receive("T", asked_s = now_s);
                    ++questions;
                }
                heard += replay.TakeDue(now_s);
            }
            EXPECT_NEAR(static_cast<double>(std::ranges::count(heard, 'V')), 10.0, 1.0) << every_s << " " << second;
            EXPECT_NEAR(static_cast<double>(std::ranges::count(heard, 'C')), static_cast<double>(questions), 3.0);
        }
    }
}

TEST(Replay, LeavesOutALastLineThatIsNotFinished)
{
    const std::string whole = recordingOf({"00.000 > 54", "00.100 < 31 32"});
    for (const char* cut : {"2026-11", "2026-11-20T14:03:00.200", "2026-11-20T14:03:00.200 < 3"}) {
        clsReplay replay = replayOf(whole + cut);
        replay.Start(0.0);
        replay.Receive("T", 1.0);
        EXPECT_EQ(replay.TakeDue(9.0), "12") << cut;
        const std::vector<std::string> news = replay.TakeNews();
        EXPECT_EQ(news.front(), "line 5 is not finished: it is left out") << cut;
        EXPECT_THROW(replayOf(whole + cut + "\n"), std::runtime_error) << cut;
    }
}

TEST(Replay, RefusesAFileThatIsNoRecordingAndNamesTheLine)
{
    const std::pair<std::string, const char*> rows[] = {
        {"hello\n", "line 1: does not begin with a time"},
        {recordingOf({"00.000 < 31", "61.000 < 31"}), "line 4: does not begin"},
        {recordingOf({"00.000+25 < 31"}), "line 3: does not begin"},
        {recordingOf({"00.000 = 31"}), "line 3: the direction"},
        {recordingOf({"00.000 < 31 3"}), "line 3: the bytes"},
        {recordingOf({"00.000 < 3G"}), "line 3: the bytes"},
        {recordingOf({"00.000 > 43"}), "no sensor says anything"},
        {"", "no sensor says anything"},
        {std::string(100000, 'x'), "line 1: longer than a line"},
    };
    for (const auto& [recording, why] : rows) {
        try {
            replayOf(recording);
            ADD_FAILURE() << why;
        } catch (const std::runtime_error& wrong) {
            EXPECT_NE(std::string(wrong.what()).find(why), std::string::npos) << wrong.what();
        }
    }
}

} // namespace
