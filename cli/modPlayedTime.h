// A moment of a recording as the operator types it.
#pragma once

#include <optional>
#include <string_view>

namespace modPlayedTime {

/// A moment that is known once it is known when a recording begins.
struct PlayedTime {
    enum class Kind { Time, TimeOfDay, FromBeginning } kind = Kind::Time;
    double days = 0.0; ///< since 1899-12-30, since midnight, or since the beginning

    /// The local time of a recording that begins at `first`.
    double TimeIn(double first) const;
    /// The same for the end of a part that begins at `from`: a time of day that is over by then is of the next day.
    double EndIn(double first, double from) const;
};

/// "2026-11-20T14:03:05.250", also with a blank for the T and without seconds; "14:03", "14:03:05.25"; "90s", "5min".
/// Empty for any other text.
std::optional<PlayedTime> Parse(std::string_view text);

} // namespace modPlayedTime
