// The colours of a chart: those that are set, else those of the table or the desktop.
#pragma once

#include <QColor>

class QPalette;
struct ChartContent;

/// The colours in use: those that are set, else those of the table or the palette.
struct ChartColors {
    QColor back, grid, axis, scale, muted, watermark, curve;
    bool operator==(const ChartColors&) const = default;
};
/// A colour that the content does not set is replaced by the palette's when the palette is dark.
ChartColors ColorsOf(const ChartContent& content, const QPalette& palette);
