#include "plot/clsCurveSweep.h"

#include <algorithm>
#include <span>

namespace {

constexpr std::int32_t kFine = clsPenTrace::kFineColumns;
constexpr auto kFull = static_cast<std::int32_t>(kOpaque);
constexpr std::int32_t kFineFull = kFull / kFine;

std::uint32_t* firstOf(const Raster& raster)
{
    return raster.columnStep < 0 ? raster.pixels - (raster.width - 1) : raster.pixels;
}

} // namespace

void clsCurveSweep::Draw(const Raster& raster, const PlotGround& ground, const clsCurveColumns& columns,
                         const RowScale& scale, const CurvePen& pen)
{
    Begin(raster, ground, columns, scale, pen);
    DrawTo(raster, raster.height);
}

void clsCurveSweep::Begin(const Raster& raster, const PlotGround& ground, const clsCurveColumns& columns,
                          const RowScale& scale, const CurvePen& pen)
{
    m_lastColumns.swap(m_columns);
    m_trace.Shape(pen.width);
    prepare(raster, ground, pen.color);
    collect(columns, scale, raster);
    sortChanges();
    m_row = 0;
}

void clsCurveSweep::DrawTo(const Raster& raster, std::int32_t behind)
{
    for (behind = std::min(behind, m_height); m_row < behind; ++m_row) {
        takeChanges(m_row);
        writeRow(firstOf(raster) + m_row * raster.rowStep, m_row);
    }
}

void clsCurveSweep::Erase(const Raster& raster, std::uint32_t color)
{
    for (std::int32_t row = 0; row < raster.height && !m_rows.empty(); ++row) {
        std::fill_n(firstOf(raster) + row * raster.rowStep, raster.width, color);
    }
    Forget();
}

void clsCurveSweep::prepare(const Raster& raster, const PlotGround& ground, std::uint32_t color)
{
    const auto width = static_cast<std::size_t>(raster.width), height = static_cast<std::size_t>(raster.height);
    const bool isSame = m_width == raster.width && m_rows.size() == height && m_colors[0].front() == ground.back &&
                        m_colors[1].front() == ground.grid && m_colors[0].back() == color;
    if (!isSame) {
        m_rows.assign(height, Filled::Unknown);
        m_lastColumns.clear();
        for (std::uint32_t share = 0; share <= kOpaque; ++share) {
            m_colors[0][share] = Blended(ground.back, color, share);
            m_colors[1][share] = Blended(ground.grid, color, share);
        }
    }
    m_width = raster.width;
    m_height = raster.height;
    m_isGridRow.assign(height, 0);
    for (const std::int32_t row : ground.rows) {
        if (row >= 0 && row < m_height) {
            m_isGridRow[static_cast<std::size_t>(row)] = 1;
        }
    }
    m_isGridColumn.assign(width, 0);
    m_line.assign(width, m_colors[0].front());
    m_columns.clear();
    for (const std::int32_t column : ground.columns) {
        if (column >= 0 && column < m_width) {
            const std::int32_t place = raster.columnStep < 0 ? m_width - 1 - column : column;
            m_isGridColumn[static_cast<std::size_t>(place)] = 1;
            m_line[static_cast<std::size_t>(place)] = m_colors[1].front();
            m_columns.push_back(place);
        }
    }
    m_shares.assign(width, 0);
    m_covered = m_full = 0;
}

void clsCurveSweep::collect(const clsCurveColumns& columns, const RowScale& scale, const Raster& raster)
{
    m_foundCount = 0;
    m_begins.assign(static_cast<std::size_t>(m_height) + 2, 0);
    const std::span<const ColumnSpan> all = columns.Spans();
    for (std::size_t begin = 0, end = 0; begin < all.size(); begin = end) {
        for (end = begin + 1; end < all.size() && !all[end].beginsRun;) {
            ++end;
        }
        m_trace.Trace(all.subspan(begin, end - begin), scale, m_height);
        cutIntoParts();
        const std::int32_t before = all[begin].column - columns.FirstColumn() - m_trace.Reach();
        std::int32_t i = std::max(-before, 0);
        const auto size = static_cast<std::int32_t>(m_tops.size());
        const std::int32_t behind = std::min(size, m_width * kFine - before);
        while (i < behind) {
            const std::int32_t column = (before + i) / kFine;
            const std::int32_t next = std::min((column + 1) * kFine - before, behind);
            addColumn(raster.columnStep < 0 ? m_width - 1 - column : column, i, next);
            i = next;
        }
    }
}

