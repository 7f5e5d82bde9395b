#include "plot/clsCurvePainter.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::int32_t kFine = clsCurvePainter::kFineColumns;

/// How much of each pixel of a square is covered by a disc in it, 0 to 256, row by row.
std::vector<std::uint32_t> roundShares(std::int32_t side, double diameter)
{
    std::vector<std::uint32_t> stamp;
    for (std::int32_t y = 0; y < side; ++y) {
        for (std::int32_t x = 0; x < side; ++x) {
            const double away = std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0);
            const double share = std::clamp(diameter / 2.0 + 0.5 - away, 0.0, 1.0);
            stamp.push_back(static_cast<std::uint32_t>(kOpaque * share));
        }
    }
    return stamp;
}

} // namespace

std::optional<PlotPlace> PlaceOf(const ChartPoint& point, const TimeWindow& window, const RowScale& scale,
                                 std::int32_t height, bool showZero)
{
    const PlotPlace place{std::floor(point.x * window.perDay) - window.first,
                          scale.offset + point.y * scale.rowsPerUnit};
    const bool isInside =
        place.column >= 0.0 && place.column < window.columns && place.row >= 0.0 && place.row < height;
    return isInside && IsShown(point, showZero) ? std::optional(place) : std::nullopt;
}

void clsCurvePainter::Erase(const Raster& raster)
{
    for (std::size_t column = 0; column < m_saved.size(); ++column) {
        restoreOutside(raster, static_cast<std::int32_t>(column), {});
        m_saved[column].isUpright = false;
    }
    m_drawn = {};
}

void clsCurvePainter::Forget()
{
    m_saved.clear();
    m_basis = {};
    m_coverage.clear();
    m_coveredTo = 0;
    m_drawn = {};
}

void clsCurvePainter::DrawUpright(const Raster& raster, std::int32_t column, std::uint32_t color)
{
    if (column < 0 || column >= raster.width) {
        return;
    }
    save(raster, column, {0, raster.height});
    m_saved[static_cast<std::size_t>(column)].isUpright = true;
    std::uint32_t* pixels = raster.pixels + column * raster.columnStep;
    for (std::int32_t row = 0; row < raster.height; ++row) {
        pixels[row * raster.rowStep] = color;
    }
}

void clsCurvePainter::DrawLines(const Raster& raster, const clsCurveColumns& columns, const RowScale& scale,
                                const CurvePen& pen)
{
    const std::int32_t changedFrom = cover(columns, {columns.Epoch(), scale, pen.width, raster.width, raster.height});
    const std::int32_t reach = m_trace.Reach();
    const std::int32_t first = columns.FirstColumn() / kFine;
    const std::int32_t oldest = (columns.OldestColumn() - reach) / kFine;
    m_saved.resize(static_cast<std::size_t>(raster.width));
    const Coverage none;
    // While nothing scrolls, all columns but the newest stay as they are.
    const std::array<std::int32_t, 2> drawn{first, oldest};
    const std::int32_t begin = m_drawn == drawn ? changedFrom - first : 0;
    m_drawn = drawn;
    for (std::int32_t x = begin; x < raster.width; ++x) {
        drawColumn(raster, x, first + x < oldest ? none : m_coverage[slotOf(first + x)], pen.color);
    }
}

/// Works out the coverage of the columns that have changed since the last frame; returns the first of them.
std::int32_t clsCurvePainter::cover(const clsCurveColumns& columns, const Basis& basis)
{
    const std::int32_t first = columns.FirstColumn() / kFine;
    if (!(basis == m_basis)) {
        m_basis = basis;
        m_coverage.assign(static_cast<std::size_t>(basis.width), {});
        m_steps.assign(static_cast<std::size_t>(basis.height) + 2, 0.0F);
        m_coveredTo = first;
        m_trace.Shape(basis.penWidth);
    }
    const std::int32_t begin = std::max(m_coveredTo, first);
    const std::int32_t end = first + basis.width;
    for (std::int32_t column = begin; column < end; ++column) {
        m_coverage[slotOf(column)].rows = {};
    }
    const std::int32_t reach = m_trace.Reach();
    const std::span<const ColumnSpan> all = columns.Spans();
    std::size_t runBegin = all.size();
    // The spans are in column order, unless all of them are new.
    while (runBegin > 0 && (begin == first || all[runBegin - 1].column >= begin * kFine - 2 * reach)) {
        --runBegin;
    }
    for (std::size_t runEnd = 0; runBegin < all.size(); runBegin = runEnd) {
        for (runEnd = runBegin + 1; runEnd < all.size() && !all[runEnd].beginsRun;) {
            ++runEnd;
        }
        m_trace.Trace(all.subspan(runBegin, runEnd - runBegin), basis.scale, basis.height);
        const std::int32_t firstFine = all[runBegin].column - reach;
        const std::int32_t last = std::min((all[runEnd - 1].column + reach) / kFine, end - 1);
        for (std::int32_t column = std::max(std::max(firstFine, 0) / kFine, begin); column <= last; ++column) {
            coverColumn(column, firstFine);
        }
    }
    // The columns that the pen reaches from the last point may still grow.
    m_coveredTo = std::max((columns.LastColumn() - reach) / kFine - 1, 0);
    return begin;
}

