#include "gateway/clsJournalThread.h"

#include "base/FileHandle.h"
#include "base/Numbers.h"
#include "base/modFiles.h"
#include "gateway/clsRecordingWalk.h"
#include "gateway/modRecordingRead.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kPause{1000}, kSaveEvery{2000}, kSavePositionsEvery{5000}, kSaveAgainAfter{10000};
/// Lines that are not there yet, and files that cannot be read, are looked for again.
constexpr std::chrono::milliseconds kReadAgainAfter{100}, kFailedReadAgainAfter{5000};
constexpr double kLookEvery = 5.0 / (24.0 * 60.0); // days

std::string textOf(const std::error_code& error)
{
    return error.message();
}

/// Appends bytes, and has them written to the disk. A part of them that was written is taken back.
std::error_code append(const std::filesystem::path& path, std::string_view bytes)
{
    const FileHandle file(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666));
    struct stat before {};
    if (!file.IsOpen() || fstat(file.Descriptor(), &before) != 0) {
        return {errno, std::generic_category()};
    }
    const ssize_t count = write(file.Descriptor(), bytes.data(), bytes.size());
    if (count != std::ssize(bytes)) {
        const std::error_code error(count < 0 ? errno : ENOSPC, std::generic_category());
        static_cast<void>(count > 0 && ftruncate(file.Descriptor(), before.st_size) == 0);
        return error;
    }
    return fdatasync(file.Descriptor()) == 0 ? std::error_code() : std::error_code(errno, std::generic_category());
}

} // namespace

clsJournalThread::clsJournalThread(std::filesystem::path folder, std::int64_t most_bytes, std::int32_t most_days)
    : m_folder(std::move(folder)), m_recordings(m_folder / "REC"), m_mostBytes(most_bytes), m_mostDays(most_days),
      m_buffer(clsRecordingWalk::kBuffer)
{
    std::error_code error;
    if (!std::filesystem::is_directory(m_recordings, error) && !modFiles::MakeFolder(m_recordings, error)) {
        throw std::system_error(error, m_recordings.string());
    }
    restore();
    m_thread = std::thread([this] { work(); });
}

clsJournalThread::~clsJournalThread()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_isStopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void clsJournalThread::restore()
{
    std::error_code none;
    const auto saved = modFiles::ReadWhole(m_folder / "positions", none, modPositions::kLargestFile);
    const auto positions = modPositions::Read(saved.value_or(""));
    m_eventStore.Read(modFiles::ReadWhole(m_folder / "events", none, clsEventStore::kLargestFile).value_or(""));
    std::map<std::string, std::vector<JournalFile>> files;
    for (const std::string& sensor : modJournalFolder::SensorsIn(m_recordings)) {
        files[sensor] = modJournalFolder::FilesIn(m_recordings / sensor);
    }
    std::int64_t latest = m_eventStore.LatestRun();
    for (const SensorPosition& position : positions) {
        latest = std::max(latest, position.recordings.empty() ? 0 : position.recordings.back().key.run);
        files.try_emplace(position.sensor);
    }
    for (const auto& [sensor, parts] : files) {
        latest = std::max(latest, parts.empty() ? 0 : parts.back().part.key.run);
    }
    m_run = latest;
    beginRun();
    for (const auto& [sensor, parts] : files) {
        const auto position = std::ranges::find(positions, sensor, &SensorPosition::sensor);
        SensorOf(sensor).Restore(position == positions.end() ? nullptr : &*position, parts);
        m_wanted.insert(sensor);
    }
}

/// A number is saved before it is used, so that it is never used twice. Without that, the time stands for it.
void clsJournalThread::beginRun()
{
    const std::string saved = modFiles::ReadWhole(m_folder / "run").value_or("");
    std::int64_t run = 0;
    std::from_chars(saved.data(), saved.data() + saved.size(), run);
    constexpr std::int64_t kImpossible = std::int64_t{1} << 40U;
    m_run = std::max(m_run, run > 0 && run < kImpossible ? run : 0) + 1;
    saveRun();
    if (!m_isRunSaved) {
        const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
        m_run = std::max(m_run, std::int64_t{std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count()});
    }
}

void clsJournalThread::saveRun()
{
    std::error_code error;
    m_isRunSaved = modFiles::Replace(m_folder / "run", std::to_string(m_run) + '\n', error);
    report(WithRun, m_isRunSaved ? "" : (m_folder / "run").string() + ": " + textOf(error));
}

