// What a chart says apart from its points: axes, colours and texts. The folder goes from this content to its layout
// (ChartLayout), on to the drawing (ChartDrawing) and from there to the screen (ChartFrame, in the widget XYChart) and
// to files (ChartPicture).
#pragma once

#include "plot/modChartCommon.h"
#include "ui/chart/modChartGlobals.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

struct ChartContent {
    using Watermarks = std::array<clsLabel, modChartGlobals::kWatermarkCount>;

    std::optional<double> begin; ///< the time at the left end of the axis; empty before one was shown or set
    double timeOrigin = 0.0;     ///< where divisions in times of day are counted from
    std::int32_t xRange_ms = modChartGlobals::kXRange_ms;
    bool timeScale = false, xReversed = false;

    modChartCommon::ValueRange limits; ///< equal ones before the first value
    bool autoScale = true, yReversed = false;
    bool connectPoints = true, showZero = false;

    std::optional<std::int32_t> backColor, gridColor, scaleColor; ///< 0xBBGGRR
    clsLabel header = modChartGlobals::DefaultHeader();
    Watermarks watermark = modChartGlobals::DefaultWatermark();
    clsLabel xCaption = modChartGlobals::DefaultXCaption();
    clsLabel yCaption = modChartGlobals::DefaultYCaption();
    QString seriesLabel;

    /// Whether the values have a scale; before the first value there is none to speak of.
    bool HasLimits() const { return limits.lower != limits.upper; }
};
