// How old a shown value is: the number and the temperature stay on the screen when none follows, and then have to say
// so. Times are seconds of a clock that only goes forward; they are handed in.
#pragma once

#include "texts/TextId.h"

#include <cstdint>
#include <optional>

/// An age in words: a text with a place for the amount ("%1 s old").
struct ValueAge {
    TextId Text = TextId::None;
    std::int32_t Amount = 0;
    bool operator==(const ValueAge&) const = default;
};

class clsValueAge {
public:
    /// The sensor has sent the value; its age counts from the next look.
    void Arrived() { m_state = State::Arrived; }
    /// Nothing is shown, or what a recording says: it has no age.
    void Forget() { m_state = State::None; }
    /// The age of a value that is stale: older than `fresh_s`, or, with a closed port, at once. Empty for a fresh value
    /// and where there is none.
    std::optional<ValueAge> Look(double now_s, double fresh_s, bool portIsOpen);

private:
    enum class State : std::uint8_t { None, Arrived, Counting };

    State m_state = State::None;
    double m_arrival_s = 0.0;
};

/// So long a value is a fresh one.
inline constexpr double kFresh_s = 3.0;

/// The same for a temperature: one that is read at intervals during the measurement may be as old as that.
inline constexpr double FreshTemperature_s(bool isPolled, std::int32_t interval_ms)
{
    return kFresh_s + (isPolled ? interval_ms / 1000.0 : 0.0);
}
