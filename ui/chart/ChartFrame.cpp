#include "ui/chart/ChartFrame.h"

#include "ui/chart/ChartOverlay.h"
#include "ui/chart/modGDIAPI.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr double kLineWidth = ChartDrawing::kLineWidth;
constexpr double kNewestWidth = 6.0;

} // namespace

void ChartFrame::Prepare(const QFont& font, const QPalette& palette, const QSize& size, double ratio)
{
    const bool isSized = m_layout && m_layout->Size() == size && m_layout->Ratio() == ratio;
    if (m_isStale || !isSized || !rescale()) {
        drawAnew(font, palette, size, ratio);
    }
    m_timeTicks = m_layout->TimeTicks();
    if (m_timeTicks != m_labelledTicks && !m_layout->Plot().isEmpty()) {
        drawTimeLabels(m_timeTicks);
        m_labelledTicks = m_timeTicks;
    }
}

void ChartFrame::drawAnew(const QFont& font, const QPalette& palette, const QSize& size, double ratio)
{
    m_isStale = false;
    m_composed.reset();
    // While somebody looks around, the plot does not jump with the width of the labels; it only becomes narrower.
    const bool keepsRoom = m_layout && m_content.look && !m_content.lookFollows && m_layout->Font() == font;
    const ChartLayout layout(m_content, font, size, ratio, keepsRoom ? m_layout->LabelRoom() : 0.0);
    const ChartColors colors = ColorsOf(m_content, palette);
    const Ground ground = groundOf(layout, colors);
    const bool isKept = m_layout && ground == m_ground && !hasWatermark() && !layout.Plot().isEmpty();
    if (isKept) {
        eraseCurve();
    }
    m_ground = ground;
    m_colors = colors;
    m_layout.emplace(layout);
    m_scaling = scaling();
    isKept ? drawScales() : drawAll();
}

ChartFrame::Ground ChartFrame::groundOf(const ChartLayout& layout, const ChartColors& colors) const
{
    return {layout.Plot(),
            layout.Font(),
            layout.Size(),
            layout.Ratio(),
            colors,
            m_content.header,
            m_content.xCaption,
            m_content.yCaption,
            m_content.seriesLabel,
            m_content.badge,
            layout.IntervalFormat(),
            m_content.xReversed,
            m_content.ShowsIntervals(),
            m_content.history != nullptr,
            m_content.look.has_value()};
}

bool ChartFrame::hasWatermark() const
{
    return std::ranges::any_of(m_content.watermark, [](const clsLabel& label) { return !label.Text.empty(); });
}

void ChartFrame::drawAll()
{
    m_columns = {};
    m_curvePainter.Forget();
    m_sweep.Forget();
    m_labels.clear();
    m_labelledTicks.clear();
    if (m_picture.size() != m_layout->Pixels()) {
        m_picture = QImage(m_layout->Pixels(), QImage::Format_RGB32);
    }
    m_picture.setDevicePixelRatio(m_layout->Ratio());
    m_newest = newestDot(m_layout->Ratio());
    m_valueTicks = m_layout->ValueTicks();
    m_intervalTicks = m_layout->IntervalTicks();
    if (!m_picture.isNull()) {
        QPainter painter(&m_picture);
        drawing().DrawGround(painter);
    }
}

ChartFrame::Scaling ChartFrame::scaling() const
{
    return {m_content.limits, m_content.exactLimits,
            m_content.ShowsIntervals() ? std::round(m_content.Span_ms()) : 0.0};
}

/// Takes up other limits of the value axis, or another span. Returns false when that changes more than its scale.
bool ChartFrame::rescale()
{
    const Scaling present = scaling();
    if (present == m_scaling || m_layout->Plot().isEmpty()) {
        return true;
    }
    const double room = m_layout->Rescale();
    const bool isLooked = m_content.look && !m_content.lookFollows;
    if (hasWatermark() || m_layout->IntervalFormat() != m_ground.intervalFormat || room > m_layout->LabelRoom() ||
        (room != m_layout->LabelRoom() && !isLooked)) {
        return false;
    }
    m_scaling = present;
    m_composed.reset();
    if (!isSwept()) {
        eraseCurve();
    }
    drawScales();
    return true;
}

