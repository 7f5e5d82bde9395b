#include "ui/chart/XYChart.h"

#include "base/Days.h"
#include "ui/widgets/FocusMark.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>
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
        m_limits.lower = m_limits.upper = 0.0;
        if (!m_look) {
            m_content.limits = m_limits;
        }
    }
    m_spikes.clear();
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
    m_limits.lower = minimum;
    m_limits.upper = maximum;
    if (!m_look && m_content.limits != m_limits) {
        m_content.limits = m_limits;
        update();
    }
}

std::optional<std::array<double, 2>> XYChart::VisibleLimits() const
{
    if (!m_frame.Layout() || !m_content.HasLimits() || PlotArea().isEmpty()) {
        return {};
    }
    return m_frame.Layout()->ValueEnds();
}

void XYChart::Spikes(const std::vector<ChartPoint>& spikes)
{
    m_spikes = spikes;
    update();
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
    settle();
    fitLimits();
    m_frame.Prepare(font(), palette(), size(), devicePixelRatioF());
    Points(); // moves the read pointer
    const bool hasCurve = m_frame.Compose(drawn()) && (m_content.connectPoints || m_content.look || ShownValues());

    QPainter painter(this);
    m_frame.Paint(painter);
    hasCurve ? paintDot(painter) : paintInstead(painter);
    m_frame.PaintOverlay(painter);
    if (hasFocus()) {
        PaintFocus(painter, *this, rect(), m_frame.Colors().back);
    }
}

/// Says why there is no curve.
void XYChart::paintInstead(QPainter& painter)
{
    const clsHistory* history = m_content.history;
    const PlaceRange shown = ShownRange();
    if (history != nullptr && history->CountIn(shown) > 0) {
        const auto nearest = history->NearestDistance((shown.begin + shown.end) / 2.0);
        const double place = nearest ? history->At(*nearest).place : shown.end + 1.0;
        if (place < shown.begin || place > shown.end) {
            m_frame.PaintNote(painter, m_noDistanceText);
            return;
        }
    }
    if (!m_look) {
        m_frame.PaintNote(painter, m_emptyText);
    }
}

/// The newest value has a dot, and one that is alone in what is looked at: a line that short would not be seen.
void XYChart::paintDot(QPainter& painter)
{
    if (m_look && m_content.look) {
        const clsHistory& history = *m_content.history;
        const std::size_t index = history.IndexAt(m_look->begin);
        const HistoryEntry entry = history.CountIn(*m_look) == 1 ? history.At(index) : HistoryEntry{.isKnown = false};
        if (entry.isKnown && !entry.gap && entry.kind == MeasurementKind::Distance) {
            m_frame.PaintNewest(painter, {entry.place, entry.value_mm / m_content.unit_mm});
        }
        return;
    }
    if (m_series.Added() > 0) {
        const std::int32_t newest = (m_series.StopIndex + m_series.Size() - 1) % m_series.Size();
        m_frame.PaintNewest(painter, {m_series.XValue(newest), m_series.YValue(newest)});
    }
}

XYChart::Shown XYChart::NextFrame()
{
    settle();
    fitLimits();
    Points(); // moves the read pointer
    return {m_content, drawn()};
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

void XYChart::Overlay(const ChartOverlayContent& overlay)
{
    if (overlay != m_content.overlay) {
        m_content.overlay = overlay;
        update();
    }
}

PlaceRange XYChart::ShownRange() const
{
    const bool isLooked = m_look && m_content.history != nullptr;
    return (isLooked ? m_look : followedPlaces())
        .value_or(PlaceRange{TimeBegin(), TimeBegin() + m_content.xRange_ms / kMsPerDay});
}

QRectF XYChart::PlotArea() const
{
    return m_frame.PlotArea();
}

double XYChart::PlaceAt(double x) const
{
    return m_frame.Layout() ? m_frame.Layout()->PlaceAt(x) : 0.0;
}

double XYChart::XOf(double place) const
{
    return m_frame.Layout() ? m_frame.Layout()->XOf(place) : 0.0;
}

double XYChart::ValueAt(double y) const
{
    return m_frame.Layout() ? m_frame.Layout()->ValueAt(y) : 0.0;
}

double XYChart::YOf(double value) const
{
    return m_frame.Layout() ? m_frame.Layout()->YOf(value) : 0.0;
}
