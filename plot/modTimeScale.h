// The scale of a time axis whose span goes from years to a millisecond: ticks at round times of the clock, with texts
// that read as times, and the places where the clock was set. Pure functions.
#pragma once

#include "plot/clsTimeLine.h"

#include <cstdint>
#include <string>
#include <vector>

namespace modTimeScale {

/// What lies between two ticks.
struct Step {
    enum class Unit { Clock, Day, Month, Year };
    Unit unit = Unit::Clock;
    std::int64_t count = 1; ///< of the unit; of the clock: tenths of a millisecond
    bool operator==(const Step&) const = default;
};

/// A tick stands at a round time. Its text is what changes from tick to tick; `below` is what the texts leave out, at
/// the first tick and at each that has another.
struct Tick {
    double place = 0.0; ///< on the time axis
    std::string text;   ///< "06:00", "13:05:07", ".250", "15.11.", "2026"
    std::string below;  ///< "15.11.2026", "2026", "15.11.2026 13:05:07", or nothing
};

/// The smallest step that fits at most `divisions` times into a span of so many milliseconds.
Step StepFor(double span_ms, std::int32_t divisions);
/// As wide as any text of such a tick.
std::string WidestText(const Step& step);

/// The ticks from one place to another. In each stretch between two changes of the clock they stand at that stretch's
/// times. Where there are more changes than signs, they stand at even distances instead, with what the clock said
/// there. None for times outside the years 100 to 9999.
std::vector<Tick> TicksOf(double begin, double end, const clsTimeLine& times, const Step& step, char decimalSeparator);

/// Where the clock was set, and by how much it was put forward; the first few.
struct ClockChange {
    double place = 0.0;
    std::string by; ///< "+1 h", "-1 h", "+3 min", "-12 s", "-200 ms"
};
std::vector<ClockChange> ClockChanges(double begin, double end, const clsTimeLine& times);

/// The step, in seconds, of an axis that counts back from now, for more than a few minutes: a round number of seconds,
/// minutes, hours or days that fits at most `divisions` times into the span.
double DurationStep(double span_s, std::int32_t divisions);
/// A time before now with that step: "-5:00" (minutes and seconds) in a span below an hour, "-6:00:00" below two days,
/// "-7 d" where the step is whole days.
std::string DurationText(double seconds, double span_s, double step_s);
/// How the texts above are to be read: "min:s", "h:min:s" or "d".
std::string DurationFormat(double span_s, double step_s);

} // namespace modTimeScale