/// Adds up how much of each pixel the fine columns of the traced run cover. Each fine column marks in `m_steps` where
/// its coverage begins and ends; the sum from the top down is the coverage itself.
void clsCurvePainter::coverColumn(std::int32_t column, std::int32_t firstFine)
{
    const auto height = static_cast<float>(m_basis.height);
    const std::span<const float> tops = m_trace.Tops(), bottoms = m_trace.Bottoms();
    RowRange rows{m_basis.height, 0};
    for (std::int32_t fine = column * kFine; fine < (column + 1) * kFine; ++fine) {
        const std::int32_t i = fine - firstFine;
        if (i < 0 || i >= static_cast<std::int32_t>(tops.size())) {
            continue;
        }
        const float top = std::max(tops[static_cast<std::size_t>(i)], 0.0F);
        const float bottom = std::min(bottoms[static_cast<std::size_t>(i)], height);
        if (top >= bottom) {
            continue;
        }
        const auto topRow = static_cast<std::int32_t>(top);
        const auto bottomRow = static_cast<std::int32_t>(bottom);
        float* begins = m_steps.data() + topRow;
        float* ends = m_steps.data() + bottomRow;
        const float topPart = top - static_cast<float>(topRow);
        const float bottomPart = bottom - static_cast<float>(bottomRow);
        begins[0] += 1.0F - topPart;
        begins[1] += topPart;
        ends[0] -= 1.0F - bottomPart;
        ends[1] -= bottomPart;
        rows = {std::min(rows.first, topRow), std::max(rows.last, bottomRow + 1)};
    }
    if (rows.first < rows.last) {
        keepShares(column, {rows.first, std::min(rows.last, m_basis.height)});
        std::fill(m_steps.begin() + rows.first, m_steps.begin() + rows.last + 1, 0.0F);
    }
}

/// Sums up `m_steps` to the shares of these rows and lays them over those that the column has from earlier runs.
void clsCurvePainter::keepShares(std::int32_t column, RowRange rows)
{
    constexpr float kShareOfFine = static_cast<float>(kOpaque) / kFine;
    constexpr float kHalf = 0.5F; // for rounding; larger than what the sum's error can take it below 0
    Coverage& kept = m_coverage[slotOf(column)];
    const bool isFirst = kept.rows.first == kept.rows.last;
    if (isFirst) {
        kept.rows = rows;
        kept.shares.assign(static_cast<std::size_t>(rows.last - rows.first), 0);
    } else {
        const RowRange all{std::min(kept.rows.first, rows.first), std::max(kept.rows.last, rows.last)};
        kept.shares.insert(kept.shares.begin(), static_cast<std::size_t>(kept.rows.first - all.first), 0);
        kept.shares.resize(static_cast<std::size_t>(all.last - all.first), 0);
        kept.rows = all;
    }
    float coverage = 0.0F;
    RowRange solid{rows.last, rows.last};
    for (std::int32_t row = rows.first; row < rows.last; ++row) {
        coverage += m_steps[static_cast<std::size_t>(row)];
        const auto share = std::min(static_cast<std::uint32_t>(coverage * kShareOfFine + kHalf), kOpaque);
        std::uint16_t& sum = kept.shares[static_cast<std::size_t>(row - kept.rows.first)];
        sum = static_cast<std::uint16_t>(kOpaque - (kOpaque - sum) * (kOpaque - share) / kOpaque);
        if (share == kOpaque && solid.first == rows.last) {
            solid.first = row;
        } else if (share != kOpaque && solid.first < row) {
            solid.last = std::min(solid.last, row);
        }
    }
    kept.solid = isFirst ? solid : RowRange{kept.rows.last, kept.rows.last};
}

