#include "ui/chart/XYChart.h"

#include "base/Days.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include <algorithm>
#include <cmath>
#include <limits>

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
    // The held series must outlast the ring, which goes on.
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
    m_frame.Discard();
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

/// Draws only what moves, so that the rest of the picture is not handed to the display with each value.
void XYChart::updateCurve()
{
    const QRect area = m_frame.CurveArea();
    m_content.timeScale || area.isEmpty() ? update() : update(area);
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
    constexpr double kTolerance = 0.5 / kMsPerDay; // a point at an end is shown, whatever its last bits are
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
    Redraw(); // palette, font, style and locale all change the scales
    QWidget::changeEvent(event);
}

void XYChart::paintEvent(QPaintEvent*)
{
    followShownValues();
    m_frame.Prepare(font(), palette(), size(), devicePixelRatioF());
    Points(); // moves the read pointer
    const bool hasCurve = m_frame.Compose(drawn()) && (m_content.connectPoints || ShownValues());

    QPainter painter(this);
    m_frame.Paint(painter);
    if (hasCurve) {
        const std::int32_t newest = (m_series.StopIndex + m_series.Size() - 1) % m_series.Size();
        m_frame.PaintNewest(painter, {m_series.XValue(newest), m_series.YValue(newest)});
    } else {
        m_frame.PaintNote(painter, m_emptyText);
    }
    m_frame.PaintOverlay(painter);
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.backgroundColor = m_frame.Colors().back;
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}

/// The chart chooses limits by itself until some are given.
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
    if (m_content.look && m_source != nullptr) {
        fillLooked();
        return m_looked;
    }
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
    // On the slot to be written next the pointer would stay; from the newest point it moves on to the oldest.
    series.StartIndex = (stop + size - 1) % size;
    series.ResetReadPointer();
    return series.Readable();
}

void XYChart::Source(const clsHistory* history, double unit_mm)
{
    m_source = history;
    m_unit_mm = unit_mm;
    update();
}

void XYChart::Look(const std::optional<PlaceRange>& look)
{
    change(m_content.look, look);
}

void XYChart::LookLimits(const std::optional<std::array<double, 2>>& limits)
{
    change(m_lookLimits, limits);
}

void XYChart::Overlay(const ChartOverlayContent& overlay)
{
    if (overlay != m_content.overlay) {
        m_content.overlay = overlay;
        update();
    }
}

PlaceRange XYChart::ShownRange() const
{
    return m_content.look.value_or(PlaceRange{TimeBegin(), TimeBegin() + m_content.xRange_ms / kMsPerDay});
}

void XYChart::fillLooked()
{
    const std::size_t first = m_source->IndexAt(m_content.look->begin);
    const std::size_t count = m_source->CountIn(*m_content.look);
    m_looked.InitChartData(static_cast<std::int32_t>(count) + 1);
    for (std::size_t i = first; i < first + count; ++i) {
        const HistoryEntry entry = m_source->At(i);
        const bool isDistance = !entry.gap && entry.kind == MeasurementKind::Distance;
        m_looked.AddChartPoint(entry.place,
                               isDistance ? entry.value_mm / m_unit_mm : std::numeric_limits<double>::quiet_NaN());
    }
    m_looked.StartIndex = 0;
}

QRectF XYChart::PlotArea() const
{
    return m_frame.PlotArea();
}

double XYChart::PlaceAt(double x) const
{
    const QRectF plot = PlotArea();
    const PlaceRange range = ShownRange();
    return range.begin + (x - plot.left()) / std::max(plot.width(), 1.0) * range.Length();
}

double XYChart::XOf(double place) const
{
    const QRectF plot = PlotArea();
    const PlaceRange range = ShownRange();
    return plot.left() + (place - range.begin) / range.Length() * plot.width();
}

double XYChart::ValueAt(double y) const
{
    return m_frame.ValueAt(y);
}

double XYChart::YOf(double value) const
{
    return m_frame.YOf(value);
}
