#include "gateway/clsSensorJournal.h"

#include "gateway/clsRecordingWalk.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace {

/// Bytes of a line, nearly always.
constexpr std::int64_t kUsualLine = 42;
/// More ranges are not remembered; those of the shortest are sent again.
constexpr std::size_t kMostRanges = 256;
/// A disk may be late with the lines of a recording that has ended.
constexpr std::chrono::seconds kPatience{60};
/// So many lines behind, a saved position is moved.
constexpr std::int64_t kFarBehind = 2000;

} // namespace

std::int64_t clsSensorJournal::Recording::FirstOpen(std::int64_t from) const
{
    std::int64_t number = std::max(from, next);
    for (std::int64_t before = -1; before != number;) {
        before = number;
        number = sent.FirstGap(acknowledged.FirstGap(number));
    }
    return number;
}

void clsSensorJournal::Recording::Done(std::int64_t from, std::int64_t to)
{
    acknowledged.Add(std::max(from, next), to);
    sent.Remove(from, to);
    between.Remove(from, to);
    next = acknowledged.FirstGap(next);
    acknowledged.Remove(0, next - 1);
}

std::int64_t clsSensorJournal::Recording::Undone(std::int64_t from, std::int64_t to) const
{
    from = std::max(from, next);
    return to < from ? 0 : to - from + 1 - acknowledged.Count(from, to);
}

clsSensorJournal::Recording clsSensorJournal::fresh(const RecordingKey& key)
{
    Recording recording;
    recording.place = {1, 0, key.first, key.first};
    recording.read = recording.place;
    recording.next = key.first;
    return recording;
}

void clsSensorJournal::Restore(const SensorPosition* position, std::span<const JournalFile> files)
{
    for (const JournalFile& file : files) {
        Recording& recording = m_recordings.try_emplace(file.part.key, fresh(file.part.key)).first->second;
        recording.estimate += file.bytes / kUsualLine;
    }
    if (position == nullptr || position->recordings.empty()) {
        m_dropped = position == nullptr ? 0 : position->dropped;
        return;
    }
    m_dropped = position->dropped;
    const RecordingKey& oldest = position->recordings.front().key;
    m_recordings.erase(m_recordings.begin(), m_recordings.lower_bound(oldest));
    for (const RecordingPosition& known : position->recordings) {
        const bool isThere = m_recordings.contains(known.key);
        Recording& recording = m_recordings.try_emplace(known.key, fresh(known.key)).first->second;
        recording.place = recording.read = known.place;
        recording.next = known.next;
        for (const auto& [first, last] : known.acknowledged) {
            recording.acknowledged.Add(first, last);
        }
        if (!isThere) {
            recording.end = recording.next; // its files are gone
        }
    }
    prune();
}

RecordingKey clsSensorJournal::NewKey()
{
    const RecordingKey key{m_run, m_last + 1, 1};
    const bool isAgain = m_lastKey.run == key.run && m_lastKey.first == key.first;
    m_lastKey = {key.run, key.first, isAgain ? m_lastKey.again + 1 : 1};
    return m_lastKey;
}

void clsSensorJournal::Began(const RecordingPart& file)
{
    if (const auto running = m_recordings.find(file.key); running != m_recordings.end()) {
        running->second.writtenPart = file.part;
        return;
    }
    for (auto& [before, recording] : m_recordings) {
        if (!isOld(before) && !recording.ended) {
            recording.ended = Clock::now();
        }
    }
    Recording& recording = m_recordings.emplace(file.key, fresh(file.key)).first->second;
    recording.place.part = recording.read.part = recording.writtenPart = file.part;
    recording.last = m_last = file.key.first - 1;
    m_isChanged = true;
    prune();
}

void clsSensorJournal::Recorded(std::int64_t last)
{
    m_last = std::max(m_last, last);
    if (!m_recordings.empty() && !isOld(m_recordings.rbegin()->first)) {
        m_recordings.rbegin()->second.last = m_last;
    }
}

