// Draws a chart into any painter, by its layout: grid, scales, texts and the curve. The widget and the files use the
// same drawing; the widget only keeps what stands still and draws the curve's pixels faster.
#pragma once

#include "ui/chart/ChartColors.h"
#include "ui/chart/ChartLayout.h"

#include <array>
#include <vector>

class QPainter;
class clsChartData;

class ChartDrawing {
public:
    static constexpr double kLineWidth = 1.5, kDotWidth = 3.0; ///< of the curve, units

    /// All three must outlive the drawing.
    ChartDrawing(const ChartContent& content, const ChartLayout& layout, const ChartColors& colors)
        : m_content(content), m_layout(layout), m_colors(colors)
    {}

    /// Draws everything, in the order below. The read pointer of the series must stand on its oldest point.
    void Draw(QPainter& painter, const clsChartData& series) const;

    /// What stands still while the curve moves: ground, texts, grid and scales, without the times of day.
    void DrawGround(QPainter& painter) const;
    /// The grid lines that move with the times of day.
    void DrawTimeGrid(QPainter& painter, const std::vector<ChartLayout::Tick>& ticks) const;
    /// The curve as lines or dots of the painter. The same reduction as on the screen decides for each column of pixels
    /// what is joined and what is a gap.
    void DrawCurve(QPainter& painter, const clsChartData& series) const;
    void DrawTimeLabels(QPainter& painter, const std::vector<ChartLayout::Tick>& ticks) const;
    /// Where the clock was set, and the values that the scale leaves out.
    void DrawClockChanges(QPainter& painter) const;
    void DrawSpikes(QPainter& painter) const;

    // Where labels stand, and where scales are drawn anew; pixels.
    QRect ValueLabelBox(const ChartLayout::Tick& tick, double width) const;
    QRect TimeLabelBox(const ChartLayout::Tick& tick, double width) const;
    QRect BelowLabelBox(const ChartLayout::Tick& tick, double width) const;
    QRect GridRow(const ChartLayout::Tick& tick) const;
    QRect GridColumn(const ChartLayout::Tick& tick) const;
    std::array<QRect, 2> AxisLines() const;
    QRect ValueScaleArea() const;
    QRect TimeScaleArea() const;

private:
    void drawLines(QPainter& painter, const clsChartData& series) const;
    void drawDots(QPainter& painter, const clsChartData& series) const;
    QPointF pointAt(double column, double row) const;
    QColor labelColor(const clsLabel& label) const;
    void drawLabel(QPainter& painter, const clsLabel& label, const QRectF& box, int flags) const;
    void drawTexts(QPainter& painter) const;
    void drawBadge(QPainter& painter) const;
    void drawSeriesLabel(QPainter& painter, const QRectF& above) const;
    void drawWatermark(QPainter& painter) const;
    void drawValueScale(QPainter& painter) const;
    void drawIntervalScale(QPainter& painter) const;
    void drawXLabel(QPainter& painter, const ChartLayout::Tick& tick) const;
    void drawIn(QPainter& painter, const QRect& pixels, const QString& text) const;
    void fill(QPainter& painter, const QRect& pixels, const QColor& color) const;

    const ChartContent& m_content;
    const ChartLayout& m_layout;
    const ChartColors& m_colors;
};
