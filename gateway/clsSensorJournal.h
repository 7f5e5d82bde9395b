// What was recorded of one sensor, sent and acknowledged. It knows numbers only; the journal's thread reads the files
// for it.
#pragma once

#include "gateway/GatewayMessages.h"
#include "gateway/modJournalFolder.h"
#include "gateway/modPositions.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// What the thread is to read on.
struct ReadTask {
    RecordingKey key;
    LinePlace from;
    std::optional<LinePlace> noted{}; ///< while recording
    bool isClosed = false;            ///< no line will follow
    std::optional<std::int64_t> last; ///< no line behind this one; none: all that are there
    clsRanges covered;                ///< numbers that are not needed
    std::int32_t unit = 1;            ///< of the file `unitPart`
    std::int32_t unitPart = 0;        ///< 0: not known
    std::uint64_t epoch = 0;
};

/// What it has found.
struct ReadResult {
    LinePlace to;
    std::vector<GatewayValue> values{};
    std::vector<LineHole> holes{};
    bool isAtEnd = false;     ///< of what can be read now
    bool isMisplaced = false; ///< the position belongs to another file
    bool isDamaged = false;   ///< in a recording that goes on: it has to wait for its end
    std::int32_t unit = 1, unitPart = 0;
    std::string failure{}; ///< English
};

class clsSensorJournal {
public:
    using Clock = std::chrono::steady_clock;

    explicit clsSensorJournal(std::int64_t run) : m_run(run) {}
    /// The files of earlier runs, in their order, and how far the broker has come, if that is known.
    void Restore(const SensorPosition* position, std::span<const JournalFile> files);

    RecordingKey NewKey();
    /// Also when the recording that runs goes on in another file.
    void Began(const RecordingPart& file);
    void Recorded(std::int64_t last);
    /// So many bytes of a file that is written are there, up to the end of the line with this number.
    void Noted(const RecordingPart& file, std::uint64_t bytes, std::int64_t last);
    void Ended(Clock::time_point now);
    std::int64_t Last() const { return m_last; }
    /// The files that are written, or may be because a disk is late.
    std::vector<RecordingPart> Written(Clock::time_point now) const;
    void SentLive(std::int64_t first, std::int64_t last);
    void Acknowledged(std::int64_t run, std::int64_t first, std::int64_t last);
    void Unsent();
    /// Values that the thread has read and that were not sent meanwhile; they count as sent.
    std::vector<GatewayValue> Next(std::size_t most);
    bool HasRead() const { return !m_ready.empty(); }
    /// Whether there is something that the thread can read.
    bool HasUnread(Clock::time_point now);
    std::int64_t Waiting() const;
    std::int64_t Dropped() const { return m_dropped; }

    /// What is to be read next; none when nothing is.
    std::optional<ReadTask> NextTask(Clock::time_point now);
    void Take(const ReadTask& task, ReadResult result);
    /// Its files are to be deleted: reading from the saved position, and what was found on the way is lost.
    std::optional<ReadTask> TaskToDrop(const RecordingKey& key) const;
    void Drop(const ReadTask& task, const ReadResult& result);
    /// Saved positions that lie far behind what is acknowledged: on to the number `last`.
    std::vector<ReadTask> TasksToMove() const;
    void Move(const ReadTask& task, const LinePlace& place);

    SensorPosition Position() const;
    /// Something that `Position` says has changed since the last call.
    bool TakeChange() { return std::exchange(m_isChanged, false); }
    /// Whether a recording has damage and goes on.
    bool IsHeld() const;

private:
    struct Recording {
        LinePlace place; ///< is saved
        LinePlace read;  ///< so far lines were read
        std::int64_t next = 1;
        clsRanges acknowledged, sent;
        clsRanges between;     ///< numbers of lines between damage that are not acknowledged
        std::int64_t last = 0; ///< handed over in this run
        std::int32_t writtenPart = 1;
        std::optional<LinePlace> noted;  ///< the last one
        std::optional<std::int64_t> end; ///< behind the last line; then nothing is left to read
        bool isHeld = false, isTriedAgain = false;
        std::optional<Clock::time_point> ended;
        std::int64_t estimate = 0; ///< lines of an earlier run
        std::int32_t unit = 1, unitPart = 0;

        bool IsDone(std::int64_t number) const { return number < next || acknowledged.Contains(number); }
        std::int64_t FirstOpen(std::int64_t from) const;
        void Done(std::int64_t from, std::int64_t to);
        std::int64_t Undone(std::int64_t from, std::int64_t to) const;
    };
    using Recordings = std::map<RecordingKey, Recording>;

    static Recording fresh(const RecordingKey& key);
    bool isOld(const RecordingKey& key) const { return key.run < m_run; }
    bool isClosed(const Recordings::value_type& entry, Clock::time_point now) const;
    bool hasUnread(Recordings::value_type& entry, Clock::time_point now);
    ReadTask taskOf(const Recordings::value_type& entry, const LinePlace& from) const;
    template <typename Action>
    void forEach(std::int64_t run, std::int64_t first, std::int64_t last, Action action);
    void takeHoles(Recording& recording, std::span<const LineHole> holes);
    void bound(Recording& recording);
    void prune();

    std::int64_t m_run;
    Recordings m_recordings;
    std::deque<std::pair<RecordingKey, GatewayValue>> m_ready;
    std::int64_t m_dropped = 0;
    std::int64_t m_last = 0; ///< handed over in this run
    RecordingKey m_lastKey;
    std::uint64_t m_epoch = 0;
    bool m_isChanged = false;
};
