#include "plot/modChartCommon.h"

#include "base/Days.h"
#include "base/Numbers.h"
#include "base/modAPI.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace modChartCommon {

namespace {

constexpr double kMantissas[] = {1.0, 2.0, 5.0};
constexpr int kSmallestPower = -6;
constexpr int kMostDecimals = 17;

constexpr double kMargin = 0.1;
constexpr double kFillThatNarrows = 0.25;
constexpr double kNarrowedAtMost = 0.5;
constexpr double kLeastSpan = 0.002; // of the largest magnitude

int signOf(double value)
{
    return (value > 0.0) - (value < 0.0);
}

bool isUsable(const Axis& axis, double step)
{
    const double range = axis.maximum - axis.minimum;
    return range != 0.0 && std::isfinite(range) && std::isfinite(range / step);
}

std::int32_t fittingStep(std::int64_t step_ms)
{
    if (step_ms > std::numeric_limits<std::int32_t>::max()) {
        throw std::overflow_error("TimeStep: the step does not fit 32 bits");
    }
    return static_cast<std::int32_t>(step_ms);
}

bool fitsFewerThan(std::int32_t divisions, double range, double step)
{
    return std::fabs(range / step) < divisions;
}

std::int32_t millisecondStep(std::int32_t range_ms, std::int32_t divisions)
{
    for (std::int64_t power = 1;; power *= 10) {
        for (const std::int64_t mantissa : {1, 2, 5}) {
            const std::int32_t step = fittingStep(mantissa * power);
            if (fitsFewerThan(divisions, range_ms, step)) {
                return step;
            }
        }
    }
}

std::int32_t secondStep(std::int32_t range_ms, std::int32_t divisions)
{
    // Deliberate: each unit runs through the same multipliers, so 30 hours are tried before 1 day.
    for (const std::int64_t unit_ms : {1000, 60000, 3600000, 86400000}) {
        for (const std::int64_t multiplier : {1, 2, 5, 10, 15, 20, 30}) {
            const std::int32_t step = fittingStep(unit_ms * multiplier);
            if (fitsFewerThan(divisions, range_ms, step)) {
                return step;
            }
        }
    }
    throw std::overflow_error("TimeStep: the step does not fit 32 bits"); // 30 days do not fit already
}

/// Adds a tenth of the span as free space below and above, where asked for, but not across zero.
ValueRange withMargin(ValueRange range, bool below, bool above)
{
    const double margin = kMargin * (range.upper - range.lower);
    if (below) {
        range.lower = range.lower >= 0.0 ? std::max(range.lower - margin, 0.0) : range.lower - margin;
    }
    if (above) {
        range.upper = range.upper <= 0.0 ? std::min(range.upper + margin, 0.0) : range.upper + margin;
    }
    return range;
}

/// Widens the range evenly to the smallest span for values of this magnitude.
ValueRange atLeast(ValueRange range)
{
    const double magnitude = std::max(std::fabs(range.lower), std::fabs(range.upper));
    const double least = magnitude == 0.0 ? 1.0 : magnitude * kLeastSpan;
    const double missing = std::max(least - (range.upper - range.lower), 0.0);
    range.lower -= missing / 2.0;
    range.upper += missing / 2.0;
    return range;
}

ValueRange fitted(const ValueRange& values)
{
    return RoundLimits(atLeast(withMargin(values, true, true)));
}

ValueRange widened(const ValueRange& current, const ValueRange& values)
{
    const ValueRange both{std::min(values.lower, current.lower), std::max(values.upper, current.upper),
                          current.divisions};
    const bool below = values.lower < current.lower;
    const bool above = values.upper > current.upper;
    return RoundLimits(withMargin(both, below, above));
}

double spanOf(const ValueRange& range)
{
    return range.upper - range.lower;
}

} // namespace

double RoundStep(double range, std::int32_t divisions)
{
    if (range == 0.0 || !std::isfinite(range)) {
        return 0.0;
    }
    divisions = std::max(divisions, 3);
    for (int power = kSmallestPower;; ++power) {
        for (const double mantissa : kMantissas) {
            const double step = mantissa * std::pow(10.0, power);
            if (fitsFewerThan(divisions, range, step)) {
                return signOf(range) * step;
            }
        }
    }
}

int LabelDecimals(double step)
{
    if (step == 0.0 || !std::isfinite(step)) {
        return 0;
    }
    // The small addend is for a step such as 0.001, whose logarithm may come out just below -3.
    const double power = std::floor(std::log10(std::fabs(step)) + 1e-9);
    return static_cast<int>(std::clamp(-power, 0.0, static_cast<double>(kMostDecimals)));
}

std::string LabelText(double value, int decimals, char decimalSeparator)
{
    const bool isZero = std::fabs(value) < 0.5 * std::pow(10.0, -decimals);
    return FixedText(isZero ? 0.0 : value, decimals, decimalSeparator);
}

