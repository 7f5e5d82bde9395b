// When a sensor gets its next tick. A session needs twenty a second on average, and values are read in ticks: so they
// come right behind the bytes, as soon as the line pauses, and a value does not wait for a beat that it knows nothing
// of.
#pragma once

#include <optional>

class clsTickPhase {
public:
    static constexpr double kInterval_s = 0.05;
    /// A line that says nothing for so long has said what it had to say. Drivers pass on a reply in pieces: a tick
    /// between two of them would have the value wait for the next one.
    static constexpr double kPause_s = 0.006;
    /// The same of a sensor that speaks in lines, which will end.
    static constexpr double kPauseInLine_s = 0.02;

    /// Times are seconds on a steady scale.
    explicit clsTickPhase(double now_s) : m_owedAt_s(now_s) {}

    /// Bytes have come; whether the last of them ends a line of text, so that nothing is to be waited for.
    void Arrived(double now_s, bool endsLine);
    /// When the next tick is due, as far as is known now.
    double Due_s() const;
    /// The tick is made.
    void Ticked(double now_s);

private:
    /// After bytes a tick may come so many intervals early. In return the next one without bytes comes late.
    static constexpr double kEarly = 0.5;
    /// A sensor that is somewhat faster than the ticks has them at its own pace, up to 25 a second.
    static constexpr double kFastest_s = 0.04;
    /// What is missed when the program is held up does not come in a burst.
    static constexpr double kMostOwed = 1.5;

    double m_owedAt_s;   ///< when ...
    double m_owed = 1.0; ///< ... so many ticks were missing; less than 0: they are ahead
    double m_lastTick_s = -1e9;
    std::optional<double> m_complete_s; ///< when what has come since the last tick is taken for complete
    bool m_speaksInLines = false, m_isInLine = false;
};
