#include "session/modLargestJump.h"

#include <queue>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

namespace modLargestJump {

namespace {

constexpr std::size_t kWalked = 256; // entries that are looked at one by one
constexpr std::int32_t kParts = 64;  // into which a longer stretch is split

/// A stretch, and how large a jump in it can be.
struct Candidate {
    std::int64_t most = 0;
    PlaceRange range;
    bool operator<(const Candidate& other) const
    {
        return most != other.most ? most < other.most : range.begin > other.range.begin;
    }
};
using Candidates = std::priority_queue<Candidate>;

bool isDistance(const HistoryEntry& entry)
{
    return entry.isKnown && !entry.gap && entry.kind == MeasurementKind::Distance;
}

/// Looks at the entries of a stretch, and at the one before it if that lies in `within`.
void walk(const clsHistory& history, const PlaceRange& range, const PlaceRange& within, std::optional<Jump>& found)
{
    const std::size_t first = history.IndexAt(range.begin);
    const std::size_t behind = first + history.CountIn(range);
    std::optional<HistoryEntry> before;
    if (first > 0 && first < behind) {
        const HistoryEntry entry = history.At(first - 1);
        before = isDistance(entry) && entry.place >= within.begin ? std::optional(entry) : std::nullopt;
    }
    for (std::size_t i = first; i < behind; ++i) {
        const HistoryEntry entry = history.At(i);
        if (!isDistance(entry)) {
            before.reset();
            continue;
        }
        if (before && before->value_mm != entry.value_mm) {
            const Jump jump{before->place, entry.place, before->value_mm, entry.value_mm};
            if (!found || jump.Size_mm() > found->Size_mm() ||
                (jump.Size_mm() == found->Size_mm() && jump.to < found->to)) {
                found = jump;
            }
        }
        before = entry;
    }
}

/// A jump is at most as large as its column and the value that a line joins it with.
void split(const clsHistory& history, const PlaceRange& range, std::vector<ValueSummary>& columns,
           Candidates& candidates)
{
    TimeWindow window{.perDay = kParts / range.Length(), .columns = kParts + 2};
    window.first = std::floor(range.begin * window.perDay);
    history.Columns(window, true, columns);
    std::optional<std::int32_t> last;
    for (std::int32_t i = 0; i < window.columns; ++i) {
        const ValueSummary& column = columns[static_cast<std::size_t>(i)];
        if (column.valid == 0) {
            last = column.IsEmpty() ? last : std::nullopt;
            continue;
        }
        std::int64_t low = column.minimum, high = column.maximum;
        if (column.joinsBefore) {
            // What the first column is joined with is not known: it must be looked at.
            const std::int32_t before = last.value_or(column.first);
            low = std::min<std::int64_t>(low, before);
            high = std::max<std::int64_t>(high, before);
        }
        const bool isOpen = column.joinsBefore && !last;
        const PlaceRange part{std::max((window.first + i) / window.perDay, range.begin),
                              std::min((window.first + i + 1) / window.perDay, range.end)};
        if (part.begin <= part.end && (high > low || isOpen)) {
            candidates.push({isOpen ? INT64_MAX : high - low, part});
        }
        last = column.last;
    }
}

} // namespace

std::int64_t Jump::Size_mm() const
{
    return std::abs(static_cast<std::int64_t>(to_mm) - from_mm);
}

std::optional<Jump> Find(const clsHistory& history, const PlaceRange& range)
{
    std::optional<Jump> found;
    std::vector<ValueSummary> columns;
    Candidates candidates;
    candidates.push({INT64_MAX, range});
    while (!candidates.empty()) {
        const Candidate next = candidates.top();
        candidates.pop();
        if (found && next.most < found->Size_mm()) {
            break;
        }
        const bool cannotSplit = next.range.Length() * clsHistory::kTicksPerDay < kParts;
        if (cannotSplit || history.CountIn(next.range) <= kWalked) {
            walk(history, next.range, range, found);
        } else {
            split(history, next.range, columns, candidates);
        }
    }
    return found;
}

} // namespace modLargestJump
