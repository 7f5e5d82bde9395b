// What a chart asks of a history. Nothing goes through entries that a summary stands for.
#include "session/clsHistory.h"

#include <cmath>
#include <utility>

namespace {

constexpr double kMostPlace = 1.1 * clsTimeLine::kMostPlace; // no entry is there

double placeOf(std::int64_t tick)
{
    return static_cast<double>(tick) / clsHistory::kTicksPerDay;
}

} // namespace

/// The first tick whose place is not before a point in time; a NaN is before everything.
std::int64_t clsHistory::firstTickAt(double place)
{
    if (!(place > -kMostPlace)) {
        place = -kMostPlace;
    }
    place = std::min(place, kMostPlace);
    auto tick = static_cast<std::int64_t>(std::ceil(place * kTicksPerDay));
    // The product is rounded: places decide.
    while (placeOf(tick - 1) >= place) {
        --tick;
    }
    while (placeOf(tick) < place) {
        ++tick;
    }
    return tick;
}

/// The end of a range that was computed, as from a length, may lie a little before the place that is meant.
std::int64_t clsHistory::firstTickBehind(double place)
{
    constexpr double kSlack = 0.25 / clsHistory::kTicksPerDay;
    place = std::min(place + kSlack, kMostPlace);
    std::int64_t tick = firstTickAt(place);
    while (placeOf(tick) <= place) {
        ++tick;
    }
    return tick;
}

namespace {

/// From the first to the last.
struct PlacesOf {
    std::int64_t first = 0, last = 0;
};

} // namespace

/// The place of the last entry.
std::int64_t clsHistory::lastOf(const Block& block) const
{
    return block.begin + (block.isClosed ? block.last : m_lastOffset);
}

/// The first entry at or after a place.
clsHistory::Position clsHistory::find(std::int64_t tick, bool exactly) const
{
    const auto found = std::partition_point(m_blocks.begin(), m_blocks.end(),
                                            [&](const Block& block) { return lastOf(block) < tick; });
    Position at{static_cast<std::size_t>(found - m_blocks.begin())};
    if (found != m_blocks.end() && tick > found->begin) {
        at.index = levelsOf(*found, exactly).IndexOf(static_cast<std::uint32_t>(tick - found->begin));
        if (at.index == found->levels.Size()) {
            at = {at.block + 1};
        }
    }
    return at;
}

/// The same, but where there are summaries only, the begin of the one that may reach beyond the place.
clsHistory::Position clsHistory::findRun(std::int64_t tick, bool exactly) const
{
    Position at = find(tick, false);
    const bool isBehind = at.index == 0 && at.block > 0 && lastOf(m_blocks[at.block - 1]) >= tick;
    at.block -= isBehind ? 1 : 0;
    if (at.block == m_blocks.size() || tick <= m_blocks[at.block].begin) {
        return at;
    }
    const Block& block = m_blocks[at.block];
    const clsEntryLevels& levels = levelsOf(block, exactly);
    if (levels.HasEntries()) {
        return find(tick, exactly);
    }
    return {at.block, levels.RunAt(static_cast<std::uint32_t>(tick - block.begin))};
}

bool clsHistory::IsCoarse(const PlaceRange& range, std::int32_t columns) const
{
    const std::int64_t begin = firstTickAt(range.begin), end = firstTickBehind(range.end);
    const double column = static_cast<double>(end - begin) / std::max(columns, 1);
    const auto dropped = m_blocks.begin() + static_cast<std::ptrdiff_t>(m_dropped[0]);
    const auto isSeenCoarse = [&](const Block& block) {
        const double share = static_cast<double>(block.levels.RunLength()) / static_cast<double>(block.levels.Size());
        return lastOf(block) >= begin && block.begin < end && block.last * std::min(share, 1.0) > 2.0 * column;
    };
    return !mayReadAll(begin, end) && std::any_of(m_blocks.begin(), dropped, isSeenCoarse);
}

std::size_t clsHistory::indexOf(const Position& position) const
{
    return position.block < m_blocks.size()
               ? static_cast<std::size_t>(m_blocks[position.block].first - m_forgotten) + position.index
               : Size();
}

