#include "session/clsHistoryCurve.h"

#include "base/Days.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();
constexpr double kFine = clsHistoryCurve::kFineColumns;
constexpr double kTick = 0.1 / kMsPerDay; // to which the places of entries are rounded

/// The small extra is more than the rounding of the product.
double columnAt(double place, double perDay)
{
    return std::floor(place * perDay + 1e-3);
}

/// The place, about a day before, from which the times of single points count. It is the border of a column, so that
/// columns are the same as those that count from day 0.
double originOf(const clsHistoryCurve::View& view)
{
    return std::round((std::floor(view.begin) - 1.0) * view.perDay) / view.perDay;
}

TimeWindow windowOf(const clsHistoryCurve::View& view, double origin, double perColumn)
{
    return {columnAt(view.begin - origin, view.perDay) * perColumn, view.perDay * perColumn,
            static_cast<std::int32_t>(view.columns * perColumn)};
}

PlaceRange rangeOf(const clsHistoryCurve::View& view)
{
    return {view.begin, view.begin + view.columns / view.perDay};
}

bool isDistance(const HistoryEntry& entry)
{
    return !entry.gap && entry.isKnown && entry.kind == MeasurementKind::Distance;
}

} // namespace

bool clsHistoryCurve::isWalked(const clsHistory& history, const View& view)
{
    return history.CountIn(rangeOf(view)) <= kWalkedPerColumn * static_cast<std::size_t>(view.columns);
}

/// Takes the entries of the view and one on either side of it, to which lines may lead.
void clsHistoryCurve::walk(const clsHistory& history, const View& view)
{
    if (m_walkedHistory == &history && m_walkedVersion == history.Version() && m_walkedView == view) {
        return;
    }
    m_walkedHistory = &history;
    m_walkedVersion = history.Version();
    m_walkedView = view;
    const PlaceRange range = rangeOf(view);
    const std::size_t first = history.IndexAt(range.begin);
    const std::size_t behind = std::min(first + history.CountIn(range) + 1, history.Size());
    const std::size_t begin = first > 0 ? first - 1 : 0;
    m_points.InitChartData(static_cast<std::int32_t>(2 * (behind - begin) + 1));
    const auto stretches = history.Times().Stretches();
    auto clockSet = stretches.end();
    const double origin = originOf(view);
    const auto add = [&](double place, double value) {
        const double time = place - origin;
        m_points.AddChartPoint(time != 0.0 ? time : -1e-9, value); // 0 would be no point
    };
    for (std::size_t i = begin; i < behind; ++i) {
        const HistoryEntry entry = history.At(i);
        if (i == begin) {
            clockSet = std::ranges::upper_bound(stretches, entry.place, {}, &clsTimeLine::Stretch::begin);
        }
        for (; clockSet != stretches.end() && clockSet->begin <= entry.place + kTick; ++clockSet) {
            if (clockSet == stretches.begin() || std::prev(clockSet)->begin < clockSet->begin) {
                add(clockSet->begin, kNoValue); // nothing is joined across it
            }
        }
        add(entry.place, isDistance(entry) ? entry.value_mm / view.unit_mm : kNoValue);
    }
    m_points.StartIndex = 0;
}

/// Columns that were in the last view, too, and have had no new entries since, are kept.
void clsHistoryCurve::summarise(const clsHistory& history, const View& view)
{
    const Basis basis{&history,     view.perDay, history.Range().begin, history.Forgotten(), history.ThinnedBefore(),
                      view.showZero};
    const TimeWindow window = windowOf(view, 0.0, 1.0);
    const double moved = window.first - m_window.first;
    std::int32_t from = 0, to = 0; // the columns that are known
    if (basis == m_basis && window.columns == m_window.columns && history.Version() >= m_version &&
        std::fabs(moved) < window.columns) {
        const auto by = static_cast<std::int32_t>(moved);
        if (by > 0) {
            std::move(m_columns.begin() + by, m_columns.end(), m_columns.begin());
        } else {
            std::move_backward(m_columns.begin(), m_columns.end() + by, m_columns.end());
        }
        from = std::max(-by, 0);
        to = window.columns - std::max(by, 0);
        if (history.Version() != m_version) {
            to = static_cast<std::int32_t>(
                std::clamp(m_knownTo - window.first, static_cast<double>(from), static_cast<double>(to)));
        }
    }
    m_columns.resize(static_cast<std::size_t>(window.columns));
    const auto fetch = [&](std::int32_t first, std::int32_t behind) {
        if (first < behind) {
            history.Outlines({window.first + first, window.perDay, behind - first}, view.showZero, m_missing);
            std::ranges::copy(m_missing, m_columns.begin() + first);
        }
    };
    fetch(0, from);
    fetch(to, window.columns);
    m_basis = basis;
    m_window = window;
    m_version = history.Version();
    m_knownTo = std::floor(history.Range().end * view.perDay);
}

