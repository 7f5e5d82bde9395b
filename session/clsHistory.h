// All that a session has measured since the program started: neither a lost connection nor a new start nor another unit
// takes anything away. Only when the memory for it is full do the oldest samples go.
#pragma once

#include "plot/PlaceRange.h"
#include "plot/ValueSummary.h"
#include "plot/clsCurveColumns.h"
#include "plot/clsTimeLine.h"
#include "sensor/AccountFigures.h"
#include "sensor/Measurement.h"
#include "session/clsEntryLevels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <optional>
#include <span>
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
    /// Appends the samples of so many lines from there on, or fewer if the file has no more such lines; false if it
    /// cannot be read now. Asked at any later time.
    std::function<bool(const LinePosition& from, std::size_t lines, std::vector<RecordedSample>& samples)> read;
};

class clsHistory {
public:
    static constexpr std::size_t kBlockEntries = clsEntryLevels::kMost;
    static constexpr std::size_t kMostBytes = std::size_t{256} << 20U, kLeastBytes = std::size_t{1} << 20U;
    /// Times and places are kept to a tenth of a millisecond.
    static constexpr double kTicksPerDay = clsTimeLine::kTicksPerDay;

    /// At most so many bytes are used, but `kLeastBytes` may be. 0: nothing is kept, and it stays empty.
    explicit clsHistory(std::size_t mostBytes = kMostBytes);
    clsHistory(const clsHistory&) = delete;
    clsHistory& operator=(const clsHistory&) = delete;

    /// Adds samples in the order in which they came, and the gaps that they have ended. A gap whose replies without a
    /// distance are there gets no mark.
    void Add(std::span<const Measurement> samples, std::span<const Gap> ended);

    // A recording, line by line.
    /// Where its samples can be read again. Call it before the first line.
    void ReadFrom(RecordingSource source);
    void AddPlayed(double time, std::int32_t value_mm)
    {
        if (m_room > 0 && m_times.Continues(time)) {
            const std::int64_t offset = TicksOf(time) - m_openBegin;
            if (offset >= m_lastOffset && offset <= std::numeric_limits<std::uint32_t>::max()) {
                m_open->Push({static_cast<std::uint32_t>(offset), std::max(value_mm, kLowestValue)});
                m_lastOffset = offset;
                --m_room;
                return;
            }
        }
        add(time, value_mm, false);
    }
    /// The next line is not joined to the one before.
    void AddGap(GapReason reason);
    /// The next line is in another file.
    void EndFile() { closeBlock(); }
    /// All lines were added: `where` is not asked any more.
    void EndLoading();
    /// Stretches of lines that could not be read again as they were, since the file has changed or the disk has failed.
    /// What is known of them is their summaries. A disk that has failed is asked again now and then.
    std::size_t Unreadable() const { return m_unreadable; }
    /// The memory that is used.
    std::size_t Bytes() const;

    /// Entries kept, oldest first: `At(0)` to `At(Size() - 1)`. `Forgotten` counts those that had to go; the index of
    /// the newest goes down by one with each.
    std::size_t Size() const { return static_cast<std::size_t>(added() - m_forgotten); }
    std::int64_t Forgotten() const { return m_forgotten; }
    HistoryEntry At(std::size_t index) const;

    // What a chart asks. Everything is by places on the time axis and in millimetres; both ends of a range belong to
    // it. Of more samples than can be read again from a recording at once, what is asked is known to 64 samples, or, in
    // a very long recording, 512 or more.
    bool IsEmpty() const { return m_blocks.empty(); }
    /// From the first to the last entry.
    PlaceRange Range() const;
    const clsTimeLine& Times() const { return m_times; }
    /// A number that changes with everything that changes.
    std::uint64_t Version() const { return static_cast<std::uint64_t>(added()) + m_changes; }
    /// How many entries lie in a range.
    std::size_t CountIn(const PlaceRange& range) const;
    /// The first entry at or after a place; `Size()` if there is none.
    std::size_t IndexAt(double place) const;
    /// The distance nearest to a place; none if there is no distance.
    std::optional<std::size_t> NearestDistance(double place) const;
    /// The first distance behind an entry, and the last one before it, however far away; none if there is none.
    std::optional<std::size_t> NextDistance(std::size_t index) const;
    std::optional<std::size_t> PreviousDistance(std::size_t index) const;
    /// The columns of a window, first to last: each as a walk over all entries from its beginning to the next one's
    /// would find it. Without `showZero` a distance of 0 is not drawn, and nothing is joined across it. What is known
    /// as a summary only is in each column in which its values may lie.
    std::vector<ValueSummary> Columns(const TimeWindow& window, bool showZero = true) const;
    /// The same into `columns`, whose memory is used again.
    void Columns(const TimeWindow& window, bool showZero, std::vector<ValueSummary>& columns) const;
    /// The same for a picture, which costs less: of each column only whether it has no, one or more values that are
    /// drawn, the lowest, highest, first and last of them, whether it is joined and whether it is coarse.
    void Outlines(const TimeWindow& window, bool showZero, std::vector<ValueSummary>& columns) const;
    /// Whether so many columns of a range show stretches of a recording by their lowest and highest values only,
    /// because more of them are in sight than can be read again at once.
    bool IsCoarse(const PlaceRange& range, std::int32_t columns) const;
    Statistics StatisticsOf(const PlaceRange& range) const;
    /// Gaps of at least `shortest` days that touch a range, missing echoes included.
    std::vector<HistoryGap> GapsIn(const PlaceRange& range, double shortest) const;
    /// The gap at a place.
    std::optional<HistoryGap> GapAt(double place) const;
    /// Before this place only the lowest and highest value of each second are kept; none while everything is.
    std::optional<double> ThinnedBefore() const;

