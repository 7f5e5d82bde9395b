// What a chart shows apart from its points: axes, colours and texts. This content determines the layout (ChartLayout)
// and with it the drawing (ChartDrawing), which appears on the screen (ChartFrame, in the widget XYChart) and in files
// (ChartPicture).
#pragma once

#include "plot/modChartCommon.h"
#include "ui/chart/modChartGlobals.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

struct ChartContent {
    using Watermarks = std::array<clsLabel, modChartGlobals::kWatermarkCount>;

    std::optional<double> begin; ///< the time at the left end of the axis; empty until a time is shown or set
    double timeOrigin = 0.0;     ///< the time from which divisions in times of day are counted
    std::int32_t xRange_ms = modChartGlobals::kXRange_ms;
    bool timeScale = false, xReversed = false;

    modChartCommon::ValueRange limits; ///< equal before the first value
    bool autoScale = true, yReversed = false;
    bool connectPoints = true, showZero = false;

    std::optional<std::int32_t> backColor, gridColor, scaleColor; ///< 0xBBGGRR
    clsLabel header = modChartGlobals::DefaultHeader();
    Watermarks watermark = modChartGlobals::DefaultWatermark();
    clsLabel xCaption = modChartGlobals::DefaultXCaption();
    clsLabel yCaption = modChartGlobals::DefaultYCaption();
    QString seriesLabel;
    QString badge; ///< says that the values are not live; has a line of its own above the plot

    /// Whether the values have a scale; before the first value there is none.
    bool HasLimits() const { return limits.lower != limits.upper; }
};
