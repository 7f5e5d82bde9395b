#include "ui/chart/ChartDrawing.h"

#include "plot/modCurveLines.h"
#include "ui/chart/ChartOverlay.h"
#include "ui/chart/modGDIAPI.h"
#include "ui/widgets/QtText.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <array>
#include <cmath>

using modGDIAPI::ColorOf;

namespace {

/// Whole pixels for a length in units, which may have been made from whole pixels.
int pixelsOf(double units, double ratio)
{
    constexpr double kRounding = 1e-6;
    return static_cast<int>(std::ceil(units * ratio - kRounding));
}

} // namespace

void ChartDrawing::Draw(QPainter& painter, const clsChartData& series) const
{
    const std::vector<ChartLayout::Tick> ticks = m_layout.TimeTicks();
    DrawGround(painter);
    DrawTimeGrid(painter, ticks);
    DrawCurve(painter, series);
    DrawTimeLabels(painter, ticks);
    DrawClockChanges(painter);
    DrawSpikes(painter);
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
    for (const QRect& line : AxisLines()) {
        fill(painter, line, m_colors.axis);
    }
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
    if (m_content.ShowsIntervals()) {
        const QRectF below(plot.left(), plot.bottom() + 1.75 * line, plot.width(), line);
        clsLabel caption = m_content.xCaption;
        if (const QString format = m_layout.IntervalFormat(); !format.isEmpty() && !caption.Text.empty()) {
            caption.Text = "[ " + format.toStdString() + " ]";
        }
        drawLabel(painter, caption, below, Qt::AlignCenter);
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

std::array<QRect, 2> ChartDrawing::AxisLines() const
{
    const QRect& plot = m_layout.Plot();
    const int thickness = m_layout.Hairline();
    return {QRect(plot.left() - thickness, plot.top(), thickness, plot.height()),
            QRect(plot.left() - thickness, plot.bottom() + 1, plot.width() + thickness, thickness)};
}

QRect ChartDrawing::GridRow(const ChartLayout::Tick& tick) const
{
    const QRect& plot = m_layout.Plot();
    const int thickness = m_layout.Hairline();
    return {plot.left(), plot.top() + tick.position - thickness / 2, plot.width(), thickness};
}

QRect ChartDrawing::GridColumn(const ChartLayout::Tick& tick) const
{
    const QRect& plot = m_layout.Plot();
    const int thickness = m_layout.Hairline();
    return {plot.left() + m_layout.Mirrored(tick.position) - thickness / 2, plot.top(), thickness, plot.height()};
}

// Labels stand on whole pixels, so that their pictures can be kept.

QRect ChartDrawing::ValueLabelBox(const ChartLayout::Tick& tick, double width) const
{
    const double line = m_layout.Line(), ratio = m_layout.Ratio();
    const QRect& plot = m_layout.Plot();
    const int height = pixelsOf(line, ratio), wide = pixelsOf(width, ratio);
    const int right = plot.left() - static_cast<int>(std::lround(line / 2.0 * ratio));
    return {right - wide, plot.top() + tick.position - height / 2, wide, height};
}

QRect ChartDrawing::TimeLabelBox(const ChartLayout::Tick& tick, double width) const
{
    const double line = m_layout.Line(), ratio = m_layout.Ratio();
    const QRect& plot = m_layout.Plot();
    const int wide = pixelsOf(width, ratio);
    return {plot.left() + m_layout.Mirrored(tick.position) - wide / 2,
            plot.bottom() + 1 + static_cast<int>(std::lround(line / 2.0 * ratio)), wide, pixelsOf(line, ratio)};
}

QRect ChartDrawing::BelowLabelBox(const ChartLayout::Tick& tick, double width) const
{
    const double ratio = m_layout.Ratio();
    QRect box = TimeLabelBox(tick, width);
    box.translate(0, static_cast<int>(std::lround(1.1 * m_layout.Line() * ratio)));
    box.moveLeft(static_cast<int>(std::lround(tick.belowLeft * ratio)));
    return box;
}

QRect ChartDrawing::ValueScaleArea() const
{
    const QRect& plot = m_layout.Plot();
    const int line = static_cast<int>(std::ceil(m_layout.Line() * m_layout.Ratio()));
    return {0, plot.top() - line / 2 - 1,
            plot.left() - static_cast<int>(std::lround(m_layout.Line() / 2.0 * m_layout.Ratio())),
            plot.height() + line + 1};
}

QRect ChartDrawing::TimeScaleArea() const
{
    const QRect first = TimeLabelBox({}, 0.0), second = BelowLabelBox({}, 0.0);
    const bool hasSecond = m_content.history != nullptr && !m_content.ShowsIntervals();
    return {0, first.top(), m_layout.Pixels().width(), (hasSecond ? second : first).bottom() + 1 - first.top()};
}

void ChartDrawing::drawIn(QPainter& painter, const QRect& pixels, const QString& text) const
{
    const double ratio = m_layout.Ratio();
    painter.drawText(QRectF(pixels.x() / ratio, pixels.y() / ratio, pixels.width() / ratio, pixels.height() / ratio),
                     Qt::AlignCenter | Qt::TextDontClip, text);
}

void ChartDrawing::drawValueScale(QPainter& painter) const
{
    painter.setFont(m_layout.Font());
    painter.setPen(m_colors.scale);
    const QFontMetricsF metrics(m_layout.Font());
    for (const ChartLayout::Tick& tick : m_layout.ValueTicks()) {
        fill(painter, GridRow(tick), m_colors.grid);
        drawIn(painter, ValueLabelBox(tick, metrics.horizontalAdvance(tick.text)), tick.text);
    }
}

void ChartDrawing::drawIntervalScale(QPainter& painter) const
{
    painter.setFont(m_layout.Font());
    painter.setPen(m_colors.scale);
    for (const ChartLayout::Tick& tick : m_layout.IntervalTicks()) {
        fill(painter, GridColumn(tick), m_colors.grid);
        drawXLabel(painter, tick);
    }
}

void ChartDrawing::drawXLabel(QPainter& painter, const ChartLayout::Tick& tick) const
{
    const QFontMetricsF metrics(m_layout.Font());
    const QRect box = TimeLabelBox(tick, metrics.horizontalAdvance(tick.text));
    if (box.left() >= 0 && box.right() < m_layout.Pixels().width()) {
        drawIn(painter, box, tick.text);
    }
    if (!tick.below.isEmpty()) {
        drawIn(painter, BelowLabelBox(tick, metrics.horizontalAdvance(tick.below)), tick.below);
    }
}

/// A dashed line at each, with how far the clock was put forward or back.
void ChartDrawing::DrawClockChanges(QPainter& painter) const
{
    const std::vector<ChartLayout::Tick> changes = m_layout.ClockChanges();
    if (changes.empty()) {
        return;
    }
    const QRectF plot = m_layout.PlotArea();
    const double line = m_layout.Line();
    const QFontMetricsF metrics(m_layout.Font());
    painter.setFont(m_layout.Font());
    double end = 0.0;
    for (const ChartLayout::Tick& change : changes) {
        const double x = plot.left() + (m_layout.Mirrored(change.position) + 0.5) / m_layout.Ratio();
        painter.setPen(QPen(m_colors.axis, 1.0, Qt::DashLine));
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
        const double width = metrics.horizontalAdvance(change.text) + line / 2.0;
        const double left = x + width < plot.right() ? x : x - width;
        const QRectF box(left, plot.bottom() - 1.25 * line, width, line);
        if (left >= end || m_content.xReversed) {
            painter.fillRect(box.adjusted(1.0, 0.0, -1.0, 0.0), m_colors.back);
            painter.setPen(m_colors.scale);
            painter.drawText(box, Qt::AlignCenter, change.text);
            end = left + width;
        }
    }
}

/// An arrow at the edge beyond which each of them lies, and its number.
void ChartDrawing::DrawSpikes(QPainter& painter) const
{
    const QRectF plot = m_layout.PlotArea();
    if (m_content.spikes.empty() || plot.isEmpty()) {
        return;
    }
    const double line = m_layout.Line(), side = line / 2.0;
    const QFontMetricsF metrics(m_layout.Font());
    painter.save();
    painter.setFont(m_layout.Font());
    painter.setRenderHint(QPainter::Antialiasing);
    std::array<double, 2> taken{-1.0, -1.0}; // to where texts stand at the top and at the bottom
    for (const ChartPoint& spike : m_content.spikes) {
        const double x = m_layout.XOf(spike.x), y = m_layout.YOf(spike.y);
        const bool isAbove = y<plot.top(), isBelow = y> plot.bottom();
        if (x < plot.left() || x > plot.right() || !(isAbove || isBelow)) {
            continue;
        }
        const double tip = isAbove ? plot.top() : plot.bottom(), base = isAbove ? tip + side : tip - side;
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_colors.curve);
        painter.drawPolygon(QPolygonF{{QPointF(x, tip), QPointF(x - side / 2.0, base), QPointF(x + side / 2.0, base)}});
        const QString text = m_layout.ValueText(spike.y);
        const double width = metrics.horizontalAdvance(text) + line / 2.0;
        const double left = x + side + width < plot.right() ? x + side : x - side - width;
        double& end = taken.at(isAbove ? 0 : 1);
        if (left >= end) {
            const QRectF box(left, isAbove ? plot.top() + 1.0 : plot.bottom() - line - 1.0, width, line);
            painter.fillRect(box, m_colors.back);
            painter.setPen(m_colors.scale);
            painter.drawText(box, Qt::AlignCenter, text);
            end = left + width;
        }
    }
    painter.restore();
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
    for (const ChartLayout::Tick& tick : ticks) {
        drawXLabel(painter, tick);
    }
}

void ChartDrawing::DrawCurve(QPainter& painter, const clsChartData& series) const
{
    if (!(m_content.begin || m_content.look) || m_layout.Plot().isEmpty()) {
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
    clsHistoryCurve ofHistory;
    if (m_content.look) {
        ofHistory.ReduceTo(columns, *m_content.history, m_layout.HistoryView());
    } else {
        columns.Update(series, m_layout.FineWindow(), m_content.showZero);
    }
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
    clsHistoryCurve ofHistory;
    const clsHistoryCurve::View view = m_layout.HistoryView();
    const clsChartData& points = m_content.look ? ofHistory.Dots(*m_content.history, view) : series;
    const TimeWindow window = m_content.look ? clsHistoryCurve::DotsWindow(view) : m_layout.Window();
    for (const auto part : points.Readable()) {
        for (const ChartPoint& point : part) {
            if (const auto place =
                    PlaceOf(point, window, m_layout.Rows(), m_layout.Plot().height(), m_content.showZero)) {
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
