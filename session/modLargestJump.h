// Finds the largest jump of a stretch: the two distances, one right after the other, that differ most.
#pragma once

#include "session/clsHistory.h"

#include <cstdint>
#include <optional>

namespace modLargestJump {

struct Jump {
    double from = 0.0, to = 0.0; ///< places of the two distances
    std::int32_t from_mm = 0, to_mm = 0;
    std::int64_t Size_mm() const;
};

/// The largest jump within a stretch, the first of equal ones; none when no two different distances are joined in it.
/// What lies across a gap is no jump. It looks closely only where the summaries of the history leave room for a larger
/// one than was found, so a month costs little more than a minute.
std::optional<Jump> Find(const clsHistory& history, const PlaceRange& range);

} // namespace modLargestJump
