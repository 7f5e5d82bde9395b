// What the account counts, when it begins anew, and which gaps it finds.
#include "session/clsAccount.h"

#include "base/Days.h"
#include "session/modAccountText.h"
#include "tests/support/MeasuringSite.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double kStart = 46000.5;

double at(double ms)
{
    return kStart + ms / kMsPerDay;
}

Measurement sampleAt(double ms, std::int32_t value_mm)
{
    return {value_mm == kMarkerNoEcho ? kMarkerNoEcho : value_mm / 1000.0, value_mm, 2, 0, at(ms)};
}

/// An account that is told of a value every 20 ms, up to a time.
struct Told {
    clsAccount account;
    double now_ms = 0.0;

    Told()
    {
        account.Advance(at(0));
        account.Begin();
    }
    void Value(std::int32_t value_mm = 1234)
    {
        const Measurement sample = sampleAt(now_ms, value_mm);
        account.Received({&sample, 1});
        account.Shown();
    }
    /// Passes time in ticks.
    void Pass(double ms, bool withValues)
    {
        for (const double end_ms = now_ms + ms; now_ms < end_ms;) {
            now_ms += 20.0;
            if (withValues) {
                Value();
            }
            account.Advance(at(now_ms));
        }
    }
};

std::string textOf(const std::vector<Gap>& gaps)
{
    static constexpr const char* kNames[] = {"no echo", "damage", "line", "poll", "stop", "clock"};
    std::string text;
    for (const Gap& gap : gaps) {
        text += std::to_string(std::lround((gap.from - kStart) * kMsPerDay)) + "-" +
                std::to_string(std::lround((gap.to - kStart) * kMsPerDay)) + " " +
                kNames[static_cast<std::size_t>(gap.reason)] + "; ";
    }
    return text;
}

TEST(Account, FindsTheGapsAndTheirStrongestReasons)
{
    using Act = std::function<void(Told&)>;
    struct Row {
        const char* what;
        Act act; ///< after the value at 1000 ms; the next but one comes at 20 ms after the act
        std::string gaps;
        double longest_ms;
    };
    const auto none = [](Told& told) { told.Pass(20, false); };
    const auto noted = [](GapReason reason) {
        return [reason](Told& told) {
            told.account.Interrupted(reason);
            told.Pass(2000, false);
        };
    };
    const Row rows[] = {
        {"a late value", none, "", 40},
        {"one missing echo",
         [](Told& told) {
             told.now_ms += 20;
             told.Value(kMarkerNoEcho);
         },
         "1000-1040 no echo; ", 40},
        {"noise between two values", [](Told& told) { told.account.Damaged(1); }, "", 20},
        {"a value that was damaged",
         [](Told& told) {
             told.account.Damaged(1);
             told.Pass(20, false);
         },
         "1000-1040 damage; ", 40},
        {"noise long before a missing value",
         [](Told& told) {
             told.account.Damaged(1);
             told.Pass(400, true);
             told.Pass(20, false);
         },
         "", 40},
        {"a poll", noted(GapReason::TemperaturePoll), "1000-3020 poll; ", 2020},
        {"a poll, and then the line",
         [](Told& told) {
             told.account.Interrupted(GapReason::TemperaturePoll);
             told.account.LineLost();
             told.Value(kMarkerNoEcho);
             told.account.Damaged(1);
             told.account.Interrupted(GapReason::Stopped);
             told.Pass(300, false);
         },
         "1000-1320 line; ", 320},
        {"a silence that nobody noticed", [](Told& told) { told.Pass(1200, false); }, "1000-2220 line; ", 1220},
        {"a short one", [](Told& told) { told.Pass(900, false); }, "", 920},
        {"a stop",
         [](Told& told) {
             told.account.Stop();
             told.Pass(5000, false);
             told.account.Begin();
             told.Pass(300, false);
         },
         "1000-6320 stop; ", 20},
        {"a clock set back by an hour",
         [](Told& told) {
             told.account.ClockJumped(-1.0 / 24);
             told.now_ms -= 3600000;
         },
         "1000--3598980 clock; ", 20},
        {"a clock set forward, told before a value that came earlier",
         [](Told& told) {
             told.account.ClockJumped(1.0 / 24);
             told.now_ms += 10;
             told.Value();
             told.now_ms += 3600000;
         },
         "1010-3601030 clock; ", 20},
    };
    for (const Row& row : rows) {
        Told told;
        told.Pass(1000, true);
        row.act(told);
        told.Pass(20, true);
        EXPECT_EQ(textOf(told.account.RecordingGaps()), row.gaps) << row.what;
        told.Pass(400, true);
        EXPECT_NEAR(told.account.Figures().longestGap_ms, row.longest_ms, 0.01) << row.what;
        EXPECT_TRUE(told.account.Figures().AddUp()) << row.what;
    }
}

