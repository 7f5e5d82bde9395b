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

std::optional<std::array<double, 2>> XYChart::ShownValues()
{
    settle();
    const auto found = valuesOf(m_content.look, m_frame.HistoryCurve());
    return found ? std::optional(found->Ends()) : std::nullopt;
}

std::optional<clsShownValues::Split> XYChart::FollowedValues()
{
    settle();
    return m_look ? valuesOf(followedPlaces(), m_followed) : valuesOf(m_content.look, m_frame.HistoryCurve());
}

std::optional<clsShownValues::Split> XYChart::valuesOf(const std::optional<PlaceRange>& places, clsHistoryCurve& curve)
{
    if (places) {
        clsHistoryCurve::View view{places->begin, 1.0, 1000, m_content.unit_mm, m_content.showZero};
        if (m_frame.Layout() && !m_frame.Layout()->Plot().isEmpty() && places == m_content.look) {
            view = m_frame.Layout()->HistoryView();
        } else {
            view.perDay = view.columns / places->Length();
        }
        return curve.ValuesOf(*m_content.history, view);
    }
    constexpr double kTolerance = 0.5 / kMsPerDay; // a point at an end is shown, whatever its last bits are
    const double begin = TimeBegin() - kTolerance;
    const double end = TimeBegin() + m_content.xRange_ms / kMsPerDay + kTolerance;
    clsShownValues found;
    for (const auto part : Points()) {
        for (const ChartPoint& point : part) {
            if (point.x >= begin && point.x <= end && IsShown(point, m_content.showZero)) {
                found.Add(point);
            }
        }
    }
    return found.WithoutSpikes();
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
    if (!hasCurve && !m_look) {
        m_frame.PaintNote(painter, m_emptyText);
    } else if (hasCurve && !m_look && m_series.Added() > 0) {
        const std::int32_t newest = (m_series.StopIndex + m_series.Size() - 1) % m_series.Size();
        const double time = m_series.XValue(newest);
        const double place = m_content.look ? m_content.history->Times().PlaceOf(time) : time;
        m_frame.PaintNewest(painter, {place, m_series.YValue(newest)});
    }
    m_frame.PaintOverlay(painter);
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.backgroundColor = m_frame.Colors().back;
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}

/// Decides what the picture shows: the newest points, or a stretch of the history.
void XYChart::settle()
{
    const bool follows = !m_look || m_content.history == nullptr;
    const std::optional<PlaceRange> look = follows ? followedPlaces() : m_look;
    if (look.has_value() != m_content.look.has_value() || (follows && look.has_value()) != m_content.lookFollows) {
        m_frame.Discard(); // another kind of time axis
    }
    m_content.look = look;
    m_content.lookFollows = follows && look.has_value();
}

/// Where the history begins to show more than the points. The points decide as long as they reach back to the left end:
/// a frame of them costs least.
std::optional<PlaceRange> XYChart::followedPlaces() const
{
    constexpr double kNearly = 0.02; // of the span; points that come in time leave less than that open
    const clsHistory* history = m_content.history;
    if (history == nullptr || history->IsEmpty() || !m_content.begin || m_held) {
        return {};
    }
    const double span = m_content.xRange_ms / kMsPerDay;
    const double end = history->Times().PlaceOf(*m_content.begin + span);
    const double first = history->Range().begin;
    if (m_followAll) {
        return PlaceRange{std::min(first, end - 1.0 / kSecondsPerDay), end};
    }
    const PlaceRange places{end - span, end};
    const auto stretches = history->Times().Stretches();
    const auto set = std::ranges::upper_bound(stretches, places.begin, {}, &clsTimeLine::Stretch::begin);
    if (set != stretches.end() && set != stretches.begin() && set->begin <= places.end) {
        return places;
    }
    const bool keepsAll = m_series.HoldsAll() && m_content.xRange_ms <= modChartGlobals::kXRange_ms;
    if (keepsAll || first >= places.end) {
        return {};
    }
    const std::int32_t size = m_series.Size();
    const double beyond = m_series.HoldsAll() ? m_series.XValue(0) : m_series.XValue((m_series.StopIndex + 1) % size);
    const double oldest = m_series.Added() == 0 ? places.end : history->Times().PlaceOf(beyond);
    const double missing = oldest - std::max(places.begin, first);
    return missing > kNearly * span ? std::optional(places) : std::nullopt;
}