    // What is kept, for readers that go through all of it. Within a block times do not run backwards.
    std::size_t Blocks() const { return m_blocks.size(); }
    std::size_t BlockSize(std::size_t block) const { return m_blocks[block].levels.Size(); }
    HistoryEntry At(std::size_t block, std::size_t index) const;

    /// The time of a point within the calendar in tenths of a millisecond.
    static std::int64_t TicksOf(double days)
    {
        constexpr std::int64_t kBelow = 657434 * std::int64_t{864000000}; // makes it positive, to round by cutting off
        return static_cast<std::int64_t>(days * kTicksPerDay + (static_cast<double>(kBelow) + 0.5)) - kBelow;
    }

private:
    struct MarkOfGap { ///< in a block whose entries were dropped: a recording has no line for it
        std::uint16_t index = 0;
        GapReason reason = GapReason::NoEcho;
    };
    /// Entries of one stretch of the time axis. All but the last block are closed. What a picture looks at comes first.
    struct alignas(64) Block {
        std::int64_t begin = 0; ///< the place of its first entry, ticks
        std::uint32_t last = 0; ///< once it is closed, the time of its last entry
        bool isClosed = false, isThinned = false;
        EntrySummary whole; ///< once it is closed, as it was before it was thinned
        clsEntryLevels levels;
        std::int64_t shift = 0;           ///< how far places are before times, ticks
        std::int64_t first = 0;           ///< the number of its first entry among all that were ever added
        mutable std::uint64_t readAt = 0; ///< do not read it before that many requests; 0: it can be read
        EntrySums sums;
        std::vector<MarkOfGap> marks;
        std::optional<LinePosition> position; ///< of its first line
    };
    struct Position {
        std::size_t block = 0, index = 0;
    };
    struct ReadAgain {
        std::int64_t first = 0; ///< of the block
        clsEntryLevels levels;
    };
    class clsWalk;
    enum class Wanted : std::uint8_t { All, Outline };

    // Adding, in clsHistory.cpp.
    std::int64_t added() const
    {
        return m_blocks.empty() ? m_forgotten
                                : m_blocks.back().first + static_cast<std::int64_t>(m_blocks.back().levels.Size());
    }
    void add(double time, std::int32_t value, bool clockSet);
    void beginBlock(std::int64_t place, std::int64_t shift);
    void closeBlock();
    void grow(std::size_t entries);

    // The bound, in clsHistoryBound.cpp.
    void makeRoom(std::size_t bytes);
    bool releaseSome();
    static void dropFinest(Block& block);
    void thin(std::size_t number);
    void forgetOldest();
    static std::size_t bytesOf(const Block& block);
    const clsEntryLevels* entriesOf(const Block& block) const;
    enum class Reading : std::uint8_t { Done, Failed, Changed };
    Reading readAgain(const Block& block, clsEntryLevels& levels) const;
    const clsEntryLevels& levelsOf(const Block& block, bool exactly) const;

    // Asking, in clsHistoryQueries.cpp and clsHistoryStatistics.cpp.
    static std::int64_t firstTickAt(double place);
    static std::int64_t firstTickBehind(double place);
    std::int64_t lastOf(const Block& block) const;
    Position find(std::int64_t tick, bool exactly = true) const;
    Position findRun(std::int64_t tick, bool exactly) const;
    void fill(const TimeWindow& window, bool showZero, Wanted wanted, std::vector<ValueSummary>& columns) const;
    std::size_t indexOf(const Position& position) const;
    Position positionOf(std::size_t index) const;
    bool mayReadAll(std::int64_t from, std::int64_t to) const;
    bool isBrokenBefore(const Position& position, bool showZero, bool exactly) const;
    std::optional<Position> lastDistanceBefore(Position position) const;
    std::optional<Position> firstDistanceFrom(Position position) const;
    template <class OnGap>
    void forEachGap(const PlaceRange& range, double shortest, OnGap onGap) const;

    bool m_keeps;
    std::size_t m_mostBytes, m_mostReadAgain;
    std::deque<Block> m_blocks;
    clsTimeLine m_times;
    RecordingSource m_source;
    std::optional<GapReason> m_pending; ///< the mark of a gap that the next sample gets
    // The last block, while it is open.
    clsEntryLevels* m_open = nullptr;
    std::size_t m_room = 0;        ///< entries that can be added without any more ado
    std::int64_t m_openBegin = 0;  ///< the time of its first entry
    std::int64_t m_lastOffset = 0; ///< of its last entry
    std::size_t m_closedBytes = 0; ///< of the closed blocks
    std::int64_t m_forgotten = 0;
    std::uint64_t m_changes = 0; ///< apart from additions
    // How many of the oldest blocks were thinned, and have lost their entries, leaves and nodes.
    std::size_t m_thinned = 0;
    std::array<std::size_t, 3> m_dropped{};
    std::optional<std::int64_t> m_thinnedTo;    ///< place
    mutable std::vector<ReadAgain> m_readAgain; ///< the one asked last is the first
    mutable std::size_t m_unreadable = 0;
    mutable std::uint64_t m_requests = 0; ///< for blocks that had to be read again
};
