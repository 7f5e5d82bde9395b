// The edges of a curve that a round pen draws, in the finer columns of its reduction.
#pragma once

#include "plot/clsCurveColumns.h"

#include <cstdint>
#include <span>
#include <vector>

/// Where a value lies: row = offset + value * rowsPerUnit, counted from the top edge of row 0.
struct RowScale {
    double offset = 0.0, rowsPerUnit = 1.0;
    bool operator==(const RowScale&) const = default;
};

class clsPenTrace {
public:
    /// Columns of the reduction per column of pixels.
    static constexpr std::int32_t kFineColumns = 4;

    /// The width of the pen, in pixels.
    void Shape(double width);
    /// How many fine columns the pen reaches to either side.
    std::int32_t Reach() const { return static_cast<std::int32_t>(m_reach.size()) - 1; }
    /// Traces one run: each fine column includes what the pen paints from its neighbours.
    void Trace(std::span<const ColumnSpan> run, const RowScale& scale, std::int32_t height);
    /// The traced run's edges in rows, from `Reach()` fine columns before its first one on. They may lie a little
    /// outside the rows 0 to height.
    std::span<const float> Tops() const { return m_tops; }
    std::span<const float> Bottoms() const { return m_bottoms; }

private:
    std::vector<float> m_reach{0.0F}; ///< how far the pen reaches up, by its distance in fine columns
    std::vector<float> m_rawTops;     ///< a run's edges by fine column, with room for the pen's reach left and right
    std::vector<float> m_rawBottoms;
    std::vector<float> m_tops; ///< the same, widened by the pen
    std::vector<float> m_bottoms;
};
