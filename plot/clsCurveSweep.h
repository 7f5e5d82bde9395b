// Draws a curve that is another one with each frame, as while somebody looks around: the whole plot anew, row by row
// from the top down, which takes about as long for a dense curve as for a thin one. `clsCurvePainter` is for a curve
// that grows.
#pragma once

#include "plot/Raster.h"
#include "plot/clsCurveColumns.h"
#include "plot/clsPenTrace.h"

#include <array>
#include <cstdint>
#include <vector>

/// What lies beneath the curve: one colour, and a grid of another in some rows and columns.
struct PlotGround {
    std::uint32_t back = 0xFFFFFFFF, grid = 0xFFC0C0C0;
    std::vector<std::int32_t> rows, columns; ///< of the grid; those outside the plot do not matter
};

class clsCurveSweep {
public:
    /// Draws ground and curve. Since the last time nobody else may have drawn there, except in rows of the grid, the
    /// last ones or these. The window of the columns is as wide as the raster, in fine columns.
    void Draw(const Raster& raster, const PlotGround& ground, const clsCurveColumns& columns, const RowScale& scale,
              const CurvePen& pen);
    /// The same in two steps: all but the drawing, and then down to a row, as often as one likes.
    void Begin(const Raster& raster, const PlotGround& ground, const clsCurveColumns& columns, const RowScale& scale,
               const CurvePen& pen);
    void DrawTo(const Raster& raster, std::int32_t behind);
    /// Fills the plot with one colour if something is drawn there.
    void Erase(const Raster& raster, std::uint32_t color);
    /// The pixels are new.
    void Forget() { m_rows.clear(); }

private:
    /// From a row on, a column is covered more, or less. Shares of a fine column, in 256ths of a pixel.
    struct Change {
        std::int32_t row = 0, column = 0, share = 0;
    };
    /// The changes of an edge, which goes through a row and ends above the next one's bottom.
    struct Edge {
        std::int32_t row = -1, share = 0, rest = 0;
    };
    enum class Filled : std::uint8_t { Unknown, Grid, Nothing, Partly, Wholly };

    void collect(const clsCurveColumns& columns, const RowScale& scale, const Raster& raster);
    void cutIntoParts();
    void addColumn(std::int32_t column, std::int32_t first, std::int32_t behind);
    void add(Edge& edge, std::int32_t column, std::int32_t parts, std::int32_t sign);
    void end(const Edge& edge, std::int32_t column);
    void change(std::int32_t row, std::int32_t column, std::int32_t share);
    void sortChanges();
    void prepare(const Raster& raster, const PlotGround& ground, std::uint32_t color);
    void takeChanges(std::int32_t row);
    void writeRow(std::uint32_t* pixels, std::int32_t row);

    clsPenTrace m_trace;
    std::vector<std::int32_t> m_tops, m_bottoms; ///< of the traced run, in parts of a row: as many as a fine column has
    std::int32_t m_height = 0, m_width = 0;
    // What the curve changes, by row: those of a row end where the next one's begin.
    std::vector<Change> m_found, m_changes; ///< with room for more
    std::size_t m_foundCount = 0;
    std::vector<std::uint32_t> m_begins;
    // The row that is drawn next: the sum of all changes down to it.
    std::int32_t m_row = 0;
    std::vector<std::int32_t> m_shares;
    std::vector<std::uint32_t> m_line;
    std::int32_t m_covered = 0, m_full = 0; ///< columns of it
    // Ground and curve.
    std::array<std::array<std::uint32_t, kOpaque + 1>, 2> m_colors{}; ///< by share, over the back and over the grid
    std::vector<std::uint8_t> m_isGridRow, m_isGridColumn;
    std::vector<std::int32_t> m_columns, m_lastColumns; ///< of the grid
    std::vector<Filled> m_rows;                         ///< as they were drawn last; none while nothing is drawn
};
