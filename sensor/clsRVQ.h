// The folder sensor/ holds the sensor as the program knows it: its parameter set, its commands and replies, and the
// dialogue with it. It knows no window, no file and no clock: the caller says what time it is and when to read.
#pragma once

#include "base/Days.h"
#include "sensor/Measurement.h"
#include "sensor/Parameters.h"
#include "sensor/Request.h"
#include "sensor/clsArrivals.h"
#include "sensor/clsEventJournal.h"
#include "sensor/clsFrameStep.h"
#include "sensor/clsLineRun.h"
#include "sensor/clsSampleList.h"
#include "sensor/clsTraffic.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
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
//   dump, whole                    4, idle; buffer, request discarded   as early
//   dump, begun                    0                                    -1, given up; 0 while the user is asked
//   temperature in text            3; ends T; the state stays           as early
//   " C," without the rest         0                                    -1, given up
//   anything else                  0                                    0 -> X
//
//   idle (1)
//   a text typed by hand under     as below                             as below, but what is no reply: 0, back to
//   way                                                                 polling
//   G under way, no announcement   2 ends G; 7; else 0                  2 ends G; 7; else -1: step back without the
//                                                                       buffer (lines, at the deadline itself), given
//                                                                       up (binary)
//   5 bytes or fewer               0, unless a wait gets the whole      as for more bytes
//                                  binary temperature it is for
//   dump                           as without dialogue                  as without dialogue
//   temperature in text            3; ends T. T under way in a binary format, no wait runs: -> C, once
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
//   S under way                    0; buffer discarded                  0; buffer discarded; as silence: -> T
//   "RVQ ready"                    0, idle; it stays in the buffer      as early
//   temperature in text, whole     3                                    3
//   "TempErr!"                     2; buffer discarded                  2; buffer discarded
//   anything else: distances       2; 7; else 0; M becomes m            2; 7; else -1: step back without the buffer
//                                                                       (lines, at the deadline itself), given up
//                                                                       (binary; 0 with single output); -> T when
//                                                                       no request was under way
//
// Given up: request and buffer are discarded. Step back: both stay for the session's StepBack; the second time they are
// given up. Back to polling: both are discarded; if it happens again without a request -> T. A distance sets the
// deadline to 3 s from now. Over a line with a delay every deadline is later by it. No follow-up goes out while a wait
// runs; past the deadline, the request is given up instead. An announcement in any state says that the sensor works
// with what it has stored. All other changes of state are acts of the session: StartMeasurement, StopMeasurement,
// StepBack, ResumeIdle, EndSingleOutput, ForgetDialogue.

/// The dialogue with the connected sensor.
/// Points in time are days since 1899-12-30, local time.
class clsRVQ {
public:
    /// Passes so many milliseconds, the pause that follows a stop command.
    using PauseFunction = std::function<void(std::int32_t ms)>;

    /// What a wait for the sensor and a tick of the measurement loop have to know about each other.
    struct WaitState {
        bool Running = false; ///< a wait runs: evaluations send nothing of their own
        bool Asking = false;  ///< the user is asked what to do: silence has no meaning meanwhile
        bool InTick = false;  ///< a tick runs: no wait may begin
        bool Ended = false;   ///< the session ends: every wait ends as "no answer"
    };

    /// A sensor without a port: parameters have their defaults, and nothing that is sent reaches anybody.
    clsRVQ();
    /// The device behind `port`, which must outlive it. Without `pause` nothing blocks: a command that follows a stop
    /// goes out by itself, with the first reading after the pause.
    explicit clsRVQ(SerialPort& port, PauseFunction pause = {});
    /// Closes an open port.
    ~clsRVQ();
    clsRVQ(const clsRVQ&) = delete;
    clsRVQ& operator=(const clsRVQ&) = delete;

