// The simulated sensor's parameters: codes, factory values and accepted values, in the order of the sensor's own list.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace simulator {

enum class DeviceKind { Serial, Profibus };

/// Which sensors have a parameter: all, the Profibus ones, or those whose attenuator has the echo option.
enum class Presence { Always, ProfibusOnly, EchoOnly };

struct ParameterRow {
    std::string_view code;
    std::int32_t factoryValue;
    std::int32_t minimum, maximum;           // both are accepted
    std::span<const std::string_view> texts; // not empty: set by one of these words, stored as the word's index
    Presence presence = Presence::Always;
};

inline constexpr std::string_view kFormatTexts[] = {"ASCII", "ASCII+UNIT", "BINARY", "BINARY+CRC"};
inline constexpr std::string_view kUnitTexts[] = {"MM", "M", "IN", "FT", "YD", "MI", "NM"};
inline constexpr std::string_view kRateTexts[] = {"1200", "2400", "4800", "9600", "19200", "38400"};
inline constexpr std::string_view kModeTexts[] = {"C", "S", "R"};
inline constexpr std::string_view kDepthTexts[] = {"1", "16", "64", "256", "1024"};
inline constexpr std::string_view kTimeOutTexts[] = {"0", "25", "50", "100", "200"}; // per cent
inline constexpr std::string_view kRainTexts[] = {"OFF", "DISTECHO", "PIXEL"};

/// The numbers that the words of a parameter stand for, by the words' index.
template <std::size_t Count>
consteval std::array<std::int32_t, Count> NumbersOf(const std::string_view (&words)[Count])
{
    std::array<std::int32_t, Count> numbers{};
    for (std::size_t i = 0; i < Count; ++i) {
        for (const char digit : words[i]) {
            numbers[i] = numbers[i] * 10 + (digit - '0');
        }
    }
    return numbers;
}
inline constexpr std::array kRates = NumbersOf(kRateTexts);   // bit/s, by index of 601
inline constexpr std::array kDepths = NumbersOf(kDepthTexts); // samples, by index of 301

inline constexpr std::array kParameterRows = {
    ParameterRow{"101", 1, 0, 3, kFormatTexts},
    ParameterRow{"111", 1, 0, 6, kUnitTexts},
    ParameterRow{"601", 3, 0, 5, kRateTexts},
    ParameterRow{"603", 0, 0, 2, kModeTexts},
    ParameterRow{"610", 5, 0, 125, {}, Presence::ProfibusOnly},
    ParameterRow{"301", 2, 0, 4, kDepthTexts},
    ParameterRow{"302", 1, 0, 4, kTimeOutTexts},
    ParameterRow{"304", 0, 0, 1, {}},
    ParameterRow{"305", 0, 0, 1, {}},
    ParameterRow{"306", 1, 0, 1, {}},
    ParameterRow{"311", 0, 0, 1, {}},
    ParameterRow{"351", 0, 0, 2, kRainTexts, Presence::EchoOnly},
    ParameterRow{"352", 20000, 1, 20000, {}, Presence::EchoOnly},
    ParameterRow{"353", 512, 0, 1023, {}, Presence::EchoOnly},
    ParameterRow{"354", 1000, 1, 2000, {}, Presence::EchoOnly},
    ParameterRow{"355", 1, 1, 10, {}, Presence::EchoOnly},
    ParameterRow{"401", 1000, -1000000, 1000000, {}},
    ParameterRow{"402", 9000, -1000000, 1000000, {}},
    ParameterRow{"403", 0, 0, 1, {}},
    ParameterRow{"501", 10000, -1000000, 1000000, {}},
    ParameterRow{"502", 9900, -1000000, 1000000, {}},
    ParameterRow{"503", 1, 0, 1, {}},
    ParameterRow{"504", 1000, -1000000, 1000000, {}},
    ParameterRow{"505", 900, -1000000, 1000000, {}},
    ParameterRow{"506", 1, 0, 1, {}},
    ParameterRow{"701", 0, -32768, 32767, {}},    // mm
    ParameterRow{"702", 1000, -32768, 32767, {}}, // thousandths
    ParameterRow{"801", 200, -100, 500, {}},      // tenths of a degree
    ParameterRow{"802", 1013, 800, 1200, {}},     // hPa
};

/// One value for each row of kParameterRows.
using ParameterSet = std::array<std::int32_t, kParameterRows.size()>;

/// The row of a three-digit code; empty when no sensor has such a parameter.
std::optional<std::size_t> FindParameter(std::string_view code);

/// What the text of a set command means for this parameter: the index of a listed word, or a whole number within range.
/// Empty when the text is neither.
std::optional<std::int32_t> ReadParameterText(const ParameterRow& row, std::string_view text);

ParameterSet FactoryValues();

/// The index of a rate in kRates; empty for a rate that no parameter value stands for.
std::optional<std::int32_t> RateIndex(std::int32_t bitsPerSecond);

} // namespace simulator
