// The reduced curve as lines through points, for pictures that are not made of pixels.
#pragma once

#include "plot/clsCurveColumns.h"
#include "plot/clsCurvePainter.h"

#include <cstdint>
#include <vector>

namespace modCurveLines {

/// The lines, one for each run of the columns, whose window has kFineColumns of them in a pixel. A line that leaves
/// the rows 0 to height is cut off there and goes on as another. A point alone is a line of one place.
/// The line keeps to what the columns cover, a corner so being exact to one of them; straight pieces have no places in
/// between.
std::vector<std::vector<PlotPlace>> LinesOf(const clsCurveColumns& columns, const RowScale& scale, std::int32_t height);

} // namespace modCurveLines
