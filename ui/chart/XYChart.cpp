#include "ui/chart/XYChart.h"

#include "base/Days.h"
#include "ui/chart/modGDIAPI.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kLineWidth = ChartDrawing::kLineWidth;
constexpr double kNewestWidth = 6.0;

} // namespace

XYChart::XYChart(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_series.InitChartData(m_content.xRange_ms / modChartGlobals::kPointInterval_ms - 1);
}

void XYChart::InitChartData(std::int32_t maximumIndex)
{
    m_series.InitChartData(maximumIndex);
    m_held.reset();
    if (m_content.autoScale) {
        m_limitsGiven = false;
        m_content.limits.lower = m_content.limits.upper = 0.0;
    }
    m_content.begin.reset();
    Redraw();
}

void XYChart::Reset()
{
    InitChartData(m_series.Size() - 1);
}

void XYChart::AddPoint(double time, double value)
{
    // What is held has to outlast the ring, which goes on.
    if (m_holdSpan && m_content.begin && !m_held && time > *m_content.begin + m_content.xRange_ms / kMsPerDay) {
        m_held = m_series;
        Redraw();
    }
    m_series.AddChartPoint(time, value);
    ShowTime(time);
    updateCurve();
}

void XYChart::AddGap(double time)
{
    AddPoint(time, std::numeric_limits<double>::quiet_NaN());
}

void XYChart::Redraw()
{
    m_groundIsStale = true;
    update();
}

void XYChart::ShowTime(double time)
{
    if (!modChartCommon::IsDrawable(time)) {
        return;
    }
    m_currentTime = time;
    if (!m_holdSpan) {
        m_content.begin = time - m_content.xRange_ms / kMsPerDay;
    } else if (!m_content.begin) {
        m_content.begin = time;
    }
    updateCurve();
}

/// Only what moves is drawn anew: the rest of the picture need not be handed to the display with each value.
void XYChart::updateCurve()
{
    if (m_content.timeScale || !m_layout || m_layout->Plot().isEmpty()) {
        update();
        return;
    }
    const double reach = kNewestWidth + kLineWidth; // the dot may stand on the edge
    update(m_layout->PlotArea().adjusted(-reach, -reach, reach, reach).toAlignedRect());
}

void XYChart::TimeBegin(double time)
{
    if (modChartCommon::IsDrawable(time)) {
        m_content.begin = time;
        update();
    }
}

void XYChart::TimeOrigin(double time)
{
    if (modChartCommon::IsDrawable(time)) {
        change(m_content.timeOrigin, time);
    }
}

void XYChart::XRange_ms(std::int32_t range_ms)
{
    const double end = TimeBegin() + m_content.xRange_ms / kMsPerDay;
    change(m_content.xRange_ms, std::max(range_ms, 1));
    if (m_content.begin && !m_holdSpan) {
        m_content.begin = end - m_content.xRange_ms / kMsPerDay;
    }
}

void XYChart::HoldSpan(bool hold)
{
    m_holdSpan = hold;
    if (m_held) {
        m_held.reset();
        Redraw();
    }
    if (!hold && m_content.begin && m_currentTime != 0.0) {
        ShowTime(m_currentTime);
    }
}

void XYChart::YLimits(double minimum, double maximum)
{
    if (!modChartCommon::IsDrawable(minimum) || !modChartCommon::IsDrawable(maximum) || minimum == maximum) {
        return;
    }
    m_limitsGiven = true;
    change(m_content.limits, {minimum, maximum, m_content.limits.divisions});
}

