#include "chart/clsCurvePainter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::int32_t kFine = clsCurvePainter::kFineColumns;
constexpr std::uint32_t kOpaque = 256;
constexpr double kOutside = 64.0; // rows beyond an edge where no pen reaches into the picture

/// `color` over `pixel`, with a share of 0 to 256.
std::uint32_t blended(std::uint32_t pixel, std::uint32_t color, std::uint32_t share)
{
    constexpr std::uint32_t kRedBlue = 0x00FF00FF;
    constexpr std::uint32_t kGreen = 0x0000FF00;
    const std::uint32_t rest = kOpaque - share;
    const std::uint32_t redBlue = ((pixel & kRedBlue) * rest + (color & kRedBlue) * share) >> 8U;
    const std::uint32_t green = ((pixel & kGreen) * rest + (color & kGreen) * share) >> 8U;
    return 0xFF000000U | (redBlue & kRedBlue) | (green & kGreen);
}

/// The shares, 0 to 256, of the pixels of a square that a disc in it covers, row by row.
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

void clsCurvePainter::Erase(const Raster& raster, const Raster& ground)
{
    for (std::size_t column = 0; column < m_touched.size(); ++column) {
        const auto [first, last] = m_touched[column];
        const auto place = static_cast<std::ptrdiff_t>(column);
        std::uint32_t* pixel = raster.pixels + place * raster.columnStep + first * raster.rowStep;
        const std::uint32_t* original = ground.pixels + place * ground.columnStep + first * ground.rowStep;
        for (std::int32_t row = first; row < last; ++row, pixel += raster.rowStep, original += ground.rowStep) {
            *pixel = *original;
        }
        m_touched[column] = {};
    }
}

void clsCurvePainter::DrawUpright(const Raster& raster, std::int32_t column, std::uint32_t color)
{
    std::uint32_t* pixel = raster.pixels + column * raster.columnStep;
    for (std::int32_t row = 0; row < raster.height; ++row, pixel += raster.rowStep) {
        *pixel = color;
    }
    touch(raster, column, 0, raster.height);
}

void clsCurvePainter::DrawLines(const Raster& raster, std::span<const ColumnSpan> spans, std::int32_t firstColumn,
                                const RowScale& scale, const CurvePen& pen)
{
    shapePen(pen.width);
    m_steps.assign(static_cast<std::size_t>(raster.height) + 2, 0.0F);
    const auto reach = static_cast<std::int32_t>(m_reach.size()) - 1;
    for (std::size_t begin = 0, end = 0; begin < spans.size(); begin = end) {
        for (end = begin + 1; end < spans.size() && !spans[end].beginsRun;) {
            ++end;
        }
        traceRun(spans.subspan(begin, end - begin), scale, raster.height);
        const std::int32_t firstFine = spans[begin].column - firstColumn - reach;
        const std::int32_t lastFine = spans[end - 1].column - firstColumn + reach;
        const std::int32_t first = std::max(firstFine, 0) / kFine;
        const std::int32_t last = std::min(lastFine / kFine, raster.width - 1);
        for (std::int32_t column = first; column <= last; ++column) {
            fillColumn(raster, column, firstFine, pen.color);
        }
    }
}

void clsCurvePainter::shapePen(double width)
{
    const double radius = width / 2.0;
    const auto reach = static_cast<std::size_t>(radius * kFine);
    m_reach.resize(reach + 1);
    for (std::size_t i = 0; i <= reach; ++i) {
        const double aside = static_cast<double>(i) / kFine;
        m_reach[i] = static_cast<float>(std::sqrt(std::max(radius * radius - aside * aside, 0.0)));
    }
}

