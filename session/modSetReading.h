// The set of the connected sensor, read until it is beyond doubt.
#pragma once

#include "base/Operation.h"
#include "sensor/clsRVQ.h"
#include "texts/TextId.h"

#include <cstdint>

namespace modSetReading {

enum class Outcome : std::uint8_t { Read, Silent, Contradictory, OtherSensor };

/// Reads the sensor's set into `set`, until two dumps in succession are the same: a dump has no checksum. A running
/// measurement is stopped before and restarted afterwards. Both must outlive the operation.
Operation<Outcome> Reading(clsRVQ& device, ParameterSet& set);

/// Why nothing was read; None when something was.
TextId Reason(Outcome outcome);

} // namespace modSetReading