TEST(Account, ARunningGapIsThereWhileItGrows)
{
    Told told;
    told.Pass(1000, true);
    told.account.LineLost();
    told.Pass(3000, false);
    told.account.LineLost();
    EXPECT_EQ(textOf(told.account.RecordingGaps()), "1000-4000 line; ");
    EXPECT_NEAR(told.account.Figures().longestGap_ms, 3000, 0.01);
    told.account.BeginRecording();
    told.Pass(2000, false);
    EXPECT_NEAR(told.account.Recording().longestGap_ms, 2000, 0.01) << "of the recording alone";
    EXPECT_EQ(textOf(told.account.RecordingGaps()), "4000-6000 line; ");
    told.Pass(1000, true);
    EXPECT_NEAR(told.account.Figures().longestGap_ms, 5020, 0.01);
    EXPECT_NEAR(told.account.Recording().longestGap_ms, 2020, 0.01);
    EXPECT_EQ(textOf(told.account.RecordingGaps()), "4000-6020 line; ");
    EXPECT_EQ(told.account.Figures().lineLost, 1) << "until values come again";
    EXPECT_EQ(told.account.Recording().lineLost, 0) << "it was lost before";
    told.account.LineLost();
    EXPECT_EQ(told.account.Figures().lineLost, 2);
}

TEST(Account, RatesAreOfTheLastTenSecondsOrSinceTheStart)
{
    Told told;
    EXPECT_EQ(told.account.PerSecond(&AccountFigures::received), 0.0) << "at once";
    told.Pass(2000, true);
    EXPECT_NEAR(told.account.PerSecond(&AccountFigures::received), 50.0, 0.1) << "soon after the start";
    told.account.ClockJumped(0.5);
    told.now_ms += kMsPerDay / 2;
    told.Pass(98000, true);
    EXPECT_NEAR(told.account.PerSecond(&AccountFigures::received), 50.0, 0.3) << "whatever the clock says";
    told.Pass(4000, false);
    EXPECT_NEAR(told.account.PerSecond(&AccountFigures::received), 30.0, 0.3);
    EXPECT_NEAR(told.account.Lately().longestGap_ms, 4000, 0.1);
    told.Pass(7000, false);
    EXPECT_EQ(told.account.PerSecond(&AccountFigures::received), 0.0);
    EXPECT_EQ(told.account.Figures().received, 5000) << "since the start";
    told.account.Begin();
    EXPECT_EQ(told.account.Figures(), AccountFigures{});
}

TEST(Account, OfManyGapsTheLongestAreKept)
{
    clsGapLog log;
    constexpr int kGaps = 100000;
    double longestKept_ms = 0.0;
    for (int i = 0; i < kGaps; ++i) {
        const double length_ms = i == 10 ? 1000.0 : i % 100;
        log.Add({at(i * 2000.0), at(i * 2000.0 + length_ms), GapReason::NoEcho});
    }
    EXPECT_LE(log.Gaps().size(), clsGapLog::kMost);
    EXPECT_EQ(log.Dropped() + static_cast<std::int64_t>(log.Gaps().size()), kGaps);
    EXPECT_GT(log.LongestDropped_ms(), 80.0);
    EXPECT_LT(log.LongestDropped_ms(), 100.0);
    for (std::size_t i = 1; i < log.Gaps().size(); ++i) {
        ASSERT_LT(log.Gaps()[i - 1].to, log.Gaps()[i].to);
    }
    for (const Gap& gap : log.Gaps()) {
        longestKept_ms = std::max(longestKept_ms, Length_ms(gap));
    }
    EXPECT_NEAR(longestKept_ms, 1000.0, 0.01);
    for (std::size_t i = 0; i < 2 * clsGapLog::kMost; ++i) {
        log.Add({at(0), at(7), GapReason::NoEcho});
    }
    EXPECT_LE(log.Gaps().size(), clsGapLog::kMost) << "equal ones";
    EXPECT_GE(log.Gaps().size(), clsGapLog::kMost / 2) << "equal ones";
}

