// The folder sensor/ is the sensor as the program knows it: its parameter set, its commands and replies, the dialogue
// with it. It knows no window, no file and no clock; whoever drives the dialogue tells it the time and when to read.
#pragma once

#include "base/Days.h"
#include "sensor/Measurement.h"
#include "sensor/Parameters.h"
#include "sensor/Request.h"
#include "sensor/clsEventJournal.h"
#include "sensor/clsFrameStep.h"
#include "sensor/clsLineRun.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

class SerialPort;
struct OpenFailure;

/// Values of `clsRVQ::EventNr`.
enum Event : std::int32_t {
    EventNoAnswer = -1,
    EventNone = 0,
    EventDistance = 2,
    EventTemperature = 3,
    EventConfiguration = 4,
    EventAcknowledged = 5,
    EventRefused = 6,
    EventCrcError = 7,
};

// The dialogue as a state machine. An evaluation goes down the lines of its state, as clsRVQEvaluate.cpp does, and the
// first one that fits ends it. "Early" is up to the deadline of the request under way, "late" is past it; a number is
// the event, a letter after "->" the follow-up command, which goes out last.
//
//   what is there                  early                                late
//   -----------------------------  -----------------------------------  ---------------------------------------------
//   any state
//   distances held back (HasDue)   2, the oldest of them                2, the oldest of them
//   nothing                        0                                    by state and request: kRequests; 0 while the
//                                                                       user is asked (Wait().Asking)
//   no dialogue (0)
//   announcement                   0 -> C                               0 -> C
//   dump, whole                    4, idle; buffer and request end      as early
//   dump, begun                    0                                    -1, given up
//   temperature in text            3; ends T; the state stays           as early
//   " C," without the rest         0                                    -1, given up
//   anything else                  0                                    0 -> X
//
//   idle (1)
//   G under way, no announcement   2 ends G; 7; else 0                  2 ends G; 7; else -1: step back without the
//                                                                       buffer (lines, at the deadline itself), given
//                                                                       up (binary)
//   5 bytes or fewer               0, unless they are a whole binary    looked at as more bytes are
//                                  temperature that a wait is for
//   dump                           as without dialogue                  as without dialogue
//   temperature in text            3; ends T. T under way in a binary format, nobody waits: -> C, once
//   " C," without the rest         0                                    -1, given up
//   T under way in a binary        3 ends T; 7 (CRC); else 0            3 ends T; 7; else -1, given up
//   format, no announcement
//   "O", else "E", anywhere        5, else 6; the bytes stay: they may  S: 0 -> C. With an announcement: -1, step back.
//                                  be the head of a dump                C: -1, given up. Else 5 or 6, back to polling
//   anything else                  0                                    S: 0 -> C. A request, or an announcement: -1,
//                                                                       step back. Noise: -1, or 0 if it is 5 bytes or
//                                                                       fewer, back to polling
//   measuring (2)
//   T under way                    3 ends T; 7; else 0. Text in a       3 ends T; 7; else -1, given up
//                                  binary format: 0, idle
//   S under way                    0; the buffer ends                   0; the buffer ends; as silence: -> T
//   "RVQ ready"                    0, idle; it stays in the buffer      as early
//   temperature in text, whole     3                                    3
//   "TempErr!"                     2; the buffer ends                   2; the buffer ends
//   anything else: distances       2; 7; else 0; M becomes m            2; 7; else -1: step back without the buffer
//                                                                       (lines, at the deadline itself), given up
//                                                                       (binary; 0 with single output); -> T when
//                                                                       no request was under way
//
// Given up: request and buffer end. Step back: they stay for the session's StepBack, and a second time they are given
// up. Back to polling: they end, and where it happens again without a request -> T. A distance puts the deadline off by
// 3 s. While a wait runs no follow-up goes out; late, it gives up instead. An announcement in any state says that the
// sensor works with what it has stored. The other ways from state to state are acts of the session: StartMeasurement,
// StopMeasurement, StepBack, ResumeIdle, EndSingleOutput, ForgetDialogue.

/// The dialogue with the connected sensor.
/// Points in time are days since 1899-12-30, local time.
class clsRVQ {
public:
    /// Passes so many milliseconds, the pause that follows a stop command.
    using PauseFunction = std::function<void(std::int32_t ms)>;

