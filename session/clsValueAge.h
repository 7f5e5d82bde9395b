// The age of a shown value. The distance and the temperature stay on the screen when no new value follows, so the
// window has to show their age. Times are seconds of a clock that only goes forward; they are passed in.
#pragma once

#include "texts/TextId.h"

#include <cstdint>
#include <optional>

/// An age in words: a text with a placeholder for the amount ("%1 s old").
struct ValueAge {
    TextId Text = TextId::None;
    std::int32_t Amount = 0;
    bool operator==(const ValueAge&) const = default;
};

class clsValueAge {
public:
    /// The sensor has sent the value; its age counts from the next `Look`.
    void Arrived() { m_state = State::Arrived; }
    /// Nothing is shown, or a value from a recording, which has no age.
    void Forget() { m_state = State::None; }
    /// The age of a value that is stale: older than `fresh_s`, or, with a closed port, at once. Empty for a fresh value
    /// and when there is none.
    std::optional<ValueAge> Look(double now_s, double fresh_s, bool portIsOpen);

private:
    enum class State : std::uint8_t { None, Arrived, Counting };

    State m_state = State::None;
    double m_arrival_s = 0.0;
};

/// How long a value counts as fresh.
inline constexpr double kFresh_s = 3.0;

/// The same for a temperature. One that is read at intervals during the measurement may be older by one interval.
inline constexpr double FreshTemperature_s(bool isPolled, std::int32_t interval_ms)
{
    return kFresh_s + (isPolled ? interval_ms / 1000.0 : 0.0);
}
