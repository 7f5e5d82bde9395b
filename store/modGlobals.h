// The settings that hold for the whole run, and how they are loaded from "RVQ.ini" and saved to it.
#pragma once

#include "sensor/Parameters.h"
#include "store/modIni.h"
#include "texts/modFunctions.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace modGlobals {

/// Values kept in the two history queues from which the chart's automatic range is computed.
inline constexpr std::int32_t kHistoryLength = 25;

/// The largest `NewFile` and `FileSize`.
inline constexpr std::int32_t kLastNewFile = 3;
inline constexpr std::int32_t kLargestFileSize = 9999;
/// The bounds of `History_MiB`.
inline constexpr std::int32_t kLeastHistory_MiB = 1, kMostHistory_MiB = 65536;

/// Which device each port number led to when the operator connected to it, by its stable name: the section "DEVICES".
class KnownDevices {
public:
    KnownDevices() = default;
    explicit KnownDevices(const modIni::Content& content);

    /// Empty when it is not known.
    std::string Of(std::int32_t port) const;
    /// It is written with the settings.
    void Remember(std::int32_t port, const std::string& stableName);
    /// Writes what was remembered since the last time; nothing else.
    void Put(modIni::Content& content) const;
    void HasBeenPut() { m_changed.clear(); }

private:
    std::map<std::int32_t, std::string> m_names;
    std::set<std::int32_t> m_changed;
};

struct Settings {
    std::string IniFile = {};           ///< full path; empty: nothing is kept
    std::int32_t Baudrate = kUsualRate; ///< bit/s
    std::int32_t Comport = 1;           ///< 1..255
    std::int32_t Language = LanguageGerman;
    std::string DefaultDevice{kSerialType}; ///< or `kProfibusType`
    bool AutoScale = true;
    double yMax = 5000.0;
    double yMin = 0.0;
    bool ShowZeroValues = false;    ///< values of 0 are charted; not kept in the file
    bool TimeOfDay = false;         ///< on the time axis of the chart; false: seconds before its right end
    std::int32_t Span_ms = 60000;   ///< of the time axis while it follows; 0: all that was measured
    std::int32_t History_MiB = 256; ///< memory for the session's history; 0: it keeps nothing, which no file can say
    bool EveryValue = true;         ///< is recorded; false: one a tick
    std::int32_t NewFile = 0;       ///< when a recording goes on in another file: an index of `RecordParts`
    std::int32_t FileSize = 100;    ///< MiB, when it does so by size

    KnownDevices Devices = {};

    /// A key's text in the file and the value that came of it, when it was last read or written.
    struct Known {
        std::optional<std::string> inFile;
        std::string value;
    };
    std::vector<Known> Keys = {};   ///< by the table of the keys; empty when no file was read
    std::string UnreadFile = {};    ///< the file that exists but could not be read; `IniFile` is empty then
    std::error_code UnreadWhy = {}; ///< and why
};

/// The settings in a file; a setting that is missing or not a number has its default. A file that exists but cannot be
/// read is not written in this run, even if it can be read later: the defaults in use are nobody's settings.
Settings LoadGlobalSettings(const std::string& iniFile, char decimalSeparator);

/// Writes what has changed in the sections "GENERAL", "CHART", "RECORDER" and "DEVICES" since the settings were read or
/// written, in one step. A key that another program or a person has changed or removed meanwhile stays so, unless it
/// was changed here too. Keys that the file never had are added. Returns the reason when the file could not be written;
/// none without `IniFile`, when nothing is to be kept.
std::error_code SaveGlobalSettings(Settings& settings);

/// The section "PORTS" of a file. Lists of ports ask for each of them, and a closed port asks twenty times a second:
/// while the file is unchanged and names no port, it is not read again.
class ConfiguredPorts {
public:
    explicit ConfiguredPorts(std::string iniFile) : m_iniFile(std::move(iniFile)) {}

    /// The device that a key such as "COM7" names for its port; empty when it names none.
    std::string DeviceOf(std::string_view key);

private:
    std::string m_iniFile;
    /// When the file was written, and its size; a missing file has such a state too.
    std::pair<std::filesystem::file_time_type, std::uintmax_t> m_state{std::filesystem::file_time_type::min(), 0};
    bool m_namesAny = false;
};

} // namespace modGlobals
