// The settings that hold for the whole run, and their way to "RVQ.ini" and back.
#pragma once

#include "sensor/Parameters.h"
#include "texts/modFunctions.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace modGlobals {

/// Values kept in the two history queues from which the chart's automatic range is computed.
inline constexpr std::int32_t kHistoryLength = 25;

struct Settings {
    std::string IniFile = {};           ///< full path; empty: nothing is kept
    std::int32_t Baudrate = kUsualRate; ///< bit/s
    std::int32_t Comport = 1;           ///< 1..255
    std::int32_t Language = LanguageGerman;
    std::string DefaultDevice{kSerialType}; ///< or `kProfibusType`
    bool AutoScale = true;
    double yMax = 5000.0;
    double yMin = 0.0;
    bool ShowZeroValues = false; ///< values of 0 are charted; not kept in the file

    /// A key as the file had it and the value that was made of it, when it was last read or written.
    struct Known {
        std::optional<std::string> inFile;
        std::string value;
    };
    std::vector<Known> Keys = {};   ///< by the table of the keys; empty when no file was read
    std::string UnreadFile = {};    ///< the file that is there and could not be read; `IniFile` is empty then
    std::error_code UnreadWhy = {}; ///< and why
};

/// The settings in a file; what it does not hold, or holds in a form that is no number, is at its default. A file that
/// is there and cannot be read is not written in this run, whatever it may be later: the defaults in its place are
/// nobody's settings.
Settings LoadGlobalSettings(const std::string& iniFile, char decimalSeparator);

/// Writes what has changed in the sections "GENERAL" and "CHART" since the settings were read or written, in one step.
/// A key that another program has changed meanwhile stays as that has written it, unless it was changed here, too. The
/// reason when the file could not be written; none without `IniFile`, when nothing is to be kept.
std::error_code SaveGlobalSettings(Settings& settings);

/// The section "PORTS" of a file. Lists of ports ask for each of them, and a closed port asks twenty times a second:
/// while the file stays as it is and names none, it is not read again.
class ConfiguredPorts {
public:
    explicit ConfiguredPorts(std::string iniFile) : m_iniFile(std::move(iniFile)) {}

    /// What a key "COM7" names: the device of a port; empty when it names none.
    std::string DeviceOf(std::string_view key);

private:
    std::string m_iniFile;
    /// When the file was written, and its size; those of a missing file, too.
    std::pair<std::filesystem::file_time_type, std::uintmax_t> m_state{std::filesystem::file_time_type::min(), 0};
    bool m_namesAny = false;
};

} // namespace modGlobals
