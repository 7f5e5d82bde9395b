// Decides when to try again what fails or does not last: soon after the first attempts, then once a second, so that a
// port that is in use, or one that opens and vanishes again, is not opened in every tick.
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
    void Restart() { m_attempts = m_ticks = 0; }
    /// An attempt is made. Whatever its outcome, the pause after it is the next longer one.
    void Tried()
    {
        constexpr std::int32_t kPauses_ms[] = {100, 200, 500, 1000};
        m_ticks = kPauses_ms[m_attempts] / m_tick_ms;
        m_attempts = std::min<std::int32_t>(m_attempts + 1, std::size(kPauses_ms) - 1);
        m_lasted_ms = 0;
    }
    /// Call it once a tick while what was tried lasts. The attempt counts as a success after `kLasting_ms`: from then on the
    /// next attempt is due at once.
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
