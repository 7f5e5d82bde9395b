#include "ui/chart/ChartDrawing.h"

#include "plot/modCurveLines.h"
#include "ui/chart/ChartOverlay.h"
#include "ui/chart/modGDIAPI.h"
#include "ui/widgets/QtText.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>

using modGDIAPI::ColorOf;

void ChartDrawing::Draw(QPainter& painter, const clsChartData& series) const
{
    const std::vector<ChartLayout::Tick> ticks = m_layout.TimeTicks();
    DrawGround(painter);
    DrawTimeGrid(painter, ticks);
    DrawCurve(painter, series);
    DrawTimeLabels(painter, ticks);
    DrawOverlay(painter, m_content, m_layout, m_colors);
}

void ChartDrawing::DrawGround(QPainter& painter) const
{
    fill(painter, QRect(QPoint(), m_layout.Pixels()), m_colors.back);
    const QRect& plot = m_layout.Plot();
    if (plot.isEmpty()) {
        return;
    }
    drawWatermark(painter);
    drawValueScale(painter);
    drawIntervalScale(painter);
    const int thickness = m_layout.Hairline();
    fill(painter, {plot.left() - thickness, plot.top(), thickness, plot.height()}, m_colors.axis);
    fill(painter, {plot.left() - thickness, plot.bottom() + 1, plot.width() + thickness, thickness}, m_colors.axis);
    drawTexts(painter);
}

QColor ChartDrawing::labelColor(const clsLabel& label) const
{
    if (label.Color == modChartGlobals::kScaleColor) {
        return m_colors.scale;
    }
    if (label.Color == modChartGlobals::kWatermarkColor && modGDIAPI::IsDark(m_colors.back)) {
        return m_colors.watermark;
    }
    return ColorOf(label.Color);
}

void ChartDrawing::drawLabel(QPainter& painter, const clsLabel& label, const QRectF& box, int flags) const
{
    painter.setFont(m_layout.FontOf(label));
    painter.setPen(labelColor(label));
    painter.drawText(box, flags, FromUtf8(label.Text));
}

/// Draws the header, the captions and the name of the series.
void ChartDrawing::drawTexts(QPainter& painter) const
{
    const double line = m_layout.Line();
    const QRectF plot = m_layout.PlotArea();
    const double headerHeight = QFontMetricsF(m_layout.FontOf(m_content.header)).height();
    double top = line / 2.0;
    if (!m_content.badge.isEmpty()) {
        drawBadge(painter);
        top += m_layout.BadgeLine().bottom();
    }
    drawLabel(painter, m_content.header, QRectF(0.0, top, m_layout.Size().width(), headerHeight), Qt::AlignCenter);
    const QRectF above(line / 2.0, plot.top() - 2.0 * line, plot.right() - line / 2.0, line);
    const QFontMetricsF metrics(m_layout.FontOf(m_content.yCaption));
    const double captionWidth = metrics.horizontalAdvance(FromUtf8(m_content.yCaption.Text));
    const double scaleEnd = plot.left() - line / 2.0;
    drawLabel(painter, m_content.yCaption,
              above.adjusted(std::max(scaleEnd - captionWidth - line / 2.0, 0.0), 0.0, 0.0, 0.0),
              Qt::AlignLeft | Qt::AlignVCenter);
    if (!m_content.timeScale) {
        const QRectF below(plot.left(), plot.bottom() + 1.75 * line, plot.width(), line);
        drawLabel(painter, m_content.xCaption, below, Qt::AlignCenter);
    }
    if (!m_content.seriesLabel.isEmpty()) {
        drawSeriesLabel(painter, above);
    }
}

/// Draws a box around the badge, as wide as its text.
void ChartDrawing::drawBadge(QPainter& painter) const
{
    const double margin = m_layout.Line() / 2.0;
    QRectF box = m_layout.BadgeLine();
    QFont font = m_layout.Font();
    font.setBold(true);
    font.setBold(QFontMetricsF(font).horizontalAdvance(m_content.badge) <= box.width() - 2.0 * margin);
    const QFontMetricsF metrics(font);
    const QString text = metrics.elidedText(m_content.badge, Qt::ElideRight, box.width() - 2.0 * margin);
    box.setWidth(std::min(metrics.horizontalAdvance(text) + 2.0 * margin, box.width()));
    painter.setFont(font);
    painter.setPen(QPen(m_colors.scale, 1.0));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawRoundedRect(box, margin / 2.0, margin / 2.0);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.drawText(box, Qt::AlignCenter, text);
}

void ChartDrawing::drawSeriesLabel(QPainter& painter, const QRectF& above) const
{
    const double line = m_layout.Line();
    painter.setFont(m_layout.Font());
    painter.setPen(m_colors.scale);
    painter.drawText(above, Qt::AlignRight | Qt::AlignVCenter, m_content.seriesLabel);
    const double end =
        above.right() - QFontMetricsF(m_layout.Font()).horizontalAdvance(m_content.seriesLabel) - line / 2.0;
    painter.setPen(QPen(m_colors.curve, 2.0, Qt::SolidLine, Qt::RoundCap));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawLine(QPointF(end - 1.2 * line, above.center().y()), QPointF(end, above.center().y()));
    painter.setRenderHint(QPainter::Antialiasing, false);
}

