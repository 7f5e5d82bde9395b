// A run of entries and the summaries above them: of each 64, of each 512 with sums, and of each 4096. What is asked
// about a stretch of them then costs little more than one of each level. For pictures, each run knows its extremes and
// those of its neighbours besides: in a long history each line of memory has to come from far.
#pragma once

#include "base/clsLargePages.h"
#include "session/EntrySummary.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

class clsEntryLevels {
public:
    static constexpr std::size_t kLeaf = 64, kNode = 512, kGroup = 4096;
    static constexpr std::size_t kMost = 4 * kGroup; ///< entries, in a long history nearly always as many

    /// Room for so many entries, at most `kMost`, and none for more.
    void Reserve(std::size_t entries);
    std::size_t Room() const { return m_entries.capacity() - m_entries.size(); }
    /// Times must not run backwards. There must be room.
    void Push(const PackedEntry& entry)
    {
        m_entries.push_back(entry);
        if (m_entries.size() % kLeaf == 0) {
            endLeaf();
        }
    }
    /// No entry follows. Gives unused memory back.
    void Finish();

    std::size_t Size() const { return m_size == 0 ? m_entries.size() : m_size; }
    std::span<const PackedEntry> Entries() const { return m_entries; }
    bool HasEntries() const { return !m_entries.empty(); }
    /// Drops the finest level that is there, after `Finish`; false if none is left.
    bool DropFinest();
    std::size_t Bytes() const;
    /// Bytes for so many entries.
    static std::size_t BytesFor(std::size_t entries);

    struct Extremes {
        std::int32_t low = std::numeric_limits<std::int32_t>::max(), high = std::numeric_limits<std::int32_t>::min();
        void Take(const Extremes& other)
        {
            low = std::min(low, other.low);
            high = std::max(high, other.high);
        }
    };
    /// For a finished run with entries: the first entry at or after a time, and the lowest and highest distance of a
    /// stretch that is not empty, which `all` takes up. `last` is about the last time.
    bool HasOutlines() const { return !m_outlines.empty(); }
    std::size_t OutlinedIndexOf(std::uint32_t time, std::uint32_t last) const;
    void Widen(std::size_t first, std::size_t behind, Extremes& all) const;
    /// The same from an entry of one run to before one of a later run; what lies between these runs is not theirs.
    static void WidenAcross(const clsEntryLevels& from, std::size_t first, const clsEntryLevels& to, std::size_t behind,
                            Extremes& all);
    /// Has the memory fetched that these will probably look at for a time, if the times up to `last` are even.
    void PrefetchOutlines(std::uint32_t time, std::uint32_t last) const;

    /// The first entry at or after a time; `Size()` if there is none. Without entries, the first of the first leaf or
    /// node that begins there. Search begins at `from`, which must not be behind it.
    std::size_t IndexOf(std::uint32_t time, std::size_t from = 0) const;
    /// Has the memory fetched that `IndexOf` will probably look at for a time, if the times up to `last` are even.
    void Prefetch(std::uint32_t time, std::uint32_t last) const;
    /// The time of an entry or, without entries, of its leaf's or node's first.
    std::uint32_t TimeOf(std::size_t index) const;

    /// Goes through a stretch in its order: `onEntries` for entries of the same 64, `onRun(run, isFinest)` for runs of
    /// 64, 512 and 4096 that lie in it wholly. It returns whether that is enough; if not, what the run consists of
    /// follows. The finest level that is left has to be enough.
    template <class OnEntries, class OnRun>
    void Visit(std::size_t first, std::size_t behind, OnEntries onEntries, OnRun onRun) const
    {
        while (first < behind) {
            const std::size_t nodeEnd = std::min(first + kNode, Size()), leafEnd = std::min(first + kLeaf, Size());
            const std::size_t groupEnd = std::min(first + kGroup, Size());
            if (first % kGroup == 0 && first / kGroup < m_groups.size() && groupEnd <= behind &&
                onRun(m_groups[first / kGroup], false)) {
                first = groupEnd;
            } else if (first % kNode == 0 && first / kNode < m_nodes.size() && nodeEnd <= behind &&
                       onRun(m_nodes[first / kNode], m_leaves.empty())) {
                first = nodeEnd;
            } else if (first % kLeaf == 0 && first / kLeaf < m_leaves.size() && leafEnd <= behind &&
                       onRun(m_leaves[first / kLeaf], !HasEntries())) {
                first = leafEnd;
            } else if (HasEntries()) {
                const std::size_t end = std::min((first / kLeaf + 1) * kLeaf, behind);
                onEntries(Entries().subspan(first, end - first));
                first = end;
            } else {
                first = behind; // nothing so fine is left
            }
        }
    }
    /// The summary of the 64 entries to which one belongs; none while they are not complete.
    const EntrySummary* LeafOf(std::size_t index) const
    {
        return index / kLeaf < m_leaves.size() ? &m_leaves[index / kLeaf] : nullptr;
    }
    /// Without entries, how many each of the finest summaries has, the last one excepted; and the first entry of the
    /// last of them that begins before a time, 0 if there is none.
    std::size_t RunLength() const { return !m_leaves.empty() ? kLeaf : !m_nodes.empty() ? kNode : Size(); }
    std::size_t RunAt(std::uint32_t time) const;
    /// What ends with the entry before an index, as fine as it is known; `index` must not be 0.
    EntrySummary RunBefore(std::size_t index) const;
    EntrySummary SummaryOf(std::size_t first, std::size_t behind) const;
    EntrySums SumsOf(std::size_t first, std::size_t behind) const;
    /// The last distance before an index, the first one from an index on; `Size()` if there is none. Needs entries.
    std::size_t LastDistanceBefore(std::size_t index) const;
    std::size_t FirstDistanceFrom(std::size_t index) const;

private:
    /// What a picture has to know of 64, 512 or 4096 entries, in half a line of memory: where two columns meet, the
    /// outlines there have the rest of both.
    struct alignas(32) Outline {
        std::uint32_t begin = 0, next = 0; ///< the times of its first entry and of the next one's; the last has none
        Extremes own;                      ///< of its distances
        Extremes before, behind; ///< of those of the same node, group or block that come before it, and behind it
    };

    void endLeaf();
    std::size_t indexInLeaf(std::uint32_t time, std::size_t leaf, std::uint32_t begin, std::uint32_t next) const;
    void fillOutlines();
    std::size_t groups() const { return (m_size + kGroup - 1) / kGroup; } ///< of a finished run
    std::span<const Outline> groupOutlines() const { return std::span(m_outlines).first(groups()); }
    std::span<const Outline> nodeOutlines() const
    {
        return std::span(m_outlines).subspan(groups(), (m_size + kNode - 1) / kNode);
    }
    std::span<const Outline> leafOutlines() const
    {
        return std::span(m_outlines).subspan(groups() + (m_size + kNode - 1) / kNode);
    }
    void widenBetween(std::size_t leaf, std::size_t last, Extremes& all) const;
    void widenByLeaf(std::size_t first, std::size_t behind, Extremes& all) const;

    template <class Item, std::size_t count>
    using Array = std::vector<Item, LargePageAllocator<Item, count>>;

    // What a picture looks at comes first.
    std::size_t m_size = 0; ///< once it is finished
    Array<PackedEntry, kMost> m_entries;
    /// Of groups, nodes and leaves, once it is finished and while it has entries.
    Array<Outline, kMost / kGroup + kMost / kNode + kMost / kLeaf> m_outlines;
    std::vector<EntrySummary> m_leaves, m_nodes, m_groups;
    std::vector<EntrySums> m_sums; ///< of the nodes
};
