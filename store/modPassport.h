// A sensor's passport: one file of JSON lines for each serial number, only ever appended to. What is known of a sensor
// and every write to it, one line each.
#pragma once

#include "sensor/Parameters.h"

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
    SensorIdentity identity{};         ///< of an identity
    std::string replaced{};            ///< the serial number that was on the same port before; empty when none was
};

/// `<folder>/<serial number>.jsonl`.
std::filesystem::path FileOf(const std::filesystem::path& folder, std::string_view serialNo);

/// Appends one line, whole or not at all; two programs may do so at once. A line that a power cut has torn is ended
/// first, so that it costs itself alone. The reason when it fails; no error otherwise.
std::error_code Append(const std::filesystem::path& folder, std::string_view serialNo, const Entry& entry);

/// What became of reading.
struct ReadOutcome {
    std::size_t entries = 0, unreadable = 0;
    std::error_code why{};
};
/// Passes the entries in the order of the file; a line that is none is counted and left out. `take` ends it by
/// returning false.
ReadOutcome Read(const std::filesystem::path& file, const std::function<bool(const Entry&)>& take);
/// The newest entry of an event, read from the end of the file.
std::optional<Entry> Newest(const std::filesystem::path& file, Event event);

} // namespace modPassport
