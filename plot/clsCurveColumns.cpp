#include "plot/clsCurveColumns.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kMostColumns = 1 << 30; // from the base; beyond that, a new base is chosen
constexpr std::size_t kIdleSpans = 4096; // that may lie before the window until all of them are removed

} // namespace

void clsCurveColumns::Update(const clsChartData& series, const TimeWindow& window, bool showZero)
{
    if (m_isShownOpen) {
        m_spans.pop_back();
        m_isShownOpen = false;
    }
    const auto parts = series.Readable();
    if (continues(series, window, showZero)) {
        const auto added = static_cast<std::size_t>(series.Added() - m_added);
        const std::size_t ofSecond = std::min(added, parts[1].size());
        moveTo(window, parts[0].front());
        walk(parts[0].last(added - ofSecond));
        walk(parts[1].last(ofSecond));
    } else {
        startOver(series, window, showZero);
        walk(parts[0]);
        walk(parts[1]);
    }
    m_added = series.Added();
    m_stop = series.StopIndex;
    const std::size_t before = m_spans.size();
    const ColumnSpan open = m_span;
    flush();
    m_span = open;
    m_isShownOpen = m_spans.size() > before;
}

void clsCurveColumns::Take(const TimeWindow& window, std::vector<ColumnSpan>& spans)
{
    startOver({}, window, true);
    m_generation = 0; // no series has it: the next Update starts over
    m_isShownOpen = false;
    m_lastPlace = window.columns;
    m_spans.swap(spans);
}

std::int32_t clsCurveColumns::LastColumn() const
{
    return static_cast<std::int32_t>(
        std::clamp(std::floor(m_lastPlace), static_cast<double>(m_first), static_cast<double>(m_end)));
}

/// Whether the spans still hold, apart from points added since and columns that have left on the left.
bool clsCurveColumns::continues(const clsChartData& series, const TimeWindow& window, bool showZero)
{
    const auto parts = series.Readable();
    const std::uint64_t added = series.Added() - m_added;
    if (m_generation != series.Generation() || m_showZero != showZero || m_hasSteppedBack || parts[0].empty() ||
        added >= parts[0].size() + parts[1].size() || !IsShown({parts[0].front().x, 1.0}, true)) {
        return false;
    }
    const std::int64_t expected = (m_stop + static_cast<std::int64_t>(added)) % series.Size();
    const bool moved = !(m_window == window);
    return expected == series.StopIndex && m_window.perDay == window.perDay && m_window.columns == window.columns &&
           m_window.first <= window.first && window.first - m_base < kMostColumns && !(moved && m_hasPassedEnd);
}

void clsCurveColumns::startOver(const clsChartData& series, const TimeWindow& window, bool showZero)
{
    m_generation = series.Generation();
    m_showZero = showZero;
    m_hasSteppedBack = false;
    m_hasPassedEnd = false;
    m_window = window;
    m_base = window.first;
    m_first = 0;
    m_oldest = 0;
    ++m_epoch;
    m_end = window.columns;
    m_spans.clear();
    m_begin = 0;
    m_columnEnd = -kInfinity;
    m_lastPlace = -kInfinity;
}

/// Drops the spans that lie left of the window or are older than the oldest point.
void clsCurveColumns::moveTo(const TimeWindow& window, const ChartPoint& oldest)
{
    m_window = window;
    m_first = static_cast<std::int32_t>(window.first - m_base);
    m_end = m_first + window.columns;
    const double begin = std::max(std::floor(oldest.x * window.perDay - m_base), static_cast<double>(m_first));
    m_oldest = static_cast<std::int32_t>(std::min(begin, static_cast<double>(m_end)));
    while (m_begin < m_spans.size() && m_spans[m_begin].column < begin) {
        ++m_begin;
    }
    if (m_begin > kIdleSpans) {
        m_spans.erase(m_spans.begin(), m_spans.begin() + static_cast<std::ptrdiff_t>(m_begin));
        m_begin = 0;
    }
}

void clsCurveColumns::walk(std::span<const ChartPoint> points)
{
    // Most points of a long series fall into the column of the one before: that case stays in registers.
    const double perDay = m_window.perDay;
    const double base = m_base;
    const bool showZero = m_showZero;
    ColumnSpan span = m_span;
    double columnEnd = m_columnEnd;
    double lastPlace = m_lastPlace;
    double lastValue = m_lastValue;
    for (const ChartPoint& point : points) {
        const double place = point.x * perDay - base;
        const bool shown = IsShown(point, showZero);
        if (shown && place < columnEnd && place >= lastPlace) {
            span.low = std::min(span.low, point.y);
            span.high = std::max(span.high, point.y);
            lastPlace = place;
            lastValue = point.y;
            continue;
        }
        m_span = span;
        m_lastPlace = lastPlace;
        m_lastValue = lastValue;
        if (!shown) {
            endRun();
        } else if (place >= lastPlace && columnEnd != -kInfinity) {
            advance(place, point.y);
        } else {
            begin(place, point.y);
        }
        span = m_span;
        columnEnd = m_columnEnd;
        lastPlace = m_lastPlace;
        lastValue = m_lastValue;
    }
    m_span = span;
    m_lastPlace = lastPlace;
    m_lastValue = lastValue;
}

void clsCurveColumns::endRun()
{
    flush();
    m_columnEnd = -kInfinity;
}

void clsCurveColumns::begin(double place, double value)
{
    endRun();
    m_hasSteppedBack = m_hasSteppedBack || place < m_lastPlace;
    m_span.beginsRun = true;
    settle(std::floor(place));
    m_span.low = m_span.high = value;
    m_lastPlace = place;
    m_lastValue = value;
}

/// Moves on to a later column, through all columns of the window in between.
void clsCurveColumns::advance(double place, double value)
{
    const double perColumn = 1.0 / (place - m_lastPlace);
    while (place >= m_columnEnd) {
        const double border = std::max(m_columnEnd, static_cast<double>(m_first));
        if (place < border) {
            settle(border - 1.0);
            break;
        }
        const double part = std::clamp((border - m_lastPlace) * perColumn, 0.0, 1.0);
        const double atBorder = m_lastValue + part * (value - m_lastValue);
        m_span.low = std::min(m_span.low, atBorder);
        m_span.high = std::max(m_span.high, atBorder);
        flush();
        settle(border);
        m_span.low = m_span.high = atBorder;
    }
    m_span.low = std::min(m_span.low, value);
    m_span.high = std::max(m_span.high, value);
    m_lastPlace = place;
    m_lastValue = value;
}

/// Sets the column of the walk. Everything left of the window counts as the column before its first, everything right
/// of it as the one after its last.
void clsCurveColumns::settle(double column)
{
    m_span.column =
        static_cast<std::int32_t>(std::clamp(column, static_cast<double>(m_first) - 1.0, static_cast<double>(m_end)));
    m_columnEnd = m_span.column == m_end ? kInfinity : m_span.column + 1.0;
    m_hasPassedEnd = m_hasPassedEnd || m_span.column == m_end;
}

void clsCurveColumns::flush()
{
    if (m_columnEnd != -kInfinity && m_span.column >= m_first && m_span.column < m_end) {
        m_spans.push_back(m_span);
        m_span.beginsRun = false;
    }
}
