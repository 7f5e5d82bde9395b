// The rules of the chart's settings window for its two limits, without the window.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace modChartSettings {

/// The two boxes: 0 is the upper limit, 1 the lower one.
enum Limit : std::size_t { LimitMax = 0, LimitMin = 1 };

/// A limit as a box shows it: as many decimals as it needs, at most 6, no group separators.
std::string LimitText(double limit, char decimalSeparator);

/// What a box shows when it is left: the number at the start of the text, limited to 0 to 999999; 5000 (maximum) or 0
/// (minimum) when the text is empty. Deliberate: negative limits are not allowed, although their keys pass and `Apply`
/// takes them.
std::string CheckedText(Limit limit, std::string_view typed, char decimalSeparator);

/// The result of applying: the new limits and what the boxes show.
struct Applied {
    double yMax = 0.0, yMin = 0.0;
    std::array<std::optional<std::string>, 2> texts; ///< none: the box stays as it is
};
/// Applies what was typed; a box without a text leaves its limit unchanged. A number beyond 99999999 leaves its limit
/// unchanged and the box shows "255". An upper limit equal to the lower one is raised by 0.000001. Throws
/// std::invalid_argument for a text that is not a number.
Applied Apply(double yMax, double yMin, const std::array<std::optional<std::string>, 2>& typed, char decimalSeparator);

} // namespace modChartSettings
