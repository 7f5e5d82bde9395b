#include "session/clsGapFinder.h"

#include "base/Days.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double kSilence = 1.0 / kSecondsPerDay; // shorter ones are never a gap by themselves
constexpr double kSilenceToUsual = 5.0;
constexpr double kMissingToUsual = 1.5;  // a missing reply doubles the time
constexpr double kUsual = 0.5;           // half of the times are shorter
constexpr double kMostly = 0.9;          // replies that are read in groups come at uneven times
constexpr std::size_t kFewest = 8;       // times that say what is usual
constexpr std::int32_t kDamageFades = 8; // replies

int strengthOf(GapReason reason)
{
    switch (reason) {
    case GapReason::NoEcho:
        return 0;
    case GapReason::Damage:
        return 1;
    case GapReason::TemperaturePoll:
        return 2;
    case GapReason::Stopped:
        return 3;
    case GapReason::LineLost:
        return 4;
    case GapReason::ClockChanged:
        return 5;
    case GapReason::Unknown:
        break;
    }
    return 0;
}

void strengthen(std::optional<GapReason>& reason, GapReason other)
{
    if (!reason || strengthOf(other) > strengthOf(*reason)) {
        reason = other;
    }
}

} // namespace

void clsGapFinder::Measuring(bool measuring)
{
    if (std::exchange(m_measuring, measuring) == measuring) {
        return;
    }
    Note(GapReason::Stopped);
    m_since.reset(); // the time until the sensor has started is no gap
    m_lastReply.reset();
    m_learned = 0;
}

void clsGapFinder::Note(GapReason reason)
{
    if (reason == GapReason::Damage) {
        m_damageFades = kDamageFades;
    } else if (m_from) {
        strengthen(m_reason, reason);
    }
}

void clsGapFinder::ShiftClock(double days, double since)
{
    m_setForward += days;
    m_newClock = since;
    if (days < 0.0) {
        useNewClock();
    }
}

void clsGapFinder::useNewClock()
{
    const double days = std::exchange(m_setForward, 0.0);
    for (std::optional<double>* time : {&m_since, &m_lastReply}) {
        if (*time) {
            **time += days;
        }
    }
    Note(GapReason::ClockChanged);
}

std::optional<Gap> clsGapFinder::Received(double time, bool isDistance)
{
    if (m_setForward != 0.0 && time >= m_newClock) {
        useNewClock();
    }
    const auto reason = reasonAt(time);
    if (const auto last = std::exchange(m_lastReply, time); last && isUnexplained() && m_damageFades == 0) {
        m_intervals[m_learned++ % kKnown] = time - *last;
    }
    m_damageFades = std::max(m_damageFades - 1, 0);
    if (!isDistance) {
        m_since = m_since.value_or(time);
        m_from = m_from.value_or(time);
        m_reason = reason;
        Note(GapReason::NoEcho);
        return std::nullopt;
    }
    m_since = time;
    m_reason.reset();
    const double from = std::exchange(m_from, time).value_or(time);
    return reason ? std::optional(Gap{from, time, *reason}) : std::nullopt;
}

std::optional<Gap> clsGapFinder::Open(double now) const
{
    const auto reason = m_setForward != 0.0 ? GapReason::ClockChanged : reasonAt(now);
    return m_from && reason ? std::optional(Gap{*m_from, now, *reason}) : std::nullopt;
}

/// Why there would be no distance from the last one to this time.
std::optional<GapReason> clsGapFinder::reasonAt(double time) const
{
    std::optional<GapReason> reason = m_reason;
    const double silence = time - m_lastReply.value_or(time);
    if (!m_measuring) {
        if (silence > kSilence) {
            strengthen(reason, GapReason::Stopped);
        }
    } else if (m_damageFades > 0) {
        if (silence > kMissingToUsual * usual(kMostly).value_or(0.0)) {
            strengthen(reason, GapReason::Damage);
        }
    } else if (const auto usually = usual(kUsual); usually && isUnexplained()) {
        if (silence > std::max(kSilence, kSilenceToUsual * *usually)) {
            strengthen(reason, GapReason::LineLost); // too short for the dialogue to notice
        }
    }
    return reason;
}

/// The time between replies that this share of the last ones does not exceed.
std::optional<double> clsGapFinder::usual(double share) const
{
    const std::size_t known = std::min(m_learned, kKnown);
    if (known < kFewest) {
        return std::nullopt;
    }
    std::array<double, kKnown> sorted = m_intervals;
    const auto at = sorted.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(known));
    std::nth_element(sorted.begin(), at, sorted.begin() + static_cast<std::ptrdiff_t>(known));
    return *at;
}

std::span<const Gap> TakeEndedBy(const Measurement& sample, std::span<const Gap>& ended)
{
    const auto isOther = [&sample](const Gap& gap) { return gap.to != sample.time; };
    if (ended.empty() || KindOf(sample) != MeasurementKind::Distance) {
        return {};
    }
    const auto taken = static_cast<std::size_t>(std::ranges::find_if(ended, isOther) - ended.begin());
    const std::span<const Gap> front = ended.first(taken);
    ended = ended.subspan(taken);
    return front;
}

bool IsClockSetIn(std::span<const Gap> gaps)
{
    return std::ranges::any_of(gaps, [](const Gap& gap) { return gap.reason == GapReason::ClockChanged; });
}
