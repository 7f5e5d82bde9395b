// Points in time as the whole program has them: days since 1899-12-30, local time, the fraction being the time of day.
#pragma once

#include <chrono>

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kMsPerDay = 86400000.0;
inline constexpr std::chrono::sys_days kDayZero{std::chrono::December / 30 / 1899};
