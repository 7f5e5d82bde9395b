#include "plot/clsShownValues.h"

#include <algorithm>
#include <cmath>

std::optional<std::array<double, 2>> clsShownValues::Range() const
{
    return m_count > 0 ? std::optional(std::array{m_lowest[0].y, m_highest[0].y}) : std::nullopt;
}

std::optional<clsShownValues::Split> clsShownValues::WithoutSpikes() const
{
    if (m_count == 0) {
        return {};
    }
    const auto reachOf = [](double lower, double upper) {
        const double magnitude = std::max(std::fabs(lower), std::fabs(upper));
        return kFarAway * std::max(upper - lower, kLeastRange * magnitude);
    };
    for (std::size_t spikes = kMostSpikes; spikes > 0; --spikes) {
        const auto count = static_cast<std::int64_t>(spikes);
        if (m_count - count < std::max(kFewestOthers, kOthersPerSpike * count)) {
            continue;
        }
        for (std::size_t low = 0; low <= spikes; ++low) {
            const std::size_t high = spikes - low;
            const double lower = m_lowest[low].y, upper = m_highest[high].y;
            const double reach = reachOf(lower, upper);
            const bool isLow = low == 0 || m_lowest[low - 1].y < lower - reach;
            const bool isHigh = high == 0 || m_highest[high - 1].y > upper + reach;
            if (isLow && isHigh) {
                Split split{{lower, upper}, {lower - reach, upper + reach}};
                split.spikes.assign(m_lowest.begin(), m_lowest.begin() + static_cast<std::ptrdiff_t>(low));
                split.spikes.insert(split.spikes.end(), m_highest.begin(),
                                    m_highest.begin() + static_cast<std::ptrdiff_t>(high));
                return split;
            }
        }
    }
    return Split{{m_lowest[0].y, m_highest[0].y}, {-kNone, kNone}};
}

std::array<double, 2> clsShownValues::Split::Ends() const
{
    std::array<double, 2> ends = others;
    for (const ChartPoint& spike : spikes) {
        ends = {std::min(ends[0], spike.y), std::max(ends[1], spike.y)};
    }
    return ends;
}
