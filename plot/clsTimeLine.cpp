#include "plot/clsTimeLine.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

namespace {

constexpr double kSecond = 1.0 / kSecondsPerDay;
constexpr double kHour = 3600.0 * kSecond;
constexpr double kAtTheHour = 10.0 * kSecond;   // how far from the hour values are that summer time parts
constexpr double kSetByAnHour = 60.0 * kSecond; // passed while the clock was set back
constexpr double kStillUsual = 30.0 * kSecond;  // a smaller step forward is kept, although the clock was set
constexpr double kRounding = 1e-9;              // days; a time of day has about 1e-11

/// Whether summer time began between two times: the first lies just before a full hour, the second just behind the next
/// one.
bool isSummerBegin(double before, double after)
{
    const double hour = std::round(before / kHour) * kHour; // the end of the hour that was left out is one hour later
    return before < hour + kRounding && before > hour - kAtTheHour && after > hour + kHour - kRounding &&
           after < hour + kHour + kAtTheHour;
}

/// What has passed between two times, if the clock was set by one hour.
std::optional<double> passedInAnHour(double before, double after)
{
    const double step = after - before;
    const double passed = step < 0.0 ? step + kHour : step - kHour;
    return passed > -kRounding && passed < kSetByAnHour ? std::optional(std::max(passed, 0.0)) : std::nullopt;
}

} // namespace

/// A step that is something special.
void clsTimeLine::step(double time, bool clockSet)
{
    if (!(time >= kFirstDay && time < kEndOfDays)) {
        time = m_lastTime;
    }
    const double before = m_lastTime, forward = time - before;
    m_last = last();
    m_lastTime = time;
    if (m_stretches.empty()) {
        m_stretches.push_back({time, 0.0});
        m_last = time;
    } else if (forward < 0.0 || (clockSet && forward > kStillUsual) || isSummerBegin(before, time)) {
        ++m_settings;
        const double usual = std::clamp(m_step, 0.001 * kSecond, kSecond);
        beginStretch(time, m_last + passedInAnHour(before, time).value_or(usual));
    } else {
        m_step = forward;
    }
    m_last = std::clamp(time + m_shift, m_last, std::max(m_last, kMostPlace));
    m_usual = m_last == time + m_shift && m_last < kMostPlace - 1.0 ? kUsual : 0.0;
}

void clsTimeLine::beginStretch(double time, double place)
{
    if (m_stretches.size() < kMostStretches && place < kMostPlace) {
        m_shift = std::ceil((place - time) * kTicksPerDay - 0.05) / kTicksPerDay;
        m_stretches.push_back({time + m_shift, m_shift});
    }
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
    for (std::size_t i = m_stretches.size(); i-- > 0;) {
        const double place = time + m_stretches[i].shift;
        if (place >= m_stretches[i].begin) {
            // A time that the clock has left out is where it was set.
            return i + 1 < m_stretches.size() ? std::min(place, m_stretches[i + 1].begin) : place;
        }
    }
    return m_stretches.empty() ? time : time + m_stretches.front().shift;
}
