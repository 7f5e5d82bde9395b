// Lengths of time as the operator types them: "500ms", "10s", "1.5min", "2h", "1d".
#pragma once

#include <optional>
#include <string_view>

namespace modDuration {

/// Seconds; empty for any other text, for a number without its unit, for nothing, and beyond a thousand days.
std::optional<double> Seconds(std::string_view text);

} // namespace modDuration
