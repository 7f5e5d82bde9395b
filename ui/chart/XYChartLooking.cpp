// What a chart shows: the newest points or a stretch of the history, and the limits that suit it.
#include "base/Days.h"
#include "ui/chart/XYChart.h"

#include <algorithm>
#include <cmath>

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
    if (history == nullptr || history->IsEmpty() || !m_content.begin) {
        return {};
    }
    const double span = m_content.xRange_ms / kMsPerDay;
    const PlaceRange places{*m_content.begin, *m_content.begin + span};
    const double first = history->Range().begin;
    if (m_followAll && !m_holdSpan) {
        return PlaceRange{std::min(first, places.end - 1.0 / kSecondsPerDay), places.end};
    }
    const clsChartData& series = drawn();
    const bool keepsAll = series.HoldsAll() && m_content.xRange_ms <= modChartGlobals::kXRange_ms;
    if (keepsAll || first >= places.end) {
        return {};
    }
    // The ring is full where the slot to be written is in use; what is in it is not shown any more.
    const std::int32_t stop = series.StopIndex;
    const double oldest = series.XValue(series.XValue(stop) != 0.0 ? (stop + 1) % series.Size() : 0);
    const double missing = (series.Added() == 0 ? places.end : oldest) - std::max(places.begin, first);
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
