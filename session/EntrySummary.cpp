#include "session/EntrySummary.h"

#include <algorithm>
#include <utility>

namespace {

std::uint16_t EntrySummary::*countOf(EntryKind kind)
{
    switch (kind) {
    case EntryKind::Distance:
        return &EntrySummary::distances;
    case EntryKind::Zero:
        return &EntrySummary::zeros;
    case EntryKind::NoEcho:
        return &EntrySummary::noEcho;
    case EntryKind::TempError:
        return &EntrySummary::tempError;
    case EntryKind::Gap:
        break;
    }
    return &EntrySummary::gaps;
}

/// The later of two marks, if there are any.
std::uint8_t later(std::uint8_t before, std::uint8_t behind)
{
    return behind == EntrySummary::kNoReason ? before : behind;
}

/// What a single entry comes down to.
EntrySummary summaryOf(const PackedEntry& entry)
{
    EntrySummary one;
    const EntryKind kind = KindOf(entry);
    one.begin = entry.time;
    one.*countOf(kind) = 1;
    if (kind == EntryKind::Distance) {
        one.minimum = one.maximum = one.first = one.last = entry.value;
        one.firstDistance = one.lastDistance = entry.time;
        return one;
    }
    one.breaksBefore = one.breaksBehind = true;
    one.shownBreaksBefore = one.shownBreaksBehind = kind != EntryKind::Zero;
    one.firstIsZero = one.lastIsZero = kind == EntryKind::Zero;
    if (kind == EntryKind::Gap) {
        one.reasonBefore = one.reasonBehind = static_cast<std::uint8_t>(entry.value - kFirstGap);
    }
    return one;
}

/// A run of nothing but distances of the usual kind, which is nearly always so.
bool isPlain(std::span<const PackedEntry> entries, EntrySummary& run)
{
    std::int32_t minimum = entries.front().value, maximum = minimum;
    for (const PackedEntry& entry : entries) {
        minimum = std::min(minimum, entry.value);
        maximum = std::max(maximum, entry.value);
    }
    if (minimum <= 0 || maximum >= kMarkerTempError) {
        return false;
    }
    run.minimum = minimum;
    run.maximum = maximum;
    run.first = entries.front().value;
    run.last = entries.back().value;
    run.begin = run.firstDistance = entries.front().time;
    run.lastDistance = entries.back().time;
    run.distances = static_cast<std::uint16_t>(entries.size());
    return true;
}

} // namespace

void EntrySummary::Append(std::span<const PackedEntry> entries)
{
    if (entries.empty()) {
        return;
    }
    EntrySummary run;
    if (isPlain(entries, run)) {
        Append(run);
        return;
    }
    for (const PackedEntry& entry : entries) {
        if (KindOf(entry) == EntryKind::Distance && distances > 0 && !breaksBehind && !lastIsZero) {
            ++distances;
            minimum = std::min(minimum, entry.value);
            maximum = std::max(maximum, entry.value);
            last = entry.value;
            lastDistance = entry.time;
        } else {
            Append(summaryOf(entry));
        }
    }
}

void EntrySummary::Append(const EntrySummary& next)
{
    if (Entries() == 0 || next.Entries() == 0) {
        if (Entries() == 0) {
            *this = next;
        }
        return;
    }
    const bool isBroken = breaksBehind || next.breaksBefore;
    const std::uint8_t reason = later(reasonBehind, next.reasonBefore);
    if (next.distances == 0) {
        breaksBehind = true;
        reasonBehind = reason;
        if (distances == 0) {
            reasonBefore = reason;
        }
    } else {
        if (distances == 0) {
            first = next.first;
            firstDistance = next.firstDistance;
            breaksBefore = true;
            reasonBefore = reason;
        } else if (isBroken && (!breaksWithin || next.firstDistance - lastDistance > longest)) {
            longest = next.firstDistance - lastDistance;
            longestFrom = lastDistance;
            longestReason = reason;
        }
        if (next.breaksWithin && (!(breaksWithin || (isBroken && distances > 0)) || next.longest > longest)) {
            longest = next.longest;
            longestFrom = next.longestFrom;
            longestReason = next.longestReason;
        }
        breaksWithin = breaksWithin || next.breaksWithin || (isBroken && distances > 0);
        last = next.last;
        lastDistance = next.lastDistance;
        breaksBehind = next.breaksBehind;
        reasonBehind = next.reasonBehind;
    }
    const bool isShown = distances + zeros > 0, nextIsShown = next.distances + next.zeros > 0;
    const bool shownIsBroken = shownBreaksBehind || next.shownBreaksBefore;
    if (!nextIsShown) {
        shownBreaksBehind = true;
    } else {
        shownBreaksWithin = shownBreaksWithin || next.shownBreaksWithin || (isShown && shownIsBroken);
        shownBreaksBehind = next.shownBreaksBehind;
        lastIsZero = next.lastIsZero;
        if (!isShown) {
            shownBreaksBefore = true;
            firstIsZero = next.firstIsZero;
        }
    }
    minimum = std::min(minimum, next.minimum);
    maximum = std::max(maximum, next.maximum);
    for (const auto count : {&EntrySummary::distances, &EntrySummary::zeros, &EntrySummary::noEcho,
                             &EntrySummary::tempError, &EntrySummary::gaps}) {
        this->*count = static_cast<std::uint16_t>(this->*count + next.*count);
    }
}