    /// Opens port number `Comport` at `Rate` bit/s, or starts to when opening takes longer. Does nothing when the
    /// number is 0 or less or a port is open or opening.
    void OpenComPort(std::int32_t Comport, std::int32_t Rate);
    /// Follows an opening that takes longer: it has succeeded and `PortIsOpen` is set, it is still under way, or it
    /// has failed and neither holds. Nothing is sent before it has succeeded.
    void ContinueOpening();
    bool PortIsOpening() const { return m_openingRate.has_value(); }
    /// Closes an open port and gives up an opening that is under way.
    void CloseComPort();
    /// Why the last completed opening failed; problem None after a success.
    OpenFailure LastFailure() const;
    /// Whether the devices have changed since the last opening, so that it may succeed now; false if not known.
    bool DevicesChanged() const;
    /// The port's rate in bit/s; 0 or less when it is closed.
    std::int32_t CommBaudrate() const;
    /// Sets the port's rate in bit/s; a rate that is not among `kPortRates` is ignored.
    void CommBaudrate(std::int32_t rate);
    /// How much later an answer comes than over a cable, in milliseconds; 0 for a closed port.
    double Delay_ms() const;
    /// Whether the rate of the port is that of the line; see `SerialPort::HasRate`.
    bool PortHasRate() const;
    /// The line errors since the last call, as `LineError` bits.
    std::int32_t PortStatus() const;
    /// The same as text, "Parity Error|Framing Error|Overrun Error|Overflow Error"; empty without errors. No window
    /// uses it today; it belongs to the port's operations.
    std::string PortStatusByName() const;

    /// Takes bytes out of the port as soon as they arrive, at the local time `now`, so that they keep this time. The
    /// next `ReadComportData` passes them on. Returns how many there were. `ArrivalHandle` says when to call it.
    std::size_t Collect(double now);
    /// What an event loop watches to know that bytes have arrived: a file descriptor that becomes readable. -1 when
    /// there is none.
    int ArrivalHandle() const;
    /// Moves what has arrived into `NewInData` and appends it to `InBuffer`. Closes the port if its device has
    /// vanished, and sends the rest of a command that a full line has not taken.
    void ReadComportData();
    /// Interprets `InBuffer`, sets `EventNr` and the values that go with it, and sends at most one follow-up command.
    /// Takes time linear in the buffer and leaves at most `kMaxPending` bytes in it.
    void EvaluateInBuffer();
    /// All measurements among the replies that the last evaluation has understood, oldest first, each at the time when
    /// its last byte arrived. A distance that waits for later bytes becomes one when they confirm it; what is given up
    /// never does. If the evaluation has found a distance, the last of them is the newest; `MeasValue` has it once
    /// `HasDue` is false. Four replies are samples but never the newest: a text line of 0, a single line that is too
    /// short, a missing echo while the unit is in doubt, and a frame without CRC whose lowest byte is 0.
    std::span<const Measurement> Samples() const { return m_samples.All(); }
    /// Continues after `EventCrcError` as long as the buffer holds a whole reply: the values are then those of the
    /// newest good reply behind the damage, and `NewDistance` says whether it was a distance. `EventNr` stays as it is,
    /// or reports the temperature that was asked for.
    void EvaluateBehindDamage();
    /// Whether distances wait that arrived together with one held back before them; the next evaluations report them.
    bool HasDue() const { return !m_due.empty(); }
    /// Sends a single-letter command or a frame and sets the deadline of its answer from `CurrentTime`. When the line
    /// is full, the rest of a frame follows later, before anything else, so that no two frames mix; a command of which
    /// the line takes nothing is lost and gets no answer.
    void SendCommand(std::string_view Command);
    /// Sends a request that has a fixed text.
    void SendCommand(Request request) { SendCommand(RowOf(request).text); }
    /// The next command is one that the operator has typed. If the program does not know it, it may have any answer or
    /// none: neither counts as a lost connection. False takes it back, if nothing was sent.
    void MarkNextByHand(bool isByHand) { m_nextIsByHand = isByHand; }

    /// From now on the traffic is noted there, together with what each piece means; null ends that.
    void Watch(clsTraffic* traffic);

    // What a session does to the dialogue, one operation for each reason. Nothing else changes the state of the
    // dialogue.

