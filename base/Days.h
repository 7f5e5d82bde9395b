// Points in time, as the whole program keeps them: days since 1899-12-30, local time; the fraction is the time of day.
#pragma once

#include <chrono>

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kMsPerDay = 86400000.0;
/// The calendar covers the years 100 to 9999: `kFirstDay` is its first day, `kEndOfDays` the day after its last.
inline constexpr double kFirstDay = -657434.0, kEndOfDays = 2958466.0;
inline constexpr std::chrono::sys_days kDayZero{std::chrono::December / 30 / 1899};
