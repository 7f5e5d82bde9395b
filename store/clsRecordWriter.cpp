#include "store/clsRecordWriter.h"

#include "store/modSidecar.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace {

using Clock = clsRecordFile::Clock;

/// Lines that wait are collected in pieces of this size, so that a long queue takes no more memory than its lines.
constexpr std::size_t kPiece = std::size_t{64} << 10;
/// A thread without lines wakes as often, to flush in time.
constexpr std::chrono::milliseconds kPause{500};
constexpr std::chrono::seconds kLookAtSpaceEvery{5};

/// What is to be done, in this order.
struct Piece {
    bool beginsPart = false;
    std::optional<RecordingInfo> finished; ///< completes the sidecar of the part before
    std::optional<RecordingInfo> begun;    ///< the sidecar of the present part
    std::string lines;
    std::int64_t count = 0;
};

} // namespace

/// The caller's operations lock; the rest belongs to the thread.
class clsRecordWriter::Worker {
public:
    Worker(RecordPlace place, const RecordDisk& disk) : m_place(std::move(place)), m_disk(disk)
    {
        m_file.emplace(m_place, m_disk);
        noteFile();
    }

    void Add(Piece piece)
    {
        const std::scoped_lock lock(m_mutex);
        m_queue.push_back(std::move(piece));
    }
    bool Write(std::string_view lines, std::int64_t count);
    void Close(std::optional<RecordingInfo> finished);
    bool WaitUntil(Clock::time_point end)
    {
        std::unique_lock lock(m_mutex);
        return m_ended.wait_until(lock, end, [this] { return m_isDone; });
    }
    template <typename Value>
    Value Locked(Value Worker::*value) const
    {
        const std::scoped_lock lock(m_mutex);
        return this->*value;
    }
    void Run();

    RecordProgress m_progress;
    std::vector<std::filesystem::path> m_parts;
    std::optional<FileIdentity> m_identity;

private:
    std::optional<Piece> next();
    void work();
    void serve(Piece& piece);
    void write(const Piece& piece);
    void beginPart();
    void endPart(std::optional<RecordingInfo>& finished);
    void describe(const RecordingInfo& info);
    void lookAtSpace();
    void noteFile();
    void noteSidecar(const std::filesystem::path& sidecar, const std::error_code& error);
    void fail(const std::error_code& error);

    RecordPlace m_place; ///< of the next file
    const RecordDisk m_disk;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake, m_ended;
    std::deque<Piece> m_queue;
    std::size_t m_waiting = 0; ///< bytes of lines that are not written, those in the thread's hands included
    bool m_isClosing = false, m_isDone = false, m_isGathering = false;
    std::optional<RecordingInfo> m_finished;

    std::optional<clsRecordFile> m_file; ///< none between two parts
    bool m_isDescribed = false, m_hasWritten = false;
    std::int64_t m_lostOfPart = 0;
    Clock::time_point m_spaceKnownUntil;
};

bool clsRecordWriter::Worker::Write(std::string_view lines, std::int64_t count)
{
    {
        const std::scoped_lock lock(m_mutex);
        if (m_waiting + lines.size() > m_disk.room) {
            return false;
        }
        if (m_queue.empty() || m_queue.back().lines.size() + lines.size() > kPiece) {
            m_queue.emplace_back();
        }
        m_queue.back().lines += lines;
        m_queue.back().count += count;
        m_waiting += lines.size();
        if (m_isGathering) {
            return true;
        }
    }
    m_wake.notify_one();
    return true;
}

void clsRecordWriter::Worker::Close(std::optional<RecordingInfo> finished)
{
    {
        const std::scoped_lock lock(m_mutex);
        if (!std::exchange(m_isClosing, true)) {
            m_finished = std::move(finished);
        }
    }
    m_wake.notify_one();
}

void clsRecordWriter::Worker::Run()
{
    try {
        work();
    } catch (const std::exception&) {
        fail(std::make_error_code(std::errc::not_enough_memory)); // the system's errors have been dealt with
    }
    {
        const std::scoped_lock lock(m_mutex);
        for (const Piece& piece : m_queue) {
            m_progress.lost += piece.count;
        }
        m_queue.clear();
        m_isDone = true;
    }
    m_ended.notify_all();
}

/// The next piece, or an empty one when it is time to see to the disk; none when all is written and nothing follows.
std::optional<Piece> clsRecordWriter::Worker::next()
{
    std::unique_lock lock(m_mutex);
    m_isGathering = m_hasWritten && m_disk.gather.count() > 0;
    if (m_isGathering) {
        m_wake.wait_for(lock, m_disk.gather, [this] { return m_isClosing; });
        m_isGathering = false;
    }
    m_wake.wait_for(lock, kPause, [this] { return m_isClosing || !m_queue.empty(); });
    m_hasWritten = !m_queue.empty();
    if (m_queue.empty()) {
        return m_isClosing ? std::nullopt : std::optional<Piece>(std::in_place);
    }
    Piece piece = std::move(m_queue.front());
    m_queue.pop_front();
    return piece;
}

void clsRecordWriter::Worker::work()
{
    while (std::optional<Piece> piece = next()) {
        serve(*piece);
    }
    endPart(m_finished);
}

void clsRecordWriter::Worker::serve(Piece& piece)
{
    if (piece.beginsPart) {
        endPart(piece.finished);
        beginPart();
    }
    if (piece.begun && m_file) {
        describe(*piece.begun);
    }
    if (piece.count > 0) {
        write(piece);
    }
    if (m_file && !m_progress.failure) {
        fail(m_file->FlushIfDue(Clock::now()));
        lookAtSpace();
    }
}