/// An index behind the newest entry gives the end.
clsHistory::Position clsHistory::positionOf(std::size_t index) const
{
    if (index >= Size()) {
        return {m_blocks.size()};
    }
    const std::int64_t number = m_forgotten + static_cast<std::int64_t>(index);
    const auto behind = std::ranges::upper_bound(m_blocks, number, {}, &Block::first);
    const auto block = static_cast<std::size_t>(behind - m_blocks.begin()) - 1;
    return {block, static_cast<std::size_t>(number - m_blocks[block].first)};
}

/// Whether all blocks between two places that are not in memory can be read again and kept.
bool clsHistory::mayReadAll(std::int64_t from, std::int64_t to) const
{
    const auto isBefore = [this](std::int64_t tick) {
        return [this, tick](const Block& block) { return lastOf(block) < tick; };
    };
    const auto dropped = m_blocks.begin() + static_cast<std::ptrdiff_t>(m_dropped[0]);
    const auto first = std::partition_point(m_blocks.begin(), dropped, isBefore(from));
    const auto last = std::partition_point(first, dropped, isBefore(to));
    return static_cast<std::size_t>(last - first) < m_mostReadAgain;
}

PlaceRange clsHistory::Range() const
{
    return IsEmpty() ? PlaceRange() : PlaceRange{placeOf(m_blocks.front().begin), placeOf(lastOf(m_blocks.back()))};
}

std::size_t clsHistory::IndexAt(double place) const
{
    return indexOf(find(firstTickAt(place)));
}

std::size_t clsHistory::CountIn(const PlaceRange& range) const
{
    const std::size_t first = IndexAt(range.begin), behind = indexOf(find(firstTickBehind(range.end)));
    return behind - std::min(first, behind);
}

std::optional<clsHistory::Position> clsHistory::lastDistanceBefore(Position position) const
{
    for (std::size_t block = position.block + 1; block-- > 0;) {
        if (block == m_blocks.size() || (m_blocks[block].isClosed && m_blocks[block].whole.distances == 0)) {
            continue;
        }
        const std::size_t size = BlockSize(block), behind = block == position.block ? position.index : size;
        const clsEntryLevels* levels = behind > 0 ? entriesOf(m_blocks[block]) : nullptr;
        const std::size_t found = levels != nullptr ? levels->LastDistanceBefore(behind) : size;
        if (found < size) {
            return Position{block, found};
        }
    }
    return std::nullopt;
}