    /// What a wait for the sensor and a tick of the measurement loop have to know of each other.
    struct WaitState {
        bool Running = false; ///< a wait runs: evaluations send nothing of their own
        bool Asking = false;  ///< the user is asked what to do: nobody waits for an answer, silence means nothing
        bool InTick = false;  ///< a tick runs: no wait may start
        bool Ended = false;   ///< the main window goes: every wait ends as "no answer"
    };

    /// A sensor without a port: parameters at their defaults, sends reach nobody.
    clsRVQ();
    /// The device behind `port`, which must outlive it. Without `pause` nothing blocks: a command that follows a stop
    /// goes out by itself, with the first reading after the pause.
    explicit clsRVQ(SerialPort& port, PauseFunction pause = {});
    /// Closes an open port.
    ~clsRVQ();
    clsRVQ(const clsRVQ&) = delete;
    clsRVQ& operator=(const clsRVQ&) = delete;

    /// Opens port number `Comport` at `Rate` bit/s, or begins to, where opening takes longer. Does nothing when the
    /// number is 0 or less or a port is open or opening.
    void OpenComPort(std::int32_t Comport, std::int32_t Rate);
    /// Looks what has become of an opening that takes longer: `PortIsOpen` is set, or it is still under way, or it has
    /// failed and neither is so. Until it has succeeded nothing is sent.
    void ContinueOpening();
    bool PortIsOpening() const { return m_openingRate.has_value(); }
    /// Closes an open port; an opening that is under way is given up.
    void CloseComPort();
    /// Why the last opening that came to its end failed; problem None after a success.
    OpenFailure LastFailure() const;
    /// Whether the devices are others than at the last opening, which may succeed now; false also when not known.
    bool DevicesChanged() const;
    /// The port's rate in bit/s; 0 or less when it is closed.
    std::int32_t CommBaudrate() const;
    /// Sets the port's rate in bit/s; one that is not among `kPortRates` is ignored.
    void CommBaudrate(std::int32_t rate);
    /// The line errors since the last call, as `LineError` bits.
    std::int32_t PortStatus() const;
    /// The same as text, "Parity Error|Framing Error|Overrun Error|Overflow Error"; empty without any of them. Part of
    /// what the device offers; no window asks for it.
    std::string PortStatusByName() const;

    /// Takes what has arrived into `NewInData` and appends it to `InBuffer`. A vanished port closes itself here, and
    /// what a full line had not taken of a command goes out.
    void ReadComportData();
    /// Interprets `InBuffer`, sets `EventNr` and what belongs to it, and sends at most one follow-up command.
    /// Takes time linear in the buffer and leaves at most `kMaxPending` bytes in it.
    void EvaluateInBuffer();
    /// Goes on after `EventCrcError`, as long as the bytes of a whole reply are there: the newest good one behind the
    /// damage is in the values then, and `NewDistance` tells of a distance. `EventNr` stays as it is, or tells of the
    /// temperature that was asked for.
    void EvaluateBehindDamage();
    /// Distances that have come together with one held back before them; the next evaluations tell of them.
    bool HasDue() const { return !m_due.empty(); }
    /// Sends a single-letter command or a frame and sets the deadline of its answer from `CurrentTime`. What a full
    /// line does not take now of a frame it gets later, before anything else, so that no two are mixed; a command of
    /// which it takes nothing is lost and has no answer.
    void SendCommand(std::string_view Command);
    /// Sends a request that has a text of its own.
    void SendCommand(Request request) { SendCommand(RowOf(request).text); }

    // What a session does to the dialogue, each for its reason. Nothing else writes what the dialogue keeps.

    /// It is `now` from here on.
    void CurrentTime(double now) { m_currentTime = now; }
    /// The clock was set by so many days: deadlines and ages stay what they are.
    void ShiftClock(double days);
    /// Starts continuous measurement; also goes on with one that was interrupted for the temperature.
    void StartMeasurement();
    /// Stops continuous measurement; what is sent next waits for the pause that follows a stop.
    void StopMeasurement();
    /// Stops a running measurement for one temperature, which the evaluation asks for once the line is quiet. The
    /// dialogue counts as measuring all the while. The next one is due `ReadTempInterval` later.
    void InterruptForTemperature();
    bool IsTemperatureDue() const { return m_currentTime >= m_readTempTime; }
    /// Switches the marker laser. No answer tells of it, so `Identity` says at once what the next dump will.
    void SwitchLaser(bool on);
    /// Takes a value for the sensor's own before it has said so, or takes that back.
    void AssumeParameter(std::int32_t ParameterSet::*parameter, std::int32_t value);
    /// Ends the wait for the verdict on a frame of `values`: `event` is what came. A temperature or a dump in its place
    /// counts as refused; what is acknowledged is in `Parameters` from now on. Returns the verdict, as `EventNr` does.
    std::int32_t TakeVerdict(const ParameterSet& values, std::string_view code, std::int32_t event);
    /// Starts the measurement that was stopped for a parameter; `EventNr` goes on telling of its verdict.
    void StartAfterVerdict(std::int32_t verdict);
    /// No answer has come: from measuring to idle, from idle to no dialogue.
    void StepBack();
    /// A sensor with single output was started for one value, and that has come or not.
    void EndSingleOutput(bool found);
    /// The sensor is known to be there, though the silence after a command was taken for a lost connection.
    void ResumeIdle() { m_commStatus = DialogueIdle; }
    /// Whatever an earlier device has left, half a line or an open question, is nothing to the one that is there now.
    void ForgetDialogue();

