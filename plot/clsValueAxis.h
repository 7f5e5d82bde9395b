// The range of an automatic value axis: it follows the newest values and does not cut off those that are still shown.
#pragma once

#include "plot/clsShownValues.h"
#include "plot/modChartCommon.h"

#include <array>
#include <optional>

class clsFIFO;

class clsValueAxis {
public:
    /// Fits the range to the newest values and to those that the chart shows, apart from spikes, all in a unit of so
    /// many millimetres. The limits in that unit; empty while there is no range.
    std::optional<std::array<double, 2>> Fit(const clsFIFO& newest, const std::optional<clsShownValues::Split>& shown,
                                             double millimetres);
    /// Other values follow: the next range starts from nothing.
    void Reset() { m_range_mm = {}; }

private:
    modChartCommon::ValueRange m_range_mm;
};
