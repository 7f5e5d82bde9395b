// What has become of the bytes and replies of a sensor, counted over some period, and the gaps between its distances.
// Plain data: session/ counts, recordings and front ends pass the figures on.
#pragma once

#include <cstdint>

/// Replies are counted in the order in which they pass: received, then one of the four kinds, then shown, then recorded
/// or not.
struct AccountFigures {
    std::int64_t bytes = 0;      ///< that have come from the line
    std::int64_t received = 0;   ///< replies to a measurement, damaged ones included
    std::int64_t valid = 0;      ///< distances
    std::int64_t noEcho = 0;     ///< missing echoes, a distance of 0 included
    std::int64_t tempError = 0;  ///< temperature errors in place of a distance
    std::int64_t damaged = 0;    ///< given up: wrong checksum, wrong form, out of step
    std::int64_t shown = 0;      ///< passed on to the chart, as a point or as a gap
    std::int64_t recorded = 0;   ///< lines of a recording
    std::int64_t passedOver = 0; ///< not recorded because only one value a tick is wanted
    std::int64_t unwritten = 0;  ///< not recorded because no temperature was known, or the file failed
    std::int64_t lineLost = 0;   ///< times
    std::int64_t clockJumps = 0; ///< times the system's clock was set
    double longestGap_ms = 0.0;  ///< the longest time between two distances

    bool operator==(const AccountFigures&) const = default;
    /// Replies that were understood.
    std::int64_t Understood() const { return valid + noEcho + tempError; }
    /// Whether no reply was lost or counted twice on its way through the program, of which a part may be recorded.
    bool AddUp() const
    {
        return received == Understood() + damaged && shown == Understood() &&
               recorded + passedOver + unwritten <= Understood();
    }
    /// The same for the figures of one recording or file, which tell of every reply what has become of it.
    bool AddUpExactly() const { return AddUp() && recorded + passedOver + unwritten == Understood(); }
};

/// A count and its name in files.
struct AccountCount {
    const char* key;
    std::int64_t AccountFigures::*count;
};
/// All of them, in the order of `AccountFigures`.
inline constexpr AccountCount kAccountCounts[] = {
    {"bytes", &AccountFigures::bytes},           {"received", &AccountFigures::received},
    {"valid", &AccountFigures::valid},           {"noEcho", &AccountFigures::noEcho},
    {"tempError", &AccountFigures::tempError},   {"damaged", &AccountFigures::damaged},
    {"shown", &AccountFigures::shown},           {"recorded", &AccountFigures::recorded},
    {"passedOver", &AccountFigures::passedOver}, {"unwritten", &AccountFigures::unwritten},
    {"lineLost", &AccountFigures::lineLost},     {"clockJumps", &AccountFigures::clockJumps}};

/// Why there is no distance for a while. Nothing but a recording that does not say why has gaps of an unknown reason,
/// so accounts and sidecars know the others only.
enum class GapReason : std::uint8_t { NoEcho, Damage, LineLost, TemperaturePoll, Stopped, ClockChanged, Unknown };

/// No distance between two points in time, days since 1899-12-30, local time.
struct Gap {
    double from = 0.0, to = 0.0;
    GapReason reason = GapReason::NoEcho;
    bool operator==(const Gap&) const = default;
};
