// The frame on an overview that stands for what a chart shows: where it is taken hold of, and where it goes then.
#pragma once

#include "session/clsHistory.h"

#include <cstdint>
#include <vector>

namespace modOverview {

/// What lies under the pointer.
enum class Part : std::uint8_t { Outside, Begin, End, Inside };

/// Handles reach as far beyond the edges of the frame; inside they are narrower when the frame is.
inline constexpr double kHandle = 8.0;

/// `left` and `right` are the frame's edges, all in the same units.
Part PartAt(double x, double left, double right);

/// The stretch `range` moved, but not beyond `all`; one longer than that shows all of it.
PlaceRange Moved(const PlaceRange& range, double days, const PlaceRange& all);
/// The same stretch with its begin or end at a place within `all`, and at least a millisecond long.
PlaceRange Stretched(const PlaceRange& range, Part edge, double place, const PlaceRange& all);
/// The stretch, `factor` times as long and not longer than `all`; what is at `place` stays there as far as it can.
PlaceRange Zoomed(const PlaceRange& range, double place, double factor, const PlaceRange& all);

/// Where there is no distance before the first one or after the last one, for at least `shortest` days: such a stretch
/// lies between no two distances, so it is none of the gaps of the history itself.
std::vector<HistoryGap> OpenGaps(const clsHistory& history, double shortest);

} // namespace modOverview
