// The time axis of what was measured: the order in which values came is the order of time. A clock that is set back
// would put later values before earlier ones, so a place on this axis is the clock's time plus a shift, which changes
// where the clock was set: the axis goes on, its labels step back.
#pragma once

#include <span>
#include <vector>

class clsTimeLine {
public:
    /// A stretch in which the clock was not set.
    struct Stretch {
        double begin = 0.0; ///< the place of its first value
        double shift = 0.0; ///< place = time + shift, days
        bool operator==(const Stretch&) const = default;
    };

    /// Takes up the next time (days since 1899-12-30, local time) and returns its place, which is never before the last
    /// one. `clockSet`: the clock is known to have been set since the last one. Without it, a step back, and a step of
    /// exactly one hour forward at a full hour (summer time begins), count as a clock that was set.
    double Add(double time, bool clockSet = false);

    /// The clock's time at a place, and the place of a time: in the last stretch that has it.
    double TimeOf(double place) const;
    double PlaceOf(double time) const;

    /// In order; more than one where the clock was set.
    std::span<const Stretch> Stretches() const { return m_stretches; }
    void Clear() { *this = {}; }

private:
    std::vector<Stretch> m_stretches;
    double m_last = 0.0;     ///< the last place
    double m_lastTime = 0.0; ///< the last time
};
