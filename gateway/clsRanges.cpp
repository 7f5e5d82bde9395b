#include "gateway/clsRanges.h"

#include <algorithm>

void clsRanges::Add(std::int64_t first, std::int64_t last)
{
    if (last < first) {
        return;
    }
    // Those that overlap or touch become one.
    const auto begin = std::ranges::lower_bound(m_ranges, first - 1, {}, &Range::last);
    const auto end = std::ranges::upper_bound(begin, m_ranges.end(), last + 1, {}, &Range::first);
    if (begin == end) {
        m_ranges.insert(begin, {first, last});
        return;
    }
    *begin = {std::min(first, begin->first), std::max(last, (end - 1)->last)};
    m_ranges.erase(begin + 1, end);
}

void clsRanges::Remove(std::int64_t first, std::int64_t last)
{
    if (last < first) {
        return;
    }
    const auto begin = std::ranges::lower_bound(m_ranges, first, {}, &Range::last);
    const auto end = std::ranges::upper_bound(begin, m_ranges.end(), last, {}, &Range::first);
    if (begin == end) {
        return;
    }
    const Range before{begin->first, first - 1}, behind{last + 1, (end - 1)->last};
    auto at = m_ranges.erase(begin, end);
    if (behind.first <= behind.last) {
        at = m_ranges.insert(at, behind);
    }
    if (before.first <= before.last) {
        m_ranges.insert(at, before);
    }
}

clsRanges::Range clsRanges::TakeShortest()
{
    const auto shortest =
        std::ranges::min_element(m_ranges, {}, [](const Range& range) { return range.last - range.first; });
    const Range taken = *shortest;
    m_ranges.erase(shortest);
    return taken;
}

std::int64_t clsRanges::FirstGap(std::int64_t from) const
{
    const auto found = std::ranges::lower_bound(m_ranges, from, {}, &Range::last);
    return found != m_ranges.end() && found->first <= from ? found->last + 1 : from;
}

std::int64_t clsRanges::Count() const
{
    std::int64_t count = 0;
    for (const Range& range : m_ranges) {
        count += range.last - range.first + 1;
    }
    return count;
}

std::int64_t clsRanges::Count(std::int64_t first, std::int64_t last) const
{
    std::int64_t count = 0;
    for (auto range = std::ranges::lower_bound(m_ranges, first, {}, &Range::last);
         range != m_ranges.end() && range->first <= last; ++range) {
        count += std::min(last, range->last) - std::max(first, range->first) + 1;
    }
    return count;
}