    /// Sets the current time.
    void CurrentTime(double now);
    /// The clock was set by this many days: deadlines and ages stay the same.
    void ShiftClock(double days);
    /// Starts continuous measurement, or resumes one that was interrupted for the temperature.
    void StartMeasurement();
    /// Stops continuous measurement; what is sent next waits for the pause that follows a stop.
    void StopMeasurement();
    /// Interrupts a running measurement for one temperature, which the evaluation asks for once the line is quiet. The
    /// dialogue still counts as measuring. The next temperature is due `ReadTempInterval` later.
    void InterruptForTemperature();
    bool IsTemperatureDue() const { return m_currentTime >= m_readTempTime; }
    /// Switches the marker laser. The sensor does not confirm it, so `Identity` changes at once to what the next dump
    /// will say.
    void SwitchLaser(bool on);
    /// Takes a value for the sensor's own before the sensor has reported it, or takes that back.
    void AssumeParameter(std::int32_t ParameterSet::*parameter, std::int32_t value);
    /// Ends the wait for the verdict on a frame of `values`: `event` is what came. A temperature or a dump instead
    /// counts as refused; acknowledged values are in `Parameters` from now on. Returns the verdict, as `EventNr` does.
    std::int32_t TakeVerdict(const ParameterSet& values, std::string_view code, std::int32_t event);
    /// Starts the measurement that was stopped for a parameter; `EventNr` still reports the verdict.
    void StartAfterVerdict(std::int32_t verdict);
    /// No answer has come: measuring becomes idle, idle becomes no dialogue.
    void StepBack();
    /// A sensor with single output was started for one value; `found` says whether it has come.
    void EndSingleOutput(bool found);
    /// Without a dialogue: nothing is sent for so long, counted from now. What a sensor says meanwhile, it says on its
    /// own.
    void ListenFor(std::int32_t ms) { setDeadline(ms); }
    /// The sensor is there after all; the silence after a command had been taken for a lost connection.
    void ResumeIdle() { m_commStatus = DialogueIdle; }
    /// Discards what an earlier device has left: half a line or an open question means nothing for the present one.
    void ForgetDialogue();

    /// A wait for the sensor begins (`modRVQComm::WaitScope`). Throws std::logic_error inside another wait or a tick.
    void BeginWait();
    void EndWait() { m_wait.Running = false; }
    void InTick(bool inTick) { m_wait.InTick = inTick; }
    void Asking(bool asking) { m_wait.Asking = asking; }
    /// The session ends: every wait ends and the port is closed.
    void EndWaits();
    /// Forgets the results so far. Call it before a send whose answer is waited for.
    void ForgetEvents() { m_journal.Clear(); }
    /// The oldest result (-1, 3, 4, 5, 6) not yet taken; empty when there is none.
    std::optional<std::int32_t> TakeEvent() { return m_journal.TakeNext(); }

    /// Bytes that may wait for the rest of a reply. Of a flood that never becomes a reply the newest are kept.
    static constexpr std::size_t kMaxPending = 65536;

    // The port.
    std::int32_t CommComPort() const { return m_commComPort; }
    bool PortIsOpen() const { return m_portIsOpen; }
    /// Successful openings so far; a wait uses it to notice that the device may be another one.
    std::int32_t Openings() const { return m_openings; }
    const std::string& InBuffer() const { return m_inBuffer; }
    const std::string& NewInData() const { return m_newInData; }

    // The dialogue.
    std::int32_t CommStatus() const { return m_commStatus; }
    const std::string& LastCommand() const { return m_pending.text; } ///< empty: no request is under way
    Request Pending() const { return m_pending.request; }             ///< what `LastCommand` asks for
    std::int32_t EventNr() const { return m_eventNr; }
    /// The last evaluation has found a distance; also true when `EventNr` reports damage behind it.
    bool NewDistance() const { return m_newDistance; }
    /// Distances given up as damaged, one for each reply, as far as that can be known. Bytes that were no reply count
    /// by the usual length of one. What a command of our own discards does not count.
    std::int64_t DamagedReplies() const { return m_damagedReplies; }
    double CurrentTime() const { return m_currentTime; }
    double FailTime() const { return m_pending.deadline; }
    const WaitState& Wait() const { return m_wait; }
    /// The lines of a measurement have changed without naming a unit, so their unit is unknown. The loop then asks for
    /// the configuration, which clears this.
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

    /// The sensor works with parameters that it would lose when switched off. Set by every parameter and by "000" once
    /// the sensor acknowledges them; cleared by an acknowledged "999", by the announcement of a restart, and by the
    /// dump of another sensor.
    bool UnstoredChanges() const { return m_unstoredChanges; }
    /// What the sensor works with, as far as it has reported it.
    const ParameterSet& Parameters() const { return m_parameters; }
    const SensorIdentity& Identity() const { return m_identity; }
    /// Whether the last dump held a value for the parameter; else `Parameters` has an older one.
    bool IsInDump(const ParameterDef& row) const { return m_inDump[row]; }

protected:
    // What the readers above return. Protected, not private: a test starts in the middle of a dialogue.
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
    PerParameter<bool> m_inDump;

