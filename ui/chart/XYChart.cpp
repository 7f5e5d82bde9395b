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

constexpr double kLineWidth = 1.5;
constexpr double kDotWidth = 3.0;
constexpr double kNewestWidth = 6.0;

} // namespace

XYChart::XYChart(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_series.InitChartData(m_xRange_ms / modChartGlobals::kPointInterval_ms - 1);
}

void XYChart::InitChartData(std::int32_t maximumIndex)
{
    m_series.InitChartData(maximumIndex);
    m_held.reset();
    if (m_autoScale) {
        m_limitsGiven = false;
        m_limits.lower = m_limits.upper = 0.0;
    }
    m_begin.reset();
    Redraw();
}

void XYChart::Reset()
{
    InitChartData(m_series.Size() - 1);
}

void XYChart::AddPoint(double time, double value)
{
    // What is held has to outlast the ring, which goes on.
    if (m_holdSpan && m_begin && !m_held && time > *m_begin + m_xRange_ms / kMsPerDay) {
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
        m_begin = time - m_xRange_ms / kMsPerDay;
    } else if (!m_begin) {
        m_begin = time;
    }
    updateCurve();
}

/// Only what moves is drawn anew: the rest of the picture need not be handed to the display with each value.
void XYChart::updateCurve()
{
    if (m_timeScale || m_plot.isEmpty()) {
        update();
        return;
    }
    const double reach = kNewestWidth + kLineWidth; // the dot may stand on the edge
    update(plotArea().adjusted(-reach, -reach, reach, reach).toAlignedRect());
}

void XYChart::TimeBegin(double time)
{
    if (modChartCommon::IsDrawable(time)) {
        m_begin = time;
        update();
    }
}

void XYChart::TimeOrigin(double time)
{
    if (modChartCommon::IsDrawable(time)) {
        change(m_timeOrigin, time);
    }
}

void XYChart::XRange_ms(std::int32_t range_ms)
{
    const double end = TimeBegin() + m_xRange_ms / kMsPerDay;
    change(m_xRange_ms, std::max(range_ms, 1));
    if (m_begin && !m_holdSpan) {
        m_begin = end - m_xRange_ms / kMsPerDay;
    }
}

void XYChart::HoldSpan(bool hold)
{
    m_holdSpan = hold;
    if (m_held) {
        m_held.reset();
        Redraw();
    }
    if (!hold && m_begin && m_currentTime != 0.0) {
        ShowTime(m_currentTime);
    }
}

void XYChart::YLimits(double minimum, double maximum)
{
    if (!modChartCommon::IsDrawable(minimum) || !modChartCommon::IsDrawable(maximum) || minimum == maximum) {
        return;
    }
    m_limitsGiven = true;
    change(m_limits, {minimum, maximum, m_limits.divisions});
}

