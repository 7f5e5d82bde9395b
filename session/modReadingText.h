// What is read from a curve, as texts in the shown unit and with the user's decimal separator: values, statistics,
// times. UTF-8.
#pragma once

#include "sensor/AccountFigures.h"

#include <cstdint>
#include <string>

namespace modReadingText {

/// "2.223 m", with so many decimals more than a distance has in its unit (an index for `UnitOf`).
std::string Length(double mm, std::int32_t unit, int moreDecimals, char decimalSeparator);
/// "0.0120 m/min"; `per` is the unit of time.
std::string LengthPer(double mm, const char* per, std::int32_t unit, char decimalSeparator);
/// The share of `part`, "99.8 %"; cut, not rounded, so that 100.0 % means all. "–" of nothing.
std::string Share(std::int64_t part, std::int64_t whole, char decimalSeparator);
/// A difference in time: "1.5 ms", "12.345 s", "27.7778 h".
std::string Difference(double days, char decimalSeparator);
/// A length of time in two whole figures: "12 s", "3 min 20 s", "1 h 5 min", "2 d 3 h".
std::string Roughly(double days);
/// The time of day with so many decimals of a second (0..3), "12:03:01.250".
std::string TimeOfDay(double time, int decimals, char decimalSeparator);
/// Why there is no distance: "no echo".
std::string Reason(GapReason reason, std::int32_t language);

} // namespace modReadingText
