// The gaps between the distances of a recording. A sensor that misses its target now and then makes
// millions of them in a month, so only the longest are kept.
#pragma once

#include "sensor/AccountFigures.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Milliseconds; less than 0 when the clock was set back within the gap.
double Length_ms(const Gap& gap);

class clsGapLog {
public:
    static constexpr std::size_t kMost = 16384;

    /// When the list is full, the shorter half goes.
    void Add(const Gap& gap);
    void Clear() { *this = {}; }

    /// In the order of their ends.
    std::span<const Gap> Gaps() const { return m_gaps; }
    /// How many are no longer in the list, and the length of the longest of them.
    std::int64_t Dropped() const { return m_dropped; }
    double LongestDropped_ms() const { return m_longestDropped_ms; }

private:
    void dropShorterHalf();

    std::vector<Gap> m_gaps;
    std::int64_t m_dropped = 0;
    double m_longestDropped_ms = 0.0;
};