std::optional<std::array<double, 2>> XYChart::ShownValues()
{
    constexpr double kTolerance = 0.5 / kMsPerDay; // a point at an end is shown, whatever the last bits say
    const double begin = TimeBegin() - kTolerance;
    const double end = TimeBegin() + m_xRange_ms / kMsPerDay + kTolerance;
    std::array<double, 2> found{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (const auto part : Points()) {
        for (const ChartPoint& point : part) {
            if (point.x >= begin && point.x <= end && IsShown(point, m_showZero)) {
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
    if (m_autoScale && !m_limitsGiven) {
        followShownValues();
    }
    prepareGround();
    const std::vector<TimeTick> ticks = timeTicks();
    composeFrame(ticks);

    QPainter painter(this);
    painter.drawImage(QPointF(), m_frame);
    drawTimeLabels(painter, ticks);
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
    if (const auto shown = ShownValues()) {
        change(m_limits, modChartCommon::AutomaticRange(m_limits, *shown));
    }
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

/// Columns are counted from day 0 and the axis moves by whole ones: a column keeps its points while it scrolls, and so
/// its look.
TimeWindow XYChart::timeWindow() const
{
    TimeWindow window;
    window.columns = m_plot.width();
    window.perDay = std::max(m_plot.width() - 1, 1) / (m_xRange_ms / kMsPerDay);
    window.first = columnAt(TimeBegin(), window.perDay);
    return window;
}

/// The little extra is more than the rounding of the product: the newest point must not fall off the right end.
double XYChart::columnAt(double time, double perDay)
{
    return std::floor(time * perDay + 1e-3);
}

/// The width of a line of the grid, in pixels.
int XYChart::hairline() const
{
    return std::max(static_cast<int>(std::lround(m_frame.devicePixelRatio())), 1);
}

RowScale XYChart::rowScale() const
{
    const modChartCommon::Axis& axis = m_valueAxis;
    const double middleOfRow = axis.pixelStart + 0.5;
    if (axis.reversed != 0) {
        return {middleOfRow + axis.maximum * axis.pixelsPerUnit, -axis.pixelsPerUnit};
    }
    return {middleOfRow - axis.minimum * axis.pixelsPerUnit, axis.pixelsPerUnit};
}

/// Takes the last curve out of the frame and draws the present one.
void XYChart::composeFrame(const std::vector<TimeTick>& ticks)
{
    m_isEmpty = true;
    if (m_plot.isEmpty()) {
        return;
    }
    const Raster raster = modGDIAPI::RasterOf(m_frame, m_plot, m_xReversed);
    if (m_timeScale || !m_connectPoints || !m_begin) {
        m_curvePainter.Erase(raster);
    }
    const int thickness = hairline();
    for (const TimeTick& tick : ticks) {
        for (int column = tick.column; column < std::min(tick.column + thickness, raster.width); ++column) {
            m_curvePainter.DrawUpright(raster, column, m_colors.grid.rgb());
        }
    }
    if (m_begin) {
        drawCurve(raster);
    }
}

void XYChart::drawCurve(const Raster& raster)
{
    const double ratio = m_frame.devicePixelRatio();
    const auto parts = Points();
    if (!m_connectPoints) {
        m_isEmpty = !ShownValues();
        const CurvePen pen{kDotWidth * ratio, m_colors.curve.rgb()};
        m_curvePainter.DrawDots(raster, parts, timeWindow(), rowScale(), pen, m_showZero);
        return;
    }
    TimeWindow fine = timeWindow();
    fine.first *= clsCurvePainter::kFineColumns;
    fine.perDay *= clsCurvePainter::kFineColumns;
    fine.columns *= clsCurvePainter::kFineColumns;
    m_columns.Update(drawn(), fine, m_showZero);
    m_isEmpty = m_columns.Spans().empty();
    m_curvePainter.DrawLines(raster, m_columns, rowScale(), {kLineWidth * ratio, m_colors.curve.rgb()});
}

/// A dot where the curve grows.
void XYChart::drawNewest(QPainter& painter) const
{
    const std::int32_t newest = (m_series.StopIndex + m_series.Size() - 1) % m_series.Size();
    const ChartPoint point{m_series.XValue(newest), m_series.YValue(newest)};
    const TimeWindow window = timeWindow();
    const RowScale scale = rowScale();
    const double column = std::floor(point.x * window.perDay) - window.first;
    const double row = scale.offset + point.y * scale.rowsPerUnit;
    if (!IsShown(point, m_showZero) || !(column >= 0.0 && column < m_plot.width()) ||
        !(row >= 0.0 && row < m_plot.height())) {
        return;
    }
    const QPoint centre(m_plot.left() + mirrored(static_cast<int>(column)), m_plot.top() + static_cast<int>(row));
    painter.drawPixmap(QPointF(centre - m_newest.rect().center()) / m_frame.devicePixelRatio(), m_newest);
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
    const QRectF room = plotArea().adjusted(line, line, -line, -line);
    if (m_emptyText.isEmpty() || room.width() <= 0.0) {
        return;
    }
    constexpr int kFlags = Qt::AlignCenter | Qt::TextWordWrap;
    const QRectF text = painter.boundingRect(room, kFlags, m_emptyText);
    painter.fillRect(text.adjusted(-line, -line / 2.0, line, line / 2.0), m_colors.back);
    painter.setPen(m_colors.muted);
    painter.drawText(room, kFlags, m_emptyText);
}

QRectF XYChart::plotArea() const
{
    const double ratio = m_frame.devicePixelRatio();
    return {m_plot.left() / ratio, m_plot.top() / ratio, m_plot.width() / ratio, m_plot.height() / ratio};
}
