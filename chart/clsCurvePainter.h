// Draws the reduced curve, anti-aliased, straight into the pixels of a picture. A column of pixels is made of four
// finer columns of the reduction; the share of it that they cover gives each pixel's tone. This costs a fraction of a
// stroked path, whatever the curve looks like.
#pragma once

#include "chart/clsCurveColumns.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// A part of a picture of 32-bit pixels (0xffRRGGBB). Steps are counted in pixels, so that a step of -1 from the last
/// column mirrors what is drawn.
struct Raster {
    std::uint32_t* pixels = nullptr; ///< column 0, row 0
    std::ptrdiff_t columnStep = 1, rowStep = 0;
    std::int32_t width = 0, height = 0;
};

/// Where a value lies: row = offset + value * rowsPerUnit, counted from the top edge of row 0.
struct RowScale {
    double offset = 0.0, rowsPerUnit = 1.0;
};

struct CurvePen {
    double width = 1.5; ///< pixels
    std::uint32_t color = 0xFF000000;
};

class clsCurvePainter {
public:
    /// Columns of the reduction in a column of pixels.
    static constexpr std::int32_t kFineColumns = 4;

    /// Takes all that was drawn out of the raster again: puts the pixels of `ground`, of the same shape, in its place.
    void Erase(const Raster& raster, const Raster& ground);
    /// Forgets what was drawn, because the pixels are new.
    void Forget() { m_touched.clear(); }
    /// Draws an upright line, one column of pixels wide.
    void DrawUpright(const Raster& raster, std::int32_t column, std::uint32_t color);
    /// Draws the lines. The spans' columns are fine ones, `kFineColumns` to a column of the raster, and begin with
    /// `firstColumn`.
    void DrawLines(const Raster& raster, std::span<const ColumnSpan> spans, std::int32_t firstColumn,
                   const RowScale& scale, const CurvePen& pen);
    /// Draws a round dot, as wide as the pen, at each shown point of the parts; the window's columns are the raster's.
    void DrawDots(const Raster& raster, std::span<const std::span<const ChartPoint>> parts, const TimeWindow& window,
                  const RowScale& scale, const CurvePen& pen, bool showZero);

private:
    void shapePen(double width);
    void traceRun(std::span<const ColumnSpan> run, const RowScale& scale, std::int32_t height);
    void fillColumn(const Raster& raster, std::int32_t column, std::int32_t firstFine, std::uint32_t color);
    /// What a dot covers of the pixels of a square, row by row: 0 to 256.
    struct Stamp {
        std::vector<std::uint32_t> shares;
        std::int32_t side = 0;
    };
    void print(const Raster& raster, const Stamp& stamp, std::int32_t left, std::int32_t top, std::uint32_t color);
    void touch(const Raster& raster, std::int32_t column, std::int32_t first, std::int32_t last);

    std::vector<float> m_reach; ///< how far the round pen reaches up, by its distance in fine columns
    std::vector<float> m_tops;  ///< a run's edges by fine column, with the pen's reach left and right
    std::vector<float> m_bottoms;
    std::vector<float> m_rawTops; ///< the same before the pen widens them
    std::vector<float> m_rawBottoms;
    std::vector<float> m_steps; ///< by row: how much the coverage changes there
    /// By column: the rows that drawing has changed, none where they are equal.
    struct RowRange {
        std::int32_t first = 0, last = 0;
    };
    std::vector<RowRange> m_touched;
};