TEST(AccountText, PutsATimeIntoItsUnit)
{
    for (const auto& [ms, text] : {std::pair{49.96, "49 ms"},
                                   {9999.9, "9999 ms"},
                                   {14250.0, "14,2 s"},
                                   {600000.0, "10,0 min"},
                                   {72000000.0, "20,0 h"}}) {
        EXPECT_EQ(modAccountText::Duration(ms, ','), text);
    }
    Told told;
    told.Pass(12000, true);
    told.account.Damaged(7);
    const std::string table = modAccountText::Table(told.account, 25.0, LanguageEnglish, '.');
    EXPECT_NE(table.find("\nReceived\t607\t50"), std::string::npos) << table;
    EXPECT_NE(table.find("\nDamaged\t7\t7\n"), std::string::npos) << table;
    EXPECT_NE(table.find("\nLongest gap\t20 ms\t20 ms\nReceiving rate\t–\t50."), std::string::npos) << table;
    EXPECT_TRUE(table.ends_with(" /s\nRecording rate\t–\t25.0 /s\n")) << table;
    for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
        std::istringstream lines(modAccountText::Table(told.account, {}, language, '.'));
        int rows = 0;
        for (std::string line; std::getline(lines, line); ++rows) {
            EXPECT_EQ(std::ranges::count(line, '\t'), 2) << line;
            EXPECT_NE(line.front(), '\t') << line;
        }
        EXPECT_EQ(rows, 16);
    }
}

TEST(Account, AddsUpAfterEveryTickWhateverHappens)
{
    using Faults = simulator::Faults;
    struct Row {
        const char* what;
        double Faults::*fault;
        double rate;
        std::int32_t format;
    };
    for (const Row& row :
         {Row{"a clean line", nullptr, 0, 0}, Row{"CRC", nullptr, 0, FormatBinaryCrc},
          Row{"noise", &Faults::garbage, 0.01, 0}, Row{"lost bytes", &Faults::lost, 0.01, 1},
          Row{"damaged frames", &Faults::lost, 0.01, FormatBinaryCrc},
          Row{"binary noise", &Faults::garbage, 0.01, FormatBinary}, Row{"no echo", &Faults::noecho, 0.2, 0},
          Row{"temperature errors", &Faults::temperr, 0.1, 0}, Row{"bursts", &Faults::burst, 0.3, FormatBinaryCrc}}) {
        MeasuringSite site;
        site.line->model.SetParameter("101", row.format);
        if (row.fault != nullptr) {
            site.line->model.Faults().*row.fault = row.rate;
        }
        site.session.Loop().PollTemperature(true);
        site.Run(30);
        const AccountFigures figures = site.account.Figures();
        EXPECT_GT(figures.valid, 100) << row.what;
        EXPECT_EQ(figures.Understood(), site.sampled) << row.what;
        EXPECT_EQ(figures.lineLost, 0) << row.what;
        if (row.fault != &Faults::temperr) { // these discard what has begun behind them
            EXPECT_EQ(figures.damaged > 0, row.fault == &Faults::garbage || row.fault == &Faults::lost) << row.what;
        }
    }
}

TEST(Account, KnowsWhatInterruptedAMeasurement)
{
    MeasuringSite site;
    ASSERT_TRUE(site.Measures(20));
    const auto reasons = [&] {
        std::vector<GapReason> found;
        for (const Gap& gap : site.account.RecordingGaps()) {
            found.push_back(gap.reason);
        }
        return found;
    };
    EXPECT_EQ(site.account.Figures().lineLost, 0) << "before the first connection";
    EXPECT_TRUE(reasons().empty());
    const std::int64_t before = site.account.Figures().received;

    site.line->Pulled = true;
    site.Run(5);
    site.line->Pulled = false;
    ASSERT_TRUE(site.Measures(20));
    EXPECT_GT(site.account.Figures().received, before) << "a lost connection begins nothing anew";
    site.line->model.Faults().silence = 1.0;
    site.session.Start(site.session.Loop().SwitchingRedLaser(true));
    site.Run(8);
    site.line->model.Faults().silence = 0.0;
    ASSERT_TRUE(site.Measures(20));
    EXPECT_EQ(site.account.Figures().lineLost, 2) << "once each";
    site.clock_days = -1.0 / 24;
    ASSERT_TRUE(site.Measures(20));
    EXPECT_EQ(site.account.Figures().clockJumps, 1);
    site.session.Start(site.session.Loop().ChangingSetting(&ParameterSet::AverageDepth, 0));
    ASSERT_TRUE(site.Measures(20));
    site.session.Loop().PollTemperature(true);
    site.Run(1);
    site.session.Loop().PollTemperature(false);
    ASSERT_TRUE(site.Measures(20));
    EXPECT_EQ(reasons(), (std::vector{GapReason::LineLost, GapReason::LineLost, GapReason::ClockChanged,
                                      GapReason::Stopped, GapReason::TemperaturePoll}));

    const std::int64_t kept = site.account.Figures().received;
    site.session.Start(site.session.Loop().StartingOrStopping());
    site.Run(5);
    EXPECT_EQ(site.account.RecordingGaps().back().reason, GapReason::Stopped);
    EXPECT_GE(site.account.Figures().received, kept) << "still to be read after the stop";
    site.session.Start(site.session.Loop().StartingOrStopping());
    site.Run(1);
    EXPECT_LT(site.account.Figures().received, kept) << "the operator's start begins anew";
    EXPECT_LT(site.account.Figures().longestGap_ms, 1000.0);
}

