// Reduces a curve to what a picture can show of it: the lowest and highest value per column. Columns are counted from
// day 0, so they keep their points while the picture scrolls, and each frame looks at new points only.
#pragma once

#include "plot/clsChartData.h"
#include "plot/modChartCommon.h"

#include <cstdint>
#include <span>
#include <vector>

/// The columns of a picture and their times.
struct TimeWindow {
    double first = 0.0; ///< the number of the picture's first column, a whole number
    double perDay = 1.0;
    std::int32_t columns = 0;
    bool operator==(const TimeWindow&) const = default;
};

/// The part of one column that the curve covers. Successive entries are joined, unless the later one begins a run.
struct ColumnSpan {
    std::int32_t column = 0; ///< as the picture numbered it when Update was first given a window, see FirstColumn
    bool beginsRun = true;
    double low = 0.0, high = 0.0;
};

/// Whether a point is drawn. Not drawn are an unused slot, a gap, a value or time that has no place on a scale and,
/// unless `showZero`, a value of 0.
inline bool IsShown(const ChartPoint& point, bool showZero)
{
    return point.x != 0.0 && modChartCommon::IsDrawable(point.x) && modChartCommon::IsDrawable(point.y) &&
           (showZero || point.y != 0.0);
}

class clsCurveColumns {
public:
    /// Updates the spans for this window from the series, whose read pointer is on the oldest point. The points need
    /// not be in time order. A point that is not shown, and a step back in time, end a run: what follows is not joined
    /// to it. A column gets several spans when several runs go through it. The column of the oldest point may still
    /// cover a value that the ring has just overwritten.
    void Update(const clsChartData& series, const TimeWindow& window, bool showZero);

    /// Takes spans that are ready, in column order, the window's first column being 0. They are swapped in.
    void Take(const TimeWindow& window, std::vector<ColumnSpan>& spans);

    /// The spans, all within the window.
    std::span<const ColumnSpan> Spans() const { return std::span(m_spans).subspan(m_begin); }
    /// The number that the spans give to the window's first column.
    std::int32_t FirstColumn() const { return m_first; }
    /// The column of the last point. Spans from there on may change with the next point, all spans when the epoch
    /// changes.
    std::int32_t LastColumn() const;
    std::uint64_t Epoch() const { return m_epoch; }
    /// No point lies before this column.
    std::int32_t OldestColumn() const { return m_oldest; }

private:
    bool continues(const clsChartData& series, const TimeWindow& window, bool showZero);
    void startOver(const clsChartData& series, const TimeWindow& window, bool showZero);
    void moveTo(const TimeWindow& window, const ChartPoint& oldest);
    void walk(std::span<const ChartPoint> points);
    void begin(double place, double value);
    void advance(double place, double value);
    void settle(double column);
    void endRun();
    void flush();

    TimeWindow m_window;
    bool m_showZero = false;
    // The series when it was last read.
    std::uint64_t m_generation = 0, m_added = 0;
    std::int32_t m_stop = 0;
    bool m_hasSteppedBack = false; ///< the points are not in time order
    bool m_hasPassedEnd = false;   ///< there are points right of the window

    double m_base = 0.0; ///< the number of the column that the spans call 0
    std::int32_t m_first = 0, m_end = 0;
    std::int32_t m_oldest = 0;
    std::uint64_t m_epoch = 0;
    std::vector<ColumnSpan> m_spans;
    std::size_t m_begin = 0; ///< spans before it have left the window
    // The walk: the column it is in and the last point.
    ColumnSpan m_span;
    double m_columnEnd = 0.0; ///< minus infinity between two runs
    double m_lastPlace = 0.0; ///< columns from `m_base`
    double m_lastValue = 0.0;
    bool m_isShownOpen = false; ///< the last of the spans is a copy of `m_span`, which may still grow
};
