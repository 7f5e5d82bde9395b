// The folder shell/ is the program around the measurement: start-up, settings, texts, help, console, platform, numbers;
// it leaves sensor, chart and files to theirs. Here: the settings that hold for the whole run, and their way to
// "RVQ.ini" and back.
#pragma once

#include "device/Parameters.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

/// Offset of the text ids of a language.
enum LanguageOffset : std::int32_t { LanguageGerman = 0, LanguageEnglish = 1000 };

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
};

/// The settings in a file; what it does not hold, or holds in a form that is no number, is at its default.
Settings LoadGlobalSettings(const std::string& iniFile, char decimalSeparator);

/// Writes what has changed in the sections "GENERAL" and "CHART", each section in one step. False when something could
/// not be written.
bool SaveGlobalSettings(const Settings& settings);

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
