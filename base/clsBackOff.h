// Decides when to try again after a failure: soon after the first failures, then once a second, so that a port that is
// in use is not opened in every tick.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

class clsBackOff {
public:
    explicit clsBackOff(std::int32_t tick_ms) : m_tick_ms(tick_ms) {}

    /// Whether to try in this tick. Call it once a tick.
    bool IsDue() { return --m_ticks <= 0; }
    /// The next attempt is due at once, and the pauses after it start from the shortest again.
    void Restart() { m_failures = m_ticks = 0; }
    void Failed()
    {
        constexpr std::int32_t kPauses_ms[] = {100, 200, 500, 1000};
        m_ticks = kPauses_ms[m_failures] / m_tick_ms;
        m_failures = std::min<std::int32_t>(m_failures + 1, std::size(kPauses_ms) - 1);
    }

private:
    std::int32_t m_tick_ms;
    std::int32_t m_ticks = 0; ///< until the next attempt
    std::int32_t m_failures = 0;
};
