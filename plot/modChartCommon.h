// The arithmetic of scales: round steps, an axis with its ticks, the steps of a time axis, label texts and the range
// that follows the values. Pure functions; nothing here draws.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace modChartCommon {

/// An axis between two pixels. The three tick lists have the same length and belong together.
struct Axis {
    double minimum = 0.0, maximum = 0.0;
    std::int32_t reversed = 0;  ///< not 0: the ticks run from the maximum downwards
    double pixelsPerUnit = 0.0; ///< set by ComputeAxis, as are the ticks
    std::vector<double> tickValues{};
    std::vector<std::int32_t> tickPositions{}; ///< pixels from the axis' start; negative when reversed
    std::vector<std::string> tickLabels{};
    std::int32_t pixelStart = 0, pixelEnd = 0;
};

/// Whether a value has a place on a scale: it is finite, and so is the difference of any two such values.
inline bool IsDrawable(double value)
{
    return value > -1e300 && value < 1e300;
}

/// The smallest of 1, 2, 5 times a power of ten, 0.000001 or more, that fits fewer than `divisions` (at least 3) times
/// into the range; it has the sign of the range. 0 for a range of 0 or one that is not finite.
double RoundStep(double range, std::int32_t divisions);

/// The decimals that a step of 1, 2 or 5 times 10^k needs: -k, at least 0.
int LabelDecimals(double step);

/// A tick's value with these decimals; never "-0".
std::string LabelText(double value, int decimals, char decimalSeparator);

inline constexpr char kInvalidRange[] = "Invalid Range";
/// The time of day (days since 1899-12-30) as "hh:mm:ss"; kInvalidRange for a time outside the years 100 to 9999.
std::string TimeLabelText(double time);

/// Computes the ticks of `axis` for fewer than `divisions` divisions (at least 3). When their signs differ, minimum and
/// maximum are moved towards zero to a multiple of the step. An axis that is empty, becomes empty by that or is not
/// finite stays unchanged, its former ticks included.
void ComputeAxis(Axis& axis, std::int32_t divisions, char decimalSeparator);

/// The same for an axis that keeps its limits: the ticks lie on multiples of the step, wherever it begins. Their
/// positions are pixels from the axis' start.
void ComputeExactAxis(Axis& axis, std::int32_t divisions, char decimalSeparator);

/// The step, in milliseconds, of a time axis of `range_ms` with fewer than `divisions` divisions; raises `divisions` to
/// 1 if it is below. Throws std::overflow_error when the step does not fit 32 bits (over 20 days per division).
std::int32_t TimeStep(std::int32_t range_ms, std::int32_t& divisions);

/// Limits of the value axis, in any unit (the program keeps millimetres), and the number of divisions for which they
/// are made. Empty limits adopt the first values as they come.
struct ValueRange {
    double lower = 0.0, upper = 0.0;
    std::int32_t divisions = 10;
    bool operator==(const ValueRange&) const = default;
};

/// `range` with its limits moved outwards to multiples of the RoundStep of the result. An empty range, or one that is
/// not finite, is returned as it is.
ValueRange RoundLimits(const ValueRange& range);

/// The range that follows the values: `current`, or a new one.
/// - While all values lie inside, ends included, and fill a quarter of it or more, the range stays.
/// - A value outside widens it at once: the new limits include the old ones and all values, leave a tenth of that span
///   free beyond the value outside, and lie on round steps. A value that wavers around a limit widens it once.
/// - It narrows only when the values fill less than a quarter of it and only to at most half its width, to round limits
///   with a tenth of free space on both sides. The values then fill over a quarter of the new range, so no change
///   triggers the next.
/// - The smallest span is 0.2 % of the largest magnitude, so that the noise of a steady value is not exaggerated. Free
///   space does not reach across zero: values that are all positive get no negative limit.
/// Values that cannot be drawn (IsDrawable) do not count; when there are no others, the range stays. So that narrowing
/// does not cut off a curve, pass its lowest and highest value along with the history's.
ValueRange AutomaticRange(const ValueRange& current, std::span<const double> values);

} // namespace modChartCommon
