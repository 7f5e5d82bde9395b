// All that a session has measured since the program started: neither a lost connection nor a new start nor another unit
// takes anything away. Only when the memory for it is full do the oldest samples go.
#pragma once

#include "plot/ValueSummary.h"
#include "plot/clsCurveColumns.h"
#include "plot/clsTimeLine.h"
#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <utility>
#include <vector>

/// What the history holds: a measurement, or the mark of a gap.
struct HistoryEntry {
    double time = 0.0;  ///< days since 1899-12-30, local time, to a tenth of a millisecond
    double place = 0.0; ///< on the time axis, see `clsTimeLine`
    /// The distance or the marker of a measurement. A missing echo may have a 0 instead, which a chart may show.
    std::int32_t value_mm = 0;
    MeasurementKind kind = MeasurementKind::Distance; ///< only of a measurement
    bool isKnown = true;                              ///< false: it could not be read again from the recording
    std::optional<GapReason> gap{}; ///< set in the mark of a gap, which stands before the distance that ends it
};

/// A stretch of the time axis, by places.
struct PlaceRange {
    double begin = 0.0, end = 0.0;
    double Length() const { return end - begin; } ///< days
    bool operator==(const PlaceRange&) const = default;
};

/// Where there is no distance for a while, and why.
struct HistoryGap {
    PlaceRange range;
    GapReason reason = GapReason::NoEcho;
};

/// The place of a line in one of the files of a recording.
struct LinePosition {
    std::uint32_t file = 0;
    std::uint64_t offset = 0;
};

/// What a line of a recording says: millimetres, or a marker.
struct RecordedSample {
    double time = 0.0;
    std::int32_t value_mm = 0;
};

/// The files of a recording, for a history that need not keep all of its samples.
struct RecordingSource {
    /// The position of the line that is being added. Asked now and then, within `AddPlayed`, while the recording loads.
    std::function<LinePosition()> where;
    /// Appends the samples of so many lines from there on; false if they cannot be read. Asked at any later time.
    std::function<bool(const LinePosition& from, std::size_t lines, std::vector<RecordedSample>& samples)> read;
};

class clsHistory {
public:
    static constexpr std::size_t kEntryBytes = 8, kBlockEntries = 65536;
    static constexpr std::size_t kMostBytes = std::size_t{256} << 20U;

    explicit clsHistory(std::size_t mostBytes = kMostBytes) : m_mostBytes(mostBytes) {}

    /// Adds samples in the order in which they came, and the gaps that they have ended. A gap without an echo gets no
    /// mark: its samples are there.
    void Add(std::span<const Measurement> samples, std::span<const Gap> ended);

    // A recording, line by line.
    /// Where its samples can be read again. Call it before the first line.
    void ReadFrom(RecordingSource source) { m_source = std::move(source); }
    void AddPlayed(double time, std::int32_t value_mm)
    {
        if (m_pending) {
            add(time, kFirstGap + static_cast<std::int32_t>(*std::exchange(m_pending, std::nullopt)));
        }
        add(time, value_mm);
    }
    /// The next line is not joined to the one before.
    void AddGap(GapReason reason) { m_pending = reason; }
    /// The next line is in another file.
    void EndFile() {}
    /// All lines were added: `where` is not asked any more.
    void EndLoading() { m_source.where = nullptr; }
    /// Stretches of lines that could not be read again as they were, since the file has changed or is gone. What is
    /// known of them is their summaries.
    std::size_t Unreadable() const { return 0; }
    /// The memory that is used.
    std::size_t Bytes() const { return Size() * kEntryBytes; }

    /// Entries kept, oldest first: `At(0)` to `At(Size() - 1)`. `Forgotten` counts those that had to go; an index goes
    /// down by one with each.
    std::size_t Size() const { return static_cast<std::size_t>(m_added - m_forgotten); }
    std::int64_t Forgotten() const { return m_forgotten; }
    HistoryEntry At(std::size_t index) const;

    // What a chart asks. Everything is by places on the time axis and in millimetres; both ends of a range belong to
    // it.
    bool IsEmpty() const { return Size() == 0; }
    /// From the first to the last entry.
    PlaceRange Range() const;
    const clsTimeLine& Times() const { return m_times; }
    /// A number that changes with everything that changes.
    std::uint64_t Version() const { return static_cast<std::uint64_t>(m_added); }
    /// How many entries lie in a range.
    std::size_t CountIn(const PlaceRange& range) const;
    /// The first entry at or after a place; `Size()` if there is none.
    std::size_t IndexAt(double place) const;
    /// The distance nearest to a place; none if there is no distance.
    std::optional<std::size_t> NearestDistance(double place) const;
    /// The columns of a window, first to last: each as a walk over all entries from its beginning to the next one's
    /// would find it. Without `showZero` a distance of 0 is not drawn, and nothing is joined across it.
    std::vector<ValueSummary> Columns(const TimeWindow& window, bool showZero = true) const;
    /// The same into `columns`, whose memory is used again.
    void Columns(const TimeWindow& window, bool showZero, std::vector<ValueSummary>& columns) const;
    Statistics StatisticsOf(const PlaceRange& range) const;
    /// Gaps of at least `shortest` days that touch a range, missing echoes included.
    std::vector<HistoryGap> GapsIn(const PlaceRange& range, double shortest) const;
    /// The gap at a place.
    std::optional<HistoryGap> GapAt(double place) const;
    /// Before this place only the lowest and highest value of each second are kept; none while everything is.
    std::optional<double> ThinnedBefore() const { return {}; }

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
        double begin = 0.0, place = 0.0;
        std::int64_t first = 0; ///< number of its first entry among all that were ever added
        std::vector<Entry> entries;
    };

    static constexpr std::int32_t kFirstGap = std::numeric_limits<std::int32_t>::min(); // no distance is as low
    void add(double time, std::int32_t value);
    void beginBlock(double time);
    ValueSummary summaryOf(std::size_t first, std::size_t behind, bool showZero) const;

    std::size_t m_mostBytes;
    RecordingSource m_source;
    std::optional<GapReason> m_pending;
    std::deque<Block> m_blocks;
    clsTimeLine m_times;
    std::int64_t m_added = 0, m_forgotten = 0;
};
