#include "plot/clsPenTrace.h"

#include <algorithm>
#include <cmath>
#include <limits>

void clsPenTrace::Shape(double width)
{
    const double radius = width / 2.0;
    const auto reach = static_cast<std::size_t>(radius * kFineColumns);
    m_reach.resize(reach + 1);
    for (std::size_t i = 0; i <= reach; ++i) {
        const double aside = static_cast<double>(i) / kFineColumns;
        m_reach[i] = static_cast<float>(std::sqrt(std::max(radius * radius - aside * aside, 0.0)));
    }
}

void clsPenTrace::Trace(std::span<const ColumnSpan> run, const RowScale& scale, std::int32_t height)
{
    constexpr float kNone = std::numeric_limits<float>::infinity();
    constexpr double kOutside = 64.0; // rows beyond an edge, too far for any pen to reach into the picture
    const std::size_t reach = m_reach.size() - 1;
    const std::size_t size = run.size() + 2 * reach;
    m_rawTops.assign(size + 2 * reach, kNone);
    m_rawBottoms.assign(size + 2 * reach, -kNone);
    for (std::size_t i = 0; i < run.size(); ++i) {
        const double a = scale.offset + run[i].low * scale.rowsPerUnit;
        const double b = scale.offset + run[i].high * scale.rowsPerUnit;
        // Clamped as doubles: a value millions of rows outside must not overflow the numbers below.
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