namespace {

/// Adds up in `Wide`, which must be wide enough for the sum of all squares. `arePlain`: all of them are distances.
template <class Wide, bool arePlain>
EntrySums sumsOf(std::span<const PackedEntry> entries)
{
    const std::uint32_t begin = entries.front().time;
    Wide xx = 0, tt = 0, xt = 0;
    std::int64_t x = 0, t = 0;
    for (const PackedEntry& entry : entries) {
        const bool isDistance = arePlain || KindOf(entry) == EntryKind::Distance;
        const std::int64_t value = isDistance ? entry.value : 0, time = isDistance ? entry.time - begin : 0;
        x += value;
        t += time;
        xx += static_cast<Wide>(value) * value;
        tt += static_cast<Wide>(time) * time;
        xt += static_cast<Wide>(value) * time;
    }
    return {xx, tt, xt, x, t};
}

} // namespace

void EntrySums::Add(std::span<const PackedEntry> entries, const EntrySummary& run)
{
    if (run.distances == 0) {
        return;
    }
    constexpr std::int32_t kSmall = 1 << 24; // a square has 48 bits, so 32768 of them fit
    const std::uint32_t begin = entries.front().time;
    const bool areSmall = run.minimum > -kSmall && run.maximum < kSmall && entries.back().time - begin < kSmall;
    const EntrySums sums = !areSmall       ? sumsOf<Int128, false>(entries)
                           : run.IsPlain() ? sumsOf<std::int64_t, true>(entries)
                                           : sumsOf<std::int64_t, false>(entries);
    Add(sums.Moved(begin, 0, run.distances));
}

void EntrySums::Add(const EntrySums& other)
{
    xx += other.xx;
    tt += other.tt;
    xt += other.xt;
    x += other.x;
    t += other.t;
}

EntrySums EntrySums::Moved(std::int64_t by, std::int64_t less_mm, std::int64_t distances) const
{
    const Int128 wideBy = by, wideLess = less_mm;
    EntrySums moved;
    moved.xx = xx - 2 * wideLess * x + wideLess * wideLess * distances;
    moved.tt = tt + 2 * wideBy * t + wideBy * wideBy * distances;
    moved.xt = xt + wideBy * x - wideLess * t - wideBy * wideLess * distances;
    moved.x = x - less_mm * distances;
    moved.t = t + by * distances;
    return moved;
}

void clsColumnBuilder::Add(std::span<const PackedEntry> entries)
{
    if (EntrySummary run; !entries.empty() && isPlain(entries, run)) {
        add(run.first, run.last, run.minimum, run.maximum, run.distances);
        return;
    }
    for (const PackedEntry& entry : entries) {
        const EntryKind kind = KindOf(entry);
        if (kind == EntryKind::Distance || (kind == EntryKind::Zero && m_showZero)) {
            add(entry.value, entry.value, entry.value, entry.value, 1);
        } else {
            ++(kind == EntryKind::Gap         ? m_column->gaps
               : kind == EntryKind::TempError ? m_column->tempError
                                              : m_column->noEcho);
            m_isBroken = true;
        }
    }
}

void clsColumnBuilder::End()
{
    for (const Part& part : std::span(m_parts).first(std::exchange(m_partCount, 0))) {
        if (part.minimum < m_column->minimum || part.maximum > m_column->maximum) {
            for (const PackedEntry& entry : part.entries) {
                m_column->minimum = std::min(m_column->minimum, entry.value);
                m_column->maximum = std::max(m_column->maximum, entry.value);
            }
        }
    }
}

/// Joined to what comes next unless something else is noted.
void clsColumnBuilder::add(std::int32_t first, std::int32_t last, std::int32_t minimum, std::int32_t maximum,
                           std::int64_t count)
{
    if (m_column->valid == 0) {
        m_column->minimum = minimum;
        m_column->maximum = maximum;
        m_column->first = first;
        m_column->joinsBefore = !m_isBroken;
    } else {
        m_column->minimum = std::min(m_column->minimum, minimum);
        m_column->maximum = std::max(m_column->maximum, maximum);
        m_column->isWhole = m_column->isWhole && !m_isBroken;
    }
    m_column->valid += count;
    m_column->last = last;
    m_isBroken = false;
}

void clsColumnBuilder::Count(const EntrySummary& run)
{
    m_column->noEcho += run.noEcho + (m_showZero ? 0 : run.zeros);
    m_column->tempError += run.tempError;
    m_column->gaps += run.gaps;
}

void clsColumnBuilder::addShown(const EntrySummary& run, std::int32_t first, std::int64_t count)
{
    const bool hasZero = HasZero(run);
    add(first, lastOf(run), hasZero ? std::min(run.minimum, 0) : run.minimum,
        hasZero ? std::max(run.maximum, 0) : run.maximum, count);
    m_column->isWhole = m_column->isWhole && !(m_showZero ? run.shownBreaksWithin : run.breaksWithin);
}

void clsColumnBuilder::addOfAnyKind(const EntrySummary& run)
{
    Count(run);
    if (!IsShown(run)) {
        m_isBroken = m_isBroken || run.Entries() > 0;
        return;
    }
    m_isBroken = m_isBroken || (m_showZero ? run.shownBreaksBefore : run.breaksBefore);
    addShown(run, firstOf(run), countOf(run));
    EndParts(run);
}

void clsColumnBuilder::AddFirstPart(const EntrySummary& run)
{
    m_isBroken = m_isBroken || (m_showZero ? run.shownBreaksBefore : run.breaksBefore);
    addShown(run, firstOf(run), countOf(run));
    m_column->isCoarse = true;
}

void clsColumnBuilder::AddPart(const EntrySummary& run, bool isBroken)
{
    m_isBroken = isBroken;
    addShown(run, lastOf(run), 1);
    m_column->isCoarse = true;
}