void clsSensorJournal::Noted(const RecordingPart& file, std::uint64_t bytes, std::int64_t last)
{
    if (const auto found = m_recordings.find(file.key); found != m_recordings.end()) {
        found->second.noted = {file.part, bytes, last + 1, 0};
        found->second.isTriedAgain = true;
    }
}

void clsSensorJournal::Ended(Clock::time_point now)
{
    if (!m_recordings.empty() && !isOld(m_recordings.rbegin()->first)) {
        m_recordings.rbegin()->second.ended = now;
    }
}

std::vector<RecordingPart> clsSensorJournal::Written(Clock::time_point now) const
{
    std::vector<RecordingPart> written;
    for (const auto& entry : m_recordings) {
        if (!isClosed(entry, now)) {
            written.push_back({entry.first, entry.second.writtenPart});
        }
    }
    return written;
}

/// The recordings of a run that have these numbers, each with its share of them.
template <typename Action>
void clsSensorJournal::forEach(std::int64_t run, std::int64_t first, std::int64_t last, Action action)
{
    auto entry = m_recordings.lower_bound({run, 0, 0});
    for (; entry != m_recordings.end() && entry->first.run == run; ++entry) {
        if (first >= clsRecordingWalk::kBehindDamage) {
            if (entry->second.sent.Contains(first)) {
                action(entry->second, first, last);
                return;
            }
            continue;
        }
        const auto behind = std::next(entry);
        const bool isLast = behind == m_recordings.end() || behind->first.run != run;
        const std::int64_t from = std::max(first, entry->first.first);
        const std::int64_t to = isLast ? last : std::min(last, behind->first.first - 1);
        if (from <= to) {
            action(entry->second, from, to);
        }
    }
}

void clsSensorJournal::SentLive(std::int64_t first, std::int64_t last)
{
    forEach(m_run, first, last,
            [](Recording& recording, std::int64_t from, std::int64_t to) { recording.sent.Add(from, to); });
}

void clsSensorJournal::Acknowledged(std::int64_t run, std::int64_t first, std::int64_t last)
{
    forEach(run, first, last, [this](Recording& recording, std::int64_t from, std::int64_t to) {
        recording.Done(from, to);
        bound(recording);
        m_isChanged = true;
    });
    prune();
}

/// Forgets what is acknowledged in many small pieces, and reads it again.
void clsSensorJournal::bound(Recording& recording)
{
    while (recording.acknowledged.All().size() > kMostRanges) {
        if (recording.acknowledged.TakeShortest().first < recording.read.sequence) {
            ++m_epoch;
            recording.read = recording.place;
            recording.end.reset();
        }
    }
}

void clsSensorJournal::Unsent()
{
    ++m_epoch;
    m_ready.clear();
    for (auto& [key, recording] : m_recordings) {
        recording.sent.Clear();
        // The files of some that were on their way have been deleted meanwhile.
        m_dropped += recording.Undone(recording.next, recording.place.sequence - 1);
        recording.Done(recording.next, recording.place.sequence - 1);
        recording.read = recording.place;
        if (recording.end && (recording.next < *recording.end || !recording.between.All().empty())) {
            recording.end.reset();
        }
        recording.between.Clear();
    }
    prune();
}

std::vector<GatewayValue> clsSensorJournal::Next(std::size_t most)
{
    std::vector<GatewayValue> values;
    while (!m_ready.empty() && values.size() < most) {
        const auto& [key, value] = m_ready.front();
        const auto found = m_recordings.find(key);
        const bool isOpen = found != m_recordings.end() && found->second.FirstOpen(value.sequence) == value.sequence;
        if (isOpen) {
            found->second.sent.Add(value.sequence, value.sequence);
            values.push_back(value);
        }
        m_ready.pop_front();
    }
    return values;
}

