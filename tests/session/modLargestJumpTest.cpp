// The largest jump of a stretch is the one that a walk over all values finds.
#include "session/modLargestJump.h"

#include "base/Days.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

constexpr double kNoon = 46000.5;

/// A level with noise, some jumps, missing echoes and pauses.
void fill(clsHistory& history, unsigned seed, int values)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> chance(0, 9999), noise(-30, 30);
    double ms = 0.0;
    int level = 2000;
    for (int i = 0; i < values; ++i) {
        const int kind = chance(random);
        level += kind < 3 ? noise(random) * 40 : 0;
        ms += kind > 9997 ? 3600000.0 : 50.0;
        if (kind > 9995) {
            history.AddGap(GapReason::LineLost);
        }
        const bool isLost = kind > 9950 && kind < 9990;
        history.AddPlayed(kNoon + ms / kMsPerDay, isLost ? kMarkerNoEcho : level + noise(random));
    }
}

std::int64_t walked(const clsHistory& history, const PlaceRange& range)
{
    std::int64_t most = 0;
    for (std::size_t i = 1; i < history.Size(); ++i) {
        const HistoryEntry from = history.At(i - 1), to = history.At(i);
        const bool joined = !from.gap && !to.gap && from.kind == MeasurementKind::Distance && to.kind == from.kind;
        if (joined && from.place >= range.begin && to.place <= range.end) {
            most = std::max<std::int64_t>(most, std::abs(to.value_mm - from.value_mm));
        }
    }
    return most;
}

TEST(LargestJump, IsTheOneThatAWalkFinds)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        clsHistory history;
        fill(history, seed, seed % 3 == 0 ? 300 : 60000);
        const PlaceRange all = history.Range();
        for (const double share : {1.0, 0.31, 0.013}) {
            const PlaceRange range{all.begin + 0.2 * (1.0 - share) * all.Length(),
                                   all.begin + (0.2 + 0.8 * share) * all.Length()};
            const auto found = modLargestJump::Find(history, range);
            ASSERT_EQ(found ? found->Size_mm() : 0, walked(history, range)) << seed << ' ' << share;
        }
    }
}

TEST(LargestJump, LiesNeitherAcrossAGapNorInOneValue)
{
    clsHistory history;
    EXPECT_FALSE(modLargestJump::Find(history, {kNoon, kNoon + 1.0}));
    history.AddPlayed(kNoon, 1000);
    EXPECT_FALSE(modLargestJump::Find(history, history.Range()));
    history.AddGap(GapReason::Stopped);
    history.AddPlayed(kNoon + 0.001, 9000);
    history.AddPlayed(kNoon + 0.002, kMarkerNoEcho);
    history.AddPlayed(kNoon + 0.003, 1000);
    EXPECT_FALSE(modLargestJump::Find(history, history.Range()));
    history.AddPlayed(kNoon + 0.003, 1007); // at the same time
    const auto found = modLargestJump::Find(history, history.Range());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->Size_mm(), 7);
}

} // namespace
