// Where to look for a sensor that has fallen silent: a new baud rate counts from its next start on, so it may answer at
// the one that it was last known to be set to. Decides by ticks, without a clock.
#pragma once

#include <cstdint>
#include <optional>

class clsRateFollower {
public:
    explicit clsRateFollower(std::int32_t tick_ms) : m_patience(kPatience_ms / tick_ms) {}

    /// The rate for a port that is opened, while the settings say `chosen`: the one that was followed, until the
    /// settings say another.
    std::int32_t RateFor(std::int32_t chosen);
    /// The operator has chosen a port or a rate: what was known does not count any more.
    void Forget() { m_expected = m_followed = m_chosen = m_silence = 0; }

    /// A sensor is connected that says, or has acknowledged, that it is set to `sensor` bit/s; 0: not known. Returns
    /// the rate that the operator has known of, if it is another than the line's; once for each change.
    std::optional<std::int32_t> Connected(std::int32_t sensor);
    /// A tick without a sensor. `isBetween`: no question is under way. Returns the rate to look at from now on, if it
    /// changes.
    std::optional<std::int32_t> Silent(bool isBetween);

    /// The rate of the line.
    std::int32_t Rate() const { return m_followed != 0 ? m_followed : m_chosen; }

private:
    /// At one rate: two questions and the time for their answers.
    static constexpr std::int32_t kPatience_ms = 4000;
    /// In so many times the patience a question ends, too, if bytes that say nothing keep it open.
    static constexpr std::int32_t kLongest = 2;

    std::int32_t m_patience;
    std::int32_t m_chosen = 0;   ///< bit/s
    std::int32_t m_expected = 0; ///< another rate at which the sensor may be; 0: none
    std::int32_t m_followed = 0; ///< the rate of the line if it is not the chosen one
    std::int32_t m_known = 0;    ///< what the operator has chosen, or was told last
    std::int32_t m_silence = 0;  ///< ticks at this rate
};
