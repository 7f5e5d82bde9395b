// The sensor's parameters: one row each with everything that is known of it. Sending, parsing, loading and saving walk
// this table; a new parameter is a new row.
#pragma once

#include "sensor/clsRVQ.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// When the sensor's dump and the configuration files hold a parameter.
enum class ParameterGroup : std::uint8_t { Common, EchoFilter, SerialOnly };

struct ParameterDef {
    std::int32_t codeId;   ///< 1..29: the order in which an upload goes through the codes
    std::string_view code; ///< three digits, in commands and in the dump
    std::string_view key;  ///< in configuration files
    std::int32_t clsRVQ::*value;
    std::int32_t defaultValue;                   ///< of a new object
    std::int32_t missingKeyValue;                ///< of a file that does not name the key
    std::span<const std::string_view> wireTexts; ///< empty: the value travels as a decimal number
    std::string_view fallback;                   ///< sent for an index that wireTexts does not hold
    std::int32_t labelId;                        ///< caption, German text id
    ParameterGroup group;
};

inline constexpr std::array<std::string_view, 6> kBaudrateTexts{"1200", "2400", "4800", "9600", "19200", "38400"};
inline constexpr std::int32_t kUsualRate = 9600; // bit/s
inline constexpr std::array<std::string_view, 7> kDistanceUnitTexts{"MM", "M", "IN", "FT", "YD", "MI", "NM"};
inline constexpr std::array<std::string_view, 4> kOutputFormatTexts{"ASCII", "ASCII+UNIT", "BINARY", "BINARY+CRC"};
inline constexpr std::array<std::string_view, 3> kOutputModeTexts{"C", "S", "R"}; // continuous, single, on request
inline constexpr std::array<std::string_view, 5> kAverageDepthTexts{"1", "16", "64", "256", "1024"};
inline constexpr std::array<std::string_view, 5> kTimeOutTexts{"0", "25", "50", "100", "200"}; // per cent
inline constexpr std::array<std::string_view, 3> kRainFilterTexts{"OFF", "DISTECHO", "PIXEL"};

/// All parameters in the order of a configuration file.
std::span<const ParameterDef> Parameters();

/// The row of a three-digit code; null for any other text.
const ParameterDef* ParameterOfCode(std::string_view code);

/// Whether a configuration is one of a serial sensor; a node address of 0 or more makes it one of a Profibus sensor.
inline bool IsSerial(const clsRVQ& configuration)
{
    return configuration.NodeAddress < 0;
}

/// Deliberate: only a sensor whose attenuator text has an "E" has rain filter and echo parameters.
inline bool HasEchoFilter(const clsRVQ& device)
{
    return device.Attenuator.find('E') != std::string::npos;
}

/// What the set command for a code carries: the wire text of the device's value or the value as a decimal number.
/// Empty for an unknown code, "999" and "000" among them.
std::string WireValue(const clsRVQ& device, std::string_view code);

/// A rate in bit/s if the sensor has it, else `kUsualRate`.
std::int32_t SensorRate(std::int32_t rate);

/// Texts of the drop-down lists, by stored value; the ids are those of the program's text table.
struct ValueListDef {
    std::int32_t firstId;
    std::span<const std::string_view> texts;
};
inline constexpr std::array<std::string_view, 7> kUnitNamesLong{"Millimeter", "Meter", "Inch",       "Foot",
                                                                "Yard",       "Mile",  "Nautic Mile"};
inline constexpr std::array<std::string_view, 5> kTimeOutNames{"0 %", "25 %", "50 %", "100 %", "200 %"};
inline constexpr ValueListDef kValueLists[] = {
    {800, kOutputFormatTexts}, {810, kUnitNamesLong}, {820, kBaudrateTexts},
    {830, kAverageDepthTexts}, {840, kTimeOutNames},  {850, kRainFilterTexts},
};

struct UnitDef {
    std::string_view name;
    double millimetres; ///< in one unit
    int decimals;       ///< shown for a distance
};
inline constexpr std::array<UnitDef, 7> kUnits{{{"mm", 1.0, 0},
                                                {"m", 1000.0, 3},
                                                {"in", 25.4, 3},
                                                {"ft", 304.8, 4},
                                                {"yd", 914.4, 4},
                                                {"mi", 1609344.0, 8},
                                                {"nm", 1852000.0, 8}}};

/// The unit of a `DistanceUnit`; metres for an index outside 0..6, as the set command has it.
const UnitDef& UnitOf(std::int32_t distanceUnit);
