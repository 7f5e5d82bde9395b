// What the simulated sensor looks at: a level that rises and falls, and now and then a target that passes in front of
// it.
#pragma once

#include <cstdint>

namespace simulator {

/// The true distance in mm, between about 700 and 9000, at a time in seconds (0 or later). The same seed and time give
/// the same distance; between the edges of passing targets it changes smoothly. The sensor adds the noise.
double SceneDistance_mm(std::uint64_t seed, double time_s);

} // namespace simulator
