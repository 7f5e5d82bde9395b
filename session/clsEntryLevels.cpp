#include "session/clsEntryLevels.h"

#include <functional>
#include <limits>

namespace {

/// How many of these begin before a time. Their times do not run backwards, and mostly they are even, so the search
/// begins where that would be.
template <class Item>
std::size_t numberBefore(std::span<const Item> items, std::uint32_t time, auto begin)
{
    const auto isBefore = [&](std::size_t i) { return std::invoke(begin, items[i]) < time; };
    std::size_t low = 0, high = items.size();
    if (high > 2 && isBefore(0)) {
        const std::uint32_t first = std::invoke(begin, items.front()), all = std::invoke(begin, items.back()) - first;
        const std::size_t guess = time - first >= all ? high - 1 : std::uint64_t{time - first} * (high - 1) / all;
        if (isBefore(guess)) {
            low = guess + 1;
            high = low < high && !isBefore(low) ? low : high;
        } else {
            high = guess;
            low = isBefore(high - 1) ? high : 0;
        }
    }
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (isBefore(middle)) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

/// The last of the runs from `from` on that begins before a time; the first of them if there is none.
std::size_t lastBefore(std::span<const EntrySummary> runs, std::uint32_t time, std::size_t from, std::size_t most)
{
    const auto of = runs.subspan(from, std::min(most, runs.size() - from));
    return from + std::max(numberBefore(of, time, &EntrySummary::begin), std::size_t{1}) - 1;
}

void addUp(std::span<const EntrySummary> runs, EntrySummary& all)
{
    for (const EntrySummary& run : runs) {
        all.Append(run);
    }
}

bool isDistance(const PackedEntry& entry)
{
    return KindOf(entry) == EntryKind::Distance;
}

/// Where an entry of a time is if the times up to `last` are even.
std::size_t guessOf(std::uint32_t time, std::uint32_t last, std::size_t size)
{
    return time >= last ? size - 1 : std::uint64_t{time} * (size - 1) / last;
}

} // namespace

void clsEntryLevels::Reserve(std::size_t entries)
{
    m_entries.reserve(entries);
    m_leaves.reserve((entries + kLeaf - 1) / kLeaf);
    m_nodes.reserve((entries + kNode - 1) / kNode);
    m_sums.reserve((entries + kNode - 1) / kNode);
    m_groups.reserve((entries + kGroup - 1) / kGroup);
}

std::size_t clsEntryLevels::BytesFor(std::size_t entries)
{
    return entries * sizeof(PackedEntry) + (entries + kLeaf - 1) / kLeaf * sizeof(EntrySummary) +
           (entries + kNode - 1) / kNode * (sizeof(EntrySummary) + sizeof(EntrySums)) +
           (entries + kGroup - 1) / kGroup * sizeof(EntrySummary) +
           ((entries + kLeaf - 1) / kLeaf + (entries + kNode - 1) / kNode + (entries + kGroup - 1) / kGroup) *
               sizeof(Outline);
}

std::size_t clsEntryLevels::Bytes() const
{
    return m_entries.capacity() * sizeof(PackedEntry) +
           (m_leaves.capacity() + m_nodes.capacity() + m_groups.capacity()) * sizeof(EntrySummary) +
           m_sums.capacity() * sizeof(EntrySums) + m_outlines.capacity() * sizeof(Outline);
}

/// Also a part of a leaf, at the end.
void clsEntryLevels::endLeaf()
{
    const std::size_t size = m_entries.size();
    m_leaves.emplace_back().Append(Entries().subspan((size - 1) / kLeaf * kLeaf));
    if (size % kNode == 0) {
        EntrySummary& node = m_nodes.emplace_back();
        addUp(std::span(m_leaves).last(kNode / kLeaf), node);
        m_sums.emplace_back().Add(Entries().last(kNode), node);
    }
    if (size % kGroup == 0) {
        addUp(std::span(m_nodes).last(kGroup / kNode), m_groups.emplace_back());
    }
}

void clsEntryLevels::Finish()
{
    m_size = m_entries.size();
    if (m_size % kLeaf != 0) {
        endLeaf();
    }
    if (m_size % kNode != 0) {
        EntrySummary node;
        addUp(std::span(m_leaves).subspan(m_nodes.size() * (kNode / kLeaf)), node);
        m_sums.emplace_back().Add(Entries().subspan(m_size / kNode * kNode), node);
        m_nodes.push_back(node);
    }
    if (m_size % kGroup != 0) {
        const std::size_t known = m_groups.size();
        addUp(std::span(m_nodes).subspan(known * (kGroup / kNode)), m_groups.emplace_back());
    }
    m_entries.shrink_to_fit();
    m_leaves.shrink_to_fit();
    m_nodes.shrink_to_fit();
    m_sums.shrink_to_fit();
    m_groups.shrink_to_fit();
    fillOutlines();
}

void clsEntryLevels::fillOutlines()
{
    constexpr std::size_t kOfRun = kGroup / kNode;
    static_assert(kOfRun == kNode / kLeaf && kMost / kGroup <= kOfRun);
    m_outlines.resize(m_groups.size() + m_nodes.size() + m_leaves.size());
    auto of = std::span(m_outlines);
    for (const auto* runs : {&m_groups, &m_nodes, &m_leaves}) {
        const std::size_t size = runs->size();
        for (std::size_t i = 0; i < size; ++i) {
            const EntrySummary& run = (*runs)[i];
            of[i].begin = run.begin;
            of[i].next = i + 1 < size ? (*runs)[i + 1].begin : std::numeric_limits<std::uint32_t>::max();
            of[i].own = {run.minimum, run.maximum};
            if (i % kOfRun != 0) {
                of[i].before = of[i - 1].before;
                of[i].before.Take(of[i - 1].own);
            }
        }
        for (std::size_t i = size; i-- > 1;) {
            if (i % kOfRun != 0) {
                of[i - 1].behind = of[i].behind;
                of[i - 1].behind.Take(of[i].own);
            }
        }
        of = of.subspan(size);
    }
}

bool clsEntryLevels::DropFinest()
{
    if (HasEntries()) {
        m_entries = decltype(m_entries)(); // gives the memory back, as {} does not
        m_outlines = decltype(m_outlines)();
    } else if (!m_leaves.empty()) {
        m_leaves = std::vector<EntrySummary>();
    } else if (!m_nodes.empty()) {
        m_nodes = std::vector<EntrySummary>();
        m_groups = std::vector<EntrySummary>();
        m_sums = std::vector<EntrySums>();
    } else {
        return false;
    }
    return true;
}

std::size_t clsEntryLevels::IndexOf(std::uint32_t time, std::size_t from) const
{
    std::size_t first = from;
    // Each level narrows down where the next one is looked at. Behind the last complete summary all of it may be.
    std::size_t most = m_nodes.size();
    if (first / kGroup < m_groups.size()) {
        const std::size_t group = lastBefore(m_groups, time, first / kGroup, m_groups.size());
        first = std::max(first, group * kGroup);
        most = group + 1 < m_groups.size() ? kGroup / kNode : most;
    }
    std::size_t mostLeaves = m_leaves.size();
    if (first / kNode < m_nodes.size()) {
        const std::size_t node = lastBefore(m_nodes, time, first / kNode, most);
        first = std::max(first, node * kNode);
        mostLeaves = node + 1 < m_nodes.size() ? kNode / kLeaf : mostLeaves;
    }
    std::size_t leaf = m_leaves.size();
    if (first / kLeaf < m_leaves.size()) {
        leaf = lastBefore(m_leaves, time, first / kLeaf, mostLeaves);
        first = std::max(first, leaf * kLeaf);
    }
    if (HasEntries()) {
        if (first == leaf * kLeaf && leaf + 1 < m_leaves.size() && m_leaves[leaf + 1].begin >= time) {
            return indexInLeaf(time, leaf, m_leaves[leaf].begin, m_leaves[leaf + 1].begin);
        }
        while (first < m_entries.size() && m_entries[first].time < time) { // twice, where leaves are still missing
            const auto rest = Entries().subspan(first, std::min(kLeaf, m_entries.size() - first));
            first += numberBefore(rest, time, &PackedEntry::time);
        }
        return first;
    }
    if (first >= Size() || TimeOf(first) >= time) {
        return first;
    }
    const std::size_t run = m_leaves.empty() ? m_nodes.empty() ? Size() : kNode : kLeaf;
    return std::min((first / run + 1) * run, Size());
}

/// The first entry at or after a time, which is not behind the begin of the next leaf. Looks at as few entries as it
/// can: in a long history each line of memory has to come from far.
std::size_t clsEntryLevels::indexInLeaf(std::uint32_t time, std::size_t leaf, std::uint32_t begin,
                                        std::uint32_t next) const
{
    std::size_t low = leaf * kLeaf, high = low + kLeaf;
    const std::uint32_t all = next - begin;
    if (time <= begin) {
        return low;
    }
    const auto isBefore = [&](std::size_t i) { return m_entries[i].time < time; };
    std::size_t at = low + std::uint64_t{time - begin} * kLeaf / all;
    for (std::size_t step = 1; low < high; step *= 2) { // away from where it would be if times were even
        at = std::clamp(at, low, high - 1);
        if (isBefore(at)) {
            low = at + 1;
            at += step;
        } else {
            high = at;
            at -= std::min(step, at);
        }
    }
    return low;
}

std::size_t clsEntryLevels::OutlinedIndexOf(std::uint32_t time, std::uint32_t last) const
{
    constexpr std::size_t kNear = 4;
    const auto leaves = leafOutlines();
    std::size_t leaf = std::min(guessOf(time, last, Size()) / kLeaf, leaves.size() - 1);
    for (std::size_t steps = 0; steps < kNear && leaves[leaf].next < time; ++steps) {
        ++leaf;
    }
    for (std::size_t steps = 0; steps < kNear && leaf > 0 && leaves[leaf].begin >= time; ++steps) {
        --leaf;
    }
    if (leaves[leaf].next < time || (leaf > 0 && leaves[leaf].begin >= time)) { // not even
        const auto behind = std::ranges::lower_bound(leaves, time, {}, &Outline::begin);
        leaf = static_cast<std::size_t>(std::max(behind - leaves.begin(), std::ptrdiff_t{1})) - 1;
    }
    if (leaf + 1 < leaves.size()) {
        return indexInLeaf(time, leaf, leaves[leaf].begin, leaves[leaf].next);
    }
    return leaf * kLeaf + numberBefore(Entries().subspan(leaf * kLeaf), time, &PackedEntry::time);
}

void clsEntryLevels::Widen(std::size_t first, std::size_t behind, Extremes& all) const
{
    const std::size_t leaf = first / kLeaf, last = (behind - 1) / kLeaf;
    if (leaf < last) {
        widenBetween(leaf, last, all);
        widenByLeaf(first, (leaf + 1) * kLeaf, all);
        first = last * kLeaf;
    }
    widenByLeaf(first, behind, all);
}

/// The outermost leaves come last: the more is known, the fewer entries are looked at.
void clsEntryLevels::WidenAcross(const clsEntryLevels& from, std::size_t first, const clsEntryLevels& to,
                                 std::size_t behind, Extremes& all)
{
    const std::size_t last = behind - 1;
    all.Take(from.leafOutlines()[first / kLeaf].behind);
    all.Take(from.nodeOutlines()[first / kNode].behind);
    all.Take(from.groupOutlines()[first / kGroup].behind);
    all.Take(to.leafOutlines()[last / kLeaf].before);
    all.Take(to.nodeOutlines()[last / kNode].before);
    all.Take(to.groupOutlines()[last / kGroup].before);
    from.widenByLeaf(first, std::min((first / kLeaf + 1) * kLeaf, from.Size()), all);
    to.widenByLeaf(last / kLeaf * kLeaf, behind, all);
}

/// By all that lies between two leaves.
void clsEntryLevels::widenBetween(std::size_t leaf, std::size_t last, Extremes& all) const
{
    constexpr std::size_t kOfRun = kNode / kLeaf;
    auto runs = leafOutlines();
    for (const auto& above : {nodeOutlines(), groupOutlines()}) {
        if (leaf / kOfRun == last / kOfRun) {
            break;
        }
        all.Take(runs[leaf].behind);
        all.Take(runs[last].before);
        leaf /= kOfRun;
        last /= kOfRun;
        runs = above;
    }
    for (std::size_t i = leaf + 1; i < last; ++i) {
        all.Take(runs[i].own);
    }
}

/// Of one leaf. Its entries are looked at only if it has lower or higher values than are known.
void clsEntryLevels::widenByLeaf(std::size_t first, std::size_t behind, Extremes& all) const
{
    const Extremes& leaf = leafOutlines()[first / kLeaf].own;
    if (leaf.low >= all.low && leaf.high <= all.high) {
        return;
    }
    if (first % kLeaf == 0 && (behind - first == kLeaf || behind == Size())) {
        all.Take(leaf);
        return;
    }
    // Without branches, for as many at once as the processor can take.
    Extremes found = all;
    constexpr Extremes kNone;
    for (const PackedEntry& entry : Entries().subspan(first, behind - first)) {
        const std::int32_t value = entry.value;
        const bool isOther =
            (value == 0) | (value == kMarkerNoEcho) | (value == kMarkerTempError) | (value < kLowestValue);
        found.low = std::min(found.low, isOther ? kNone.low : value);
        found.high = std::max(found.high, isOther ? kNone.high : value);
    }
    all = found;
}

namespace {

// Inlined: else the compiler takes it for a function without any effect and leaves out the calls.
template <class Item>
[[gnu::always_inline]] inline void fetch(std::span<Item> items, std::size_t first, std::size_t count)
{
    constexpr std::size_t kLine = 64;
    const std::size_t behind = std::min(first + count, items.size());
    if (first < behind) {
        const auto* const end = reinterpret_cast<const char*>(items.data() + behind);
        for (const auto* at = reinterpret_cast<const char*>(items.data() + first); at < end; at += kLine) {
            __builtin_prefetch(at);
        }
        __builtin_prefetch(end - 1);
    }
}

} // namespace

void clsEntryLevels::PrefetchOutlines(std::uint32_t time, std::uint32_t last) const
{
    const std::size_t guess = guessOf(time, last, Size());
    fetch(groupOutlines(), guess / kGroup, 1);
    fetch(nodeOutlines(), guess / kNode, 1);
    fetch(leafOutlines(), guess / kLeaf, 1);
    fetch(Entries(), guess - std::min<std::size_t>(guess, 2), 4);
}

void clsEntryLevels::Prefetch(std::uint32_t time, std::uint32_t last) const
{
    const std::size_t size = Size();
    if (size < kNode || time >= last) {
        return;
    }
    const std::size_t guess = guessOf(time, last, size);
    fetch(std::span(m_groups), 0, m_groups.size());
    fetch(std::span(m_nodes), guess / kGroup * (kGroup / kNode), kGroup / kNode);
    fetch(std::span(m_leaves), guess / kNode * (kNode / kLeaf), kNode / kLeaf + 1);
    fetch(Entries(), guess - std::min<std::size_t>(guess, 2), 4);
}

std::uint32_t clsEntryLevels::TimeOf(std::size_t index) const
{
    return HasEntries()        ? m_entries[index].time
           : !m_leaves.empty() ? m_leaves[index / kLeaf].begin
           : !m_nodes.empty()  ? m_nodes[index / kNode].begin
                               : 0;
}

std::size_t clsEntryLevels::RunAt(std::uint32_t time) const
{
    const std::span<const EntrySummary> runs = m_leaves.empty() ? m_nodes : m_leaves;
    return runs.empty() ? 0 : lastBefore(runs, time, 0, runs.size()) * RunLength();
}

EntrySummary clsEntryLevels::SummaryOf(std::size_t first, std::size_t behind) const
{
    EntrySummary found;
    Visit(
        first, behind, [&found](std::span<const PackedEntry> entries) { found.Append(entries); },
        [&found](const EntrySummary& run, bool) {
            found.Append(run);
            return true;
        });
    return found;
}

EntrySummary clsEntryLevels::RunBefore(std::size_t index) const
{
    EntrySummary run;
    if (HasEntries()) {
        run.Append(Entries().subspan(index - 1, 1));
    } else if (!m_leaves.empty()) {
        run = m_leaves[(index - 1) / kLeaf];
    } else if (!m_nodes.empty()) {
        run = m_nodes[(index - 1) / kNode];
    }
    return run;
}

EntrySums clsEntryLevels::SumsOf(std::size_t first, std::size_t behind) const
{
    EntrySums found;
    while (first < behind) {
        const std::size_t end = std::min((first / kNode + 1) * kNode, Size());
        if (first % kNode == 0 && end <= behind && first / kNode < m_sums.size()) {
            found.Add(m_sums[first / kNode]);
        } else if (HasEntries()) {
            const std::size_t until = std::min(end, behind);
            found.Add(Entries().subspan(first, until - first), SummaryOf(first, until));
        }
        first = end;
    }
    return found;
}

std::size_t clsEntryLevels::FirstDistanceFrom(std::size_t index) const
{
    while (index < Size()) {
        if (index % kNode == 0 && index / kNode < m_nodes.size() && m_nodes[index / kNode].distances == 0) {
            index += kNode;
        } else if (index % kLeaf == 0 && index / kLeaf < m_leaves.size() && m_leaves[index / kLeaf].distances == 0) {
            index += kLeaf;
        } else if (isDistance(m_entries[index])) {
            return index;
        } else {
            ++index;
        }
    }
    return Size();
}

std::size_t clsEntryLevels::LastDistanceBefore(std::size_t index) const
{
    while (index > 0) {
        const std::size_t last = index - 1;
        if (last / kNode < m_nodes.size() && m_nodes[last / kNode].distances == 0) {
            index = last / kNode * kNode;
        } else if (last / kLeaf < m_leaves.size() && m_leaves[last / kLeaf].distances == 0) {
            index = last / kLeaf * kLeaf;
        } else if (isDistance(m_entries[last])) {
            return last;
        } else {
            index = last;
        }
    }
    return Size();
}