std::optional<std::array<double, 2>> XYChart::ShownValues()
{
    constexpr double kTolerance = 0.5 / kMsPerDay; // a point at an end is shown, whatever the last bits say
    const double begin = TimeBegin() - kTolerance;
    const double end = TimeBegin() + m_content.xRange_ms / kMsPerDay + kTolerance;
    std::array<double, 2> found{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (const auto part : Points()) {
        for (const ChartPoint& point : part) {
            if (point.x >= begin && point.x <= end && IsShown(point, m_content.showZero)) {
                found = {std::min(found[0], point.y), std::max(found[1], point.y)};
            }
        }
    }
    return found[0] <= found[1] ? std::optional(found) : std::nullopt;
}

QSize XYChart::sizeHint() const
{
    return QSize(72, 30) * fontMetrics().height() / 2;
}

QSize XYChart::minimumSizeHint() const
{
    return QSize(20, 12) * fontMetrics().height();
}

void XYChart::changeEvent(QEvent* event)
{
    Redraw(); // palette, font, style, locale: all show in the scales
    QWidget::changeEvent(event);
}

void XYChart::paintEvent(QPaintEvent*)
{
    followShownValues();
    prepareGround();
    const std::vector<ChartLayout::Tick> ticks = m_layout->TimeTicks();
    composeFrame(ticks);

    QPainter painter(this);
    painter.drawImage(QPointF(), m_frame);
    ChartDrawing(m_content, *m_layout, m_colors).DrawTimeLabels(painter, ticks);
    if (m_isEmpty) {
        drawEmptyText(painter);
    } else {
        drawNewest(painter);
    }
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.backgroundColor = m_colors.back;
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}

/// Limits of our own, as long as nobody gives any.
void XYChart::followShownValues()
{
    if (!m_content.autoScale || m_limitsGiven) {
        return;
    }
    if (const auto shown = ShownValues()) {
        change(m_content.limits, modChartCommon::AutomaticRange(m_content.limits, *shown));
    }
}

XYChart::Shown XYChart::NextFrame()
{
    followShownValues();
    Points(); // moves the read pointer
    return {m_content, drawn()};
}

clsChartData& XYChart::drawn()
{
    return m_held ? *m_held : m_series;
}

std::array<std::span<const ChartPoint>, 2> XYChart::Points()
{
    clsChartData& series = drawn();
    const std::int32_t stop = series.StopIndex;
    const std::int32_t size = series.Size();
    if (stop < 0 || stop >= size) {
        return {};
    }
    // From the newest point the pointer moves on to the oldest; on the slot to be written it would stay.
    series.StartIndex = (stop + size - 1) % size;
    series.ResetReadPointer();
    return series.Readable();
}

void XYChart::prepareGround()
{
    const double ratio = devicePixelRatioF();
    const bool isSized = m_layout && m_layout->Size() == size() && m_layout->Ratio() == ratio;
    if (!m_groundIsStale && isSized) {
        return;
    }
    m_groundIsStale = false;
    m_columns = {};
    m_curvePainter.Forget();
    m_colors = ColorsOf(m_content, palette());
    m_layout.emplace(m_content, font(), size(), ratio);
    m_frame = QImage(m_layout->Pixels(), QImage::Format_RGB32);
    m_frame.setDevicePixelRatio(ratio);
    m_newest = newestDot(ratio);
    if (!m_frame.isNull()) {
        QPainter painter(&m_frame);
        ChartDrawing(m_content, *m_layout, m_colors).DrawGround(painter);
    }
}

/// Takes the last curve out of the frame and draws the present one.
void XYChart::composeFrame(const std::vector<ChartLayout::Tick>& ticks)
{
    m_isEmpty = true;
    if (m_layout->Plot().isEmpty()) {
        return;
    }
    const Raster raster = modGDIAPI::RasterOf(m_frame, m_layout->Plot(), m_content.xReversed);
    if (m_content.timeScale || !m_content.connectPoints || !m_content.begin) {
        m_curvePainter.Erase(raster);
    }
    for (const ChartLayout::Tick& tick : ticks) {
        const int end = std::min(tick.position + m_layout->Hairline(), raster.width);
        for (int column = tick.position; column < end; ++column) {
            m_curvePainter.DrawUpright(raster, column, m_colors.grid.rgb());
        }
    }
    if (m_content.begin) {
        drawCurve(raster);
    }
}

void XYChart::drawCurve(const Raster& raster)
{
    const double ratio = m_layout->Ratio();
    const auto parts = Points();
    if (!m_content.connectPoints) {
        m_isEmpty = !ShownValues();
        const CurvePen pen{ChartDrawing::kDotWidth * ratio, m_colors.curve.rgb()};
        m_curvePainter.DrawDots(raster, parts, m_layout->Window(), m_layout->Rows(), pen, m_content.showZero);
        return;
    }
    m_columns.Update(drawn(), m_layout->FineWindow(), m_content.showZero);
    m_isEmpty = m_columns.Spans().empty();
    m_curvePainter.DrawLines(raster, m_columns, m_layout->Rows(), {kLineWidth * ratio, m_colors.curve.rgb()});
}

/// A dot where the curve grows.
void XYChart::drawNewest(QPainter& painter) const
{
    const std::int32_t newest = (m_series.StopIndex + m_series.Size() - 1) % m_series.Size();
    const ChartPoint point{m_series.XValue(newest), m_series.YValue(newest)};
    const QRect& plot = m_layout->Plot();
    const auto place = PlaceOf(point, m_layout->Window(), m_layout->Rows(), plot.height(), m_content.showZero);
    if (!place) {
        return;
    }
    const QPoint centre(plot.left() + m_layout->Mirrored(static_cast<int>(place->column)),
                        plot.top() + static_cast<int>(place->row));
    painter.drawPixmap(QPointF(centre - m_newest.rect().center()) / m_layout->Ratio(), m_newest);
}

/// The picture of that dot; its middle is that of a pixel.
QPixmap XYChart::newestDot(double ratio) const
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

void XYChart::drawEmptyText(QPainter& painter) const
{
    const double line = QFontMetricsF(font()).height();
    const QRectF room = m_layout->PlotArea().adjusted(line, line, -line, -line);
    if (m_emptyText.isEmpty() || room.width() <= 0.0) {
        return;
    }
    constexpr int kFlags = Qt::AlignCenter | Qt::TextWordWrap;
    const QRectF text = painter.boundingRect(room, kFlags, m_emptyText);
    painter.fillRect(text.adjusted(-line, -line / 2.0, line, line / 2.0), m_colors.back);
    painter.setPen(m_colors.muted);
    painter.drawText(room, kFlags, m_emptyText);
}
