// Points in time as the whole program has them: days since 1899-12-30, local time, the fraction being the time of day.
#pragma once

#include <chrono>

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kMsPerDay = 86400000.0;
/// The calendar has the years 100 to 9999: from the first of these days to before the other.
inline constexpr double kFirstDay = -657434.0, kEndOfDays = 2958466.0;
inline constexpr std::chrono::sys_days kDayZero{std::chrono::December / 30 / 1899};
