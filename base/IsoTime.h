// Points in time as ISO 8601 texts, for files that other programs read: "2026-11-20T14:03:05.250+01:00".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A local time to the nearest millisecond, without an offset; empty outside the years 100 to 9999.
std::string IsoText(double time, char decimalSign = '.');

/// An offset from UTC, "+01:00".
std::string IsoOffset(std::int32_t offset_min);

struct IsoTime {
    double time = 0.0;                      ///< days since 1899-12-30, as the clock on the wall shows it
    std::optional<std::int32_t> offset_min; ///< from UTC; empty when the text has none
};

/// Reads what the two functions above write, with any number of decimals or none, and "Z" for an offset of 0. Empty
/// for any other text, such as a day or an hour that does not exist.
std::optional<IsoTime> TimeOfIso(std::string_view text);