std::string TimeLabelText(double time)
{
    // The negation catches a NaN.
    if (!(time >= kFirstDay && time < kEndOfDays)) {
        return kInvalidRange;
    }
    return modAPI::TimeOfDayText(time);
}

void ComputeAxis(Axis& axis, std::int32_t divisions, char decimalSeparator)
{
    double step = RoundStep(axis.maximum - axis.minimum, divisions);
    if (!isUsable(axis, step)) {
        return;
    }
    double minimum = axis.minimum;
    double maximum = axis.maximum;
    if (signOf(minimum) != signOf(maximum)) {
        // Deliberate: rounded towards zero, so a range that reaches zero loses what lies beyond its last round steps.
        minimum = std::trunc(minimum / step) * step;
        maximum = std::trunc(maximum / step) * step;
    }
    const double range = maximum - minimum;
    if (range == 0.0) {
        return;
    }
    // Deliberate: a range on one side of zero keeps its ends, and its ticks start at an end that may not be round.
    axis.minimum = minimum;
    axis.maximum = maximum;
    axis.pixelsPerUnit = (axis.pixelEnd - axis.pixelStart) / range;
    const auto count = static_cast<std::size_t>(std::floor(range / step)) + 1;
    const int decimals = LabelDecimals(step);
    step = axis.reversed != 0 ? -step : step;
    const double start = axis.reversed != 0 ? maximum : minimum;
    axis.tickValues.resize(count);
    axis.tickPositions.resize(count);
    axis.tickLabels.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(i) * step + start;
        axis.tickValues[i] = value;
        axis.tickPositions[i] = RoundHalfToEven((value - start) * axis.pixelsPerUnit).value_or(0);
        axis.tickLabels[i] = LabelText(value, decimals, decimalSeparator);
    }
}

void ComputeExactAxis(Axis& axis, std::int32_t divisions, char decimalSeparator)
{
    const double step = RoundStep(axis.maximum - axis.minimum, divisions);
    if (!isUsable(axis, step) || step < 0.0) {
        return;
    }
    axis.pixelsPerUnit = (axis.pixelEnd - axis.pixelStart) / (axis.maximum - axis.minimum);
    const bool isReversed = axis.reversed != 0;
    const int decimals = LabelDecimals(step);
    axis.tickValues.clear();
    axis.tickPositions.clear();
    axis.tickLabels.clear();
    constexpr double kSame = 1e-9; // a limit on a step has its tick
    const double first = std::ceil(axis.minimum / step - kSame), last = std::floor(axis.maximum / step + kSame);
    for (std::int32_t i = 0; i <= last - first; ++i) {
        const double value = (first + i) * step;
        const double offset = isReversed ? value - axis.maximum : value - axis.minimum;
        axis.tickValues.push_back(value);
        axis.tickPositions.push_back(RoundHalfToEven(offset * axis.pixelsPerUnit).value_or(0));
        axis.tickLabels.push_back(LabelText(value, decimals, decimalSeparator));
    }
}

std::int32_t TimeStep(std::int32_t range_ms, std::int32_t& divisions)
{
    divisions = std::max(divisions, 1);
    const std::int32_t perDivision_ms = RoundHalfToEven(static_cast<double>(range_ms) / divisions).value_or(0);
    // Deliberate: exactly one second per division still takes its step from the milliseconds.
    return perDivision_ms <= 1000 ? millisecondStep(range_ms, divisions) : secondStep(range_ms, divisions);
}

ValueRange RoundLimits(const ValueRange& range)
{
    // A limit that is already round must not move on by a step because of its last bit.
    constexpr double kSame = 1e-9;
    ValueRange rounded = range;
    double step = RoundStep(spanOf(range), range.divisions);
    for (double before = 0.0; step != before;) {
        rounded.lower = std::floor(range.lower / step + kSame) * step;
        rounded.upper = std::ceil(range.upper / step - kSame) * step;
        before = step;
        step = std::max(RoundStep(spanOf(rounded), range.divisions), before);
    }
    return rounded;
}

ValueRange AutomaticRange(const ValueRange& current, std::span<const double> values)
{
    ValueRange found{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                     current.divisions};
    for (const double value : values) {
        if (IsDrawable(value)) {
            found.lower = std::min(found.lower, value);
            found.upper = std::max(found.upper, value);
        }
    }
    if (found.lower > found.upper) {
        return current;
    }
    const double span = spanOf(current);
    if (!(span > 0.0) || !std::isfinite(span)) {
        return fitted(found);
    }
    if (found.lower < current.lower || found.upper > current.upper) {
        return widened(current, found);
    }
    if (spanOf(found) < kFillThatNarrows * span) {
        const ValueRange narrower = fitted(found);
        return spanOf(narrower) <= kNarrowedAtMost * span ? narrower : current;
    }
    return current;
}

} // namespace modChartCommon
