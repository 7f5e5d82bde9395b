// The folder simulator/ plays the laser distance sensor, for tests, for the demo and for any program on a serial port
// (rvqsim). It shares no code with the programs that talk to it, so that a misunderstanding on either side shows. Here:
// the model, which turns bytes and the time into bytes. It owns its parameters, its measurement and its faults; its
// user carries the bytes and decides when.
#pragma once

#include "simulator/Faults.h"
#include "simulator/Parameters.h"
#include "simulator/WireFormat.h"
#include "simulator/clsCommandReader.h"
#include "simulator/clsTransmitLine.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

struct SensorOptions {
    DeviceKind kind = DeviceKind::Serial;
    std::string attenuator = "E";    // the sensor has the echo parameters 351..355 exactly when this contains an 'E';
                                     // one line, without the word "end"
    bool isLegacyDump = false;       // the dump writes "3 06:" for "306:"
    bool isShortAcknowledge = false; // "OK" without the code
    std::int32_t lineRate = 9600;    // bit/s
    std::uint64_t seed = 1;
    Faults faults{};
    Format format = Format::AsciiUnit;
    std::optional<double> values_Hz{}; // instead of what the averaging depth makes of it
    bool counts = false;               // the distance counts the values, so that none can be mistaken for another
};

/// A measured value as it was sent.
struct SentValue {
    std::int64_t number = 0; // 1 is the first
    std::string text;        // "1234 mm", "No Echo" or "TempError"
    bool isDamaged = false;  // a fault has taken bytes away or added foreign ones
};

/// All times are seconds on one steady scale and must not run backwards.
class clsSensorModel {
public:
    explicit clsSensorModel(const SensorOptions& options = {});

    /// Switches on or restarts: takes the stored parameters, sets the line to the stored rate, announces itself with
    /// "RVQ ready" and, with a stored autostart, begins to measure. A new model is on, silent and idle.
    void PowerOn(double now_s);
    /// Takes what the other side has sent, in pieces of any size.
    void Receive(std::string_view bytes, double now_s);
    /// The bytes that have left by now, at the pace of the line's rate; each is returned once.
    std::string Transmit(double now_s);
    /// The values whose last byte was in what Transmit has returned last.
    const std::vector<SentValue>& JustSent() const { return m_justSent; }
    /// When to call Transmit again; infinite when nothing comes without a command.
    double NextDue() const;

    bool IsMeasuring() const { return m_isMeasuring; }
    bool IsMarkerOn() const { return m_isMarkerOn; }
    std::int32_t LineRate() const { return m_line.Rate(); }

    /// Current and stored value of a parameter (the index, where words are listed). They throw std::out_of_range for a
    /// code that no sensor has. The setter changes the current value only, and also throws for a value that the sensor
    /// refuses.
    std::int32_t Parameter(std::string_view code) const;
    std::int32_t StoredParameter(std::string_view code) const;
    void SetParameter(std::string_view code, std::int32_t value);
    /// The stored values come back, as after a restart, but nothing is announced.
    void LoseMemory() { m_current = m_stored; }

    /// Replaces the scene by this distance, without noise; an empty value brings the scene back.
    void HoldDistance(std::optional<double> distance_mm) { m_heldDistance_mm = distance_mm; }
    /// From now on it is another sensor.
    void SetSerialNo(std::string serialNo) { m_serialNo = std::move(serialNo); }
    void SetTemperature(std::int32_t temperature_C) { m_temperature_C = temperature_C; }
    simulator::Faults& Faults() { return m_options.faults; }

    /// The latest complete commands in the order of their arrival, frames with their carriage return; also those that a
    /// fault kept the sensor from hearing. Bounded: the oldest go first.
    const std::deque<std::string>& WireLog() const { return m_wireLog; }
    void ClearWireLog() { m_wireLog.clear(); }

private:
    void execute(std::string_view command, double now_s);
    void executeFrame(std::string_view frame, double now_s);
    bool applyFrame(std::string_view code, std::string_view text);
    void startMeasuring(double now_s);
    void stopMeasuring();

    void advance(double now_s);
    void sendValue(double at_s);
    double measure_mm(double at_s);
    double count_mm() const;
    double smoothed_mm(double value_mm);
    std::int32_t depth() const;
    double interval_s() const;

    void answer(std::string text, double now_s);
    std::string dump() const;
    void falsify(std::string& dump);
    bool isTemperatureGood() const;
    bool hasParameter(const ParameterRow& row) const;
    Format format() const;

    SensorOptions m_options;
    clsCommandReader m_reader;
    clsTransmitLine m_line;
    std::mt19937_64 m_random;
    ParameterSet m_current;
    ParameterSet m_stored;
    std::int32_t m_bootRateIndex; // the value of 601 that gave the line its present rate

    bool m_isMeasuring = false;
    bool m_isMarkerOn = false;
    double m_nextValue_s = 0;
    std::optional<double> m_singleValue_s; // when a requested single value is ready
    std::deque<double> m_lastValues_mm;    // for the moving average
    std::int64_t m_values = 0;             // sent or on their way
    std::deque<SentValue> m_onTheirWay;
    std::vector<SentValue> m_justSent;
    std::optional<double> m_heldDistance_mm;
    std::int32_t m_temperature_C = 23;
    std::string m_serialNo = "004711";
    std::deque<std::string> m_wireLog;
};

} // namespace simulator
