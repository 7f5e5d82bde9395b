// Keeps what a write to the sensor must not lose: the set before it in a backup, the write itself in the sensor's
// passport, and the last write for its undo. A transfer asks it before it writes and tells it afterwards.
#pragma once

#include "session/WriteReport.h"
#include "store/Configuration.h"
#include "store/modPassport.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

class clsPortSensors;

class clsWriteKeeper {
public:
    /// Where things are kept, and what a passport says about who wrote. An empty folder keeps nothing.
    struct Places {
        std::filesystem::path backups{};   ///< "BACKUP" in the program's folder
        std::filesystem::path passports{}; ///< "PASSPORT" in the program's folder
        std::string user{}, version{};     ///< UTF-8
        /// Of the same passports, shared with other sessions; null: this session reads them for each new port.
        clsPortSensors* portSensors = nullptr;
    };
    void Keep(const Places& places) { m_places = places; }
    const Places& Kept() const { return m_places; }

    /// Saves the set of a sensor before it is written to, at the local time `now`. Returns the file; nothing, with the
    /// reason in `why`, when it cannot be saved, and nothing without a reason when backups are not kept.
    std::optional<std::filesystem::path> BackUp(const Configuration& before, double now, std::error_code& why);
    /// The same before a single value is changed: only before the first one of this session for each sensor. Returns
    /// nothing, without a reason, before the others.
    std::optional<std::filesystem::path> BackUpFirst(const Configuration& before, double now, std::error_code& why);
    /// Takes a finished write: into the passport, and as the one that Undo takes back. `port` counts as long as no
    /// identity was noted with the operator's name for it.
    /// Returns the report with what it knows of earlier writes; valid until the next one.
    const WriteReport& Note(WriteReport report, std::string_view port);
    /// Takes what a connected sensor says of itself; another identity than its passport has goes into it, and so does
    /// a sensor in the place of another one on the same port, also after a restart of the program. A dump has no
    /// checksum: where a sensor is known already, on this port or by this number, another identity waits for the next
    /// dump that says the same. What changes by itself, as the hardware's state does with the laser, is no other
    /// identity. Call it for each dump: the first one on a port looks into all passports, unless they are shared.
    void NoteIdentity(const SensorIdentity& sensor, const ParameterSet& set, std::string_view port, double now);

    /// The last write; null before the first one.
    const WriteReport* Last() const { return m_last ? &*m_last : nullptr; }
    /// The write that Undo takes back: the last one that has changed something in this sensor, or may have. An undo is
    /// such a write itself. Storing changes nothing that the sensor works with, so the write before it stays, as it
    /// does when the sensor is disconnected or restarts. Null when there is none.
    const WriteReport* Undoable(std::string_view serialNo) const;
    /// Dismisses it. Whatever does not say its number may be another sensor as soon as the port was closed.
    void ForgetUndo(std::string_view serialNo);
    /// Changes with every note.
    std::uint64_t Version() const { return m_version; }
    /// Whether a single parameter of this sensor was changed in this session already, so that its set is backed up.
    bool IsBackedUp(std::string_view serialNo) const { return m_backedUp.contains(serialNo); }
    /// Whether two sensors say the same of themselves, apart from the state of the hardware.
    static bool IsSameIdentity(const SensorIdentity& one, const SensorIdentity& other);
    /// Why the passport could not be written last; no error when it could. What could not be written follows with the
    /// next note.
    std::error_code PassportFailure() const { return m_passportFailure; }

private:
    // The passport (clsWriteKeeperPassport.cpp).
    void notePassport(const WriteReport& report, std::string_view port);
    const std::string* sensorOn(const std::string& port);
    void keepEntry(std::string_view serialNo, modPassport::Entry entry, std::chrono::milliseconds patience);

    struct Unwritten {
        std::string serialNo;
        modPassport::Entry entry;
    };

    Places m_places;
    std::optional<WriteReport> m_last;
    std::map<std::string, WriteReport, std::less<>> m_undo; ///< by serial number
    /// By serial number, while something is not stored: what the sensor worked with before that.
    std::map<std::string, ParameterSet, std::less<>> m_stored;
    std::set<std::string, std::less<>> m_backedUp; ///< serial numbers
    std::uint64_t m_version = 0;
    std::error_code m_passportFailure;
    std::deque<Unwritten> m_unwritten;             ///< waits for the next note
    std::map<std::string, SensorIdentity> m_known; ///< the newest in each passport, by the name of the file
    std::string m_port;                            ///< of the last connection
    /// The serial number of the last sensor on each port; nothing where there was none.
    std::map<std::string, std::optional<std::string>> m_portSensors;
    std::optional<SensorIdentity> m_doubtful; ///< waits for the next dump
};
