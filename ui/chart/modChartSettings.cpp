#include "ui/chart/modChartSettings.h"

#include "base/Numbers.h"
#include "store/modGlobals.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace modChartSettings {

namespace {

constexpr double kLargestTyped = 999999.0;
constexpr double kLargestApplied = 99999999.0;
constexpr double kLeastSpan = 0.000001;
constexpr int kMostDecimals = 6;

} // namespace

std::string LimitText(double limit, char decimalSeparator)
{
    std::string text = FixedText(limit, kMostDecimals, decimalSeparator);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == decimalSeparator) {
        text.pop_back();
    }
    return text == "-0" ? "0" : text;
}

std::string CheckedText(Limit limit, std::string_view typed, char decimalSeparator)
{
    if (Trimmed(typed).empty()) {
        const modGlobals::Settings defaults;
        return LimitText(limit == 0 ? defaults.yMax : defaults.yMin, decimalSeparator);
    }
    std::string number(typed);
    std::ranges::replace(number, decimalSeparator, '.');
    const double value = Val(number); // reads only the number at the start, of "12-3" the 12
    return LimitText(std::clamp(value, 0.0, kLargestTyped), decimalSeparator);
}

Applied Apply(double yMax, double yMin, const std::array<std::optional<std::string>, 2>& typed, char decimalSeparator)
{
    Applied applied{yMax, yMin, typed};
    for (const Limit limit : {LimitMax, LimitMin}) {
        if (!typed[limit]) {
            continue;
        }
        const auto value = CDbl(*typed[limit], decimalSeparator);
        if (!value) {
            throw std::invalid_argument("a limit of the chart is no number");
        }
        if (std::fabs(*value) <= kLargestApplied) {
            (limit == LimitMax ? applied.yMax : applied.yMin) = *value;
        } else {
            applied.texts[limit] = "255"; // Deliberate: the box shows this text instead of the limit.
        }
    }
    if (std::fabs(applied.yMax - applied.yMin) < kLeastSpan) {
        applied.yMax = applied.yMin + kLeastSpan;
        applied.texts[LimitMax] = LimitText(applied.yMax, decimalSeparator);
    }
    return applied;
}

} // namespace modChartSettings
