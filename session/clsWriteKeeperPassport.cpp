// What goes into a sensor's passport, and when.
#include "base/CodePage.h"
#include "session/clsWriteKeeper.h"
#include "store/clsPortSensors.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace {

using modPassport::Entry;
using modPassport::Event;

/// More are not kept while a passport cannot be written.
constexpr std::size_t kMostUnwritten = 100;
/// How long another program's lock is waited for: an identity is noted in a tick, a write while the operator waits.
constexpr std::chrono::milliseconds kTickPatience(20), kWritePatience(500);

/// In the order of `WriteKind` and of `WriteResult`.
constexpr std::array<Event, 5> kEvents{Event::Send, Event::Store, Event::Defaults, Event::Undo, Event::Single};
constexpr std::array<const char*, 3> kResults{"verified", "differs", "failed"};

SensorIdentity withoutHardware(SensorIdentity identity)
{
    identity.HWPointer.clear();
    return identity;
}

Entry passportEntryOf(const WriteReport& report)
{
    Entry entry{.time = report.time, .event = kEvents.at(static_cast<std::size_t>(report.kind))};
    for (const ValueReport& value : report.values) {
        if (value.outcome == ValueOutcome::NotSent) {
            continue; // the sensor has never seen it
        }
        modPassport::Change change{std::string(value.row->code), modPassport::WireText(*value.row, value.before),
                                   modPassport::WireText(*value.row, value.wanted)};
        if (value.readBack) {
            change.readBack = modPassport::WireText(*value.row, *value.readBack);
        }
        entry.changes.push_back(std::move(change));
    }
    entry.result = kResults.at(static_cast<std::size_t>(report.result));
    if (report.isReadBack && report.isSameSensor) {
        entry.set = report.after;
    }
    return entry;
}

} // namespace

bool clsWriteKeeper::IsSameIdentity(const SensorIdentity& one, const SensorIdentity& other)
{
    return one.SerialNo == other.SerialNo && one.DeviceType == other.DeviceType && one.Attenuator == other.Attenuator &&
           one.SWVersion == other.SWVersion && one.SWBuild == other.SWBuild && one.SWDate == other.SWDate;
}

void clsWriteKeeper::notePassport(const WriteReport& report, std::string_view port)
{
    Entry entry = passportEntryOf(report);
    entry.port = m_port.empty() ? port : m_port;
    keepEntry(report.serialNo, std::move(entry), kWritePatience);
}

void clsWriteKeeper::NoteIdentity(const SensorIdentity& sensor, const ParameterSet& set, std::string_view port,
                                  double now)
{
    m_port = port;
    if (m_places.passports.empty()) {
        return;
    }
    const std::string* before = sensorOn(m_port);
    const bool isReplaced = before != nullptr && *before != sensor.SerialNo;
    const std::filesystem::path file = modPassport::FileOf(m_places.passports, sensor.SerialNo);
    auto known = m_known.find(file.filename().string());
    if (known == m_known.end()) {
        if (const auto newest = modPassport::Newest(file, Event::Identity)) {
            known = m_known.emplace(file.filename().string(), newest->identity).first;
        }
    }
    const auto doubtful = std::exchange(m_doubtful, std::nullopt);
    if (!isReplaced && known != m_known.end() && IsSameIdentity(known->second, sensor)) {
        m_portSensors[m_port] = sensor.SerialNo;
        return;
    }
    const bool isRepeated = doubtful && IsSameIdentity(*doubtful, sensor);
    if ((before != nullptr || known != m_known.end()) && !isRepeated) {
        m_doubtful = sensor;
        return;
    }
    m_known[file.filename().string()] = sensor;
    Entry entry{.time = now, .event = Event::Identity, .port = m_port, .set = set};
    entry.identity = withoutHardware(sensor);
    entry.replaced = isReplaced ? Utf8Of(*before) : std::string();
    m_portSensors[m_port] = sensor.SerialNo;
    if (m_places.portSensors != nullptr) {
        m_places.portSensors->Note(sensor.SerialNo, m_port, now);
    }
    keepEntry(sensor.SerialNo, std::move(entry), kTickPatience);
    ++m_version;
}

/// The serial number of the sensor that was on a port last, in this session or by the passports; null when none was.
const std::string* clsWriteKeeper::sensorOn(const std::string& port)
{
    const auto [last, isFirst] = m_portSensors.try_emplace(port);
    if (isFirst) {
        last->second = m_places.portSensors != nullptr ? m_places.portSensors->LastOn(port)
                                                       : clsPortSensors(m_places.passports).LastOn(port);
    }
    return last->second ? &*last->second : nullptr;
}

/// What a full disk or a lock has kept from the passport goes first: the lines are in the order of time.
void clsWriteKeeper::keepEntry(std::string_view serialNo, Entry entry, std::chrono::milliseconds patience)
{
    m_passportFailure.clear();
    if (m_places.passports.empty()) {
        return;
    }
    entry.user = m_places.user;
    entry.version = m_places.version;
    m_unwritten.push_back({std::string(serialNo), std::move(entry)});
    if (m_unwritten.size() > kMostUnwritten) {
        m_unwritten.pop_front();
    }
    std::set<std::string, std::less<>> blocked; // the passports of other sensors can be written nevertheless
    for (auto next = m_unwritten.begin(); next != m_unwritten.end();) {
        std::error_code why;
        if (!blocked.contains(next->serialNo)) {
            why = modPassport::Append(m_places.passports, next->serialNo, next->entry, patience);
            if (!why) {
                next = m_unwritten.erase(next);
                continue;
            }
            blocked.insert(next->serialNo);
            m_passportFailure = why;
        }
        ++next;
    }
}
