// The folder session/ is what one sensor's session is without a face: the measurement and its loop, transfers,
// recording, playback. The dialogue itself is sensor/'s, files are store/'s, and windows are ui/'s. Here: all of it in
// one object, which a window, a program on the command line or a service drives with ticks and listens to.
#pragma once

#include "base/Operation.h"
#include "port/SerialPort.h"
#include "sensor/clsRVQ.h"
#include "session/clsListeners.h"
#include "session/clsMeasurementLoop.h"
#include "session/clsRecorder.h"
#include "session/modPlayback.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <system_error>
#include <utility>

class clsSession : private SessionListener {
public:
    /// `settings` must outlive the session; the port number and the rate in it are followed. Recordings are made in
    /// `folder`, which is created with the first one. `decimalSeparator` is that of the user's locale.
    clsSession(std::unique_ptr<SerialPort> port, const modGlobals::Settings& settings, std::filesystem::path folder,
               char decimalSeparator, clsRecordFile::FlushFunction flush = clsRecordFile::FlushToDisk);
    /// Ends the session; what is still on its way to the disk is not waited for.
    ~clsSession() override;
    clsSession(const clsSession&) = delete;
    clsSession& operator=(const clsSession&) = delete;

    /// A listener must leave before it goes.
    void Listen(SessionListener& listener) { m_listeners.Add(listener); }
    void Leave(SessionListener& listener) { m_listeners.Remove(listener); }

    /// One tick at the local time `now` (days since 1899-12-30), `clsMeasurementLoop::kInterval_ms` after the last one.
    /// While a recording is played the measurement waits.
    void Tick(double now);
    /// Lets recorded lines reach the disk in time and tells what has become of recordings. In every tick, before `Tick`
    /// and apart from it: whatever happens to a file, the measurement goes on, and the other way round.
    void ServeFiles(double now);
    /// Continuous measurement runs, or the sensor is waited for: nothing can be played.
    bool IsBusy() const { return m_loop.IsMeasuring() || m_device.Wait().Running; }

    /// Takes an operation of this session (`Loop().ChangingSetting(...)`, `clsTransfer::Downloading()`), which goes on
    /// a step after each tick; one after another. What it throws comes out of the tick, and it is over then.
    void Start(Operation<> operation) { m_operations.push_back(std::move(operation)); }
    /// Operations that are not over.
    std::size_t Operations() const { return m_operations.size(); }

    /// Begins a recording. Throws what clsRecorder::StartRecording throws.
    void StartRecording();
    /// Plays a recording: listeners get its lines as if they had just been measured, in one pass. `goOn` is called now
    /// and then with how much has been read, 0..1; false ends the loading. Ends early, too, when the recorder is
    /// stopped.
    modPlayback::Loaded Play(const std::filesystem::path& file, const std::function<bool(double fraction)>& goOn);

    /// Ends waits, recording and playback, and closes the port; nothing more is sent.
    void End();
    /// After the end: waits until the last recording is on the disk, `patience` at most. Whether it is.
    bool FinishWriting(std::chrono::milliseconds patience) { return m_recorder.FinishWriting(patience); }

    const SerialPort& Port() const { return *m_port; }
    clsRVQ& Device() { return m_device; }
    const clsRVQ& Device() const { return m_device; }
    /// The operator's commands.
    clsMeasurementLoop& Loop() { return m_loop; }
    clsRecorder& Recorder() { return m_recorder; }
    const clsRecorder& Recorder() const { return m_recorder; }

private:
    void stepOperations();
    void Measured(const Measurement& measurement, std::string_view temperature) override;

    std::unique_ptr<SerialPort> m_port;
    clsListeners m_listeners;
    clsRVQ m_device;
    clsMeasurementLoop m_loop;
    clsRecorder m_recorder;
    std::deque<Operation<>> m_operations;
    std::error_code m_toldFailure; ///< of the recorder
};
