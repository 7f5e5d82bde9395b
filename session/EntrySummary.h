// The entries of a history as they are stored, and what a run of them comes down to. Times count from the begin of the
// block that the entries belong to, in tenths of a millisecond.
#pragma once

#include "plot/ValueSummary.h"
#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

struct PackedEntry {
    std::uint32_t time = 0;
    std::int32_t value = 0; ///< millimetres, a marker, or one of the lowest numbers: a gap's reason
};

enum class EntryKind : std::uint8_t { Distance, Zero, NoEcho, TempError, Gap };

/// The lowest numbers are the marks of gaps.
inline constexpr std::int32_t kFirstGap = std::numeric_limits<std::int32_t>::min(), kLowestValue = kFirstGap + 7;

inline std::int32_t PackedGap(GapReason reason)
{
    return kFirstGap + static_cast<std::int32_t>(reason);
}
inline EntryKind KindOf(const PackedEntry& entry)
{
    if (entry.value > 0 && entry.value < kMarkerTempError) {
        return EntryKind::Distance;
    }
    return entry.value == 0                  ? EntryKind::Zero
           : entry.value == kMarkerNoEcho    ? EntryKind::NoEcho
           : entry.value == kMarkerTempError ? EntryKind::TempError
           : entry.value < kLowestValue      ? EntryKind::Gap
                                             : EntryKind::Distance;
}

/// A run of entries. A distance of 0 is none, except in what a chart draws that shows zeros.
struct EntrySummary {
    static constexpr std::uint8_t kNoReason = 255;

    std::int32_t minimum = std::numeric_limits<std::int32_t>::max(); ///< of the distances, as are the next three
    std::int32_t maximum = std::numeric_limits<std::int32_t>::min();
    std::int32_t first = 0, last = 0;
    std::uint32_t begin = 0;                           ///< the time of its first entry
    std::uint32_t firstDistance = 0, lastDistance = 0; ///< times
    std::uint32_t longest = 0, longestFrom = 0;        ///< the longest gap between two of its distances, and its begin
    std::uint16_t distances = 0, zeros = 0, noEcho = 0, tempError = 0, gaps = 0; ///< entries of each kind
    /// Something lies before its first distance, behind its last one, between two of them.
    bool breaksBefore : 1 = false, breaksBehind : 1 = false, breaksWithin : 1 = false;
    /// The same of what is drawn when zeros are shown, and whether that begins and ends with a zero.
    bool shownBreaksBefore : 1 = false, shownBreaksBehind : 1 = false, shownBreaksWithin : 1 = false;
    bool firstIsZero : 1 = false, lastIsZero : 1 = false;
    /// The last mark of a gap before its first distance (of all, if there is no distance), behind its last one, and
    /// within its longest gap.
    std::uint8_t reasonBefore = kNoReason, reasonBehind = kNoReason, longestReason = kNoReason;

    std::uint32_t Entries() const { return std::uint32_t{distances} + zeros + noEcho + tempError + gaps; }
    bool IsPlain() const { return distances == Entries(); }
    bool operator==(const EntrySummary&) const = default;

    void Append(std::span<const PackedEntry> entries);
    void Append(const EntrySummary& next);
};

inline GapReason ReasonOf(std::uint8_t reason)
{
    return reason == EntrySummary::kNoReason ? GapReason::NoEcho : static_cast<GapReason>(reason);
}

__extension__ using Int128 = __int128;

/// Exact sums over the distances of a run: x are millimetres, t times.
struct EntrySums {
    Int128 xx = 0, tt = 0, xt = 0;
    std::int64_t x = 0, t = 0;

    bool operator==(const EntrySums&) const = default;
    /// `run` is what the entries come down to.
    void Add(std::span<const PackedEntry> entries, const EntrySummary& run);
    void Add(const EntrySums& other);
    /// As if `by` were added to the times, and `less_mm` taken off the lengths, of the `distances` that were added up.
    EntrySums Moved(std::int64_t by, std::int64_t less_mm, std::int64_t distances) const;
};

/// Builds up the column of a picture from entries and summaries in their order.
class clsColumnBuilder {
public:
    clsColumnBuilder(bool showZero, bool isBroken) : m_showZero(showZero), m_isBroken(isBroken) {}
    void Begin(ValueSummary& column) { m_column = &column; }
    void Add(std::span<const PackedEntry> entries);
    /// The first part of a longer run, or its last one, which must last until `End`. Only if the run has lower or
    /// higher values than the rest of the column, all of the part is looked at: it mostly has to come from far.
    void AddPartOf(const EntrySummary& run, std::span<const PackedEntry> part, bool isFirst)
    {
        if (!run.IsPlain() || m_partCount == m_parts.size()) {
            Add(part);
            return;
        }
        const std::int32_t first = isFirst ? run.first : part.front().value,
                           last = isFirst ? part.back().value : run.last;
        add(first, last, first < last ? first : last, first < last ? last : first,
            static_cast<std::int64_t>(part.size()));
        m_parts[m_partCount++] = {part, run.minimum, run.maximum};
    }
    /// A whole column of `count` drawn values, without anything else that it has.
    void AddOutline(std::int32_t first, std::int32_t last, std::int32_t minimum, std::int32_t maximum,
                    std::int64_t count)
    {
        add(first, last, minimum, maximum, count);
    }
    void End();
    void Add(const EntrySummary& run)
    {
        if (run.IsPlain() && !m_isBroken && m_column->valid > 0) { // nearly always
            m_column->minimum = run.minimum < m_column->minimum ? run.minimum : m_column->minimum;
            m_column->maximum = run.maximum > m_column->maximum ? run.maximum : m_column->maximum;
            m_column->valid += run.distances;
            m_column->last = run.last;
        } else {
            addOfAnyKind(run);
        }
    }
    /// What of a run lies in a column, where it is not known how its values are spread over several columns: its first
    /// part, with what lies before its first distance, or one that goes on. `EndParts` ends the run.
    void AddFirstPart(const EntrySummary& run);
    void AddPart(const EntrySummary& run, bool isBroken);
    void EndParts(const EntrySummary& run) { m_isBroken = m_showZero ? run.shownBreaksBehind : run.breaksBehind; }
    /// Counts what a run has besides what is drawn.
    void Count(const EntrySummary& run);
    bool IsShown(const EntrySummary& run) const { return run.distances > 0 || HasZero(run); }
    bool HasZero(const EntrySummary& run) const { return m_showZero && run.zeros > 0; }

private:
    void addOfAnyKind(const EntrySummary& run);
    void addShown(const EntrySummary& run, std::int32_t first, std::int64_t count);
    std::int32_t firstOf(const EntrySummary& run) const { return m_showZero && run.firstIsZero ? 0 : run.first; }
    std::int32_t lastOf(const EntrySummary& run) const { return m_showZero && run.lastIsZero ? 0 : run.last; }
    std::int64_t countOf(const EntrySummary& run) const
    {
        return run.distances + (m_showZero ? std::int64_t{run.zeros} : 0);
    }
    void add(std::int32_t first, std::int32_t last, std::int32_t minimum, std::int32_t maximum, std::int64_t count);

    struct Part {
        std::span<const PackedEntry> entries;
        std::int32_t minimum = 0, maximum = 0; ///< of all of its run
    };

    ValueSummary* m_column = nullptr;
    bool m_showZero, m_isBroken;
    std::array<Part, 2> m_parts; ///< a column begins and ends with one
    std::size_t m_partCount = 0;
};
