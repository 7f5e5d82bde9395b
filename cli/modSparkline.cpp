#include "cli/modSparkline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace modSparkline {

namespace {

constexpr std::array<std::string_view, 8> kLevels{"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::array<std::string_view, 8> kAsciiLevels{"_", ".", ":", "-", "=", "+", "*", "#"};

/// 0..1; in the middle of a range that is none.
double shareOf(double value, const Range& range)
{
    const double width = range.highest - range.lowest;
    return width > 0.0 ? std::clamp((value - range.lowest) / width, 0.0, 1.0) : 0.5;
}

} // namespace

std::optional<Range> RangeOf(std::span<const std::optional<double>> values)
{
    std::optional<Range> range;
    for (const std::optional<double>& value : values) {
        if (value) {
            range = range.value_or(Range{*value, *value});
            range = Range{std::min(range->lowest, *value), std::max(range->highest, *value)};
        }
    }
    return range;
}

std::string Of(std::span<const std::optional<double>> values, bool isAscii)
{
    const Range range = RangeOf(values).value_or(Range{});
    const auto& levels = isAscii ? kAsciiLevels : kLevels;
    std::string line;
    for (const std::optional<double>& value : values) {
        if (!value) {
            line += ' ';
            continue;
        }
        const double level = std::floor(shareOf(*value, range) * static_cast<double>(levels.size()));
        line += levels[std::min(static_cast<std::size_t>(level), levels.size() - 1)];
    }
    return line;
}

std::string Bar(double value, const Range& range, std::size_t columns, bool isAscii)
{
    const auto filled = static_cast<std::size_t>(std::lround(shareOf(value, range) * static_cast<double>(columns)));
    std::string bar;
    for (std::size_t column = 0; column < columns; ++column) {
        bar += column < filled ? (isAscii ? "#" : "█") : (isAscii ? "-" : "░");
    }
    return bar;
}

} // namespace modSparkline
