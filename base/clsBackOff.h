// Decides when to try again after something fails or does not last: soon after the first attempts, then once a second.
// A port that is in use, or one that opens and vanishes again, is not opened in every tick.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

class clsBackOff {
public:
    explicit clsBackOff(std::int32_t tick_ms) : m_tick_ms(tick_ms) {}

    /// Whether to make an attempt in this tick. Call it once a tick.
    bool IsDue() { return --m_ticks <= 0; }
    /// Makes the next attempt due at once; the pauses after it start again from the shortest.
    void Restart() { m_attempts = m_ticks = 0; }
    /// Notes an attempt. Whatever its outcome, the pause after it is longer, up to one second.
    void Tried()
    {
        constexpr std::int32_t kPauses_ms[] = {100, 200, 500, 1000};
        m_ticks = kPauses_ms[m_attempts] / m_tick_ms;
        m_attempts = std::min<std::int32_t>(m_attempts + 1, std::size(kPauses_ms) - 1);
        m_lasted_ms = 0;
    }
    /// Call it once a tick while the result of an attempt lasts. After `kLasting_ms` the attempt counts as a success,
    /// and the next one is due at once.
    void Lasts()
    {
        if (m_lasted_ms < kLasting_ms && (m_lasted_ms += m_tick_ms) >= kLasting_ms) {
            Restart();
        }
    }

private:
    static constexpr std::int32_t kLasting_ms = 2000;

    std::int32_t m_tick_ms;
    std::int32_t m_ticks = 0;    ///< until the next attempt
    std::int32_t m_attempts = 0; ///< since the last success
    std::int32_t m_lasted_ms = 0;
};
