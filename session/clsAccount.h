// Counts what becomes of everything that a sensor sends, and keeps the gaps between its distances. The loop and the
// recorder report; front ends read. It has no clock: times are days, local time.
#pragma once

#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"
#include "session/clsGapFinder.h"
#include "session/clsGapLog.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class clsAccount {
public:
    static constexpr double kWindow_s = 10.0;

    // What the loop reports.
    /// A measurement was started: everything is counted anew. A recording and its list of gaps go on.
    void Begin();
    /// The operator has stopped measuring.
    void Stop() { m_finder.Measuring(false); }
    bool IsMeasuring() const { return m_finder.IsMeasuring(); }
    void Bytes(std::size_t number) { count(&AccountFigures::bytes, static_cast<std::int64_t>(number)); }
    /// Replies that were given up. Report them before those that were understood together with them.
    void Damaged(std::int64_t count);
    /// Replies that were understood, in their order.
    void Received(std::span<const Measurement> samples);
    /// A reply was passed on to the chart.
    void Shown() { count(&AccountFigures::shown, 1); }
    /// There is no line to the sensor. While measuring it counts once, until the next reply.
    void LineLost();
    /// Something keeps the sensor from measuring for a while.
    void Interrupted(GapReason reason);
    /// The clock was set by this many days. It counts while measuring, for a recording always.
    void ClockJumped(double days);
    /// The end of a tick.
    void Advance(double now);

    // What the recorder reports.
    /// A recording, or its next file, begins: `Recording` and `RecordingGaps` count from now on. Of the samples that
    /// the last `Received` has told, `first` are the first of it.
    void BeginRecording(std::span<const Measurement> first = {});
    /// What has become of samples that were received before. Report it while they are told, so that the figures add up
    /// at every moment.
    void Recorded(std::int64_t recorded, std::int64_t passedOver, std::int64_t unwritten);

    // What front ends read.
    /// Since `Begin`.
    const AccountFigures& Figures() const { return m_run.figures; }
    /// Over the last ten seconds; its longest gap is the longest that was open within them.
    AccountFigures Lately() const;
    /// The time that `Lately` covers: ten seconds, or less soon after `Begin`.
    double Lately_s() const;
    /// What came per second lately: `PerSecond(&AccountFigures::received)`; 0 in the first instant.
    double PerSecond(std::int64_t AccountFigures::*figure) const;
    /// Since `BeginRecording`; its longest gap lies within the recording. `behind` are the newest samples, which belong
    /// to the next file and do not count.
    AccountFigures Recording(std::span<const Measurement> behind = {}) const;
    /// The gaps since `BeginRecording` and the one that is open now, cut to the recording and in front of `behind`.
    /// `RecordingGapLog` says whether short ones were dropped.
    std::vector<Gap> RecordingGaps(std::span<const Measurement> behind = {}) const;
    const clsGapLog& RecordingGapLog() const { return m_recordingGaps; }
    /// The gaps that the last `Received` has ended.
    std::span<const Gap> Ended() const { return m_ended; }

private:
    struct Period {
        double begin = 0.0; ///< by the present clock
        AccountFigures figures;
    };
    static constexpr std::int64_t kSlots = 100; ///< of a tenth of a second
    static constexpr double kSlot_s = kWindow_s / static_cast<double>(kSlots);

    void count(std::int64_t AccountFigures::*figure, std::int64_t number);
    void lengthen(double until);
    AccountFigures& slot() { return m_slots[static_cast<std::size_t>(m_slot % kSlots)]; }
    Gap cutToRecording(const Gap& gap) const;

    Period m_run, m_recording;
    std::array<AccountFigures, kSlots> m_slots{}; ///< a ring
    std::int64_t m_slot = 0;                      ///< since `Begin`, the one that is filled now
    double m_now = 0.0;                           ///< of the last tick
    double m_run_s = 0.0;                         ///< since `Begin`, whatever the clock says
    double m_recordedFrom = 0.0;                  ///< as the clock was then
    bool m_recordingHasDistance = false;
    bool m_isLineLost = false;
    clsGapFinder m_finder;
    clsGapLog m_recordingGaps;
    std::vector<Gap> m_ended;
};
