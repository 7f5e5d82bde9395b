#include "session/clsRateFollower.h"

#include <utility>

std::int32_t clsRateFollower::RateFor(std::int32_t chosen)
{
    if (chosen != m_chosen) { // perhaps because the settings have followed, too
        Forget();
        m_chosen = m_known = chosen;
    }
    return Rate();
}

std::optional<std::int32_t> clsRateFollower::Connected(std::int32_t sensor)
{
    m_silence = 0;
    m_expected = sensor != 0 && sensor != Rate() ? sensor : 0;
    const std::int32_t former = std::exchange(m_known, Rate());
    return former == m_known ? std::nullopt : std::optional(former);
}

std::optional<std::int32_t> clsRateFollower::Silent(bool isBetween)
{
    if (m_expected == 0) {
        return std::nullopt;
    }
    ++m_silence;
    if (m_silence < m_patience || (!isBetween && m_silence < kLongest * m_patience)) {
        return std::nullopt;
    }
    m_silence = 0;
    const std::int32_t next = std::exchange(m_expected, Rate());
    m_followed = next == m_chosen ? 0 : next;
    return next;
}