/// Each column of pixels covers its values from the lowest to the highest, in all of its finer columns; between two
/// columns that a line joins, the curve goes straight. Nothing is joined where the clock was set.
void clsHistoryCurve::joinColumns(const View& view, std::span<const clsTimeLine::Stretch> stretches)
{
    m_spans.clear();
    constexpr std::int32_t kPerColumn = kFineColumns;
    const double unit = view.unit_mm;
    std::int32_t before = -1; // the last column with values
    auto clockSet = std::ranges::upper_bound(stretches, view.begin, {}, &clsTimeLine::Stretch::begin);
    const double end = rangeOf(view).end;
    for (std::int32_t i = 0; i < view.columns; ++i) {
        const ValueSummary& summary = m_columns[static_cast<std::size_t>(i)];
        if (summary.valid == 0) {
            continue;
        }
        const double first = summary.first / unit;
        bool joins = summary.joinsBefore && before >= 0;
        for (; clockSet != stretches.end() && clockSet->begin <= end &&
               columnAt(clockSet->begin, view.perDay) - m_window.first <= i;
             ++clockSet) {
            joins = joins && clockSet == stretches.begin();
        }
        const double last = joins ? m_columns[static_cast<std::size_t>(before)].last / unit : first;
        if (joins) {
            const int pieces = (i - before - 1) * kPerColumn + 1;
            double at = last;
            for (int piece = 1; piece < pieces; ++piece) {
                const double next = last + (first - last) * piece / pieces;
                m_spans.push_back({m_spans.back().column + 1, false, std::min(at, next), std::max(at, next)});
                at = next;
            }
            m_spans.push_back({i * kPerColumn, false, std::min(at, first), std::max(at, first)});
        } else {
            m_spans.push_back({i * kPerColumn, true, first, first});
        }
        const double low = summary.minimum / unit, high = summary.maximum / unit;
        m_spans.back().low = std::min(m_spans.back().low, low);
        m_spans.back().high = std::max(m_spans.back().high, high);
        for (std::int32_t fine = 1; fine < kPerColumn; ++fine) {
            m_spans.push_back({i * kPerColumn + fine, false, low, high});
        }
        before = i;
    }
}

void clsHistoryCurve::ReduceTo(clsCurveColumns& columns, const clsHistory& history, const View& view)
{
    if (isWalked(history, view)) {
        walk(history, view);
        columns.Update(m_points, windowOf(view, originOf(view), kFine), view.showZero);
        return;
    }
    summarise(history, view);
    joinColumns(view, history.Times().Stretches());
    columns.Take(windowOf(view, 0.0, kFine), m_spans);
}

std::optional<clsShownValues::Split> clsHistoryCurve::ValuesOf(const clsHistory& history, const View& view)
{
    clsShownValues values;
    if (isWalked(history, view)) {
        walk(history, view);
        const PlaceRange range = rangeOf(view);
        const double origin = originOf(view);
        for (const auto part : m_points.Readable()) {
            for (const ChartPoint& point : part) {
                const double place = point.x + origin;
                if (place >= range.begin && place <= range.end && IsShown(point, view.showZero)) {
                    values.Add({place, point.y});
                }
            }
        }
        return values.WithoutSpikes();
    }
    summarise(history, view);
    double column = m_window.first + 0.5;
    for (const ValueSummary& summary : m_columns) {
        if (summary.valid > 0) {
            values.Add({column / view.perDay, summary.minimum / view.unit_mm});
        }
        if (summary.valid > 1) {
            values.Add({column / view.perDay, summary.maximum / view.unit_mm});
        }
        column += 1.0;
    }
    return values.WithoutSpikes();
}

TimeWindow clsHistoryCurve::DotsWindow(const View& view)
{
    return windowOf(view, originOf(view), 1.0);
}

const clsChartData& clsHistoryCurve::Dots(const clsHistory& history, const View& view)
{
    if (isWalked(history, view)) {
        walk(history, view);
        return m_points;
    }
    history.Outlines(windowOf(view, 0.0, kFine), view.showZero, m_missing);
    const TimeWindow window = windowOf(view, originOf(view), kFine);
    m_dots.InitChartData(static_cast<std::int32_t>(4 * m_missing.size()) + 1);
    double column = window.first + 0.5;
    for (const ValueSummary& summary : m_missing) {
        if (summary.valid > 0) {
            for (const std::int32_t value : {summary.first, summary.minimum, summary.maximum, summary.last}) {
                m_dots.AddChartPoint(column / window.perDay, value / view.unit_mm);
            }
        }
        column += 1.0;
    }
    m_dots.StartIndex = 0;
    return m_dots;
}
