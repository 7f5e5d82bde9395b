// The journal's thread: it reads recordings, saves positions and events, and deletes what is too much. A lock is held
// only for moments, never while the disk works.
#pragma once

#include "gateway/clsEventStore.h"
#include "gateway/clsSensorJournal.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

class clsJournalThread {
public:
    /// Reads what is there; see `clsJournal`.
    clsJournalThread(std::filesystem::path folder, std::int64_t most_bytes, std::int32_t most_days);
    /// Waits for what the thread is doing. Saves nothing.
    ~clsJournalThread();
    clsJournalThread(const clsJournalThread&) = delete;
    clsJournalThread& operator=(const clsJournalThread&) = delete;

    std::int64_t Run() const { return m_run; }
    std::filesystem::path FolderOf(std::string_view sensor) const { return m_recordings / sensor; }
    /// With the lock held: a sensor, new if need be; and that there is nothing left to send of it.
    clsSensorJournal& SensorOf(std::string_view sensor);
    void Want(std::string_view sensor, clsSensorJournal& journal);
    void Serve(double now);
    void Finish(std::chrono::milliseconds patience);
    std::string Problem() const;
    std::vector<std::string> SensorNames() const;

    mutable std::mutex m_mutex;
    std::map<std::string, clsSensorJournal, std::less<>> m_sensors;
    clsEventStore m_eventStore;

private:
    using Clock = clsSensorJournal::Clock;
    enum Trouble : std::size_t { WithRun, WithPositions, WithEvents, WithReading, WithDeleting, Troubles };

    void restore();
    void beginRun();
    void work();
    void readWanted();
    void read(const std::string& sensor);
    void saveRun();
    void saveEvents();
    void savePositions();
    void movePositions();
    void deleteSurplus();
    void drop(const std::string& sensor, const RecordingPart& part);
    void report(Trouble trouble, const std::string& text);

    const std::filesystem::path m_folder, m_recordings;
    const std::int64_t m_mostBytes;
    const std::int32_t m_mostDays;
    std::int64_t m_run = 1;
    bool m_isRunSaved = false;

    std::condition_variable m_wake, m_ended;
    std::set<std::string, std::less<>> m_wanted;
    std::map<std::string, Clock::time_point, std::less<>> m_readAgain; ///< not before
    double m_now = 0.0;
    bool m_isFinishing = false, m_isStopping = false, m_isDone = false;
    std::array<std::string, Troubles> m_troubles;

    // Of the thread alone.
    std::vector<char> m_buffer;
    Clock::time_point m_saveAt, m_savePositionsAt;
    double m_lookedAt = 0.0; ///< for files that have to go
    std::thread m_thread;    ///< last: it uses all the others
};