std::int64_t clsSensorJournal::Waiting() const
{
    std::int64_t waiting = 0;
    for (const auto& [key, recording] : m_recordings) {
        const bool isCounted = !isOld(key) && recording.read.sequence < clsRecordingWalk::kBehindDamage;
        if (recording.end || isCounted) {
            waiting += recording.Undone(recording.next, recording.end ? *recording.end - 1 : recording.last);
            waiting += recording.between.Count();
        } else {
            const std::int64_t done = std::min(recording.next, clsRecordingWalk::kBehindDamage) - key.first;
            waiting += std::max<std::int64_t>(1, recording.estimate - done);
        }
    }
    return waiting;
}

bool clsSensorJournal::isClosed(const Recordings::value_type& entry, Clock::time_point now) const
{
    const auto& [key, recording] = entry;
    return isOld(key) || (recording.ended && now - *recording.ended > kPatience);
}

bool clsSensorJournal::hasUnread(Recordings::value_type& entry, Clock::time_point now)
{
    auto& [key, recording] = entry;
    if (recording.end || isOld(key)) {
        return !recording.end;
    }
    if (recording.read.sequence >= clsRecordingWalk::kBehindDamage) {
        return true; // `last` says nothing of these
    }
    const bool isAllSent = recording.FirstOpen(recording.read.sequence) > recording.last;
    if (isAllSent && recording.ended) {
        recording.end = recording.last + 1;
    }
    return !isAllSent && (!recording.isHeld || recording.isTriedAgain || isClosed(entry, now));
}

bool clsSensorJournal::HasUnread(Clock::time_point now)
{
    return std::ranges::any_of(m_recordings, [&](auto& entry) { return hasUnread(entry, now); });
}

ReadTask clsSensorJournal::taskOf(const Recordings::value_type& entry, const LinePlace& from) const
{
    const auto& [key, recording] = entry;
    ReadTask task{.key = key,
                  .from = from,
                  .noted = recording.noted,
                  .isClosed = isOld(key),
                  .last = {},
                  .covered = recording.acknowledged};
    for (const auto& [first, last] : recording.sent.All()) {
        task.covered.Add(first, last);
    }
    task.covered.Add(0, recording.next - 1);
    task.unit = recording.unit;
    task.unitPart = recording.unitPart;
    task.epoch = m_epoch;
    return task;
}

std::optional<ReadTask> clsSensorJournal::NextTask(Clock::time_point now)
{
    for (auto& entry : m_recordings) {
        if (!hasUnread(entry, now)) {
            continue;
        }
        Recording& recording = entry.second;
        if (std::tie(recording.place.part, recording.place.offset) >
            std::tie(recording.read.part, recording.read.offset)) {
            recording.read = recording.place; // files have been deleted
        }
        recording.isTriedAgain = false;
        ReadTask task = taskOf(entry, recording.read);
        task.isClosed = isClosed(entry, now);
        if (!task.isClosed) {
            task.last = recording.last;
        }
        return task;
    }
    prune();
    return std::nullopt;
}

void clsSensorJournal::takeHoles(Recording& recording, std::span<const LineHole> holes)
{
    for (const auto& [first, last, kept, isTorn] : holes) {
        const bool isNew = !recording.IsDone(last);
        m_dropped += isTorn ? std::int64_t{isNew} : std::max<std::int64_t>(recording.Undone(first, last) - kept, 0);
        recording.Done(first, last);
        m_isChanged = true;
    }
}

void clsSensorJournal::Take(const ReadTask& task, ReadResult result)
{
    const auto found = m_recordings.find(task.key);
    if (found == m_recordings.end() || task.epoch != m_epoch) {
        return;
    }
    Recording& recording = found->second;
    if (result.isMisplaced) {
        const std::int64_t last = recording.last;
        const std::int32_t writtenPart = recording.writtenPart;
        const auto ended = recording.ended;
        const auto noted = recording.noted;
        recording = fresh(task.key);
        recording.noted = noted;
        recording.last = last;
        recording.writtenPart = writtenPart;
        recording.ended = ended;
        m_isChanged = true;
        return;
    }
    takeHoles(recording, result.holes);
    recording.read = result.to;
    recording.unit = result.unit;
    recording.unitPart = result.unitPart;
    recording.isHeld = result.isDamaged;
    for (const GatewayValue& value : result.values) {
        if (value.sequence >= clsRecordingWalk::kBetweenDamage) {
            recording.between.Add(value.sequence, value.sequence);
        }
        m_ready.emplace_back(task.key, value);
    }
    if (result.isAtEnd && task.isClosed) {
        const std::int64_t end = result.to.sequence;
        if (end <= recording.last) {
            const LineHole lost{end, recording.last}; // the disk never got these lines
            takeHoles(recording, {&lost, 1});
        }
        recording.end = std::max(end, recording.last + 1);
    }
    prune();
}

