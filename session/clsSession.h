// The folder session/ runs a session with one sensor, without a front end: measurement loop, transfers, recording,
// playback. The dialogue itself belongs to sensor/, files to store/ and windows to ui/. Here: the whole session in one
// object. A window, a command-line program or a service drives it with ticks and listens to it.
#pragma once

#include "base/Operation.h"
#include "port/SerialPort.h"
#include "sensor/clsRVQ.h"
#include "sensor/clsTraffic.h"
#include "session/clsHistory.h"
#include "session/clsListeners.h"
#include "session/clsMarkKeeper.h"
#include "session/clsMeasurementLoop.h"
#include "session/clsRecorder.h"
#include "session/clsWriteKeeper.h"
#include "session/modPlayback.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

class clsSession : private SessionListener {
public:
    /// `settings` must outlive the session; the session follows the port number, the rate and the recorder's choices in
    /// it. Recordings are made in `folder`, which is created with the first one. `decimalSeparator` comes from the
    /// user's locale.
    clsSession(std::unique_ptr<SerialPort> port, const modGlobals::Settings& settings, std::filesystem::path folder,
               char decimalSeparator, const RecordDisk& disk = {});
    /// Ends the session without waiting for lines that are still on their way to the disk.
    ~clsSession() override;
    clsSession(const clsSession&) = delete;
    clsSession& operator=(const clsSession&) = delete;

    /// A listener must call `Leave` before it is destroyed.
    void Listen(SessionListener& listener) { m_listeners.Add(listener); }
    void Leave(SessionListener& listener) { m_listeners.Remove(listener); }

    /// One tick at the local time `now` (days since 1899-12-30), `clsMeasurementLoop::kInterval_ms` after the last one.
    /// The measurement waits while a recording is played.
    void Tick(double now);
    /// Flushes recorded lines to the disk in time and reports what has become of recordings. Call it in every tick,
    /// before `Tick` and separately: the measurement then continues whatever happens to a file, and vice versa.
    void ServeFiles(double now);
    /// Whether continuous measurement or a wait for the sensor is running; nothing can be played then.
    bool IsBusy() const { return m_loop.IsMeasuring() || m_device.Wait().Running; }

    /// Queues an operation of this session (`Loop().ChangingSetting(...)`, `clsTransfer::Downloading()`). It makes one
    /// step after each tick; operations run one after another. An exception comes out of the tick and ends the
    /// operation.
    void Start(Operation<> operation) { m_operations.push_back(std::move(operation)); }
    /// The number of unfinished operations.
    std::size_t Operations() const { return m_operations.size(); }

    /// Begins a recording; see `RecordPlan` for its name. Throws what clsRecorder::StartRecording throws.
    void StartRecording(std::string_view name = {});
    /// What recordings say about the program, the port and the clock: version, the port as the operator knows it, how
    /// far local time is ahead of UTC now. Only these are taken.
    std::function<RecordingInfo()> Origin;
    /// Asked once for each measurement, oldest first, whether it is recorded; the others are passed over. Empty: all
    /// are. It needs `Settings::EveryValue`.
    std::function<bool(const Measurement& measurement)> Wanted;
    /// Plays a recording, which may have several files, in one pass: listeners get its points, and the texts of its
    /// last line at the end. `goOn` is called now and then with the fraction read so far, 0..1; returning false ends
    /// the loading, and so does stopping the recorder.
    modPlayback::Loaded Play(std::span<const RecordPart> parts, const std::function<bool(double fraction)>& goOn);
    modPlayback::Loaded Play(const std::filesystem::path& file, const std::function<bool(double fraction)>& goOn)
    {
        const RecordPart whole{file, false};
        return Play({&whole, 1}, goOn);
    }

    /// Ends waits, recording and playback, and closes the port; nothing more is sent.
    void End();
    /// After `End`: waits until the last recording is on the disk, for `patience` at most. See
    /// `clsRecorder::FinishWriting`.
    bool FinishWriting(std::chrono::milliseconds patience) { return m_recorder.FinishWriting(patience); }

    /// Takes bytes out of the port as soon as they arrive, at the local time `now`, so that each measurement keeps its
    /// time. Optional: without it, bytes arrive with the tick that reads them. Call it when `Device().ArrivalHandle()`
    /// is readable.
    std::size_t Collect(double now) { return m_device.Collect(now); }

    /// Whether the values come from the program's own simulated sensor; the front end says so before they come.
    bool IsSimulated() const { return m_isSimulated; }
    void Simulated(bool simulated) { m_isSimulated = simulated; }

