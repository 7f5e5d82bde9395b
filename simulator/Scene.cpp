// The level is a sum of slow waves. Targets are drawn per time slot, so there is no state to keep.
#include "simulator/Scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace simulator {

namespace {

struct Wave {
    double height_mm, period_s;
};
constexpr double kMiddle_mm = 5500;
constexpr Wave kWaves[] = {{3100, 67}, {220, 7.3}, {60, 2.1}};

constexpr double kTargetSlot_s = 11; // at most one target passes in a slot
constexpr double kTargetChance = 0.65;

/// A number from 0 (included) to 1 (excluded) that depends only on the seed and the place.
double scattered(std::uint64_t seed, std::uint64_t place)
{
    std::uint64_t mixed = seed + (place + 1) * 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
    mixed ^= mixed >> 31;
    return static_cast<double>(mixed >> 11) * 0x1.0p-53;
}

double level_mm(std::uint64_t seed, double time_s)
{
    double level = kMiddle_mm;
    std::uint64_t place = 0;
    for (const Wave& wave : kWaves) {
        const double turns = time_s / wave.period_s + scattered(seed, place++);
        level += wave.height_mm * std::sin(2 * std::numbers::pi * turns);
    }
    return level;
}

} // namespace

double SceneDistance_mm(std::uint64_t seed, double time_s)
{
    const double level = level_mm(seed, time_s);
    const double slot = std::floor(std::max(0.0, time_s) / kTargetSlot_s);
    const std::uint64_t place = 16 + 4 * static_cast<std::uint64_t>(slot);
    if (scattered(seed, place) >= kTargetChance) {
        return level;
    }
    const double begin_s = 1 + 7 * scattered(seed, place + 1);
    const double length_s = 1 + scattered(seed, place + 2);
    const double inSlot_s = time_s - slot * kTargetSlot_s;
    const bool isPassing = inSlot_s >= begin_s && inSlot_s < begin_s + length_s;
    return isPassing ? level * (0.35 + 0.25 * scattered(seed, place + 3)) : level;
}

} // namespace simulator
