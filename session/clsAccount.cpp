#include "session/clsAccount.h"

#include "base/Days.h"

#include <algorithm>

namespace {

/// A value may be held back for some ticks before it is known, so a shorter stretch may not be a gap.
constexpr double kHeldBack = 0.5 / kSecondsPerDay;

std::int64_t AccountFigures::*figureOf(MeasurementKind kind)
{
    switch (kind) {
    case MeasurementKind::NoEcho:
        return &AccountFigures::noEcho;
    case MeasurementKind::TempError:
        return &AccountFigures::tempError;
    case MeasurementKind::Distance:
        break;
    }
    return &AccountFigures::valid;
}

/// Samples that the chart has, too.
void addSamples(AccountFigures& figures, std::span<const Measurement> samples, std::int64_t sign)
{
    for (const Measurement& sample : samples) {
        for (const auto figure : {&AccountFigures::received, &AccountFigures::shown, figureOf(KindOf(sample))}) {
            figures.*figure += sign;
        }
    }
}

} // namespace

void clsAccount::Begin()
{
    m_run = {m_now, {}};
    m_run_s = 0.0;
    m_slot = 0;
    m_slots.fill({});
    m_isLineLost = false;
    m_finder.Measuring(true);
}

void clsAccount::Damaged(std::int64_t number)
{
    if (number > 0) {
        count(&AccountFigures::received, number);
        count(&AccountFigures::damaged, number);
        m_finder.Note(GapReason::Damage);
    }
}

void clsAccount::Received(std::span<const Measurement> samples)
{
    m_ended.clear();
    m_isLineLost = m_isLineLost && samples.empty();
    for (const Measurement& sample : samples) {
        const MeasurementKind kind = KindOf(sample);
        const bool isDistance = kind == MeasurementKind::Distance;
        count(&AccountFigures::received, 1);
        count(figureOf(kind), 1);
        if (isDistance) {
            lengthen(sample.time);
        }
        if (const auto gap = m_finder.Received(sample.time, isDistance)) {
            m_recordingGaps.Add(cutToRecording(*gap));
            m_ended.push_back(*gap);
        }
        m_recordingHasDistance = m_recordingHasDistance || isDistance;
    }
}

void clsAccount::LineLost()
{
    if (IsMeasuring()) {
        count(&AccountFigures::lineLost, m_isLineLost ? 0 : 1);
        m_isLineLost = true;
        m_finder.Note(GapReason::LineLost);
    }
}

void clsAccount::Interrupted(GapReason reason)
{
    m_finder.Note(reason);
}

void clsAccount::ClockJumped(double days)
{
    if (IsMeasuring()) {
        count(&AccountFigures::clockJumps, 1);
    } else {
        ++m_recording.figures.clockJumps; // its times are wrong in any case
    }
    // The replies of the present tick came before or after; a jump is much longer than a tick.
    m_finder.ShiftClock(days, m_now + days / 2);
    for (double* time : {&m_run.begin, &m_recording.begin, &m_now}) {
        *time += days;
    }
}

void clsAccount::Advance(double now)
{
    m_run_s += m_now == 0.0 ? 0.0 : (now - m_now) * kSecondsPerDay;
    m_now = now;
    if (m_finder.Since() && now - *m_finder.Since() > kHeldBack) {
        lengthen(now);
    }
    const auto reached = static_cast<std::int64_t>(m_run_s / kSlot_s);
    for (m_slot = std::max(m_slot, reached - kSlots); m_slot < reached;) {
        ++m_slot;
        slot() = {};
    }
}

void clsAccount::BeginRecording(std::span<const Measurement> first)
{
    m_recordedFrom = first.empty() ? m_now : first.front().time;
    m_recording = {m_recordedFrom, {}};
    m_recordingHasDistance = false;
    m_recordingGaps.Clear();
    addSamples(m_recording.figures, first, 1);
    for (const Gap& gap : first.empty() ? std::span<const Gap>() : Ended()) {
        if (gap.to > m_recordedFrom) {
            m_recordingGaps.Add(cutToRecording(gap));
            double& longest_ms = m_recording.figures.longestGap_ms;
            longest_ms = std::max(longest_ms, Length_ms(m_recordingGaps.Gaps().back()));
        }
    }
    m_recordingHasDistance = std::ranges::any_of(
        first, [](const Measurement& sample) { return KindOf(sample) == MeasurementKind::Distance; });
}

AccountFigures clsAccount::Recording(std::span<const Measurement> behind) const
{
    AccountFigures figures = m_recording.figures;
    addSamples(figures, behind, -1);
    return figures;
}

void clsAccount::Recorded(std::int64_t recorded, std::int64_t passedOver, std::int64_t unwritten)
{
    count(&AccountFigures::recorded, recorded);
    count(&AccountFigures::passedOver, passedOver);
    count(&AccountFigures::unwritten, unwritten);
}

AccountFigures clsAccount::Lately() const
{
    AccountFigures sum;
    for (const AccountFigures& part : m_slots) {
        for (const auto& [key, figure] : kAccountCounts) {
            sum.*figure += part.*figure;
        }
        sum.longestGap_ms = std::max(sum.longestGap_ms, part.longestGap_ms);
    }
    return sum;
}

double clsAccount::Lately_s() const
{
    return m_run_s - static_cast<double>(std::max<std::int64_t>(m_slot - kSlots + 1, 0)) * kSlot_s;
}

double clsAccount::PerSecond(std::int64_t AccountFigures::*figure) const
{
    std::int64_t sum = 0;
    for (const AccountFigures& part : m_slots) {
        sum += part.*figure;
    }
    return Lately_s() < kSlot_s ? 0.0 : static_cast<double>(sum) / Lately_s();
}

void clsAccount::count(std::int64_t AccountFigures::*figure, std::int64_t number)
{
    m_run.figures.*figure += number;
    m_recording.figures.*figure += number;
    slot().*figure += number;
}

/// No distance has come until then since the last one.
void clsAccount::lengthen(double until)
{
    if (const auto since = m_finder.Since()) {
        const auto longest_ms = [&](AccountFigures& figures, double begin) {
            figures.longestGap_ms = std::max(figures.longestGap_ms, (until - std::max(*since, begin)) * kMsPerDay);
        };
        longest_ms(m_run.figures, m_run.begin);
        longest_ms(m_recording.figures, m_recording.begin);
        longest_ms(slot(), m_run.begin);
    }
}

std::vector<Gap> clsAccount::RecordingGaps(std::span<const Measurement> behind) const
{
    std::vector<Gap> gaps(m_recordingGaps.Gaps().begin(), m_recordingGaps.Gaps().end());
    if (const auto open = m_finder.Open(m_now)) {
        gaps.push_back(cutToRecording(*open));
    }
    if (!behind.empty()) {
        const double end = behind.front().time;
        std::erase_if(gaps, [end](const Gap& gap) { return gap.from >= end && gap.to >= end; });
        for (Gap& gap : gaps) {
            gap.to = std::min(gap.to, end);
        }
    }
    return gaps;
}

/// The first one may have begun before the recording.
Gap clsAccount::cutToRecording(const Gap& gap) const
{
    return {m_recordingHasDistance ? gap.from : std::max(gap.from, m_recordedFrom), gap.to, gap.reason};
}
