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
    const double least = -kOutside, most = height + kOutside;
    for (std::size_t i = 0; i < run.size(); ++i) {
        const double a = scale.offset + run[i].low * scale.rowsPerUnit;
        const double b = scale.offset + run[i].high * scale.rowsPerUnit;
        // Clamped as doubles: a value millions of rows outside must not overflow the numbers below. Without branches,
        // which nobody could foresee.
        m_rawTops[i + 2 * reach] = static_cast<float>(std::min(std::max(std::min(a, b), least), most));
        m_rawBottoms[i + 2 * reach] = static_cast<float>(std::min(std::max(std::max(a, b), least), most));
    }
    m_tops.resize(size);
    m_bottoms.resize(size);
    constexpr std::size_t kPiece = 512; // stays in the processor's nearest cache
    for (std::size_t begin = 0; begin < size; begin += kPiece) {
        const std::size_t end = std::min(begin + kPiece, size);
        const float* tops = m_rawTops.data() + reach;
        const float* bottoms = m_rawBottoms.data() + reach;
        for (std::size_t i = begin; i < end; ++i) {
            m_tops[i] = tops[i] - m_reach[0];
            m_bottoms[i] = bottoms[i] + m_reach[0];
        }
        for (std::size_t aside = 1; aside <= reach; ++aside) {
            const float up = m_reach[aside];
            const float *topsLeft = tops - aside, *topsRight = tops + aside;
            const float *bottomsLeft = bottoms - aside, *bottomsRight = bottoms + aside;
            for (std::size_t i = begin; i < end; ++i) {
                m_tops[i] = std::min(m_tops[i], std::min(topsLeft[i], topsRight[i]) - up);
                m_bottoms[i] = std::max(m_bottoms[i], std::max(bottomsLeft[i], bottomsRight[i]) + up);
            }
        }
    }
}
