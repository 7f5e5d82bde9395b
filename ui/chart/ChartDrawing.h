// Draws a chart by its layout into any painter: grid, scales, texts and the curve. The widget and the files draw with
// this; the widget only keeps what stands still and draws the curve's pixels faster.
#pragma once

#include "ui/chart/ChartLayout.h"

#include <QColor>

#include <vector>

class QPainter;
class QPalette;
class clsChartData;

/// All in use; a set one, the table's or the palette's.
struct ChartColors {
    QColor back, grid, axis, scale, muted, watermark, curve;
};
/// A colour that the content does not set gives way to the palette's where that is dark.
ChartColors ColorsOf(const ChartContent& content, const QPalette& palette);

class ChartDrawing {
public:
    static constexpr double kLineWidth = 1.5, kDotWidth = 3.0; ///< of the curve, units

    /// Everything has to outlast the drawing.
    ChartDrawing(const ChartContent& content, const ChartLayout& layout, const ChartColors& colors)
        : m_content(content), m_layout(layout), m_colors(colors)
    {}

    /// All of it, in the order below. The read pointer of the series stands on its oldest point.
    void Draw(QPainter& painter, const clsChartData& series) const;

    /// What stands still while the curve moves: ground, grid and scales but for times of day, texts.
    void DrawGround(QPainter& painter) const;
    /// The lines of the grid that move along with times of day.
    void DrawTimeGrid(QPainter& painter, const std::vector<ChartLayout::Tick>& ticks) const;
    /// The curve as lines or dots of the painter. What is joined, and what is a gap, is settled per column of pixels
    /// by the same reduction as on the screen.
    void DrawCurve(QPainter& painter, const clsChartData& series) const;
    void DrawTimeLabels(QPainter& painter, const std::vector<ChartLayout::Tick>& ticks) const;

private:
    void drawLines(QPainter& painter, const clsChartData& series) const;
    void drawDots(QPainter& painter, const clsChartData& series) const;
    QPointF pointAt(double column, double row) const;
    QColor labelColor(const clsLabel& label) const;
    void drawLabel(QPainter& painter, const clsLabel& label, const QRectF& box, int flags) const;
    void drawTexts(QPainter& painter) const;
    void drawSeriesLabel(QPainter& painter, const QRectF& above) const;
    void drawWatermark(QPainter& painter) const;
    void drawValueScale(QPainter& painter) const;
    void drawIntervalScale(QPainter& painter) const;
    void drawXLabel(QPainter& painter, const ChartLayout::Tick& tick) const;
    void fill(QPainter& painter, const QRect& pixels, const QColor& color) const;

    const ChartContent& m_content;
    const ChartLayout& m_layout;
    const ChartColors& m_colors;
};
