// What can be heard on a line without asking: whether its bytes are the values of a sensor, and in which of the four
// formats. For a line of which nothing is known; the dialogue knows its sensor.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace modHearing {

struct Heard {
    std::optional<std::int32_t> format{}; ///< of values, beyond doubt, as `ParameterSet::OutputFormat`
    bool isPromising = false;             ///< they look like values, but they are too few
};

/// `isCleanLine`: the port has reported no framing error while the bytes came. Without it, binary values are not
/// believed unless they have a CRC: at a wrong rate, equal frames arrive as other bytes that are equal, too.
Heard HeardIn(std::string_view bytes, bool isCleanLine);

} // namespace modHearing