std::optional<ReadTask> clsSensorJournal::TaskToDrop(const RecordingKey& key) const
{
    const auto found = m_recordings.find(key);
    if (found == m_recordings.end()) {
        return std::nullopt;
    }
    ReadTask task = taskOf(*found, found->second.place);
    task.isClosed = true; // so are its files that can go
    return task;
}

void clsSensorJournal::Drop(const ReadTask& task, const ReadResult& result)
{
    const auto found = m_recordings.find(task.key);
    if (found == m_recordings.end() || result.isMisplaced) {
        return;
    }
    Recording& recording = found->second;
    takeHoles(recording, result.holes);
    for (const GatewayValue& value : result.values) {
        if (recording.FirstOpen(value.sequence) == value.sequence) {
            ++m_dropped;
            recording.Done(value.sequence, value.sequence);
        }
    }
    if (result.to.sequence < clsRecordingWalk::kBetweenDamage) {
        recording.place = result.to; // numbers behind it are higher
    }
    m_isChanged = true;
}

std::vector<ReadTask> clsSensorJournal::TasksToMove() const
{
    std::vector<ReadTask> tasks;
    for (const auto& entry : m_recordings) {
        const Recording& recording = entry.second;
        const bool hasBetween =
            !recording.between.All().empty() || recording.read.sequence >= clsRecordingWalk::kBetweenDamage;
        if (recording.next - recording.place.sequence > kFarBehind && !recording.end && !hasBetween) {
            tasks.push_back(taskOf(entry, recording.place));
            tasks.back().last = recording.next - 1;
        }
    }
    return tasks;
}

void clsSensorJournal::Move(const ReadTask& task, const LinePlace& place)
{
    const auto found = m_recordings.find(task.key);
    if (found != m_recordings.end() && found->second.place == task.from && place.sequence <= found->second.next) {
        m_isChanged = m_isChanged || !(found->second.place == place);
        found->second.place = place;
    }
}

/// What is complete need not be remembered. The last one stays, so that the position says how far the broker is.
void clsSensorJournal::prune()
{
    while (m_recordings.size() > 1) {
        const Recording& oldest = m_recordings.begin()->second;
        if (!oldest.end || oldest.next < *oldest.end || !oldest.between.All().empty()) {
            return;
        }
        m_recordings.erase(m_recordings.begin());
        m_isChanged = true;
    }
}

SensorPosition clsSensorJournal::Position() const
{
    SensorPosition position;
    position.dropped = m_dropped;
    for (const auto& [key, recording] : m_recordings) {
        const bool isTouched = recording.next > key.first || !recording.acknowledged.All().empty();
        if (!isTouched && !position.recordings.empty()) {
            continue;
        }
        // Files of some that are on their way may have been deleted.
        const std::int64_t next = recording.acknowledged.FirstGap(std::max(recording.next, recording.place.sequence));
        clsRanges ranges = recording.acknowledged;
        ranges.Remove(0, next);
        while (ranges.All().size() > modPositions::kMostRanges) {
            ranges.TakeShortest();
        }
        if (position.recordings.size() == modPositions::kMostRecordings) {
            position.recordings.pop_back(); // the newest counts more: it grows
        }
        position.recordings.push_back({key, recording.place, next, ranges.All()});
    }
    return position;
}

bool clsSensorJournal::IsHeld() const
{
    return std::ranges::any_of(m_recordings,
                               [](const auto& entry) { return entry.second.isHeld && !entry.second.end; });
}