Raster ChartFrame::raster()
{
    return modGDIAPI::RasterOf(m_picture, m_layout->Plot(), m_content.xReversed);
}

/// Replaces the grid and the labels of the values and of the intervals; no curve and no lines of times may be drawn.
void ChartFrame::drawScales()
{
    const ChartDrawing chart = drawing();
    fill(chart.ValueScaleArea(), m_colors.back);
    for (const ChartLayout::Tick& tick : m_valueTicks) {
        fill(chart.GridRow(tick), m_colors.back);
    }
    for (const ChartLayout::Tick& tick : m_intervalTicks) {
        fill(chart.GridColumn(tick), m_colors.back);
    }
    m_valueTicks = m_layout->ValueTicks();
    for (const ChartLayout::Tick& tick : m_valueTicks) {
        fill(chart.GridRow(tick), m_colors.grid);
        put(chart.ValueLabelBox(tick, labelOf(tick.text).deviceIndependentSize().width()), tick.text);
    }
    m_intervalTicks = m_layout->IntervalTicks();
    for (const ChartLayout::Tick& tick : m_intervalTicks) {
        fill(chart.GridColumn(tick), m_colors.grid);
    }
    if (m_content.ShowsIntervals()) {
        drawTimeLabels(m_intervalTicks);
    }
    for (const QRect& line : chart.AxisLines()) {
        fill(line, m_colors.axis);
    }
}

/// Replaces the labels of the time axis. The lines of times come with the curve.
void ChartFrame::drawTimeLabels(const std::vector<ChartLayout::Tick>& ticks)
{
    const ChartDrawing chart = drawing();
    fill(chart.TimeScaleArea(), m_colors.back);
    for (const ChartLayout::Tick& tick : ticks) {
        const QRect box = chart.TimeLabelBox(tick, labelOf(tick.text).deviceIndependentSize().width());
        if (!tick.text.isEmpty() && box.left() >= 0 && box.right() < m_picture.width()) {
            put(box, tick.text);
        }
        if (!tick.below.isEmpty()) {
            put(chart.BelowLabelBox(tick, labelOf(tick.below).deviceIndependentSize().width()), tick.below);
        }
    }
}

/// The picture of a label, exactly as large as its box.
const QImage& ChartFrame::labelOf(const QString& text)
{
    constexpr qsizetype kMostLabels = 1000;
    if (m_labels.size() > kMostLabels) {
        m_labels.clear();
    }
    auto found = m_labels.find(text);
    if (found == m_labels.end()) {
        const double ratio = m_layout->Ratio();
        const double width = QFontMetricsF(m_layout->Font()).horizontalAdvance(text);
        const QSize pixels = drawing().TimeLabelBox({}, width).size();
        QImage label(std::max(pixels.width(), 1), pixels.height(), QImage::Format_RGB32);
        label.setDevicePixelRatio(ratio);
        label.fill(m_colors.back);
        QPainter painter(&label);
        painter.setFont(m_layout->Font());
        painter.setPen(m_colors.scale);
        painter.drawText(QRectF(0.0, 0.0, label.width() / ratio, label.height() / ratio),
                         Qt::AlignCenter | Qt::TextDontClip, text);
        painter.end();
        found = m_labels.insert(text, label);
    }
    return *found;
}

/// Copies the picture of a label; what lies outside the chart's picture is left out.
void ChartFrame::put(const QRect& box, const QString& text)
{
    const QImage& label = labelOf(text);
    const QRect part = QRect(box.topLeft(), label.size()) & m_picture.rect();
    for (int y = part.top(); y <= part.bottom(); ++y) {
        const auto* from = reinterpret_cast<const QRgb*>(label.constScanLine(y - box.top())) + part.left() - box.left();
        std::copy_n(from, part.width(), reinterpret_cast<QRgb*>(m_picture.scanLine(y)) + part.left());
    }
}

