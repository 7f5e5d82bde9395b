// The folder sensor/ is the sensor as the program knows it: its parameter set, its commands and replies, the dialogue
// with it. It knows no window, no file and no clock; whoever drives the dialogue tells it the time and when to read.
#pragma once

#include "base/Days.h"
#include "sensor/Measurement.h"
#include "sensor/Parameters.h"
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

/// Values of `clsRVQ::CommStatus`.
enum Dialogue : std::int32_t { DialogueNone = 0, DialogueIdle = 1, DialogueMeasuring = 2 };

/// The dialogue with the connected sensor.
/// Points in time are days since 1899-12-30, local time.
class clsRVQ {
public:
    /// Blocks for so many milliseconds; used once, after a stop command.
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
    /// The device behind `port`, which must outlive it.
    clsRVQ(SerialPort& port, PauseFunction pause);
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
    /// The lines of a measurement have changed without naming a unit: what they measure in is not known. The loop asks
    /// for the configuration then, which clears it.
    bool UnitInDoubt = false;
    bool HasDue() const { return !m_due.empty(); }
    /// Sends a single-letter command or a frame and sets the deadline of its answer from `CurrentTime`. What a full
    /// line does not take now of a frame it gets later, before anything else, so that no two are mixed; a command of
    /// which it takes nothing is lost and has no answer.
    void SendCommand(std::string_view Command);

    /// The clock was set by so many days: deadlines and ages stay what they are.
    void ShiftClock(double days);

    /// Bytes that may wait for the rest of a reply; of a flood that never becomes one the newest are kept.
    static constexpr std::size_t kMaxPending = 65536;

    // The port.
    std::int32_t CommComPort = 0;
    bool PortIsOpen = false;
    std::int32_t Openings = 0; ///< successful ones so far: who waits can tell another device from the one before
    std::string InBuffer;
    std::string NewInData;

    // The dialogue.
    std::int32_t CommStatus = DialogueNone;
    std::string LastCommand;
    std::int32_t EventNr = EventNone;
    /// The last evaluation has brought a distance; also when `EventNr` tells of damage behind it.
    bool NewDistance = false;
    /// Distances that were given up as damaged, as far as that is known.
    std::int64_t DamagedReplies = 0;
    double CurrentTime = 0.0;
    double FailTime = 0.0;
    clsEventJournal Journal;
    WaitState Wait;

    /// The last measurement, at `CurrentTime`.
    Measurement LastMeasurement() const
    {
        return {MeasValue, MeasValue_mm, Parameters.DistanceUnit, Parameters.OutputFormat, CurrentTime};
    }

    // The last values.
    double MeasValue = 0.0; ///< in the unit of `DistanceUnit`
    std::int32_t MeasValue_mm = 0;
    std::string sDistance;
    std::string sTemperature;
    std::int32_t TempStatus = 1;
    double ReadTempTime = 0.0;
    std::int32_t ReadTempInterval = 15000; ///< milliseconds

    /// The sensor works with parameters that it would lose when switched off: set by every parameter and by "000" that
    /// it acknowledges, cleared by an acknowledged "999", when it announces a restart, and when the dump of another
    /// sensor comes.
    bool UnstoredChanges = false;

    ParameterSet Parameters; ///< that the sensor works with, as far as it has said so
    SensorIdentity Identity;

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

    // The evaluation (clsRVQEvaluate.cpp, clsRVQDistances.cpp); a text that comes back is the follow-up command.
    std::string_view evaluateSilence();
    std::string_view evaluateSilentStart();
    std::string_view evaluateWithoutDialogue();
    std::string_view evaluateIdle();
    std::string_view evaluateMeasuring();
    std::string_view evaluateVerdict(std::int32_t event);
    std::string_view evaluateIdleRest();
    std::string_view dropUnasked();
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
    void reportNoAnswer();
    void reportUnanswered();
    void sendFollowUp(std::string_view command);
    void sendBytes(std::string_view bytes);
    void sendRest();
    void noteSentFrame(std::string text);
    void boundInBuffer();

    bool hasBinaryFormat() const { return IsBinary(Parameters.OutputFormat); }
    bool owesNothing() const { return CommStatus == DialogueMeasuring && Parameters.OutputMode == OutputSingle; }
    bool pastDeadline() const { return CurrentTime > FailTime; }
    bool hasPaused() const;
    bool isWholeAnswerToT() const;
    std::int32_t effectiveRate() const;
    std::int32_t answerTime_ms(std::string_view command) const;

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
    Mismatch m_mismatch = Mismatch::None;
    bool m_reported = false; // the evaluation has had its say and nothing has been sent since
};