std::optional<clsHistory::Position> clsHistory::firstDistanceFrom(Position position) const
{
    for (; position.block < m_blocks.size(); position = {position.block + 1}) {
        const Block& block = m_blocks[position.block];
        const clsEntryLevels* levels = block.isClosed && block.whole.distances == 0 ? nullptr : entriesOf(block);
        const std::size_t size = block.levels.Size();
        const std::size_t found = levels != nullptr ? levels->FirstDistanceFrom(position.index) : size;
        if (found < size) {
            return Position{position.block, found};
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> clsHistory::NearestDistance(double place) const
{
    const Position at = find(firstTickAt(place));
    const auto before = lastDistanceBefore(at), after = firstDistanceFrom(at);
    if (!before || !after) {
        return before ? std::optional(indexOf(*before)) : after ? std::optional(indexOf(*after)) : std::nullopt;
    }
    const auto distanceTo = [&](const Position& to) { return std::fabs(At(to.block, to.index).place - place); };
    return indexOf(distanceTo(*after) < distanceTo(*before) ? *after : *before);
}

std::optional<std::size_t> clsHistory::NextDistance(std::size_t index) const
{
    const auto found = index < Size() ? firstDistanceFrom(positionOf(index + 1)) : std::nullopt;
    return found ? std::optional(indexOf(*found)) : std::nullopt;
}

std::optional<std::size_t> clsHistory::PreviousDistance(std::size_t index) const
{
    const auto found = lastDistanceBefore(positionOf(index));
    return found ? std::optional(indexOf(*found)) : std::nullopt;
}

/// Whether what is drawn at a position would not be joined to what comes before.
bool clsHistory::isBrokenBefore(const Position& position, bool showZero, bool exactly) const
{
    if (position.index == 0 && position.block == 0) {
        return true;
    }
    const EntrySummary before = position.index == 0
                                    ? m_blocks[position.block - 1].whole
                                    : levelsOf(m_blocks[position.block], exactly).RunBefore(position.index);
    return showZero ? before.shownBreaksBehind : before.breaksBehind;
}

/// Goes through a history column by column.
class clsHistory::clsWalk {
public:
    clsWalk(const clsHistory& history, std::int64_t begin, bool exactly, bool showZero, Wanted wanted)
        : m_history(history), m_at(history.findRun(begin, exactly)), m_exactly(exactly), m_showZero(showZero),
          m_wanted(wanted), m_columnBegin(begin), m_builder(showZero, history.isBrokenBefore(m_at, showZero, exactly))
    {
        note();
        if (m_next < begin) {
            enter(begin, showZero);
            note();
        }
    }
    /// A column of all entries up to a place.
    void Fill(ValueSummary& column, std::int64_t end)
    {
        m_builder.Begin(column);
        if (m_spread) {
            spread(end);
        } else if (m_wanted == Wanted::Outline && m_next < end && outline(end)) {
            note();
        }
        while (m_next < end) {
            step(end);
            note();
        }
        m_builder.End();
        m_columnBegin = end;
    }

private:
    /// A run of which nothing finer is known, and the places between which its values lie: in two stretches with its
    /// longest gap between them, or both times in the whole of it.
    struct Spread {
        EntrySummary run;
        PlacesOf stretches[2];
        bool isNew = true;

        bool Touches(std::int64_t begin, std::int64_t end) const
        {
            return std::ranges::any_of(stretches, [=](const auto& of) { return of.first < end && of.last >= begin; });
        }
        std::int64_t First() const { return stretches[0].first; }
        std::int64_t Last() const { return stretches[1].last; }
        /// Whether nothing is joined at the begin of a column.
        bool IsBrokenAt(std::int64_t begin) const { return stretches[0].last < begin && stretches[1].first >= begin; }
    };

    /// A column that begins and ends with a distance, from blocks with all of their entries. What else it has does not
    /// show. Returns false for any other.
    bool outline(std::int64_t end)
    {
        const auto& blocks = m_history.m_blocks;
        std::size_t number = m_at.block;
        while (number < blocks.size() && m_history.lastOf(blocks[number]) < end) {
            ++number;
        }
        if (number == blocks.size() || blocks[number].begin >= end) {
            return false;
        }
        const Block &from = blocks[m_at.block], &to = blocks[number];
        const bool isKnownAsWhole = from.isThinned && m_at.index == 0; // with a first distance that is gone
        if (isKnownAsWhole || !from.levels.HasOutlines() || !to.levels.HasOutlines()) {
            return false;
        }
        const std::size_t behind = to.levels.OutlinedIndexOf(static_cast<std::uint32_t>(end - to.begin), to.last);
        if (behind == 0 || (number == m_at.block && behind <= m_at.index)) {
            return false;
        }
        const PackedEntry first = from.levels.Entries()[m_at.index], last = to.levels.Entries()[behind - 1];
        if (KindOf(first) != EntryKind::Distance || KindOf(last) != EntryKind::Distance) {
            return false;
        }
        clsEntryLevels::Extremes all{std::min(first.value, last.value), std::max(first.value, last.value)};
        for (std::size_t i = m_at.block; i <= number; ++i) {
            const EntrySummary& whole = blocks[i].whole;
            if (m_showZero && whole.zeros > 0) {
                return false;
            }
            if (i > m_at.block && i < number) {
                all.Take({whole.minimum, whole.maximum});
            }
        }
        const bool isOne = number == m_at.block;
        if (isOne) {
            from.levels.Widen(m_at.index, behind, all);
        } else {
            clsEntryLevels::WidenAcross(from.levels, m_at.index, to.levels, behind, all);
        }
        const bool isSingle = isOne && behind == m_at.index + 1;
        m_builder.AddOutline(first.value, last.value, all.low, all.high, isSingle ? 1 : 2);
        m_at = {number, behind};
        return true;
    }
    /// To the end of the block at most.
    void step(std::int64_t end)
    {
        const Block& block = m_history.m_blocks[m_at.block];
        const bool isRest = m_history.lastOf(block) < end;
        if (isRest && m_at.index == 0 && block.isClosed) {
            m_builder.Add(block.whole);
            m_at = {m_at.block + 1};
            return;
        }
        const clsEntryLevels& levels = m_history.levelsOf(block, m_exactly);
        const bool isKept = &levels == &block.levels; // what was read again may go while the column is filled
        const std::size_t behind =
            isRest ? levels.Size() : levels.IndexOf(static_cast<std::uint32_t>(end - block.begin), m_at.index);
        const std::size_t known = levels.HasEntries() || isRest ? behind : lastRun(levels, behind);
        levels.Visit(
            m_at.index, known,
            [&](std::span<const PackedEntry> entries) {
                constexpr std::size_t kLeaf = clsEntryLevels::kLeaf;
                const auto first = static_cast<std::size_t>(entries.data() - levels.Entries().data());
                const bool begins = first % kLeaf == 0, ends = (first + entries.size()) % kLeaf == 0;
                const EntrySummary* leaf = isKept && begins != ends ? levels.LeafOf(first) : nullptr;
                leaf != nullptr ? m_builder.AddPartOf(*leaf, entries, begins) : m_builder.Add(entries);
            },
            [this](const EntrySummary& run, bool) {
                m_builder.Add(run);
                return true;
            });
        m_at.index = behind;
        if (known < behind) {
            beginRun(spreadOf(block, levels, known), end);
        }
    }
    /// The last of the finest summaries before an index.
    static std::size_t lastRun(const clsEntryLevels& levels, std::size_t behind)
    {
        return (behind - 1) / levels.RunLength() * levels.RunLength();
    }
    Spread spreadOf(const Block& block, const clsEntryLevels& levels, std::size_t first) const
    {
        const std::size_t behind = std::min(first + levels.RunLength(), levels.Size());
        const EntrySummary run = behind - first == block.levels.Size() ? block.whole : levels.RunBefore(behind);
        if (m_builder.HasZero(run)) {
            const std::uint32_t last = behind < levels.Size() ? levels.TimeOf(behind) : block.last;
            const PlacesOf all{block.begin + run.begin, block.begin + last};
            return {run, {all, all}};
        }
        const PlacesOf all{block.begin + run.firstDistance, block.begin + run.lastDistance};
        const std::int64_t gap = block.begin + run.longestFrom;
        return run.breaksWithin ? Spread{run, {{all.first, gap}, {gap + run.longest, all.last}}}
                                : Spread{run, {all, all}};
    }
    /// A run that begins in this column.
    void beginRun(const Spread& spreading, std::int64_t end)
    {
        if (!m_builder.IsShown(spreading.run) || spreading.Last() < end) {
            m_builder.Add(spreading.run);
            return;
        }
        m_builder.Count(spreading.run);
        m_spread = spreading;
        spread(end);
    }
    /// What of a run lies in this column.
    void spread(std::int64_t end)
    {
        if (m_spread->Touches(m_columnBegin, end)) {
            if (std::exchange(m_spread->isNew, false)) {
                m_builder.AddFirstPart(m_spread->run);
            } else {
                m_builder.AddPart(m_spread->run, m_spread->IsBrokenAt(m_columnBegin));
            }
        }
        if (m_spread->Last() < end) {
            m_builder.EndParts(m_spread->run);
            m_spread.reset();
        }
    }
    /// The run in which the first column begins.
    void enter(std::int64_t begin, bool showZero)
    {
        const Block& block = m_history.m_blocks[m_at.block];
        const clsEntryLevels& levels = m_history.levelsOf(block, m_exactly);
        const Spread entered = spreadOf(block, levels, m_at.index);
        m_at.index = std::min(m_at.index + levels.RunLength(), levels.Size());
        if (m_builder.IsShown(entered.run) && entered.Last() >= begin) {
            m_spread = entered;
            m_spread->isNew = entered.First() >= begin;
        } else {
            m_builder = clsColumnBuilder(showZero, true);
            if (m_builder.IsShown(entered.run)) {
                m_builder.EndParts(entered.run);
            }
        }
    }
    /// The place of the next entry.
    void note()
    {
        while (m_at.block < m_history.m_blocks.size()) {
            const Block& block = m_history.m_blocks[m_at.block];
            // A thinned block may have lost its first entries; the memory of any other need not be asked.
            if (m_at.index == 0 && !block.isThinned) {
                m_next = block.begin;
                return;
            }
            if (m_at.index < block.levels.Size()) {
                m_next = block.begin + m_history.levelsOf(block, m_exactly).TimeOf(m_at.index);
                return;
            }
            m_at = {m_at.block + 1};
        }
        m_next = std::numeric_limits<std::int64_t>::max();
    }

    const clsHistory& m_history;
    Position m_at;
    bool m_exactly, m_showZero;
    Wanted m_wanted;
    std::int64_t m_columnBegin;
    clsColumnBuilder m_builder;
    std::int64_t m_next = 0;
    std::optional<Spread> m_spread;
};

std::vector<ValueSummary> clsHistory::Columns(const TimeWindow& window, bool showZero) const
{
    std::vector<ValueSummary> columns;
    Columns(window, showZero, columns);
    return columns;
}

void clsHistory::Columns(const TimeWindow& window, bool showZero, std::vector<ValueSummary>& columns) const
{
    fill(window, showZero, Wanted::All, columns);
}

void clsHistory::Outlines(const TimeWindow& window, bool showZero, std::vector<ValueSummary>& columns) const
{
    fill(window, showZero, Wanted::Outline, columns);
}

void clsHistory::fill(const TimeWindow& window, bool showZero, Wanted wanted, std::vector<ValueSummary>& columns) const
{
    columns.assign(static_cast<std::size_t>(std::max(window.columns, 0)), {});
    if (!(window.perDay > 0.0) || !std::isfinite(window.first)) {
        return;
    }
    const auto beginOf = [&window](std::int32_t column) {
        return firstTickAt((window.first + column) / window.perDay);
    };
    const std::int64_t begin = beginOf(0);
    const bool exactly = mayReadAll(begin, beginOf(window.columns));
    clsWalk walk(*this, begin, exactly, showZero, wanted);
    const Position at = find(begin, exactly);
    // In a long history each border lies in memory of its own, which takes longer to come than a column to be filled.
    constexpr std::int32_t kAhead = 12;
    constexpr std::size_t kBlocksAhead = 3;
    std::array<std::int64_t, kAhead> borders{};
    std::size_t block = at.block;
    const auto fetchBlock = [&](std::size_t number) {
        if (number < m_blocks.size()) {
            __builtin_prefetch(&m_blocks[number]);
            __builtin_prefetch(&m_blocks[number].levels);
        }
    };
    const auto noteBorder = [&](std::int32_t column) {
        const std::int64_t border = beginOf(column);
        borders[static_cast<std::size_t>(column % kAhead)] = border;
        while (block < m_blocks.size() && lastOf(m_blocks[block]) < border) {
            ++block;
            fetchBlock(block + kBlocksAhead);
        }
        if (block < m_blocks.size() && m_blocks[block].isClosed && border > m_blocks[block].begin) {
            const Block& of = m_blocks[block];
            const auto time = static_cast<std::uint32_t>(border - of.begin);
            if (wanted == Wanted::Outline && of.levels.HasOutlines()) {
                of.levels.PrefetchOutlines(time, of.last);
            } else {
                of.levels.Prefetch(time, of.last);
            }
        }
    };
    for (std::int32_t i = 1; i < std::min(kAhead, window.columns + 1); ++i) {
        noteBorder(i);
    }
    for (std::int32_t i = 0; i < window.columns; ++i) {
        if (i + kAhead <= window.columns) {
            noteBorder(i + kAhead);
        }
        walk.Fill(columns[static_cast<std::size_t>(i)], borders[static_cast<std::size_t>((i + 1) % kAhead)]);
    }
}

/// Calls `onGap(range, reason)` for each gap of at least `shortest` days that touches a range; it returns whether to go
/// on.
template <class OnGap>
void clsHistory::forEachGap(const PlaceRange& range, double shortest, OnGap onGap) const
{
    const std::int64_t begin = firstTickAt(range.begin), end = firstTickBehind(range.end);
    const auto least = static_cast<std::int64_t>(std::clamp(std::ceil(shortest * kTicksPerDay - 1e-3), 0.0, 1e18));
    const bool exactly = mayReadAll(begin, end);
    std::optional<std::int64_t> from; // the last distance
    bool isBroken = false, goesOn = true;
    std::uint8_t reason = EntrySummary::kNoReason;
    const auto tell = [&](std::int64_t gapBegin, std::int64_t gapEnd, std::uint8_t why) {
        if (goesOn && gapEnd - gapBegin >= least && gapBegin < end && gapEnd >= begin) {
            goesOn = onGap(HistoryGap{{placeOf(gapBegin), placeOf(gapEnd)}, ReasonOf(why)});
        }
    };
    const auto take = [&](const EntrySummary& run, std::int64_t base) {
        reason = run.reasonBefore == EntrySummary::kNoReason ? reason : run.reasonBefore;
        isBroken = isBroken || run.breaksBefore;
        if (run.distances == 0) {
            return;
        }
        if (from && isBroken) {
            tell(*from, base + run.firstDistance, reason);
        }
        if (run.breaksWithin) { // nothing finer is known, or it is too short
            tell(base + run.longestFrom, base + run.longestFrom + run.longest, run.longestReason);
        }
        from = base + run.lastDistance;
        isBroken = run.breaksBehind;
        reason = run.reasonBehind;
    };
    const auto isEnough = [&](const EntrySummary& run) { return !run.breaksWithin || run.longest < least; };
    Position at = lastDistanceBefore(find(begin, exactly)).value_or(Position());
    for (; at.block < m_blocks.size() && goesOn && (!from || *from < end); at = {at.block + 1}) {
        const Block& block = m_blocks[at.block];
        if (at.index == 0 && block.isClosed && isEnough(block.whole)) {
            take(block.whole, block.begin);
            continue;
        }
        const auto onEntries = [&](std::span<const PackedEntry> entries) {
            for (const PackedEntry& entry : entries) {
                EntrySummary one;
                one.Append(std::span(&entry, 1));
                take(one, block.begin);
            }
        };
        const auto onRun = [&](const EntrySummary& run, bool isFinest) {
            const bool takes = isFinest || isEnough(run) || !goesOn || (from && *from >= end);
            if (takes) {
                take(run, block.begin);
            }
            return takes;
        };
        const clsEntryLevels& levels = levelsOf(block, exactly);
        if (!levels.HasEntries() && levels.RunLength() == levels.Size()) {
            take(block.whole, block.begin); // nothing finer is left
            continue;
        }
        const std::size_t first = levels.HasEntries() ? at.index : 0;
        levels.Visit(first, levels.Size(), onEntries, onRun);
    }
}

std::vector<HistoryGap> clsHistory::GapsIn(const PlaceRange& range, double shortest) const
{
    std::vector<HistoryGap> gaps;
    forEachGap(range, shortest, [&gaps](const HistoryGap& gap) {
        gaps.push_back(gap);
        return true;
    });
    return gaps;
}

std::optional<HistoryGap> clsHistory::GapAt(double place) const
{
    std::optional<HistoryGap> found;
    forEachGap({place, place}, 0.0, [&found](const HistoryGap& gap) {
        found = gap;
        return false;
    });
    return found;
}
