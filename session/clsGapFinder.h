// Finds the gaps between the distances of a sensor, and says why they are there.
#pragma once

#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// A gap begins with the last distance before it and ends with the first one after it. There is one when something was
/// noted that takes distances away, or when nothing has come for much longer than usual. The strongest reason counts:
/// clock changed, line lost, stopped, temperature poll, damage, no echo.
/// Times are days, local time.
class clsGapFinder {
public:
    /// Continuous measurement was started or stopped. While nothing is measured, a long silence is no fault of the
    /// line.
    void Measuring(bool measuring);
    bool IsMeasuring() const { return m_measuring; }
    /// Something has happened that takes distances away until the next one. Damage is noted before the replies that
    /// came with it, and makes a gap only if a reply is missing among them: noise between two replies takes nothing.
    void Note(GapReason reason);
    /// The clock was set by this many days. Replies whose time is before `since` still belong to the old clock: they
    /// came before it was set forward, and are told after that.
    void ShiftClock(double days, double since);
    /// A reply has come; returns the gap that it ends.
    std::optional<Gap> Received(double time, bool isDistance);

    /// The gap that is open now; its end is `now`.
    std::optional<Gap> Open(double now) const;
    /// When the running stretch without a distance began, in the time of the present clock: at the last distance, or at
    /// the first reply after the start. Empty while nothing is measured.
    std::optional<double> Since() const
    {
        return m_measuring && m_since ? std::optional(*m_since + m_setForward) : std::nullopt;
    }

private:
    static constexpr std::size_t kKnown = 32; ///< times between replies

    std::optional<GapReason> reasonAt(double time) const;
    void useNewClock();
    /// Whether nothing is known that would keep replies from coming.
    bool isUnexplained() const { return !m_reason || *m_reason == GapReason::NoEcho; }
    std::optional<double> usual(double share) const;

    bool m_measuring = false;
    std::optional<double> m_from;  ///< the last distance, as the clock was then
    std::optional<double> m_since; ///< the same by the present clock, within one measurement
    std::optional<double> m_lastReply;
    double m_setForward = 0.0;         ///< days by which the clock was set, while replies of the old one may follow
    double m_newClock = 0.0;           ///< replies from here on are of the new one
    std::optional<GapReason> m_reason; ///< noted since, the strongest
    std::int32_t m_damageFades = 0;    ///< replies for which damage is still remembered
    std::array<double, kKnown> m_intervals{};
    std::size_t m_learned = 0;
};

/// Of the gaps that a row of samples has ended: takes those that this sample has ended off the front. Call it for each
/// sample in turn.
std::span<const Gap> TakeEndedBy(const Measurement& sample, std::span<const Gap>& ended);
/// Whether the clock was set meanwhile.
bool IsClockSetIn(std::span<const Gap> gaps);