/// The chart chooses limits by itself until some are given, and while it is looked into.
void XYChart::fitLimits()
{
    const bool isLooked = m_look && m_content.history != nullptr;
    if (isLooked) {
        fitLooked();
    } else if (m_content.autoScale && !m_limitsGiven) {
        if (const auto shown = valuesOf(m_content.look, m_frame.HistoryCurve())) {
            m_limits = modChartCommon::AutomaticRange(m_limits, shown->others);
            m_spikes = shown->spikes;
        }
    }
    m_content.exactLimits = isLooked && m_lookLimits;
    m_content.limits = isLooked && m_lookedLimits ? *m_lookedLimits : m_limits;
    m_content.spikes.clear();
    if (!isLooked && m_content.autoScale) {
        m_content.spikes = m_spikes;
    }
}

/// A stretch of another length is fitted anew; while it is only moved, its limits change as those of a chart that
/// follows.
void XYChart::fitLooked()
{
    if (m_lookLimits) {
        m_lookedLimits = Limits{m_lookLimits->front(), m_lookLimits->back()};
        m_lookedLength = 0.0;
        return;
    }
    if (!m_content.autoScale) {
        m_lookedLimits.reset();
        return;
    }
    constexpr double kSame = 1e-6;
    const double length = m_look->Length();
    const bool isMoved = m_lookedLimits && std::fabs(length - m_lookedLength) <= kSame * length;
    if (const auto seen = valuesOf(m_content.look, m_frame.HistoryCurve())) {
        m_lookedLimits = modChartCommon::AutomaticRange(isMoved ? *m_lookedLimits : Limits{}, seen->Ends());
        m_lookedLength = length;
    }
}

XYChart::Shown XYChart::NextFrame()
{
    settle();
    fitLimits();
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
    // On the slot to be written next the pointer would stay; from the newest point it moves on to the oldest.
    series.StartIndex = (stop + size - 1) % size;
    series.ResetReadPointer();
    return series.Readable();
}

void XYChart::Source(const clsHistory* history, double unit_mm)
{
    if (m_content.history != history || m_content.unit_mm != unit_mm) {
        m_lookedLimits.reset();
        m_content.history = history;
        m_content.unit_mm = unit_mm;
        settle();
        Redraw();
    }
}

void XYChart::Look(const std::optional<PlaceRange>& look)
{
    constexpr double kShortest = 1.0 / kMsPerDay, kLongest = kEndOfDays - kFirstDay;
    std::optional<PlaceRange> wanted = look;
    if (wanted) {
        if (!(wanted->begin >= kFirstDay && wanted->end < 2.0 * kEndOfDays) || wanted->Length() > kLongest) {
            return;
        }
        const double missing = std::max(kShortest - wanted->Length(), 0.0);
        wanted = PlaceRange{wanted->begin - missing / 2.0, wanted->end + missing / 2.0};
    }
    if (wanted != m_look) {
        m_look = wanted;
        settle();
        update();
    }
}

void XYChart::FollowAll(bool all)
{
    if (m_followAll != all) {
        m_followAll = all;
        settle();
        update();
    }
}

void XYChart::LookLimits(const std::optional<std::array<double, 2>>& limits)
{
    const bool isUsable = !limits || (modChartCommon::IsDrawable(limits->front()) &&
                                      modChartCommon::IsDrawable(limits->back()) && limits->front() < limits->back());
    if (isUsable && m_lookLimits != limits) {
        m_lookLimits = limits;
        m_lookedLimits.reset();
        update();
    }
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