clsSensorJournal& clsJournalThread::SensorOf(std::string_view sensor)
{
    const auto found = m_sensors.find(sensor);
    return found != m_sensors.end() ? found->second : m_sensors.try_emplace(std::string(sensor), m_run).first->second;
}

void clsJournalThread::Want(std::string_view sensor, clsSensorJournal& journal)
{
    const auto now = Clock::now();
    const auto again = m_readAgain.find(sensor);
    if ((again != m_readAgain.end() && now < again->second) || m_wanted.contains(sensor) || !journal.HasUnread(now)) {
        return;
    }
    m_wanted.emplace(sensor);
    m_wake.notify_one();
}

void clsJournalThread::Serve(double now)
{
    const std::scoped_lock lock(m_mutex);
    m_now = now;
}

void clsJournalThread::Finish(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    m_isFinishing = true;
    m_wake.notify_one();
    m_ended.wait_for(lock, patience, [this] { return m_isDone; });
}

std::string clsJournalThread::Problem() const
{
    const std::scoped_lock lock(m_mutex);
    for (const std::string& trouble : m_troubles) {
        if (!trouble.empty()) {
            return trouble;
        }
    }
    for (const auto& [name, sensor] : m_sensors) {
        if (sensor.IsHeld()) {
            return "the recording of " + name + " is damaged; values behind the damage wait for its end";
        }
    }
    return {};
}

void clsJournalThread::report(Trouble trouble, const std::string& text)
{
    const std::scoped_lock lock(m_mutex);
    m_troubles[trouble] = text;
}

std::vector<std::string> clsJournalThread::SensorNames() const
{
    const std::scoped_lock lock(m_mutex);
    std::vector<std::string> names;
    for (const auto& [name, sensor] : m_sensors) {
        names.push_back(name);
    }
    return names;
}

void clsJournalThread::work()
{
    const auto isCalled = [this] { return m_isStopping || m_isFinishing || !m_wanted.empty(); };
    for (bool isLast = false; !isLast;) {
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait_for(lock, kPause, isCalled);
            if (m_isStopping) {
                return;
            }
            isLast = m_isFinishing;
        }
        readWanted();
        if (isLast || Clock::now() >= m_saveAt) {
            m_saveAt = Clock::now() + kSaveEvery;
            if (!m_isRunSaved) {
                saveRun();
            }
            movePositions();
            saveEvents();
        }
        if (isLast || Clock::now() >= m_savePositionsAt) {
            m_savePositionsAt = Clock::now() + kSavePositionsEvery;
            savePositions();
        }
        deleteSurplus();
    }
    const std::scoped_lock lock(m_mutex);
    m_isDone = true;
    m_ended.notify_all();
}

void clsJournalThread::readWanted()
{
    std::set<std::string, std::less<>> wanted;
    {
        const std::scoped_lock lock(m_mutex);
        wanted = m_wanted;
    }
    for (const std::string& sensor : wanted) {
        {
            const std::scoped_lock lock(m_mutex);
            if (m_isStopping || m_isFinishing) {
                m_wanted.clear();
                return;
            }
        }
        read(sensor);
        const std::scoped_lock lock(m_mutex);
        m_wanted.erase(sensor);
    }
}

/// Reads a piece of what a sensor has to send.
void clsJournalThread::read(const std::string& sensor)
{
    constexpr int kMostPieces = 8;
    for (int piece = 0; piece < kMostPieces; ++piece) {
        std::optional<ReadTask> task;
        {
            const std::scoped_lock lock(m_mutex);
            clsSensorJournal& journal = SensorOf(sensor);
            task = journal.HasRead() ? std::nullopt : journal.NextTask(Clock::now());
        }
        if (!task) {
            return;
        }
        ReadResult result = modRecordingRead::Read(FolderOf(sensor), *task, {}, m_buffer);
        report(WithReading, result.failure);
        const bool isFailed = !result.failure.empty(), isBehind = result.isAtEnd && !task->isClosed;
        const std::scoped_lock lock(m_mutex);
        SensorOf(sensor).Take(*task, std::move(result));
        if (isFailed || isBehind) {
            m_readAgain[sensor] = Clock::now() + (isFailed ? kFailedReadAgainAfter : kReadAgainAfter);
            return;
        }
    }
}

