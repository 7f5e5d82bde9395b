// How a history stays within its bound: a session's oldest samples are thinned and then forgotten, those of a recording
// are dropped and read again when they are asked for.
#include "session/clsHistory.h"

#include <utility>

namespace {

constexpr std::int64_t kTicksPerSecond = 10000;
constexpr std::uint64_t kRequestsUntilRetry = 500; // some seconds of looking and pointing
constexpr std::size_t kOverhead = 128;             // of the memory's administration, for the containers of a block

/// What of one second of a thinned block is kept. Values by their places among the entries.
class clsSecond {
public:
    void Add(std::size_t index, const PackedEntry& entry)
    {
        const EntryKind kind = KindOf(entry);
        if (kind != EntryKind::Distance) {
            auto& other = m_others[static_cast<std::size_t>(kind)];
            other = other ? other : std::optional(index);
            return;
        }
        if (!m_lowest || entry.value < m_low) {
            m_lowest = index;
            m_low = entry.value;
        }
        if (!m_highest || entry.value > m_high) {
            m_highest = index;
            m_high = entry.value;
        }
    }
    /// Passes on what is kept, in its order.
    template <class Keep>
    void End(Keep keep)
    {
        std::array<std::optional<std::size_t>, 7> kept{m_lowest, m_highest};
        std::ranges::copy(m_others, kept.begin() + 2);
        std::ranges::sort(kept);
        std::optional<std::size_t> before;
        for (const auto& index : kept) {
            if (index && index != before) {
                keep(*index);
            }
            before = index;
        }
        *this = {};
    }

private:
    std::optional<std::size_t> m_lowest, m_highest;
    std::int32_t m_low = 0, m_high = 0;
    std::array<std::optional<std::size_t>, 5> m_others; ///< the first one of each other kind
};

} // namespace

std::size_t clsHistory::bytesOf(const Block& block)
{
    return sizeof(Block) + kOverhead + block.levels.Bytes() + block.marks.capacity() * sizeof(MarkOfGap);
}

std::optional<double> clsHistory::ThinnedBefore() const
{
    return m_thinnedTo ? std::optional(static_cast<double>(*m_thinnedTo) / kTicksPerDay) : std::nullopt;
}

/// Releases memory until so many bytes can be used, and what is used for a moment only.
void clsHistory::makeRoom(std::size_t bytes)
{
    const std::size_t block = clsEntryLevels::BytesFor(kBlockEntries);
    bytes += m_times.Bytes();
    bytes += m_source.read ? m_mostReadAgain * (sizeof(ReadAgain) + block) + kBlockEntries * sizeof(RecordedSample)
                           : block; // a block exists twice while it is thinned
    if (m_open != nullptr) {
        bytes += bytesOf(m_blocks.back());
    }
    while (m_closedBytes + bytes > m_mostBytes && releaseSome()) {
    }
}

/// Of the oldest block that has something to release; false if there is none.
bool clsHistory::releaseSome()
{
    const std::size_t closed = m_blocks.size() - (m_open != nullptr ? 1 : 0);
    if (closed == 0) {
        return false;
    }
    ++m_changes;
    if (m_source.read) {
        for (std::size_t& dropped : m_dropped) {
            if (dropped < closed && m_blocks[dropped].position) {
                Block& block = m_blocks[dropped++];
                m_closedBytes -= bytesOf(block);
                dropFinest(block);
                m_closedBytes += bytesOf(block);
                return true;
            }
        }
    } else if (m_thinned < closed) {
        thin(m_thinned++);
        return true;
    }
    forgetOldest();
    return true;
}

/// A recording has no lines for the marks of gaps.
void clsHistory::dropFinest(Block& block)
{
    const auto entries = block.levels.Entries();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (KindOf(entries[i]) == EntryKind::Gap) {
            block.marks.push_back(
                {static_cast<std::uint16_t>(i), static_cast<GapReason>(entries[i].value - kFirstGap)});
        }
    }
    block.marks.shrink_to_fit();
    block.levels.DropFinest();
}

