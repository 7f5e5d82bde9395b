// Runs one session without a window: connects, gives it its ticks, and leaves the sensor as it was found. What ends a
// run in order is a signal, a limit of time, the command itself, or an output that nobody reads any more.
#pragma once

#include "base/Operation.h"
#include "sensor/modHearing.h"
#include "session/SessionListener.h"
#include "session/clsSession.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

class clsProgram;

/// Why a run has ended.
enum class RunEnd : std::uint8_t {
    Done,           ///< the command has what it wanted
    TimeOver,       ///< its limit has passed
    Stopped,        ///< SIGINT, SIGTERM or SIGHUP
    OutputClosed,   ///< nobody reads the output, or it has failed: `clsProgram::Finish` knows
    ConnectionLost, ///< only for a run that does not wait for the line to come back
};

class clsSensorRun : private SessionListener {
public:
    /// What a command needs of its session.
    struct Options {
        /// Backups before writes, and passports, are kept in the program's folder: for commands that write.
        bool keepsWrites = false;
        /// A sensor that measures on its own and names the unit in its lines is not asked anything: its measurement
        /// goes on without an interruption, and the session does not know which sensor it is. For commands that want
        /// its values only.
        bool joinsMeasurement = false;
        /// Where recordings are made; empty: "REC" in the program's folder.
        std::filesystem::path recordings{};
    };

    /// Makes the session, with port and rate of `program.Settings()`; see there. Nothing is opened yet.
    explicit clsSensorRun(clsProgram& program) : clsSensorRun(program, Options{}) {}
    clsSensorRun(clsProgram& program, const Options& options);
    /// Leaves the sensor, see `Leave`.
    ~clsSensorRun() override;
    clsSensorRun(const clsSensorRun&) = delete;
    clsSensorRun& operator=(const clsSensorRun&) = delete;

    clsSession& Session() { return m_session; }
    clsRVQ& Device() { return m_session.Device(); }

    /// Opens the port, listens whether the sensor measures on its own, and waits until it has sent its configuration;
    /// the sensor then is idle, or its measurement can be joined by `Measure`. Returns `ExitDone`; else the reason was
    /// said, or the program is to end, and the code is what to end with. When it is to end before anything was sent,
    /// nothing is.
    int Connect();
    /// Whether the sensor was measuring when it was found. It will be again once it is left.
    bool WasMeasuring() const { return m_wasMeasuring; }

    /// Gives ticks until `isDone`, asked after each tick, says so, or something else ends the run. The sensor's ticks
    /// go on through a lost connection, which is said once, unless the run does not wait for it.
    RunEnd Until(const std::function<bool()>& isDone, std::optional<double> limit_s = std::nullopt,
                 bool waitsForLine = true);
    /// Starts an operation of the session and gives ticks until it has ended.
    RunEnd Perform(Operation<> operation, std::optional<double> limit_s = std::nullopt);
    /// Measures until `isDone`, as `Until`. A sensor with single output is started anew for each value.
    RunEnd Measure(const std::function<bool()>& isDone, std::optional<double> limit_s = std::nullopt);
    /// The same for an operation that must not be cut off, such as a write: when the operator asks the program to end,
    /// it calls `cancel` once, and the operation then ends by itself. A lost connection ends it too, by itself.
    RunEnd PerformWhole(Operation<> operation, const std::function<void()>& cancel);
    /// Whether the sensor is there now.
    bool IsConnected() { return Device().CommStatus() != DialogueNone; }

    /// Ends what runs, leaves the sensor measuring or not as it was found, and closes the port; one that was heard
    /// measuring is started again also if it has not answered. Says so when that fails. Returns whether the sensor is
    /// as it was found. The destructor calls it.
    bool Leave();
    /// Says what was lost or damaged since the measurement was started, if anything was.
    void SayLosses();
    /// Waits until a recording that has ended is on the disk.
    void FinishRecording();
    /// The code for an end: a run that the operator ends when it may end at any time is done.
    static int CodeOf(RunEnd end, bool mayEndAnyTime);

    /// Whether a line that is lost, or back, is said.
    bool SaysLine = true;
    /// Whether a run ends when nobody reads the output any more; not if something else is what counts.
    bool EndsWithOutput = true;

private:
    void tick();
    void waitForTick(double due_s);
    RunEnd whyEnded() const;
    void noteLine();
    int sayWhyNot();
    bool isAnswered();
    bool join();
    void listenOn();
    void takeAnswer();
    /// What comes now, the sensor says on its own: before the first question, and when it was set going again.
    bool hears() const { return !m_hasAsked || m_isLeft; }
    modHearing::Heard hearing() const;
    bool stops();
    bool resumes();
    void tickWhile(const std::function<bool()>& goOn, double limit_s);
    void tickFor(double seconds);
    void warnOfPort();
    double patience_s();
    void Echo(std::string_view received) override;
    void RateFollowed(std::int32_t former, std::int32_t rate) override;

    clsProgram& m_program;
    bool m_joins;
    clsSession m_session;
    std::string m_heard;                  ///< see `hears`
    std::size_t m_judged = 0;             ///< of `m_heard`
    std::optional<std::int32_t> m_format; ///< of the values that were heard before anything was sent
    std::int64_t m_bytes = 0;
    double m_opened_s = 0.0;
    bool m_hasAsked = false, m_hasLineErrors = false, m_isHeldBack = false;
    bool m_wasFound = false, m_wasMeasuring = false, m_isLineLost = false, m_isLeft = false;
};

/// Whether bytes that a sensor has sent without being asked are a measurement that the dialogue takes up as it is: its
/// lines name their unit, and are so long that one that comes alone counts.
bool CanBeJoined(std::string_view heard);