    /// A wait for the sensor begins (`modRVQComm::WaitScope`). Throws std::logic_error inside another wait or a tick.
    void BeginWait();
    void EndWait() { m_wait.Running = false; }
    void InTick(bool inTick) { m_wait.InTick = inTick; }
    void Asking(bool asking) { m_wait.Asking = asking; }
    /// The main window goes: every wait ends, the port is closed.
    void EndWaits();
    /// Forgets the results of evaluations so far; before a send whose answer is waited for.
    void ForgetEvents() { m_journal.Clear(); }
    /// The oldest result (-1, 3, 4, 5, 6) that nobody has taken yet; empty when there is none.
    std::optional<std::int32_t> TakeEvent() { return m_journal.TakeNext(); }

    /// Bytes that may wait for the rest of a reply; of a flood that never becomes one the newest are kept.
    static constexpr std::size_t kMaxPending = 65536;

    // The port.
    std::int32_t CommComPort() const { return m_commComPort; }
    bool PortIsOpen() const { return m_portIsOpen; }
    /// Successful ones so far: who waits can tell another device from the one before.
    std::int32_t Openings() const { return m_openings; }
    const std::string& InBuffer() const { return m_inBuffer; }
    const std::string& NewInData() const { return m_newInData; }

    // The dialogue.
    std::int32_t CommStatus() const { return m_commStatus; }
    const std::string& LastCommand() const { return m_pending.text; } ///< empty: none is under way
    Request Pending() const { return m_pending.request; }             ///< what `LastCommand` asks for
    std::int32_t EventNr() const { return m_eventNr; }
    /// The last evaluation has brought a distance; also when `EventNr` tells of damage behind it.
    bool NewDistance() const { return m_newDistance; }
    /// Distances that were given up as damaged, as far as that is known.
    std::int64_t DamagedReplies() const { return m_damagedReplies; }
    double CurrentTime() const { return m_currentTime; }
    double FailTime() const { return m_pending.deadline; }
    const WaitState& Wait() const { return m_wait; }
    /// The lines of a measurement have changed without naming a unit: what they measure in is not known. The loop asks
    /// for the configuration then, which clears it.
    bool UnitInDoubt() const { return m_unitInDoubt; }

    // The last values.
    double MeasValue() const { return m_measValue; } ///< in the unit of `DistanceUnit`
    std::int32_t MeasValue_mm() const { return m_measValue_mm; }
    const std::string& sDistance() const { return m_sDistance; }
    const std::string& sTemperature() const { return m_sTemperature; }
    std::int32_t TempStatus() const { return m_tempStatus; }
    double ReadTempTime() const { return m_readTempTime; }
    std::int32_t ReadTempInterval() const { return m_readTempInterval; } ///< milliseconds
    /// The last measurement, at `CurrentTime`.
    Measurement LastMeasurement() const
    {
        return {m_measValue, m_measValue_mm, m_parameters.DistanceUnit, m_parameters.OutputFormat, m_currentTime};
    }