TEST(Account, CountsAClockThatIsSetWhileMeasuringAndForARecordingAlways)
{
    Told told;
    told.account.ClockJumped(0.5);
    told.account.Stop();
    told.account.ClockJumped(0.5);
    EXPECT_EQ(told.account.Figures().clockJumps, 1);
    EXPECT_EQ(told.account.Recording().clockJumps, 2) << "its times are wrong in any case";
}

TEST(Account, BeginsWithEachValueOfASingleOutput)
{
    MeasuringSite site;
    site.line->model.SetParameter("603", OutputSingle);
    site.Run(15);
    for (int i = 0; i < 3; ++i) {
        site.session.Start(site.session.Loop().StartingOrStopping());
        site.Run(5);
        EXPECT_EQ(site.account.Figures().received, i == 0 ? 2 : 1) << "one had been started with the connection";
    }
}

TEST(Account, TheLiveCurveIsNotJoinedAcrossAGapThatTheDialogueHasNotNoticed)
{
    struct Curve : SessionListener {
        std::vector<bool> points; ///< false: a gap
        void AddChartPoint(double, double) override { points.push_back(true); }
        void AddChartGap(double) override { points.push_back(false); }
    } curve;
    MeasuringSite site;
    ASSERT_TRUE(site.Measures(20));
    site.session.Listen(curve);
    site.Run(3);
    site.line->model.Faults().silence = 1.0;
    site.Run(2);
    site.line->model.Faults().silence = 0.0;
    ASSERT_TRUE(site.Measures(20));
    site.session.Leave(curve);
    EXPECT_EQ(std::ranges::count(curve.points, false), 1);
    EXPECT_TRUE(curve.points.back());
    EXPECT_EQ(site.account.Figures().lineLost, 0);
}

TEST(Session, TheLiveCurveLiesWhereTheHistoryHasItWhateverTheClockIsSetTo)
{
    struct Curve : SessionListener {
        std::vector<double> places, ends;
        void AddChartPoint(double place, double) override { places.push_back(place); }
        void ShowChartTime(double place) override { ends.push_back(place); }
    };
    for (const double step_s : {-3600.0, -600.0, -1.0, -0.2, 3600.0, 300.0}) {
        for (const bool isLost : {false, true}) {
            const testing::ScopedTrace row(__FILE__, __LINE__, std::to_string(step_s) + (isLost ? ", line lost" : ""));
            MeasuringSite site;
            Curve curve;
            site.session.Listen(curve);
            ASSERT_TRUE(site.Measures(20));
            for (int times = 0; times < 2; ++times) {
                site.line->Pulled = isLost;
                site.Run(isLost ? 5 : 0);
                site.clock_days += step_s / kSecondsPerDay;
                site.Run(isLost ? 5 : 0);
                site.line->Pulled = false;
                ASSERT_TRUE(site.Measures(20));
            }
            site.session.Leave(curve);
            const clsHistory& history = site.session.History();
            std::vector<double> expected;
            for (std::size_t i = 0; i < history.Size(); ++i) {
                const HistoryEntry entry = history.At(i);
                if (!entry.gap && entry.kind == MeasurementKind::Distance) {
                    expected.push_back(entry.place);
                }
            }
            ASSERT_EQ(curve.places.size(), expected.size());
            for (std::size_t i = 0; i < expected.size(); ++i) {
                ASSERT_NEAR(curve.places[i], expected[i], 1e-8) << i;
            }
            EXPECT_TRUE(std::ranges::is_sorted(curve.places));
            const bool isHidden = isLost && std::fabs(step_s) < 10.0; // more time has passed meanwhile
            EXPECT_EQ(history.Times().Stretches().size(), isHidden ? 1U : 3U);
            EXPECT_NEAR(curve.ends.back(), curve.places.back(), 1.0 / kSecondsPerDay) << "the axis ends there, too";
            EXPECT_LT(history.Range().Length() * kSecondsPerDay, 80.0);
        }
    }
}

} // namespace
