// The time axis of what was measured: the order in which values came is the order of time. A clock that is set back
// would put later values before earlier ones, so a place on this axis is the clock's time plus a shift, which changes
// where the clock was set: the axis goes on, its labels step back.
#pragma once

#include "base/Days.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class clsTimeLine {
public:
    /// Shifts are a whole number of these.
    static constexpr double kTicksPerDay = 10.0 * kMsPerDay;
    /// Clocks that are set more often do not begin stretches any more.
    static constexpr std::size_t kMostStretches = 16384;
    /// No place is beyond.
    static constexpr double kMostPlace = 1e7;

    /// A stretch in which the clock was not set.
    struct Stretch {
        double begin = 0.0; ///< the place of its first value
        double shift = 0.0; ///< place = time + shift, days
        bool operator==(const Stretch&) const = default;
    };

    /// Takes up the next time (days since 1899-12-30, local time) and returns its place, which is never before the last
    /// one. `clockSet`: the clock is known to have been set since the last one. Without it, a step back, and a step of
    /// one hour forward at a full hour (summer time begins), count as a clock that was set. The axis then goes on after
    /// the usual time between two values, or, if the step is known to be one hour, after the time that has passed. A
    /// time outside the calendar says nothing: it counts as the one before.
    double Add(double time, bool clockSet = false)
    {
        if (clockSet || !Continues(time)) {
            step(time, clockSet);
        }
        return last();
    }
    /// Takes up a time that follows the last one without anything special; otherwise false and no change.
    bool Continues(double time)
    {
        const double step = time - m_lastTime;
        if (!(step >= 0.0 && step < m_usual && time < kEndOfDays)) {
            return false;
        }
        m_step = step;
        m_lastTime = time;
        return true;
    }

    /// The time that was taken up last, and the shift of its stretch.
    double LastTime() const { return m_lastTime; }
    double Shift() const { return m_shift; }
    /// How often the clock was set, whether or not a stretch began.
    std::int64_t ClockSettings() const { return m_settings; }

    /// The clock's time at a place, and the place of a time: in the last stretch that has it.
    double TimeOf(double place) const;
    double PlaceOf(double time) const;

    /// In order; more than one where the clock was set.
    std::span<const Stretch> Stretches() const { return m_stretches; }
    std::size_t Bytes() const { return m_stretches.capacity() * sizeof(Stretch); }
    void Clear() { *this = {}; }

private:
    static constexpr double kUsual = 0.03; ///< days; less than an hour

    double last() const { return m_usual > 0.0 ? m_lastTime + m_shift : m_last; }
    void step(double time, bool clockSet);
    void beginStretch(double time, double place);

    std::vector<Stretch> m_stretches;
    double m_last = 0.0;     ///< the last place, as far as it does not follow from the time
    double m_lastTime = 0.0; ///< the last time
    double m_step = 0.0;     ///< between the last two times
    double m_shift = 0.0;    ///< of the last stretch
    double m_usual = 0.0;    ///< a shorter step is nothing special; 0 while places stand still
    std::int64_t m_settings = 0;
};
