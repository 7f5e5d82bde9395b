// The folder plot/ computes what a chart shows: series, scaling, divisions, columns, and what the curve covers of a
// picture. It knows no sensor, no widget, and no colour but the one it is given. Here: the series, a ring of points
// that grows only when it is told to.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

/// A value at a time. x = 0 marks a slot that holds no point.
struct ChartPoint {
    double x = 0.0; ///< days since 1899-12-30; never 0 in a point
    double y = 0.0; ///< in the shown unit; a NaN marks a gap
};

class clsChartData {
public:
    /// Discards all points and makes room for maximumIndex + 1 of them, empty.
    /// Throws std::out_of_range and changes nothing when maximumIndex is negative or too large to count the points.
    void InitChartData(std::int32_t maximumIndex);

    /// Writes a point to slot `StopIndex` and moves `StopIndex` on; the newest point overwrites the oldest.
    /// Throws std::out_of_range when `StopIndex` was set to something that is not a slot, and std::domain_error before
    /// `InitChartData`: the point is already in slot 0 then.
    void AddChartPoint(double x, double y)
    {
        m_points.at(static_cast<std::size_t>(StopIndex)) = {x, y};
        ++m_added;
        StopIndex = next(StopIndex);
    }

    /// Makes room for `size` points and keeps those that are there, the oldest in slot 0. Does nothing when there is as
    /// much room already.
    void Grow(std::int32_t size);

    /// Moves `StartIndex` to the oldest point to be shown: slot 0 while the ring has not wrapped, then `StopIndex` + 1.
    /// Does nothing when the two are equal. Throws std::out_of_range when `StopIndex` is not a slot.
    void ResetReadPointer();

    /// The slots in the order of reading, from `StartIndex` to the one before `StopIndex`: the part up to the end of
    /// the ring, then the part from its beginning. Unused slots may be among them. Valid until the series changes. Both
    /// parts are empty when an index is not a slot.
    std::array<std::span<const ChartPoint>, 2> Readable() const;

    /// How many points were added since InitChartData, and a number that changes with each InitChartData and Grow. A
    /// reader that remembers both can look at new points only.
    std::uint64_t Added() const { return m_added; }
    std::uint64_t Generation() const { return m_generation; }
    /// Whether every point since InitChartData is still there and shown.
    bool HoldsAll() const { return !m_hasLost && m_added < static_cast<std::uint64_t>(m_size); }

    std::int32_t Size() const { return m_size; }
    static constexpr std::int32_t LowestIndex() { return 0; }
    /// A slot's time and value. Both throw std::out_of_range for an index that is not a slot.
    double XValue(std::int32_t index) const;
    double YValue(std::int32_t index) const;

    /// The first slot to read and the slot to write next. They are not checked when they are set.
    std::int32_t StartIndex = 0;
    std::int32_t StopIndex = 0;

private:
    /// The slot after `index`.
    std::int32_t next(std::int32_t index) const
    {
        if (m_size == 0) {
            refuseWithoutRing();
        }
        return index + 1 == m_size ? 0 : index + 1;
    }
    [[noreturn]] static void refuseWithoutRing();

    std::vector<ChartPoint> m_points = std::vector<ChartPoint>(1);
    std::int32_t m_size = 0;
    std::uint64_t m_added = 0;
    std::uint64_t m_generation = 1;
    bool m_hasLost = false; ///< before the last Grow
};