    /// The serial number of the connected sensor, one byte per character; empty while there is no connection.
    std::string_view SerialNo() const
    {
        return m_device.CommStatus() == DialogueNone ? std::string_view() : m_device.Identity().SerialNo;
    }

    /// From now on the traffic of the line is noted, or not any longer: then what was noted is forgotten. Nothing is
    /// noted before somebody asks for it.
    void WatchTraffic(bool on);
    /// Null while it is not noted.
    const clsTraffic* Traffic() const { return m_traffic.get(); }
    clsTraffic* Traffic() { return m_traffic.get(); }
    /// Why a text cannot be sent by hand now; None when it can.
    TextId ObstacleByHand(std::string_view typed) const;
    /// Sends it, see `clsMeasurementLoop::SendingByHand`. Does nothing while there is an obstacle or a problem.
    void SendByHand(std::string_view typed);

    clsRVQ& Device() { return m_device; }
    const clsRVQ& Device() const { return m_device; }
    /// Backups, the passport and the last write. Give it its places before the first connection.
    clsWriteKeeper& Writes() { return m_writes; }
    const clsWriteKeeper& Writes() const { return m_writes; }
    /// The operator's commands.
    clsMeasurementLoop& Loop() { return m_loop; }
    const clsMeasurementLoop& Loop() const { return m_loop; }
    clsRecorder& Recorder() { return m_recorder; }
    const clsRecorder& Recorder() const { return m_recorder; }
    /// All that was measured since the session began.
    const clsHistory& History() const { return m_history; }
    /// What there is to look at: the recording that was played last, until a measurement begins; else `History`.
    const clsHistory& Shown() const { return m_played ? *m_played : m_history; }
    /// The unit of the values that are shown, an index for `UnitOf`.
    std::int32_t ShownUnit() const { return m_loop.ShownUnit(); }
    /// A note of the operator at a place of `Shown`. It goes into the sidecar of the recording that runs or is shown.
    MarkOutcome SetMark(double place, std::string_view text) { return m_marks.Set(Shown().Times(), place, text); }
    /// The same for one of `Marks`. Both throw std::out_of_range when there is no such mark.
    MarkOutcome ChangeMark(std::size_t mark, std::string_view text)
    {
        return m_marks.Change(Shown().Times(), mark, text);
    }
    MarkOutcome RemoveMark(std::size_t mark) { return m_marks.Remove(Shown().Times(), mark); }
    /// The marks on `Shown`, in the order of their places, and a number that changes with them.
    using Mark = clsMarks::Mark;
    std::span<const Mark> Marks() const { return m_marks.Marks(); }
    std::uint64_t MarksVersion() const { return m_marks.Version(); }
    /// The recording in whose sidecar a mark at this place goes; empty while its name is not known yet.
    std::optional<std::filesystem::path> RecordingAt(double place) const { return m_marks.RecordingAt(place); }

private:
    void stepOperations();
    void tellFailure();
    void tellCounts();
    void noteIdentity(double now);
    RecordingInfo origin() const;
    RecordingInfo infoOfRecording(const clsRecorder::Period& period);
    void changeMarks(const MarkChange& change);
    void serveMarks();
    void noteValues(bool areFirst);
    void followOrigin(bool isEmpty);
    void Sampled(std::span<const Measurement> samples, std::string_view temperature) override;
    void Measured(const Measurement& measurement, std::string_view temperature) override;
    void Ticked() override;
    void ResetChart() override;
    void passOver(std::ptrdiff_t number);
    void recordWanted(std::span<const Measurement> samples, std::string_view temperature);
    void separateSensors(std::span<const Measurement> first);

    const modGlobals::Settings& m_settings;
    std::unique_ptr<SerialPort> m_port;
    std::unique_ptr<clsTraffic> m_traffic;
    clsListeners m_listeners;
    clsRVQ m_device;
    clsMeasurementLoop m_loop;
    clsRecorder m_recorder;
    clsHistory m_history;
    std::unique_ptr<clsHistory> m_played; ///< the recording that is shown
    clsMarkKeeper m_marks{m_recorder};
    clsWriteKeeper m_writes;
    std::uint64_t m_notedDumps = 0; ///< so many dumps were there when the keeper was told last
    std::int32_t m_undoOpening = 0; ///< the port's count of openings when its undo was looked at
    std::deque<Operation<>> m_operations;
    bool m_isStepping = false;
    bool m_isSimulated = false;
    RecordingInfo m_file;                  ///< where the values of the present file come from, and its start
    std::vector<Measurement> m_unrecorded; ///< values of this tick that are passed over, unless one is the newest
    std::error_code m_toldFailure;         ///< the recorder's failure that was reported last
};
