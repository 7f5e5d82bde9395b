// One write to the sensor, from the state before it to the report about it: reads the sensor before and after, keeps
// what became of each frame, and works out what is true. It sends nothing but requests for the dump; the frames are
// its user's.
#pragma once

#include "base/Operation.h"
#include "sensor/clsRVQ.h"
#include "session/WriteReport.h"
#include "store/Configuration.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

class clsWriteKeeper;

class clsWriteCircle {
public:
    /// Begins. What the device reported last counts as the state before until `ReadingBefore` knows better.
    clsWriteCircle(clsRVQ& device, WriteKind kind);

    // Both readings belong within a wait. A dump has no checksum: one that is not as expected is read again, until two
    // in succession are the same, three times at most. They do not read when the port is closed.

    /// Reads the state before the write. False when nothing trustworthy has come; the dialogue then is where it was.
    /// For a store, the report's state before stays what the device reported last: a sensor that has lost it meanwhile
    /// stores something else than the operator knows of.
    Operation<bool> ReadingBefore();
    /// Reads the state after it. Another sensor's answer counts as read, with `IsSameSensor` false.
    Operation<bool> ReadingAfter();

    /// What the write is to send, in this order; "999" and "000" are codes too.
    void Plan(const ParameterSet& values, std::vector<std::string> codes);
    const ParameterSet& Values() const { return m_values; }
    const std::vector<std::string>& Codes() const { return m_codes; }
    /// Saves the state before. False when that fails; `NoBackup` and the report then have the reason.
    bool BackUp(clsWriteKeeper& keeper);
    /// Looks for a restart of the sensor, and at the port; call it before each frame.
    void Watch();
    /// Takes the verdict on a frame.
    void Note(std::string_view code, std::int32_t verdict);
    /// All frames are sent again from the first one.
    void BeginAgain() { m_verdicts.clear(); }

    const ParameterSet& Before() const { return m_fresh; }
    const std::string& SerialNo() const { return m_report.serialNo; }
    std::string Port() const { return "COM " + std::to_string(m_device.CommComPort()); }
    std::error_code NoBackup() const { return m_report.noBackup; }
    bool IsSameSensor() const { return m_report.isSameSensor; }
    bool IsReadBackTried() const { return m_isReadBackTried; }
    /// Whether any frame has gone out.
    bool IsSent() const { return m_isSent; }
    std::size_t Acknowledged() const;
    /// The sensor has answered every reading, but each time something else.
    bool IsContradictory() const { return m_isContradictory; }

    /// The report so far. `reason` counts when the write has failed.
    WriteReport Report(TextId reason, bool isCancelled);

private:
    struct Dump {
        std::string serialNo;
        ParameterSet set;            ///< with the set before where the dump has nothing
        PerParameter<bool> hasValue; ///< in the dump
        bool operator==(const Dump&) const = default;
    };
    Operation<std::optional<Dump>> reading(std::optional<ParameterSet> expected);
    Operation<bool> awaitingDump();
    Dump takeDump() const;
    bool isAsExpected(const Dump& dump, const std::optional<ParameterSet>& expected) const;
    std::optional<ParameterSet> expectedAfter() const;
    std::int32_t verdictOf(std::string_view code) const;
    ValueReport valueReport(const ParameterDef& row) const;
    ValueOutcome outcomeOf(const ValueReport& value) const;
    void fillValues();
    bool hasSet(ValueOutcome outcome) const;
    bool hasLostValues() const;
    bool isAtDefaults() const;
    bool areDefaultsTaken() const;
    std::size_t countSent() const;
    WriteResult resultOf() const;

    clsRVQ& m_device;
    SensorIdentity m_sensor; ///< that is written to
    std::int32_t m_opening;  ///< of the port, at the begin
    WriteReport m_report;
    ParameterSet m_fresh; ///< as read before the write
    ParameterSet m_values{};
    std::vector<std::string> m_codes;
    std::vector<std::pair<std::string, std::int32_t>> m_verdicts; ///< the last one on each frame that was sent
    PerParameter<bool> m_isReadBack{};
    bool m_isSent = false;
    bool m_isReadBackTried = false;
    bool m_isContradictory = false;
    bool m_isHeard = false;      ///< the last reading brought any bytes
    bool m_hasSeenOther = false; ///< the last reading brought another serial number, damaged or true
    bool m_wasUnstored;          ///< before the write the sensor worked with values that were not stored
    bool m_holdsUnstored;        ///< the same now, unless it restarts
    bool m_hasRestarted = false;
    bool m_mayReach = true; ///< the port was open when the last frame was sent
};
