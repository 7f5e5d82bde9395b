#include "session/clsGapLog.h"

#include "base/Days.h"

#include <algorithm>

double Length_ms(const Gap& gap)
{
    return (gap.to - gap.from) * kMsPerDay;
}

void clsGapLog::Add(const Gap& gap)
{
    if (m_gaps.size() == kMost) {
        dropShorterHalf();
    }
    m_gaps.push_back(gap);
}

/// Half of them at once, so that one more costs nothing on average.
void clsGapLog::dropShorterHalf()
{
    std::vector<double> lengths_ms;
    lengths_ms.reserve(m_gaps.size());
    for (const Gap& gap : m_gaps) {
        lengths_ms.push_back(Length_ms(gap));
    }
    const auto middle = lengths_ms.begin() + kMost / 2 - 1;
    std::ranges::nth_element(lengths_ms, middle);
    const double most_ms = *middle;
    std::size_t left = kMost / 2; // of several that are as long as the middle one, not all go
    std::erase_if(m_gaps, [&](const Gap& gap) { return Length_ms(gap) <= most_ms && left > 0 && left-- > 0; });
    m_dropped += static_cast<std::int64_t>(kMost - m_gaps.size());
    m_longestDropped_ms = std::max(m_longestDropped_ms, most_ms);
}
