// A sensor's passport: one file of JSON lines for each serial number, only ever appended to. What is known of a sensor
// and every write to it, one line each. UTF-8, LF; unknown keys are ignored.
//
//   time      ISO 8601 with milliseconds and the offset from UTC
//   event     "identity", "send", "store", "defaults", "undo", "single"
//   user, version, port   who wrote, with which version of the program, and where
//   changes   a list of {code, old, new, readBack}: values as the set commands carry them; `readBack` is missing when
//             nothing was read back
//   result    "verified", "differs", "failed"; missing for an identity
//   set       what the sensor worked with afterwards: numbers by code, as the sidecars of recordings have them. They
//             are indexes where the parameter is a list, so that also a value that no command carries comes back.
//   identity  of an identity: {type, serial, version, build, date, attenuator}
//   replaced  of an identity: the serial number that was on the same port before
#pragma once

#include "sensor/Parameters.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace modPassport {

enum class Event : std::uint8_t { Identity, Send, Store, Defaults, Undo, Single };

/// One changed parameter; the values as the set commands carry them.
struct Change {
    std::string code, before, wanted;
    std::optional<std::string> readBack{}; ///< nothing was read back
    bool operator==(const Change&) const = default;
};

/// One line of the file. Texts are UTF-8.
struct Entry {
    double time = 0.0; ///< local, days since 1899-12-30
    Event event = Event::Identity;
    std::string user{}, version{}, port{};
    std::vector<Change> changes{};
    std::string result{};              ///< "verified", "differs", "failed"; empty for an identity
    std::optional<ParameterSet> set{}; ///< all that the sensor worked with afterwards, as far as it is known
    SensorIdentity identity{};         ///< of an identity; one byte per character, without the hardware
    std::string replaced{};            ///< the serial number that was on the same port before; empty when none was
    bool operator==(const Entry&) const = default;
};

/// Longer lines are none of ours.
inline constexpr std::size_t kLongestLine = std::size_t{1} << 20;

/// A stored value as the set command carries it; one that its list does not hold as a decimal number.
std::string WireText(const ParameterDef& row, std::int32_t stored);
/// The way back; empty for a text that is no value of the parameter.
std::optional<std::int32_t> StoredOf(const ParameterDef& row, std::string_view wireText);

/// `<folder>/<serial number>.jsonl`.
std::filesystem::path FileOf(const std::filesystem::path& folder, std::string_view serialNo);
/// The passports in a folder, by name.
std::vector<std::filesystem::path> List(const std::filesystem::path& folder);

/// Appends one line, whole or not at all; two programs may do so at once. A line that a power cut has torn is ended
/// first, so that it costs itself alone. Another program's lock is waited for, with `patience`; it is EBUSY then. An
/// identity is written in a tick and is not waited for until it is on the disk; anything else is. The reason when it
/// fails; no error otherwise.
std::error_code Append(const std::filesystem::path& folder, std::string_view serialNo, const Entry& entry,
                       std::chrono::milliseconds patience = std::chrono::seconds(1));

/// What a line says; nothing when it is no entry. Never throws, whatever the line holds.
std::optional<Entry> EntryOf(std::string_view line);

/// What became of reading.
struct ReadOutcome {
    std::size_t entries = 0, unreadable = 0;
    std::error_code why{};
};
/// Passes the entries in the order of the file; a line that is none is counted and left out. `take` ends it by
/// returning false. Its memory does not grow with the file.
ReadOutcome Read(const std::filesystem::path& file, const std::function<bool(const Entry&)>& take);
/// The newest entry of an event among the last 4 MiB of the file, read from its end.
std::optional<Entry> Newest(const std::filesystem::path& file, Event event);

} // namespace modPassport
