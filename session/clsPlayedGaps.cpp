#include "session/clsPlayedGaps.h"

#include "base/Days.h"

#include <algorithm>
#include <utility>

namespace {

// A line cuts its time off to milliseconds, a sidecar rounds it.
constexpr double kTolerance = 3.0 / kMsPerDay;
constexpr double kShortestListed = 10.0 / kMsPerDay; // a shorter one cannot be told from the time between two values
constexpr double kShortestJudged = 1.0 / kSecondsPerDay;
constexpr double kTimesMedian = 5.0;
constexpr std::size_t kMedianOf = 100;

} // namespace

clsPlayedGaps::clsPlayedGaps(const RecordingInfo* info)
    : m_judgesSteps(info == nullptr || !info->end || info->gapsDropped > 0)
{
    if (info == nullptr) {
        return;
    }
    for (const Gap& gap : info->gaps) {
        if (gap.to - gap.from >= kShortestListed) {
            m_listed.push_back({gap.from, gap.to, gap.reason});
            m_shortest = std::min(m_shortest, gap.to - gap.from);
        }
        m_setBack = m_setBack || (gap.to < gap.from && gap.reason == GapReason::ClockChanged);
    }
    m_trustsSeconds = !m_setBack && m_shortest >= kShortestJudged + kTolerance;
    std::ranges::sort(m_listed, {}, &Listed::from);
    for (std::size_t i = m_listed.size(); i-- > 1;) {
        m_listed[i - 1].firstEnd = std::min(m_listed[i - 1].firstEnd, m_listed[i].firstEnd);
    }
}

void clsPlayedGaps::GoOn(const RecordingInfo* info)
{
    clsPlayedGaps next(info);
    next.m_times = m_times;
    next.m_next = m_next;
    *this = std::move(next);
}

bool clsPlayedGaps::isGap(double time)
{
    const double previous = m_times[static_cast<std::uint8_t>(m_next - 1)];
    const double step = time - previous;
    if (m_setBack && step < -kTolerance) {
        m_reason = GapReason::ClockChanged; // nothing else lets time run backwards
        return true;
    }
    const Listed* listed = step >= m_shortest - 2 * kTolerance ? listedBetween(previous, time) : nullptr;
    m_reason = listed != nullptr ? listed->reason : GapReason::Unknown;
    if (listed != nullptr) {
        return true;
    }
    return m_judgesSteps && step > kShortestJudged && standsOut(step);
}

/// A listed gap between two lines; null when there is none.
const clsPlayedGaps::Listed* clsPlayedGaps::listedBetween(double from, double to) const
{
    const auto found = std::ranges::lower_bound(m_listed, from - kTolerance, {}, &Listed::from);
    return found != m_listed.end() && found->firstEnd <= to + kTolerance ? &*found : nullptr;
}

/// Compares with the median without sorting: a step is longer than five times the median of others when it is longer
/// than five times half of them. Lines of the same time, or behind a clock that was set back, say nothing about the
/// pace.
bool clsPlayedGaps::standsOut(double step) const
{
    std::size_t steps = 0, shorter = 0;
    for (std::size_t back = 1; back < m_times.size() && steps < kMedianOf; ++back) {
        const auto later = static_cast<std::uint8_t>(m_next - back);
        const double earlier = m_times[later] - m_times[static_cast<std::uint8_t>(later - 1)];
        steps += earlier > 0.0 ? 1 : 0;
        shorter += earlier > 0.0 && step > kTimesMedian * earlier ? 1 : 0;
    }
    return steps > 0 && 2 * shorter > steps;
}
