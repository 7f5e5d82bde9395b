#include "session/clsValueAge.h"

#include <algorithm>
#include <limits>

namespace {

/// Chooses a unit that keeps the number small: seconds up to two minutes, minutes up to two hours, then hours.
ValueAge inWords(double age_s)
{
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    const auto seconds = static_cast<std::int32_t>(std::clamp(age_s, 0.0, kMost));
    if (age_s <= 120.0) {
        return {TextId::AgeSeconds, seconds};
    }
    return age_s <= 7200.0 ? ValueAge{TextId::AgeMinutes, seconds / 60} : ValueAge{TextId::AgeHours, seconds / 3600};
}

} // namespace

std::optional<ValueAge> clsValueAge::Look(double now_s, double fresh_s, bool portIsOpen)
{
    if (m_state == State::None) {
        return std::nullopt;
    }
    if (m_state == State::Arrived) {
        m_state = State::Counting;
        m_arrival_s = now_s;
    }
    const double age_s = now_s - m_arrival_s;
    return portIsOpen && age_s <= fresh_s ? std::nullopt : std::optional(inWords(age_s));
}