/// The edges of one run, widened by the round pen: each fine column takes what the pen paints from its neighbours.
void clsCurvePainter::traceRun(std::span<const ColumnSpan> run, const RowScale& scale, std::int32_t height)
{
    constexpr float kNone = std::numeric_limits<float>::infinity();
    const std::size_t reach = m_reach.size() - 1;
    const std::size_t size = run.size() + 2 * reach;
    m_rawTops.assign(size + 2 * reach, kNone);
    m_rawBottoms.assign(size + 2 * reach, -kNone);
    for (std::size_t i = 0; i < run.size(); ++i) {
        const double a = scale.offset + run[i].low * scale.rowsPerUnit;
        const double b = scale.offset + run[i].high * scale.rowsPerUnit;
        // Clamped as doubles: what lies millions of rows outside must not leave the range of the numbers below.
        const double least = -kOutside;
        const double most = height + kOutside;
        m_rawTops[i + 2 * reach] = static_cast<float>(std::clamp(std::min(a, b), least, most));
        m_rawBottoms[i + 2 * reach] = static_cast<float>(std::clamp(std::max(a, b), least, most));
    }
    m_tops.assign(size, kNone);
    m_bottoms.assign(size, -kNone);
    for (std::size_t shift = 0; shift <= 2 * reach; ++shift) {
        const float up = m_reach[shift > reach ? shift - reach : reach - shift];
        const float* rawTops = m_rawTops.data() + shift;
        const float* rawBottoms = m_rawBottoms.data() + shift;
        for (std::size_t i = 0; i < size; ++i) {
            m_tops[i] = std::min(m_tops[i], rawTops[i] - up);
            m_bottoms[i] = std::max(m_bottoms[i], rawBottoms[i] + up);
        }
    }
}

/// Fills a column of pixels by the share that the fine columns of the traced run cover of each pixel. Each fine column
/// adds to `m_steps` where its coverage begins and ends; summing up downwards gives the coverage itself.
void clsCurvePainter::fillColumn(const Raster& raster, std::int32_t column, std::int32_t firstFine, std::uint32_t color)
{
    const auto height = static_cast<float>(raster.height);
    std::int32_t first = raster.height;
    std::int32_t last = 0;
    for (std::int32_t fine = column * kFine; fine < (column + 1) * kFine; ++fine) {
        const std::int32_t i = fine - firstFine;
        if (i < 0 || i >= static_cast<std::int32_t>(m_tops.size())) {
            continue;
        }
        const float top = std::max(m_tops[static_cast<std::size_t>(i)], 0.0F);
        const float bottom = std::min(m_bottoms[static_cast<std::size_t>(i)], height);
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
        first = std::min(first, topRow);
        last = std::max(last, bottomRow + 1);
    }
    if (first >= last) {
        return;
    }
    constexpr float kShareOfFine = static_cast<float>(kOpaque) / kFine;
    std::uint32_t* pixel = raster.pixels + column * raster.columnStep + first * raster.rowStep;
    float coverage = 0.0F;
    for (std::int32_t row = first; row < std::min(last, raster.height); ++row, pixel += raster.rowStep) {
        coverage += m_steps[static_cast<std::size_t>(row)];
        const auto share = static_cast<std::uint32_t>(coverage * kShareOfFine + 0.5F);
        *pixel = share >= kOpaque ? color : blended(*pixel, color, share);
    }
    std::fill(m_steps.begin() + first, m_steps.begin() + last + 1, 0.0F);
    touch(raster, column, first, std::min(last, raster.height));
}

void clsCurvePainter::DrawDots(const Raster& raster, std::span<const std::span<const ChartPoint>> parts,
                               const TimeWindow& window, const RowScale& scale, const CurvePen& pen, bool showZero)
{
    const auto side = static_cast<std::int32_t>(std::ceil(pen.width));
    const Stamp stamp{roundShares(side, pen.width), side};
    for (const auto part : parts) {
        for (const ChartPoint& point : part) {
            const double column = std::floor(point.x * window.perDay) - window.first + 0.5;
            const double row = scale.offset + point.y * scale.rowsPerUnit;
            if (IsShown(point, showZero) && column >= 0.0 && column < raster.width && row >= 0.0 &&
                row < raster.height) {
                print(raster, stamp, static_cast<std::int32_t>(std::floor(column - side / 2.0 + 0.5)),
                      static_cast<std::int32_t>(std::floor(row - side / 2.0 + 0.5)), pen.color);
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
        for (std::int32_t y = firstRow; y < lastRow; ++y) {
            std::uint32_t& pixel = raster.pixels[x * raster.columnStep + y * raster.rowStep];
            pixel = blended(pixel, color, stamp.shares[static_cast<std::size_t>((y - top) * stamp.side + x - left)]);
        }
        touch(raster, x, firstRow, lastRow);
    }
}

void clsCurvePainter::touch(const Raster& raster, std::int32_t column, std::int32_t first, std::int32_t last)
{
    m_touched.resize(static_cast<std::size_t>(raster.width));
    RowRange& rows = m_touched[static_cast<std::size_t>(column)];
    if (rows.first == rows.last) {
        rows = {first, last};
    } else {
        rows = {std::min(rows.first, first), std::max(rows.last, last)};
    }
}