/// Its summary stays what it is.
void clsHistory::thin(std::size_t number)
{
    Block& block = m_blocks[number];
    const auto entries = block.levels.Entries();
    std::vector<std::size_t> kept;
    clsSecond second;
    const auto keep = [&kept](std::size_t index) { kept.push_back(index); };
    const auto secondOf = [&](std::size_t i) { return (block.begin + entries[i].time) / kTicksPerSecond; };
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i > 0 && secondOf(i) != secondOf(i - 1)) {
            second.End(keep);
        }
        second.Add(i, entries[i]);
    }
    second.End(keep);
    if (kept.size() == entries.size()) {
        return;
    }
    clsEntryLevels thinned;
    thinned.Reserve(kept.size());
    for (const std::size_t index : kept) {
        thinned.Push(entries[index]);
    }
    thinned.Finish();
    const auto less = static_cast<std::int64_t>(entries.size() - kept.size());
    m_closedBytes -= bytesOf(block);
    m_thinnedTo = lastOf(block);
    block.levels = std::move(thinned);
    block.isThinned = true;
    m_closedBytes += bytesOf(block);
    m_forgotten += less;
    for (std::size_t i = 0; i <= number; ++i) {
        m_blocks[i].first += less; // the newer ones keep their numbers
    }
}

void clsHistory::forgetOldest()
{
    const Block& block = m_blocks.front();
    m_closedBytes -= bytesOf(block);
    m_forgotten += static_cast<std::int64_t>(block.levels.Size());
    m_unreadable -= block.readAt > 0 ? 1 : 0;
    std::erase_if(m_readAgain, [&](const ReadAgain& read) { return read.first == block.first; });
    m_blocks.pop_front();
    for (std::size_t* count : {&m_thinned, &m_dropped[0], &m_dropped[1], &m_dropped[2]}) {
        *count -= *count > 0 ? 1 : 0;
    }
    if (m_thinned == 0) {
        m_thinnedTo.reset();
    }
}

const clsEntryLevels& clsHistory::levelsOf(const Block& block, bool exactly) const
{
    const clsEntryLevels* entries = exactly ? entriesOf(block) : nullptr;
    return entries != nullptr ? *entries : block.levels;
}

/// With all entries of a block, read again from the recording if need be; none if they cannot be. Valid until the next
/// call.
const clsEntryLevels* clsHistory::entriesOf(const Block& block) const
{
    if (block.levels.HasEntries()) {
        return &block.levels;
    }
    const auto known = std::ranges::find(m_readAgain, block.first, &ReadAgain::first);
    if (known != m_readAgain.end()) {
        std::rotate(m_readAgain.begin(), known, known + 1);
        return &m_readAgain.front().levels;
    }
    if (++m_requests < block.readAt) {
        return nullptr;
    }
    if (m_readAgain.size() >= m_mostReadAgain) {
        m_readAgain.pop_back();
    }
    ReadAgain read{block.first, {}};
    const Reading reading = readAgain(block, read.levels);
    m_unreadable -= block.readAt > 0 ? 1 : 0;
    block.readAt = reading == Reading::Done     ? 0
                   : reading == Reading::Failed ? m_requests + kRequestsUntilRetry
                                                : std::numeric_limits<std::uint64_t>::max();
    if (reading != Reading::Done) {
        ++m_unreadable;
        return nullptr;
    }
    m_readAgain.reserve(m_mostReadAgain);
    m_readAgain.insert(m_readAgain.begin(), std::move(read));
    return &m_readAgain.front().levels;
}

clsHistory::Reading clsHistory::readAgain(const Block& block, clsEntryLevels& levels) const
{
    const std::size_t lines = block.whole.Entries() - block.whole.gaps;
    std::vector<RecordedSample> samples;
    samples.reserve(lines);
    if (!m_source.read || !block.position || !m_source.read(*block.position, lines, samples)) {
        return Reading::Failed;
    }
    if (samples.size() != lines) {
        return Reading::Changed;
    }
    levels.Reserve(block.levels.Size());
    auto mark = block.marks.begin();
    std::int64_t last = 0;
    for (const RecordedSample& sample : samples) {
        if (sample.time >= kFirstDay && sample.time < kEndOfDays) {
            last = std::max(last, TicksOf(sample.time) + block.shift - block.begin);
        }
        if (last > block.last) {
            return Reading::Changed;
        }
        const auto time = static_cast<std::uint32_t>(last);
        if (mark != block.marks.end() && mark->index == levels.Size()) {
            levels.Push({time, PackedGap(mark++->reason)});
        }
        levels.Push({time, std::max(sample.value_mm, kLowestValue)});
    }
    levels.Finish();
    const bool isAsBefore =
        levels.SummaryOf(0, levels.Size()) == block.whole && levels.SumsOf(0, levels.Size()) == block.sums;
    return isAsBefore ? Reading::Done : Reading::Changed;
}
