// Where the curve of a played recording is not joined: at the gaps that its sidecar lists and, as far as those are not
// known, at times without lines that stand out.
#pragma once

#include "store/RecordingInfo.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

class clsPlayedGaps {
public:
    /// Without `info` or without its end, the program may have been killed before it listed the gaps; of very many gaps
    /// it lists the longest. Then a step of more than a second is one, too, if it is more than five times the median of
    /// the last hundred. Where the list is complete it decides alone: single values that an operator has asked for
    /// belong together.
    explicit clsPlayedGaps(const RecordingInfo* info);
    /// The recording goes on in another file with another sidecar, or none.
    void GoOn(const RecordingInfo* info);

    /// Whether a gap lies between the line before and the line at `time`. Ask for each line in their order. Most lines
    /// are of the same second as the one before, which nearly always says enough.
    bool LiesBefore(double time, bool sameSecond)
    {
        const bool found = !(sameSecond && m_trustsSeconds) && isGap(time);
        m_times[m_next++] = time;
        return found;
    }
    /// Why, after `LiesBefore` has found a gap. `Unknown` if no sidecar lists it.
    GapReason Reason() const { return m_reason; }

private:
    using Times = std::array<double, 256>; // more than a hundred: several lines may have the same time
    static constexpr Times noTimes()
    {
        Times times;
        times.fill(std::numeric_limits<double>::quiet_NaN());
        return times;
    }

    struct Listed {
        double from = 0.0;
        double firstEnd = 0.0; ///< of this gap and all that begin later
        GapReason reason = GapReason::NoEcho;
    };

    bool isGap(double time);
    const Listed* listedBetween(double from, double to) const;
    bool standsOut(double step) const;

    std::vector<Listed> m_listed; ///< in the order of `from`
    bool m_judgesSteps = true;
    bool m_setBack = false;                                      ///< the clock was
    GapReason m_reason = GapReason::Unknown;                     ///< of the last gap found
    bool m_trustsSeconds = true;                                 ///< no listed gap lies within a second
    double m_shortest = std::numeric_limits<double>::infinity(); ///< listed, in days
    Times m_times = noTimes(); ///< a ring; no number is longer or shorter than a time that has not come
    std::uint8_t m_next = 0;   ///< runs over where the ring begins anew
};