    /// The sensor works with parameters that it would lose when switched off: set by every parameter and by "000" that
    /// it acknowledges, cleared by an acknowledged "999", when it announces a restart, and when the dump of another
    /// sensor comes.
    bool UnstoredChanges() const { return m_unstoredChanges; }
    /// What the sensor works with, as far as it has said so.
    const ParameterSet& Parameters() const { return m_parameters; }
    const SensorIdentity& Identity() const { return m_identity; }

protected:
    // What the readers above tell of. Protected, not private: a test begins in the middle of a dialogue.
    std::int32_t m_commComPort = 0;
    bool m_portIsOpen = false;
    std::int32_t m_openings = 0;
    std::string m_inBuffer, m_newInData;
    std::int32_t m_commStatus = DialogueNone;
    PendingRequest m_pending;
    std::int32_t m_eventNr = EventNone;
    bool m_newDistance = false;
    std::int64_t m_damagedReplies = 0;
    double m_currentTime = 0.0;
    clsEventJournal m_journal;
    WaitState m_wait;
    bool m_unitInDoubt = false;
    double m_measValue = 0.0;
    std::int32_t m_measValue_mm = 0;
    std::string m_sDistance, m_sTemperature;
    std::int32_t m_tempStatus = 1;
    double m_readTempTime = 0.0;
    std::int32_t m_readTempInterval = 15000;
    bool m_unstoredChanges = false;
    ParameterSet m_parameters;
    SensorIdentity m_identity;

    void setRequest(std::string text);

private:
    struct Distance {
        std::string text; ///< as it was received, in the formats that are text
        double value = 0.0;
        std::int32_t value_mm = 0;
        std::optional<std::int32_t> unit; ///< that the line names
    };
    struct SentFrame {
        std::string text; ///< without the carriage return
        double time = 0.0;
    };
    /// A sensor that is taken for a binary one has answered in text: its dump tells whether that is so.
    enum class Mismatch : std::uint8_t { None, Asked, Confirmed };

    // The evaluation (clsRVQEvaluate.cpp, clsRVQDistances.cpp); a request that comes back is the follow-up.
    Request evaluateSilence();
    Request evaluateWithoutDialogue();
    Request evaluateIdle();
    Request evaluateMeasuring();
    Request evaluateVerdict(std::int32_t event);
    Request evaluateUnreadable();
    Request returnToPolling();
    bool evaluateDump();
    bool evaluateTextTemperature();
    bool takeTextTemperature();
    void evaluateAnswerToT();
    void takeBinaryTemperature();
    void evaluateSingleValue();
    void evaluateTempErr();
    void evaluateDistance();
    void takeAsciiDistance();
    void takeBinaryDistance();
    void takeCrcDistance();
    void acceptDistance(double value, std::int32_t value_mm);
    void acceptCrcDistance(std::int32_t value_mm);
    void reportCrcError();
    void acceptDistances(std::deque<Distance> distances);
    void tellDue();
    void addDistance(std::int32_t value_mm, std::deque<Distance>& distances) const;
    void addDistance(const clsLineRun::Line& line, std::deque<Distance>& distances) const;
    void followFormat();
    bool isVerdict(std::string_view line) const;
    bool isConfirmedFormat() const { return m_mismatch == Mismatch::Confirmed; }
    void readDump(std::string_view dump);
    void acceptTemperature();
    void askForStepBack();
    void giveUpRequest();
    void giveUpStart();
    void forgetRequest();
    bool isPending(Request request) const { return m_pending.request == request; }
    void sendFollowUp(Request request);
    void sendQueue();
    void pauseAfterStop();
    void sendBytes(std::string_view bytes);
    void sendRest();
    void noteSentFrame(std::string text);
    void boundInBuffer();

    bool hasBinaryFormat() const { return IsBinary(m_parameters.OutputFormat); }
    bool owesNothing() const { return m_commStatus == DialogueMeasuring && m_parameters.OutputMode == OutputSingle; }
    bool pastDeadline() const { return m_currentTime > m_pending.deadline; }
    bool hasPaused() const;
    bool isWholeAnswerToT() const;
    std::int32_t effectiveRate() const;

    SerialPort* m_port = nullptr;
    PauseFunction m_pause;
    std::optional<std::int32_t> m_openingRate; // set while a port is opening
    std::string m_unsent;                      // of a command that has begun
    std::int32_t m_lastRate;
    clsFrameStep m_frames;
    clsLineRun m_lines;
    bool m_outOfStep = false; // frames with a CRC: the next good one may be good by chance
    std::optional<std::int32_t> m_lastCrc_mm;
    std::int32_t m_format = -1, m_unit = -1; // of what has come so far
    std::deque<Distance> m_due;
    std::deque<SentFrame> m_sentFrames; // of the last seconds
    double m_lastArrival = 0.0;
    double m_quietUntil = 0.0;       // the pause after a stop
    std::deque<std::string> m_queue; // commands that wait for it
    Mismatch m_mismatch = Mismatch::None;
    bool m_reported = false; // the evaluation has had its say and nothing has been sent since
};
