// Draws the reduced curve, anti-aliased, straight into the pixels of a picture. A column of pixels consists of four
// finer columns of the reduction; the share of a pixel that they cover gives its tone. These shares are kept while the
// picture scrolls, so a frame works them out for the newest columns only.
#pragma once

#include "plot/Raster.h"
#include "plot/clsCurveColumns.h"
#include "plot/clsPenTrace.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// A place in the plot, in pixels from its earliest time and from its top edge.
struct PlotPlace {
    double column = 0.0, row = 0.0;
};
/// Where a dot for this point stands, the column being a whole one; empty when it is not drawn or lies outside the
/// window or the rows 0 to height.
std::optional<PlotPlace> PlaceOf(const ChartPoint& point, const TimeWindow& window, const RowScale& scale,
                                 std::int32_t height, bool showZero);

class clsCurvePainter {
public:
    static constexpr std::int32_t kFineColumns = clsPenTrace::kFineColumns;

    /// Removes everything that was drawn, so that the raster has its former pixels again.
    void Erase(const Raster& raster);
    /// Forgets what was drawn and the columns it was drawn from, because the pixels are new.
    void Forget();
    /// Draws a vertical line, one pixel wide; call Erase first. Outside of the raster nothing is drawn.
    void DrawUpright(const Raster& raster, std::int32_t column, std::uint32_t color);
    /// Draws the curve as lines, also over vertical lines, and removes the lines drawn before: they need no Erase. The
    /// window of the columns is as wide as the raster, in fine columns, and begins with a whole pixel.
    void DrawLines(const Raster& raster, const clsCurveColumns& columns, const RowScale& scale, const CurvePen& pen);
    /// Draws a round dot, as wide as the pen, at each shown point of the parts; call Erase first. The columns of the
    /// window are those of the raster.
    void DrawDots(const Raster& raster, std::span<const std::span<const ChartPoint>> parts, const TimeWindow& window,
                  const RowScale& scale, const CurvePen& pen, bool showZero);

private:
    /// Rows from `first` to the one before `last`; none when they are equal.
    struct RowRange {
        std::int32_t first = 0, last = 0;
    };
    /// The part of a column of pixels that the curve covers.
    struct Coverage {
        RowRange rows;
        RowRange solid;                    ///< the part of them that is covered completely
        std::vector<std::uint16_t> shares; ///< of these rows, 0 to 256
    };
    /// The pixels of a column beneath the drawing.
    struct SavedColumn {
        RowRange rows;
        std::vector<std::uint32_t> pixels;
        bool isUpright = false; ///< a vertical line is drawn there, and perhaps a line over it
    };
    /// Everything that the kept shares depend on.
    struct Basis {
        std::uint64_t epoch = 0;
        RowScale scale;
        double penWidth = 0.0;
        std::int32_t width = 0, height = 0;
        bool operator==(const Basis&) const = default;
    };
    /// How much of each pixel of a square a dot covers, row by row: 0 to 256.
    struct Stamp {
        std::vector<std::uint32_t> shares;
        std::int32_t side = 0;
    };

    std::int32_t cover(const clsCurveColumns& columns, const Basis& basis);
    void coverColumn(std::int32_t column, std::int32_t firstFine);
    void keepShares(std::int32_t column, RowRange rows);
    void drawColumn(const Raster& raster, std::int32_t x, const Coverage& coverage, std::uint32_t color);
    void restoreOutside(const Raster& raster, std::int32_t column, RowRange rows);
    void print(const Raster& raster, const Stamp& stamp, std::int32_t left, std::int32_t top, std::uint32_t color);
    void save(const Raster& raster, std::int32_t column, RowRange rows);
    std::size_t slotOf(std::int32_t column) const;

    std::vector<SavedColumn> m_saved; ///< by column of the raster; empty until a column is drawn on
    /// The first and the oldest column when the lines were last drawn; none while they are not drawn.
    std::optional<std::array<std::int32_t, 2>> m_drawn;
    // The coverage, in a ring of columns.
    Basis m_basis;
    std::int32_t m_coveredTo = 0; ///< from this column on, the next frame works it out again
    std::vector<Coverage> m_coverage;
    clsPenTrace m_trace;
    std::vector<float> m_steps; ///< by row: how much the coverage changes there
};
