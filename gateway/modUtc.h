// Points in time as messages have them. The gateway runs in UTC, so its local time is UTC.
#pragma once

#include <cstdint>
#include <string>

namespace modUtc {

/// "2026-11-22T22:00:00.123Z"; empty outside the years 100 to 9999.
std::string Text(double time);

/// Milliseconds since 1970, to the nearest; and back. The years before 1970 are 0.
std::uint64_t EpochOf(double time);
double TimeOfEpoch(std::uint64_t epoch_ms);

} // namespace modUtc
