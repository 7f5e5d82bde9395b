// Reads a chart: the sample under the pointer, and two cursors that stand on samples. It knows places; the texts are
// the chart's.
#pragma once

#include "session/clsHistory.h"

#include <array>
#include <cstdint>
#include <optional>

class XYChart;

class ChartReader {
public:
    static constexpr int kCursors = 2;

    /// A sample, or a gap with its reason.
    struct Reading {
        double place = 0.0;
        std::optional<std::int32_t> value_mm{};
        std::optional<GapReason> gap{};
        std::int64_t number = -1; ///< of the sample since the history began: several may have one place
        bool operator==(const Reading&) const = default;
    };

    /// The chart must outlive the reader.
    explicit ChartReader(const XYChart& chart) : m_chart(chart) {}

    /// Other values are shown: no place of the former ones means anything.
    void Forget();

    /// Reads what lies at x in the plot from now on, also when values move under the pointer; none: it has left.
    void Point(std::optional<double> x);
    /// Reads again.
    void Update();
    const std::optional<Reading>& Pointed() const { return m_pointed; }
    /// Whether the keys have moved the pointer, wherever the mouse is.
    bool IsByKeys() const { return m_byKeys.has_value(); }

    /// Sets a cursor at the pointer, or without one on the newest value, or in the middle, always on a sample that is
    /// seen; or takes it away. Returns false if no sample is seen.
    bool Toggle(int cursor);
    /// Sets both cursors on samples.
    void Set(double a, double b)
    {
        m_cursors = {a, b};
        m_numbers = {-1, -1};
    }
    /// Moves a cursor to the sample nearest to x.
    void Drag(int cursor, double x);
    /// The cursor near enough to x to be grasped.
    std::optional<int> Near(double x) const;
    const std::array<std::optional<double>, kCursors>& Cursors() const { return m_cursors; }
    /// What a cursor reads; none if it is not set.
    std::optional<Reading> OfCursor(int cursor) const;
    /// The cursor that was set or moved last, which the keys move.
    std::optional<int> Chosen() const { return m_chosen; }
    /// The keys move the pointer again, not a cursor.
    void Unchoose() { m_chosen.reset(); }

    /// Goes on by so many distances, back if negative: the chosen cursor, else the pointer. What it reads then; none
    /// without values.
    std::optional<Reading> Step(std::int32_t samples);

private:
    const clsHistory* history() const;
    std::optional<Reading> read(std::optional<std::size_t> index) const;
    std::optional<Reading> nearest(double place) const;
    std::optional<std::size_t> indexOf(const Reading& sample) const;
    std::optional<Reading> nearestSeen(const Reading& start) const;
    std::optional<Reading> readAt(double x) const;
    Reading startOfKeys() const;
    void setCursor(int cursor, const Reading& sample);
    Reading atCursor(std::size_t cursor) const;

    const XYChart& m_chart;
    std::optional<double> m_x;       ///< of the pointer
    std::optional<Reading> m_byKeys; ///< where the pointer is that the keys move
    std::optional<Reading> m_pointed;
    std::array<std::optional<double>, kCursors> m_cursors{};
    std::array<std::int64_t, kCursors> m_numbers{}; ///< of the samples on which the cursors stand
    std::optional<int> m_chosen;
};
