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

/// Whether a value has a place on a scale: not a NaN, not infinite, and a difference of two such stays finite.
inline bool IsDrawable(double value)
{
    return value > -1e300 && value < 1e300;
}

/// The smallest of 1, 2, 5 times a power of ten, from 0.000001 up, that fits fewer than `divisions` (at least 3) times
/// into the range; with the range's sign. 0 for a range of 0 or one that is not finite.
double RoundStep(double range, std::int32_t divisions);

/// The decimals that a step of 1, 2 or 5 times 10^k needs: -k, at least 0.
int LabelDecimals(double step);

/// A tick's value with these decimals; never "-0".
std::string LabelText(double value, int decimals, char decimalSeparator);

inline constexpr char kInvalidRange[] = "Invalid Range";
/// The time of day (days since 1899-12-30) as "hh:mm:ss"; kInvalidRange for a time outside the years 100 to 9999.
std::string TimeLabelText(double time);

/// Computes the ticks of `axis` for fewer than `divisions` divisions (at least 3). Minimum and maximum are pulled to
/// the step, towards zero, when their signs differ. An axis that is empty, becomes so by that or is not finite stays
/// unchanged, its former ticks included.
void ComputeAxis(Axis& axis, std::int32_t divisions, char decimalSeparator);

/// The step, in milliseconds, of a time axis of `range_ms` with fewer than `divisions` divisions; raises `divisions` to
/// 1 if it is below. Throws std::overflow_error when the step does not fit 32 bits (over 20 days a division).
std::int32_t TimeStep(std::int32_t range_ms, std::int32_t& divisions);

/// Limits of the value axis, in any unit (the program keeps millimetres), and the divisions they are made for. Empty
/// limits take the first values as they come.
struct ValueRange {
    double lower = 0.0, upper = 0.0;
    std::int32_t divisions = 10;
    bool operator==(const ValueRange&) const = default;
};

/// `range` with its limits moved outwards to multiples of the RoundStep that the result itself has.
/// An empty range, or one that is not finite, comes back as it is.
ValueRange RoundLimits(const ValueRange& range);

/// The range that follows the values: `current`, or a new one.
/// - While all values lie inside, ends included, and fill a quarter of it or more, the range stays.
/// - A value outside widens it at once: the new limits hold the old ones and all values, leave a tenth of that span
///   free beyond the value that broke out, and lie on round steps. A value that moves about a border widens it once.
/// - It narrows only when the values fill less than a quarter of it and only to at most half its width, to round limits
///   with a tenth of free space on both sides. The values fill over a quarter of what they get, so none of these
///   changes calls for the next.
/// - The least span is 0.2 % of the largest magnitude, so that a resting value shows no exaggerated noise. Free space
///   does not reach across zero: values that are all positive get no negative limit.
/// Values that cannot be drawn (IsDrawable) do not count; without any other the range stays. To keep narrowing from
/// cutting off a curve, pass its lowest and highest value along with the history's.
ValueRange AutomaticRange(const ValueRange& current, std::span<const double> values);

} // namespace modChartCommon
