// What a chart shows apart from its points: axes, colours and texts. This content determines the layout (ChartLayout)
// and with it the drawing (ChartDrawing), which appears on the screen (ChartFrame, in the widget XYChart) and in files
// (ChartPicture).
#pragma once

#include "base/Days.h"
#include "plot/clsChartData.h"
#include "plot/modChartCommon.h"
#include "session/clsHistory.h"
#include "ui/chart/modChartGlobals.h"

#include <QList>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

/// What is drawn over the curve.
struct ChartOverlayContent {
    struct Mark {
        double place = 0.0; ///< on the time axis
        QString text;
        bool operator==(const Mark&) const = default;
    };
    std::array<std::optional<double>, 2> cursors{}; ///< places of A and B
    QList<Mark> marks;                              ///< in the order of their places; copies share it
    struct Point {
        double place = 0.0, value = 0.0; ///< on both axes
        bool operator==(const Point&) const = default;
    };
    std::optional<Point> pointed; ///< what the pointer reads; only on the screen
    QString note; ///< says how the time axis is held or how far behind it is; in the plot's top right corner
    bool operator==(const ChartOverlayContent&) const = default;
};

struct ChartContent {
    using Watermarks = std::array<clsLabel, modChartGlobals::kWatermarkCount>;

    std::optional<double> begin; ///< the time at the left end of the axis; empty until a time is shown or set
    double timeOrigin = 0.0;     ///< the time from which divisions in times of day are counted
    std::int32_t xRange_ms = modChartGlobals::kXRange_ms;
    /// What can be looked into, and the length of the shown unit in it; none: only the newest points can be seen.
    const clsHistory* history = nullptr;
    double unit_mm = 1.0;
    /// The stretch of the history that is shown instead of the newest points, by places on the time axis.
    std::optional<PlaceRange> look;
    bool lookFollows = false; ///< the stretch ends at the current time, because there is more than the points show
    /// That an axis counts as plain seconds. A longer recording shows times of day.
    static constexpr double kMostPlain_ms = 300000.0;
    bool isRecorded = false; ///< the points are those of a recording
    bool timeScale = false, xReversed = false;

    modChartCommon::ValueRange limits; ///< equal before the first value
    bool autoScale = true, yReversed = false;
    bool exactLimits = false; ///< the limits stay as they are, with the divisions on round values
    /// Values that an automatic scale leaves out, at their places.
    std::vector<ChartPoint> spikes;
    bool connectPoints = true, showZero = false;

    std::optional<std::int32_t> backColor, gridColor, scaleColor; ///< 0xBBGGRR
    clsLabel header = modChartGlobals::DefaultHeader();
    Watermarks watermark = modChartGlobals::DefaultWatermark();
    clsLabel xCaption = modChartGlobals::DefaultXCaption();
    clsLabel yCaption = modChartGlobals::DefaultYCaption();
    QString seriesLabel;
    QString clockLabel = QStringLiteral("%1"); ///< where the clock was set, %1 being by how much
    QString badge; ///< says that the values are not live; has a line of its own above the plot

    ChartOverlayContent overlay;

    /// Whether the time axis counts back from the current time; otherwise it shows times.
    bool ShowsIntervals() const
    {
        // What was measured days ago is not so many hours before now.
        const bool isLongAgo = isRecorded && Span_ms() > kMostPlain_ms;
        return !timeScale && (!look || lookFollows) && !isLongAgo;
    }
    /// The span of the time axis.
    double Span_ms() const { return look ? look->Length() * kMsPerDay : xRange_ms; }

    /// Whether the values have a scale; before the first value there is none.
    bool HasLimits() const { return limits.lower != limits.upper; }
};