/// The pixels of rows that the column's last drawing and this one share stay saved, so a frame copies little.
void clsCurvePainter::drawColumn(const Raster& raster, std::int32_t x, const Coverage& coverage, std::uint32_t color)
{
    const RowRange rows = coverage.rows;
    std::uint32_t* pixels = raster.pixels + x * raster.columnStep;
    // `below` is the pixel under the first of the rows.
    const auto blend = [&](const std::uint32_t* below, std::ptrdiff_t step, RowRange part) {
        for (std::int32_t row = part.first; row < part.last; ++row) {
            const std::int32_t i = row - rows.first;
            pixels[row * raster.rowStep] =
                Blended(below[i * step], color, coverage.shares[static_cast<std::size_t>(i)]);
        }
    };
    SavedColumn& saved = m_saved[static_cast<std::size_t>(x)];
    if (saved.isUpright) {
        blend(pixels + rows.first * raster.rowStep, raster.rowStep, rows);
        return;
    }
    restoreOutside(raster, x, rows);
    if (rows.first == rows.last) {
        return;
    }
    save(raster, x, rows);
    blend(saved.pixels.data(), 1, {rows.first, coverage.solid.first});
    for (std::int32_t row = coverage.solid.first; row < coverage.solid.last; ++row) {
        pixels[row * raster.rowStep] = color;
    }
    blend(saved.pixels.data(), 1, {coverage.solid.last, rows.last});
}

void clsCurvePainter::DrawDots(const Raster& raster, std::span<const std::span<const ChartPoint>> parts,
                               const TimeWindow& window, const RowScale& scale, const CurvePen& pen, bool showZero)
{
    const auto side = static_cast<std::int32_t>(std::ceil(pen.width));
    const Stamp stamp{roundShares(side, pen.width), side};
    for (const auto part : parts) {
        for (const ChartPoint& point : part) {
            if (const auto place = PlaceOf(point, window, scale, raster.height, showZero)) {
                print(raster, stamp, static_cast<std::int32_t>(std::lround(place->column + 0.5 - side / 2.0)),
                      static_cast<std::int32_t>(std::lround(place->row - side / 2.0)), pen.color);
            }
        }
    }
}

void clsCurvePainter::print(const Raster& raster, const Stamp& stamp, std::int32_t left, std::int32_t top,
                            std::uint32_t color)
{
    const std::int32_t firstRow = std::max(top, 0);
    const std::int32_t lastRow = std::min(top + stamp.side, raster.height);
    const std::int32_t lastColumn = std::min(left + stamp.side, raster.width);
    for (std::int32_t x = std::max(left, 0); x < lastColumn; ++x) {
        save(raster, x, {firstRow, lastRow});
        for (std::int32_t y = firstRow; y < lastRow; ++y) {
            std::uint32_t& pixel = raster.pixels[x * raster.columnStep + y * raster.rowStep];
            pixel = Blended(pixel, color, stamp.shares[static_cast<std::size_t>((y - top) * stamp.side + x - left)]);
        }
    }
}

/// Restores the saved pixels of a column, except in these rows, which stay saved.
void clsCurvePainter::restoreOutside(const Raster& raster, std::int32_t column, RowRange rows)
{
    SavedColumn& saved = m_saved[static_cast<std::size_t>(column)];
    const RowRange before = saved.rows;
    RowRange common{std::max(before.first, rows.first), std::min(before.last, rows.last)};
    if (common.first >= common.last) {
        common = {before.first, before.first};
    }
    std::uint32_t* pixels = raster.pixels + column * raster.columnStep;
    const auto restore = [&](RowRange part) {
        for (std::int32_t row = part.first; row < part.last; ++row) {
            pixels[row * raster.rowStep] = saved.pixels[static_cast<std::size_t>(row - before.first)];
        }
    };
    restore({before.first, common.first});
    restore({common.last, before.last});
    saved.pixels.erase(saved.pixels.begin(), saved.pixels.begin() + (common.first - before.first));
    saved.pixels.resize(static_cast<std::size_t>(common.last - common.first));
    saved.rows = common;
}

/// Saves the pixels of these rows before they are drawn on, and of the rows between them and those saved already.
void clsCurvePainter::save(const Raster& raster, std::int32_t column, RowRange rows)
{
    m_saved.resize(static_cast<std::size_t>(raster.width));
    SavedColumn& saved = m_saved[static_cast<std::size_t>(column)];
    if (saved.rows.first == saved.rows.last) {
        saved.rows = {rows.first, rows.first};
    }
    const std::uint32_t* pixels = raster.pixels + column * raster.columnStep;
    if (const std::int32_t missing = saved.rows.first - rows.first; missing > 0) {
        saved.pixels.insert(saved.pixels.begin(), static_cast<std::size_t>(missing), 0);
        saved.rows.first = rows.first;
        for (std::int32_t i = 0; i < missing; ++i) {
            saved.pixels[static_cast<std::size_t>(i)] = pixels[(rows.first + i) * raster.rowStep];
        }
    }
    for (; saved.rows.last < rows.last; ++saved.rows.last) {
        saved.pixels.push_back(pixels[saved.rows.last * raster.rowStep]);
    }
}

std::size_t clsCurvePainter::slotOf(std::int32_t column) const
{
    return static_cast<std::size_t>(column % m_basis.width);
}
