// All that a session has measured since the program started: neither a lost connection nor a new start nor another unit
// takes anything away. Only when the memory for it is full do the oldest samples go.
#pragma once

#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

/// What the history holds: a measurement, or the mark of a gap.
struct HistoryEntry {
    double time = 0.0;         ///< days since 1899-12-30, local time, to a tenth of a millisecond
    std::int32_t value_mm = 0; ///< only of a distance
    MeasurementKind kind = MeasurementKind::Distance; ///< only of a measurement
    std::optional<GapReason> gap{}; ///< set in the mark of a gap, which stands before the distance that ends it
};

class clsHistory {
public:
    static constexpr std::size_t kEntryBytes = 8, kBlockEntries = 65536;
    static constexpr std::size_t kMostBytes = std::size_t{256} << 20U;

    explicit clsHistory(std::size_t mostBytes = kMostBytes) : m_mostBytes(mostBytes) {}

    /// Adds samples in the order in which they came, and the gaps that they have ended. A gap without an echo gets no
    /// mark: its samples are there.
    void Add(std::span<const Measurement> samples, std::span<const Gap> ended);

    /// Entries kept, oldest first: `At(0)` to `At(Size() - 1)`. `Forgotten` counts those that had to go; an index goes
    /// down by one with each.
    std::size_t Size() const { return static_cast<std::size_t>(m_added - m_forgotten); }
    std::int64_t Forgotten() const { return m_forgotten; }
    HistoryEntry At(std::size_t index) const;

    // What is kept, for readers that go through all of it. Within a block times do not run backwards.
    std::size_t Blocks() const { return m_blocks.size(); }
    std::size_t BlockSize(std::size_t block) const { return m_blocks[block].entries.size(); }
    HistoryEntry At(std::size_t block, std::size_t index) const;

private:
    struct Entry {
        std::uint32_t time = 0; ///< tenths of a millisecond since the block's begin
        std::int32_t value = 0; ///< millimetres, a marker, or one of the lowest numbers: a gap's reason
    };
    static_assert(sizeof(Entry) == kEntryBytes);
    struct Block {
        double begin = 0.0;
        std::int64_t first = 0; ///< number of its first entry among all that were ever added
        std::vector<Entry> entries;
    };

    void add(double time, std::int32_t value);
    void beginBlock(double time);

    std::size_t m_mostBytes;
    std::deque<Block> m_blocks;
    std::int64_t m_added = 0, m_forgotten = 0;
};
