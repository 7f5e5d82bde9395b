#include "plot/clsTimeLine.h"

#include "base/Days.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr double kPause = 1.0 / kSecondsPerDay; // on the axis, where a clock was set

} // namespace

double clsTimeLine::Add(double time, bool clockSet)
{
    if (m_stretches.empty()) {
        m_stretches.push_back({time, 0.0});
    } else if (clockSet || time < m_lastTime) {
        const double place = m_last + kPause;
        m_stretches.push_back({place, place - time});
    }
    m_lastTime = time;
    m_last = std::max(m_last, time + m_stretches.back().shift);
    return m_last;
}

double clsTimeLine::TimeOf(double place) const
{
    const auto behind = std::ranges::upper_bound(m_stretches, place, {}, &Stretch::begin);
    if (behind == m_stretches.begin()) {
        return m_stretches.empty() ? place : place - m_stretches.front().shift;
    }
    return place - std::prev(behind)->shift;
}

double clsTimeLine::PlaceOf(double time) const
{
    for (auto stretch = m_stretches.rbegin(); stretch != m_stretches.rend(); ++stretch) {
        if (time + stretch->shift >= stretch->begin) {
            return time + stretch->shift;
        }
    }
    return m_stretches.empty() ? time : time + m_stretches.front().shift;
}