/// Draws the labels one below the other, behind everything else.
void ChartDrawing::drawWatermark(QPainter& painter) const
{
    const auto heightOf = [this](const clsLabel& label) {
        return label.Text.empty() ? 0.0 : QFontMetricsF(m_layout.FontOf(label)).height();
    };
    double total = 0.0;
    for (const clsLabel& label : m_content.watermark) {
        total += heightOf(label);
    }
    const QRectF plot = m_layout.PlotArea();
    double top = plot.center().y() - total / 2.0;
    for (const clsLabel& label : m_content.watermark) {
        const double height = heightOf(label);
        drawLabel(painter, label, QRectF(plot.left(), top, plot.width(), height), Qt::AlignCenter);
        top += height;
    }
}

void ChartDrawing::drawValueScale(QPainter& painter) const
{
    const double line = m_layout.Line();
    const double ratio = m_layout.Ratio();
    const QRect& plot = m_layout.Plot();
    const int thickness = m_layout.Hairline();
    painter.setFont(m_layout.Font());
    painter.setPen(m_colors.scale);
    for (const ChartLayout::Tick& tick : m_layout.ValueTicks()) {
        const int row = plot.top() + tick.position;
        fill(painter, {plot.left(), row - thickness / 2, plot.width(), thickness}, m_colors.grid);
        const QRectF box(0.0, row / ratio - line, plot.left() / ratio - line / 2.0, 2.0 * line);
        painter.drawText(box, Qt::AlignRight | Qt::AlignVCenter, tick.text);
    }
}

void ChartDrawing::drawIntervalScale(QPainter& painter) const
{
    const QRect& plot = m_layout.Plot();
    const int thickness = m_layout.Hairline();
    painter.setFont(m_layout.Font());
    painter.setPen(m_colors.scale);
    for (const ChartLayout::Tick& tick : m_layout.IntervalTicks()) {
        const int column = plot.left() + m_layout.Mirrored(tick.position);
        fill(painter, {column - thickness / 2, plot.top(), thickness, plot.height()}, m_colors.grid);
        drawXLabel(painter, tick);
    }
}

void ChartDrawing::drawXLabel(QPainter& painter, const ChartLayout::Tick& tick) const
{
    const double ratio = m_layout.Ratio();
    const double line = m_layout.Line();
    const QRect& plot = m_layout.Plot();
    const double label = QFontMetricsF(m_layout.Font()).horizontalAdvance(tick.text);
    const double centre = (plot.left() + m_layout.Mirrored(tick.position) + 0.5) / ratio;
    if (centre - label / 2.0 >= 0.0 && centre + label / 2.0 <= m_layout.Size().width()) {
        painter.drawText(QRectF(centre - label, (plot.bottom() + 1) / ratio + line / 2.0, 2.0 * label, line),
                         Qt::AlignCenter, tick.text);
    }
}

void ChartDrawing::DrawTimeGrid(QPainter& painter, const std::vector<ChartLayout::Tick>& ticks) const
{
    const QRect& plot = m_layout.Plot();
    for (const ChartLayout::Tick& tick : ticks) {
        const int end = std::min(tick.position + m_layout.Hairline(), plot.width());
        const int first = m_content.xReversed ? m_layout.Mirrored(end - 1) : tick.position;
        fill(painter, {plot.left() + first, plot.top(), end - tick.position, plot.height()}, m_colors.grid);
    }
}

void ChartDrawing::DrawTimeLabels(QPainter& painter, const std::vector<ChartLayout::Tick>& ticks) const
{
    painter.setFont(m_layout.Font());
    painter.setPen(m_colors.scale);
    QString before;
    for (const ChartLayout::Tick& tick : ticks) {
        // Steps below a second would repeat the same text.
        if (tick.text != before) {
            drawXLabel(painter, tick);
        }
        before = tick.text;
    }
}

void ChartDrawing::DrawCurve(QPainter& painter, const clsChartData& series) const
{
    if (!m_content.begin || m_layout.Plot().isEmpty()) {
        return;
    }
    painter.save();
    painter.setClipRect(m_layout.PlotArea());
    painter.setRenderHint(QPainter::Antialiasing);
    const double width = m_content.connectPoints ? kLineWidth : kDotWidth;
    painter.setPen(QPen(m_colors.curve, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    m_content.connectPoints ? drawLines(painter, series) : drawDots(painter, series);
    painter.restore();
}

void ChartDrawing::drawLines(QPainter& painter, const clsChartData& series) const
{
    clsCurveColumns columns;
    columns.Update(series, m_layout.FineWindow(), m_content.showZero);
    for (const auto& run : modCurveLines::LinesOf(columns, m_layout.Rows(), m_layout.Plot().height())) {
        QPolygonF line;
        for (const PlotPlace& place : run) {
            line += pointAt(place.column, place.row);
        }
        line.size() > 1 ? painter.drawPolyline(line) : painter.drawPoints(line);
    }
}

void ChartDrawing::drawDots(QPainter& painter, const clsChartData& series) const
{
    QPolygonF dots;
    for (const auto part : series.Readable()) {
        for (const ChartPoint& point : part) {
            if (const auto place =
                    PlaceOf(point, m_layout.Window(), m_layout.Rows(), m_layout.Plot().height(), m_content.showZero)) {
                dots += pointAt(place->column + 0.5, place->row);
            }
        }
    }
    painter.drawPoints(dots);
}

/// A place in the plot as a point of the painter; given in pixels from the earlier time and from the top.
QPointF ChartDrawing::pointAt(double column, double row) const
{
    const QRect& plot = m_layout.Plot();
    return QPointF(plot.left() + (m_content.xReversed ? plot.width() - column : column), plot.top() + row) /
           m_layout.Ratio();
}

void ChartDrawing::fill(QPainter& painter, const QRect& pixels, const QColor& color) const
{
    modGDIAPI::FillPixels(painter, m_layout.Ratio(), pixels, color);
}