void clsRecordWriter::Worker::write(const Piece& piece)
{
    clsRecordFile::Written written;
    if (m_file && !m_progress.failure) {
        written = m_file->Write(piece.lines, Clock::now());
    }
    m_lostOfPart += piece.count - written.lines;
    const std::scoped_lock lock(m_mutex);
    m_waiting -= piece.lines.size();
    m_progress.lines += written.lines;
    m_progress.lost += piece.count - written.lines;
    m_progress.bytes = m_file ? m_file->Bytes() : 0;
    if (!m_progress.failure) {
        m_progress.failure = written.error;
    }
}

/// A folder that has vanished meanwhile is created again.
void clsRecordWriter::Worker::beginPart()
{
    m_lostOfPart = 0;
    if (m_progress.failure) {
        return;
    }
    try {
        m_file.emplace(m_place, m_disk);
        noteFile();
    } catch (const std::system_error& failure) {
        fail(failure.code());
    } catch (const std::overflow_error&) {
        fail(std::make_error_code(std::errc::value_too_large)); // all names are taken
    }
}

void clsRecordWriter::Worker::endPart(std::optional<RecordingInfo>& finished)
{
    if (!m_file) {
        return;
    }
    const std::filesystem::path sidecar = modSidecar::SidecarOf(m_file->Path());
    const bool isDescribed = std::exchange(m_isDescribed, false);
    if (m_file->IsEmpty()) {
        std::error_code unknown;
        std::filesystem::remove(m_file->Path(), unknown);
        if (isDescribed) {
            static_cast<void>(modSidecar::Remove(m_file->Path()));
        }
    }
    const bool isKept = m_file->IsInPlace();
    const std::int64_t bytes = m_file->Bytes();
    fail(m_file->Close());
    m_file.reset();
    if (finished && isDescribed && isKept) {
        finished->account.recorded -= m_lostOfPart;
        finished->account.unwritten += m_lostOfPart;
        finished->bytes = bytes;
        if (const std::error_code error = modSidecar::Write(sidecar, *finished)) {
            noteSidecar(sidecar, error);
        }
    }
}

void clsRecordWriter::Worker::noteSidecar(const std::filesystem::path& sidecar, const std::error_code& error)
{
    const std::scoped_lock lock(m_mutex);
    if (!m_progress.sidecarFailure) {
        m_progress.sidecar = sidecar;
        m_progress.sidecarFailure = error;
    }
}

/// A sidecar that cannot be written now may be at the end.
void clsRecordWriter::Worker::describe(const RecordingInfo& info)
{
    m_isDescribed = true;
    static_cast<void>(modSidecar::Write(modSidecar::SidecarOf(m_file->Path()), info));
}

/// Asking can block on a network disk, like writing.
void clsRecordWriter::Worker::lookAtSpace()
{
    if (Clock::now() < m_spaceKnownUntil) {
        return;
    }
    std::error_code unknown;
    const auto space = std::filesystem::space(m_place.folder, unknown);
    m_spaceKnownUntil = Clock::now() + kLookAtSpaceEvery;
    const std::scoped_lock lock(m_mutex);
    m_progress.free = unknown ? std::nullopt : std::optional(space.available);
}

/// The next file gets a higher number: one that was deleted meanwhile does not come back behind those after it.
void clsRecordWriter::Worker::noteFile()
{
    m_place.first = m_file->Number() + 1;
    const std::scoped_lock lock(m_mutex);
    m_progress.file = m_file->Path();
    m_progress.bytes = 0;
    m_parts.push_back(m_file->Path());
    m_identity = m_file->Identity();
}

/// The first error counts; no error is none.
void clsRecordWriter::Worker::fail(const std::error_code& error)
{
    const std::scoped_lock lock(m_mutex);
    if (!m_progress.failure) {
        m_progress.failure = error;
    }
}

clsRecordWriter::clsRecordWriter(const RecordPlace& place, const RecordDisk& disk)
    : m_worker(std::make_shared<Worker>(place, disk))
{
    // Nobody waits for the thread: the disk may take longer than the program may.
    try {
        std::thread([worker = m_worker] { worker->Run(); }).detach();
    } catch (const std::system_error&) {
        std::error_code unknown;
        std::filesystem::remove(Progress().file, unknown);
        throw; // no more threads are available
    }
}

clsRecordWriter::~clsRecordWriter()
{
    if (m_worker) {
        m_worker->Close({});
    }
}

void clsRecordWriter::Describe(RecordingInfo info)
{
    Piece piece;
    piece.begun = std::move(info);
    m_worker->Add(std::move(piece));
}

bool clsRecordWriter::Write(std::string_view lines, std::int64_t count)
{
    return m_worker->Write(lines, count);
}

void clsRecordWriter::BeginPart(std::optional<RecordingInfo> finished)
{
    Piece piece;
    piece.beginsPart = true;
    piece.finished = std::move(finished);
    m_worker->Add(std::move(piece));
}

void clsRecordWriter::Close(std::optional<RecordingInfo> finished)
{
    m_worker->Close(std::move(finished));
}

bool clsRecordWriter::WaitUntil(std::chrono::steady_clock::time_point end) const
{
    return m_worker->WaitUntil(end);
}

RecordProgress clsRecordWriter::Progress() const
{
    return m_worker->Locked(&Worker::m_progress);
}

std::vector<std::filesystem::path> clsRecordWriter::Parts() const
{
    return m_worker->Locked(&Worker::m_parts);
}

std::optional<FileIdentity> clsRecordWriter::Identity() const
{
    return m_worker->Locked(&Worker::m_identity);
}
