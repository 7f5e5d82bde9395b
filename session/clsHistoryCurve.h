// The curve of a stretch of the history, as a chart draws it. Few entries are taken one by one, so the curve is the
// same as when they came; of many, each column of pixels takes its summary, so a picture costs its width.
#pragma once

#include "plot/clsCurveColumns.h"
#include "plot/clsShownValues.h"
#include "session/clsHistory.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

class clsHistoryCurve {
public:
    static constexpr std::int32_t kFineColumns = 4; ///< of the reduction, in a column of pixels
    /// Entries that are taken one by one, for each column of pixels.
    static constexpr std::size_t kWalkedPerColumn = 3;

    /// What is drawn of a history: places from `begin` on, in columns of pixels.
    struct View {
        double begin = 0.0;  ///< the place at the left end
        double perDay = 1.0; ///< columns
        std::int32_t columns = 0;
        double unit_mm = 1.0;
        bool showZero = false;
        bool operator==(const View&) const = default;
    };

    /// The lowest and highest value of a view in its unit, and its spikes: among many values, those of the columns'
    /// extremes. Times are places on the axis.
    std::optional<clsShownValues::Split> ValuesOf(const clsHistory& history, const View& view);
    /// The curve as columns of the reduction, kFineColumns in a column of pixels.
    void ReduceTo(clsCurveColumns& columns, const clsHistory& history, const View& view);
    /// The points of the curve that a picture with a dot for each value shows, in the shown unit, and the window in
    /// which they lie: times count from a day of their own, which keeps them exact in the shortest window. A column of
    /// many values has its first, lowest, highest and last ones.
    const clsChartData& Dots(const clsHistory& history, const View& view);
    static TimeWindow DotsWindow(const View& view);

private:
    /// What the columns were made from.
    struct Basis {
        const clsHistory* history = nullptr;
        double perDay = 0.0;
        double historyBegin = 0.0;
        std::int64_t forgotten = 0;
        std::optional<double> thinnedBefore{};
        bool showZero = false;
        bool operator==(const Basis&) const = default;
    };

    static bool isWalked(const clsHistory& history, const View& view);
    void walk(const clsHistory& history, const View& view);
    void summarise(const clsHistory& history, const View& view);
    void joinColumns(const View& view, std::span<const clsTimeLine::Stretch> stretches);

    // The last walk, and what it was made from.
    const clsHistory* m_walkedHistory = nullptr;
    std::uint64_t m_walkedVersion = 0;
    View m_walkedView;
    clsChartData m_points;
    // The summaries of the columns, and what they were made from. Columns have whole numbers, counted from day 0, so
    // they keep their summaries while the view moves.
    Basis m_basis;
    std::uint64_t m_version = 0;
    TimeWindow m_window;
    double m_knownTo = 0.0; ///< from this column on, entries may have come since
    std::vector<ValueSummary> m_columns, m_missing;
    std::vector<ColumnSpan> m_spans;
    clsChartData m_dots;
};
