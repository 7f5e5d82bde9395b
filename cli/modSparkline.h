// Values as a row of characters: how they went, and where one lies between two others. UTF-8, or plain ASCII for
// terminals that know nothing else.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace modSparkline {

/// The lowest and the highest of the values; empty when there is none.
struct Range {
    double lowest = 0.0, highest = 0.0;
};
std::optional<Range> RangeOf(std::span<const std::optional<double>> values);

/// One character for each value, the higher the larger it is within their range; a blank where there is none. Values
/// that are all the same are drawn half high.
std::string Of(std::span<const std::optional<double>> values, bool isAscii);

/// A bar of so many columns, filled as far as the value lies within the range; without a range half full.
std::string Bar(double value, const Range& range, std::size_t columns, bool isAscii);

} // namespace modSparkline