    void setRequest(std::string text);

private:
    struct Distance {
        std::string text; ///< as received, in the text formats
        double value = 0.0;
        std::int32_t value_mm = 0;
        std::optional<std::int32_t> unit; ///< named by the line
    };
    struct SentFrame {
        std::string text; ///< without the carriage return
        double time = 0.0;
    };
    /// A sensor that is taken for a binary one has answered in text: its dump shows whether that is right.
    enum class Mismatch : std::uint8_t { None, Asked, Confirmed };

    // The evaluation (clsRVQEvaluate.cpp, clsRVQDistances.cpp); a returned request is the follow-up.
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
    void takeCrcFrames(std::size_t at, std::size_t count);
    void reportCrcError(std::size_t skipped);
    void acceptDistances(std::deque<Distance> distances);
    void tellDue();
    void addDistance(std::int32_t value_mm, std::deque<Distance>& distances) const;
    void addDistance(const clsLineRun::Line& line, std::deque<Distance>& distances) const;
    void followFormat();
    void beginSamples();
    void noteLines(const clsLineRun::Found& found, std::size_t before);
    void noteSkipped(std::size_t bytes);
    void noteGivenUp(std::size_t bytes);
    void giveUpBytes();
    std::size_t replySize() const;
    bool expectsDistances() const;
    std::int64_t positionOf(std::size_t index) const;
    clsLineRun::Foreign foreignLines() const;
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
    void sendBytes(std::string_view bytes, bool isByHand);
    void sendRest();
    void noteSentFrame(std::string text);
    void boundInBuffer();

    // What the traffic is told (clsRVQTraffic.cpp). A range lies in the buffer.
    void note(std::size_t begin, std::size_t end, TrafficKind kind);
    void noteView(std::string_view part, TrafficKind kind);
    void noteLineWith(std::string_view text, TrafficKind kind);
    void noteAnnouncement();
    void settle(std::size_t end, TrafficKind kind);
    void settleAll(TrafficKind kind);
    std::size_t cutTexts();
    void rejectDistances(std::int64_t end);
    TrafficKind lostKind() const { return expectsDistances() ? TrafficKind::Damaged : TrafficKind::Unexplained; }

    bool hasBinaryFormat() const { return IsBinary(m_parameters.OutputFormat); }
    bool owesNothing() const { return m_commStatus == DialogueMeasuring && m_parameters.OutputMode == OutputSingle; }
    bool pastDeadline() const { return m_currentTime > m_pending.deadline; }
    bool hasPaused() const;
    bool isWholeAnswerToT() const;
    std::int32_t effectiveRate() const;
    double byteTime() const { return kBitsPerByte / m_lastRate / kSecondsPerDay; }
    void setDeadline(double wait_ms);

    static constexpr double kBitsPerByte = 10.0;

    SerialPort* m_port = nullptr;
    PauseFunction m_pause;
    std::optional<std::int32_t> m_openingRate; // set while a port is opening
    std::string m_unsent;                      // rest of a command that the line has taken in part
    std::int32_t m_lastRate;
    clsFrameStep m_frames;
    clsLineRun m_lines;
    bool m_outOfStep = false; // frames with a CRC: the next good one may be good by chance
    std::optional<std::int32_t> m_lastCrc_mm;
    std::size_t m_skipped = 0;               // bytes given up since the last good reply
    std::int32_t m_format = -1, m_unit = -1; // of what has come so far
    std::deque<Distance> m_due;
    std::deque<SentFrame> m_sentFrames; // of the last seconds
    std::string m_collected;            // bytes taken between two readings
    clsArrivals m_arrivals;             // of the bytes in `m_inBuffer` and in `m_collected`
    clsSampleList m_samples{m_arrivals};
    double m_lastArrival = 0.0;
    double m_quietUntil = 0.0;         // the pause after a stop
    std::optional<double> m_openPause; // days; of a stop sent between two ticks, whose time is not known
    struct Queued {
        std::string command;
        bool isByHand = false;
    };
    std::deque<Queued> m_queue; // commands that wait for it
    bool m_nextIsByHand = false;
    clsTraffic* m_traffic = nullptr;
    Mismatch m_mismatch = Mismatch::None;
    bool m_reported = false; // an evaluation has reported its outcome and nothing has been sent since
};