void ChartFrame::fill(const QRect& pixels, const QColor& color)
{
    const QRect part = pixels & m_picture.rect();
    for (int y = part.top(); y <= part.bottom(); ++y) {
        std::fill_n(reinterpret_cast<QRgb*>(m_picture.scanLine(y)) + part.left(), part.width(), color.rgb());
    }
}

bool ChartFrame::Compose(const clsChartData& series)
{
    if (m_layout->Plot().isEmpty()) {
        return false;
    }
    const Raster raster = this->raster();
    if (m_content.look) {
        return composeHistory(raster);
    }
    if (m_content.timeScale || !m_content.connectPoints || !m_content.begin) {
        m_curvePainter.Erase(raster);
    }
    drawUprights(raster);
    if (!m_content.begin) {
        return false;
    }
    const CurvePen pen = curvePen();
    if (!m_content.connectPoints) {
        m_curvePainter.DrawDots(raster, series.Readable(), m_layout->Window(), m_layout->Rows(), pen,
                                m_content.showZero);
        return true;
    }
    m_columns.Update(series, m_layout->FineWindow(), m_content.showZero);
    m_curvePainter.DrawLines(raster, m_columns, m_layout->Rows(), pen);
    return !m_columns.Spans().empty();
}

void ChartFrame::drawUprights(const Raster& raster)
{
    for (const ChartLayout::Tick& tick : m_timeTicks) {
        const int end = std::min(tick.position + m_layout->Hairline(), raster.width);
        for (int column = tick.position; column < end; ++column) {
            m_curvePainter.DrawUpright(raster, column, m_colors.grid.rgb());
        }
    }
}

CurvePen ChartFrame::curvePen() const
{
    const double width = m_content.connectPoints ? kLineWidth : ChartDrawing::kDotWidth;
    return {width * m_layout->Ratio(), m_colors.curve.rgb()};
}

/// Leaves a plot that drawScales() may draw on.
void ChartFrame::eraseCurve()
{
    m_sweep.Erase(raster(), m_colors.back.rgb());
    m_curvePainter.Erase(raster());
}

/// Whether the curve of the history is drawn anew with each frame, together with all of its plain ground.
bool ChartFrame::isSwept() const
{
    return m_content.look && m_content.connectPoints && !hasWatermark();
}

PlotGround ChartFrame::plotGround() const
{
    const QRect& plot = m_layout->Plot();
    PlotGround ground{m_colors.back.rgb(), m_colors.grid.rgb(), {}, {}};
    for (const ChartLayout::Tick& tick : m_valueTicks) {
        const QRect row = drawing().GridRow(tick);
        for (int y = row.top(); y <= row.bottom(); ++y) {
            ground.rows.push_back(y - plot.top());
        }
    }
    for (const ChartLayout::Tick& tick : m_intervalTicks) {
        const QRect column = drawing().GridColumn(tick);
        for (int x = column.left(); x <= column.right(); ++x) {
            ground.columns.push_back(m_layout->Mirrored(x - plot.left()));
        }
    }
    for (const ChartLayout::Tick& tick : m_timeTicks) {
        for (int column = tick.position; column < tick.position + m_layout->Hairline(); ++column) {
            ground.columns.push_back(column);
        }
    }
    return ground;
}

bool ChartFrame::composeHistory(const Raster& raster)
{
    const clsHistory& history = *m_content.history;
    const clsHistoryCurve::View view = m_layout->HistoryView();
    Composed composed{view, m_layout->Rows(), {}, history.Forgotten(), history.ThinnedBefore()};
    if (history.Range().end <= m_content.look->end) {
        composed.version = history.Version();
    }
    if (m_composed == composed) {
        return m_hasCurve;
    }
    m_composed = composed;
    if (isSwept()) {
        m_historyCurve.ReduceTo(m_columns, history, view);
        m_sweep.Begin(raster, plotGround(), m_columns, m_layout->Rows(), curvePen());
        m_isSweeping = true;
        m_hasCurve = !m_columns.Spans().empty();
        return m_hasCurve;
    }
    m_curvePainter.Erase(raster);
    drawUprights(raster);
    if (m_content.connectPoints) {
        m_historyCurve.ReduceTo(m_columns, history, view);
        m_curvePainter.DrawLines(raster, m_columns, m_layout->Rows(), curvePen());
        m_hasCurve = !m_columns.Spans().empty();
    } else {
        const clsChartData& dots = m_historyCurve.Dots(history, view);
        m_curvePainter.DrawDots(raster, dots.Readable(), clsHistoryCurve::DotsWindow(view), m_layout->Rows(),
                                curvePen(), m_content.showZero);
        m_hasCurve = m_historyCurve.ValuesOf(history, view).has_value();
    }
    return m_hasCurve;
}