/// The edges of the traced run within the picture, in parts of a row. Without any function in it, for millions of them.
void clsCurveSweep::cutIntoParts()
{
    constexpr float kHalf = 0.5F; // cut, not rounded: rows are not negative
    constexpr auto kParts = static_cast<float>(kFineFull);
    const std::span<const float> tops = m_trace.Tops(), bottoms = m_trace.Bottoms();
    const auto height = static_cast<float>(m_height);
    m_tops.resize(tops.size());
    m_bottoms.resize(tops.size());
    for (std::size_t i = 0; i < tops.size(); ++i) {
        m_tops[i] = static_cast<std::int32_t>(std::max(tops[i], 0.0F) * kParts + kHalf);
        m_bottoms[i] = static_cast<std::int32_t>(std::min(bottoms[i], height) * kParts + kHalf);
    }
    m_found.resize(std::max(m_found.size(), m_foundCount + 4 * tops.size())); // at most
}

/// The fine columns of a column of pixels.
void clsCurveSweep::addColumn(std::int32_t column, std::int32_t first, std::int32_t behind)
{
    Edge top, bottom;
    for (std::int32_t i = first; i < behind; ++i) {
        const std::int32_t upper = m_tops[static_cast<std::size_t>(i)], lower = m_bottoms[static_cast<std::size_t>(i)];
        if (upper < lower) {
            add(top, column, upper, 1);
            add(bottom, column, lower, -1);
        }
    }
    end(top, column);
    end(bottom, column);
}

/// Fine columns mostly have their edges in the same row as their neighbours in the column of pixels.
inline void clsCurveSweep::add(Edge& edge, std::int32_t column, std::int32_t parts, std::int32_t sign)
{
    const std::int32_t part = parts % kFineFull, whole = parts / kFineFull;
    if (edge.row != whole) {
        end(edge, column);
        edge = {whole, 0, 0};
    }
    edge.share += sign * (kFineFull - part);
    edge.rest += sign * part;
}

inline void clsCurveSweep::end(const Edge& edge, std::int32_t column)
{
    change(edge.row, column, edge.share);
    change(edge.row + 1, column, edge.rest);
}

inline void clsCurveSweep::change(std::int32_t row, std::int32_t column, std::int32_t share)
{
    if (share != 0 && row < m_height) {
        m_found[m_foundCount++] = {row, column, share};
        ++m_begins[static_cast<std::size_t>(row) + 2];
    }
}

void clsCurveSweep::sortChanges()
{
    for (std::size_t row = 2; row < m_begins.size(); ++row) {
        m_begins[row] += m_begins[row - 1];
    }
    m_changes.resize(std::max(m_changes.size(), m_foundCount));
    for (const Change& change : std::span(m_found).first(m_foundCount)) {
        m_changes[m_begins[static_cast<std::size_t>(change.row) + 1]++] = change;
    }
}

void clsCurveSweep::takeChanges(std::int32_t row)
{
    const std::uint32_t behind = m_begins[static_cast<std::size_t>(row) + 1];
    std::int32_t covered = m_covered, full = m_full;
    for (std::uint32_t i = m_begins[static_cast<std::size_t>(row)]; i < behind; ++i) {
        const Change& change = m_changes[i];
        const auto column = static_cast<std::size_t>(change.column);
        const std::int32_t before = m_shares[column], share = before + change.share;
        covered += (share > 0 ? 1 : 0) - (before > 0 ? 1 : 0);
        full += (share >= kFull ? 1 : 0) - (before >= kFull ? 1 : 0);
        m_shares[column] = share;
        // Two runs may cover the same part of a pixel; and an edge may be known before the one above it.
        m_line[column] = m_colors[m_isGridColumn[column]][static_cast<std::size_t>(std::clamp(share, 0, kFull))];
    }
    m_covered = covered;
    m_full = full;
}

/// Writes what may be another row than before.
void clsCurveSweep::writeRow(std::uint32_t* pixels, std::int32_t row)
{
    Filled& last = m_rows[static_cast<std::size_t>(row)];
    const Filled before = last;
    if (m_isGridRow[static_cast<std::size_t>(row)] != 0) {
        last = Filled::Grid;
        std::transform(m_shares.begin(), m_shares.end(), pixels, [&](std::int32_t share) {
            return m_colors[1][static_cast<std::size_t>(std::min(share, kFull))];
        });
        return;
    }
    last = m_covered == 0 ? Filled::Nothing : m_full == m_width ? Filled::Wholly : Filled::Partly;
    if (last != before || last == Filled::Partly) {
        std::copy(m_line.begin(), m_line.end(), pixels);
    } else if (last == Filled::Nothing && m_columns != m_lastColumns) {
        for (const std::int32_t column : m_lastColumns) {
            pixels[column] = m_colors[0].front();
        }
        for (const std::int32_t column : m_columns) {
            pixels[column] = m_colors[1].front();
        }
    }
}
