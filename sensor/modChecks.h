// What a person who knows the sensor would notice in a set of parameters. These are warnings: nothing is refused or
// changed because of them.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct Warning {
    const ParameterDef* row;
    TextId textId;
    std::vector<std::string> args; ///< UTF-8, with their units
    bool operator==(const Warning&) const = default;
};

/// The limit that a typed number lies beyond.
enum class BeyondLimit : std::uint8_t { No, Lower, Upper };

namespace modChecks {

/// The warnings about a set, in the order of a configuration file; a parameter may have several. Switches and analog
/// output are left out for a Profibus sensor, and so is what the analog output takes the place of, or the other way
/// round. `distance_mm` is what the sensor measures now, if it does, and `offset_mm` the offset that it does it with.
///
/// - With positive logic an output is on above its ON threshold and off below its OFF threshold, so ON lies above OFF.
///   With negative logic either order can be meant, and neither is warned of.
/// - A distance is counted from the front of the sensor, so without offset and with a positive scaling factor it is
///   never negative; an offset moves this end by no more than itself. The far end depends on the target and is not
///   known here.
/// - An offset larger than the measured distance puts the zero behind the target or the sensor behind itself. Nothing
///   is said about the offset that the sensor works with already.
std::vector<Warning> Check(const ParameterSet& set, std::optional<std::int32_t> distance_mm, std::int32_t offset_mm);

/// Whether `CheckedText` moves a typed text to a limit.
BeyondLimit LimitOf(const ParameterDef& row, std::string_view typed);

} // namespace modChecks
