// Where the curve of a played recording is not joined: at the gaps that its sidecar lists and, as far as those are not
// known, at times without lines that stand out.
#pragma once

#include "store/RecordingInfo.h"

#include <array>
#include <cstddef>
#include <limits>
#include <vector>

class clsPlayedGaps {
public:
    /// Without `info` or without its end, the program may have been killed before it listed the gaps. Then a step of
    /// more than a second is one, too, if it is more than five times the median of the last hundred. Where the list is
    /// complete it decides alone: single values that an operator has asked for belong together.
    explicit clsPlayedGaps(const RecordingInfo* info);

    /// Whether a gap lies between the line before and the line at `time`. Ask for each line in their order. Most lines
    /// are of the same second as the one before, which nearly always says enough.
    bool LiesBefore(double time, bool sameSecond)
    {
        const bool found = (!sameSecond || m_looksClosely) && isGap(time);
        m_times[m_count++ % kRemembered] = time;
        return found;
    }

private:
    // More than a hundred: several lines may have the same time.
    static constexpr std::size_t kRemembered = 256;

    bool isGap(double time) const;
    bool isListed(double from, double to) const;
    bool standsOut(double step) const;

    struct Listed {
        double from = 0.0;
        double firstEnd = 0.0; ///< of this gap and all that begin later
    };
    std::vector<Listed> m_listed; ///< in the order of `from`
    bool m_judgesSteps = true;
    bool m_setBack = false;                                      ///< the clock was
    bool m_looksClosely = false;                                 ///< a listed gap may lie within a second
    double m_shortest = std::numeric_limits<double>::infinity(); ///< listed, in days
    std::size_t m_count = 0;
    std::array<double, kRemembered> m_times{};
};