void clsJournalThread::saveEvents()
{
    std::optional<clsEventStore::Change> change;
    {
        const std::scoped_lock lock(m_mutex);
        change = m_eventStore.TakeChange();
    }
    if (!change) {
        return;
    }
    const std::filesystem::path file = m_folder / "events";
    std::error_code error;
    if (change->replaces) {
        static_cast<void>(modFiles::Replace(file, change->bytes, error));
    } else {
        error = append(file, change->bytes);
    }
    report(WithEvents, error ? file.string() + ": " + textOf(error) : "");
    if (error) {
        const std::scoped_lock lock(m_mutex);
        m_eventStore.Failed();
    }
}

void clsJournalThread::savePositions()
{
    std::vector<SensorPosition> positions;
    {
        const std::scoped_lock lock(m_mutex);
        bool isChanged = !m_troubles[WithPositions].empty();
        for (auto& [name, sensor] : m_sensors) {
            isChanged = sensor.TakeChange() || isChanged;
            positions.push_back(sensor.Position());
            positions.back().sensor = name;
        }
        if (!isChanged) {
            return;
        }
    }
    const std::filesystem::path file = m_folder / "positions";
    std::error_code error;
    const bool isSaved = modFiles::Replace(file, modPositions::Write(positions), error, modPositions::kLargestFile);
    report(WithPositions, isSaved ? "" : file.string() + ": " + textOf(error));
    m_savePositionsAt = Clock::now() + (isSaved ? kSavePositionsEvery : kSaveAgainAfter);
}

/// What was sent as it came was not read, so where its lines are has to be found out now and then.
void clsJournalThread::movePositions()
{
    for (const std::string& sensor : SensorNames()) {
        std::vector<ReadTask> tasks;
        {
            const std::scoped_lock lock(m_mutex);
            tasks = SensorOf(sensor).TasksToMove();
        }
        for (const ReadTask& task : tasks) {
            const ReadResult result = modRecordingRead::Read(FolderOf(sensor), task, {}, m_buffer);
            const std::scoped_lock lock(m_mutex);
            SensorOf(sensor).Move(task, result.to);
        }
    }
}

void clsJournalThread::deleteSurplus()
{
    double now = 0.0;
    modJournalFolder::WrittenFiles written;
    {
        const std::scoped_lock lock(m_mutex);
        now = m_now;
        const bool isDue = now != 0.0 && (now >= m_lookedAt + kLookEvery || now < m_lookedAt);
        if (!isDue) {
            return;
        }
        for (const auto& [name, sensor] : m_sensors) {
            written.emplace(name, sensor.Written(Clock::now()));
        }
    }
    m_lookedAt = now;
    const auto surplus = modJournalFolder::SurplusOf(m_recordings, written, m_mostBytes, m_mostDays, now);
    for (const auto& [sensor, file] : surplus) {
        drop(sensor, file.part);
    }
    if (!surplus.empty()) {
        savePositions(); // first: a file that is gone must not be looked for
    }
    std::string trouble;
    for (const auto& [sensor, file] : surplus) {
        if (!modJournalFolder::Delete(FolderOf(sensor), file.part)) {
            trouble = (FolderOf(sensor) / modRecordingName::FileOf(file.part)).string() + ": " +
                      textOf({errno, std::generic_category()});
        }
    }
    report(WithDeleting, trouble);
}

/// Counts the values of a file that is to be deleted as dropped, unless they were sent.
void clsJournalThread::drop(const std::string& sensor, const RecordingPart& part)
{
    std::optional<LinePlace> between; // damage, where no position can be saved
    for (bool isDone = false; !isDone;) {
        std::optional<ReadTask> task;
        {
            const std::scoped_lock lock(m_mutex);
            task = m_isStopping ? std::nullopt : SensorOf(sensor).TaskToDrop(part.key);
        }
        if (task && between) {
            task->from = *between;
        }
        if (!task || task->from.part > part.part) {
            return;
        }
        const modRecordingRead::Limits limits{.part = part.part};
        const ReadResult result = modRecordingRead::Read(FolderOf(sensor), *task, limits, m_buffer);
        const bool isBetween = result.to.sequence >= clsRecordingWalk::kBetweenDamage;
        between = isBetween ? std::optional(result.to) : std::nullopt;
        isDone = result.to == task->from || result.isAtEnd || !result.failure.empty();
        const std::scoped_lock lock(m_mutex);
        SensorOf(sensor).Drop(*task, result);
    }
}