/// In parts that are still in the processor's near caches when they are copied.
void ChartFrame::paintSwept(QPainter& painter)
{
    constexpr int kRows = 32;
    for (QRect part(0, 0, m_picture.width(), kRows); part.top() < m_picture.height(); part.translate(0, kRows)) {
        m_sweep.DrawTo(raster(), part.bottom() + 1 - m_layout->Plot().top());
        painter.drawImage(part.topLeft(), m_picture, part & m_picture.rect());
    }
}

void ChartFrame::Paint(QPainter& painter)
{
    if (std::exchange(m_isSweeping, false)) {
        if (m_layout->Ratio() == 1.0) {
            paintSwept(painter);
        } else { // parts of it would not end between two pixels
            m_sweep.DrawTo(raster(), m_layout->Plot().height());
            painter.drawImage(QPointF(), m_picture);
        }
    } else {
        painter.drawImage(QPointF(), m_picture);
    }
    drawing().DrawClockChanges(painter);
    drawing().DrawSpikes(painter);
}

void ChartFrame::PaintNewest(QPainter& painter, const ChartPoint& newest) const
{
    const QRect& plot = m_layout->Plot();
    const auto place = PlaceOf(newest, m_layout->Window(), m_layout->Rows(), plot.height(), m_content.showZero);
    if (!place) {
        return;
    }
    const QPoint centre(plot.left() + m_layout->Mirrored(static_cast<int>(place->column)),
                        plot.top() + static_cast<int>(place->row));
    painter.drawPixmap(QPointF(centre - m_newest.rect().center()) / m_layout->Ratio(), m_newest);
}

/// The picture of the dot at the newest value; its middle is the middle of a pixel.
QPixmap ChartFrame::newestDot(double ratio) const
{
    const double radius = (kNewestWidth + kLineWidth) / 2.0;
    const int side = 2 * static_cast<int>(std::ceil((radius + kLineWidth) * ratio)) + 1;
    QPixmap dot(side, side);
    dot.fill(Qt::transparent);
    dot.setDevicePixelRatio(ratio);
    QPainter painter(&dot);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(m_colors.back, kLineWidth));
    painter.setBrush(m_colors.curve);
    painter.drawEllipse(QPointF(side, side) / ratio / 2.0, radius, radius);
    return dot;
}

void ChartFrame::PaintNote(QPainter& painter, const QString& text) const
{
    const double line = m_layout->Line();
    const QRectF room = m_layout->PlotArea().adjusted(line, line, -line, -line);
    if (text.isEmpty() || room.width() <= 0.0) {
        return;
    }
    constexpr int kFlags = Qt::AlignCenter | Qt::TextWordWrap;
    const QRectF box = painter.boundingRect(room, kFlags, text);
    painter.fillRect(box.adjusted(-line, -line / 2.0, line, line / 2.0), m_colors.back);
    painter.setPen(m_colors.muted);
    painter.drawText(room, kFlags, text);
}

QRect ChartFrame::CurveArea() const
{
    if (!m_layout || m_layout->Plot().isEmpty()) {
        return {};
    }
    const double reach = kNewestWidth + kLineWidth; // the dot may touch the edge
    return m_layout->PlotArea().adjusted(-reach, -reach, reach, reach).toAlignedRect();
}

void ChartFrame::PaintOverlay(QPainter& painter) const
{
    if (m_layout) {
        DrawPointed(painter, m_content, *m_layout, m_colors);
        DrawOverlay(painter, m_content, *m_layout, m_colors);
    }
}
