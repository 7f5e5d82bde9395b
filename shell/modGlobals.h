// The settings that hold for the whole run.
#pragma once

#include <cstdint>

/// Offset of the text ids of a language.
enum LanguageOffset : std::int32_t { LanguageGerman = 0, LanguageEnglish = 1000 };

namespace modGlobals {

/// Values kept in the two history queues from which the chart's automatic range is computed.
inline constexpr std::int32_t kHistoryLength = 25;

struct Settings {
    std::int32_t Baudrate = 9600; ///< bit/s
    std::int32_t Comport = 1;     ///< 1..255
    std::int32_t Language = LanguageGerman;
};

} // namespace modGlobals
