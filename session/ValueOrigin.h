// Where shown values come from: a sensor on the line, the program's own simulated sensor, or a recording.
#pragma once

#include "session/modPlayback.h"

#include <optional>
#include <string>

struct ValueOrigin {
    bool simulated = false;           ///< by the program's own sensor, now or when they were recorded
    std::optional<double> recorded{}; ///< the first line of the recording, days since 1899-12-30, local time
    std::string serial{};             ///< of the recording's sensor, one byte per character; empty when not known

    bool operator==(const ValueOrigin&) const = default;
};

/// The origin of what a playback has shown. A recording without a line has shown nothing.
inline ValueOrigin OriginOf(const modPlayback::Loaded& loaded)
{
    if (loaded.lines == 0) {
        return {};
    }
    ValueOrigin origin{.recorded = loaded.first};
    if (loaded.info) {
        origin.simulated = loaded.info->simulated;
        origin.serial = loaded.info->sensor.SerialNo;
    }
    return origin;
}
