// A sensor's ticks follow its values, and there are twenty a second all the same.
#include "gateway/clsTickPhase.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

struct Minute {
    double ticks_Hz = 0.0;
    double longestWait_s = 0.0; ///< from a value to its tick, apart from the first second
    double lateShare = 0.0;     ///< of the values that have waited for more than 10 ms
};

/// A minute of a sensor that sends a value every so many seconds, each with some delay of its own and in four pieces,
/// as a line or not.
Minute play(double interval_s, double jitter_s, double piece_s = 0.005, bool isLine = false)
{
    constexpr double kSeconds = 60.0, kStep_s = 0.0005;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> delay(0.0, jitter_s);
    clsTickPhase phase(0.0);
    Minute run;
    int ticks = 0, values = 0, late = 0, pieces = 0;
    double next_s = interval_s, arrival_s = interval_s, waiting_s = -1.0;
    for (double now_s = 0.0; now_s < kSeconds; now_s += kStep_s) {
        if (interval_s > 0.0 && pieces < 3 && now_s >= arrival_s - (3 - pieces) * piece_s) {
            phase.Arrived(now_s, false);
            ++pieces;
        } else if (interval_s > 0.0 && now_s >= arrival_s) {
            phase.Arrived(now_s, isLine);
            pieces = 0;
            waiting_s = waiting_s < 0.0 ? now_s : waiting_s;
            next_s += interval_s;
            arrival_s = next_s + delay(random);
        }
        if (now_s >= phase.Due_s()) {
            phase.Ticked(now_s);
            ++ticks;
            if (waiting_s >= 0.0 && now_s > 1.0) {
                ++values;
                late += now_s - waiting_s > 0.010 ? 1 : 0;
                run.longestWait_s = std::max(run.longestWait_s, now_s - waiting_s);
            }
            waiting_s = -1.0;
        }
    }
    run.ticks_Hz = ticks / kSeconds;
    run.lateShare = values > 0 ? static_cast<double>(late) / values : 0.0;
    return run;
}

TEST(TickPhase, ValuesDoNotWaitAndTicksKeepTheirNumber)
{
    const struct {
        double values_Hz, jitter_s, mostTicks_Hz;
    } kRows[] = {{0, 0, 20.1},        {1, 0, 20.1},      {5, 0.003, 20.1}, {10, 0, 20.1},     {10, 0.02, 20.1},
                 {13.7, 0.003, 20.1}, {19, 0.003, 20.1}, {20, 0, 20.1},    {20, 0.004, 20.1}, {20.8, 0.003, 21}};
    for (const auto& row : kRows) {
        const Minute run = play(row.values_Hz > 0 ? 1 / row.values_Hz : -1, row.jitter_s);
        EXPECT_GE(run.ticks_Hz, 19.9) << row.values_Hz;
        EXPECT_LE(run.ticks_Hz, row.mostTicks_Hz) << row.values_Hz;
        EXPECT_LE(run.lateShare, 0.01) << row.values_Hz << " a second, " << row.jitter_s << " s, longest wait "
                                       << run.longestWait_s;
    }
}

TEST(TickPhase, ALineIsReadWhenItHasEndedHoweverSlowlyItComes)
{
    for (const double values_Hz : {5.0, 13.7, 19.0, 20.0}) {
        const Minute run = play(1.0 / values_Hz, 0.002, 0.009, true);
        EXPECT_LE(run.longestWait_s, 0.02) << values_Hz;
    }
}

TEST(TickPhase, FastSensorsGetNoMoreTicks)
{
    for (const double values_Hz : {50.0, 333.0, 1000.0}) {
        const Minute run = play(1.0 / values_Hz, 0.0);
        EXPECT_GE(run.ticks_Hz, 19.9) << values_Hz;
        EXPECT_LE(run.ticks_Hz, 25.1) << values_Hz;
        EXPECT_LE(run.longestWait_s, 0.0515) << values_Hz;
    }
}

TEST(TickPhase, WhatWasMissedDoesNotComeInABurst)
{
    clsTickPhase phase(0.0);
    phase.Ticked(0.0);
    int ticks = 0;
    for (double now_s = 10.0; now_s < 10.049; now_s += 0.001) {
        if (now_s >= phase.Due_s()) {
            phase.Ticked(now_s);
            ++ticks;
        }
    }
    EXPECT_LE(ticks, 2);
}

} // namespace
