// The sensor's parameters: the set of their values, and one row each with everything that is known of it. Sending,
// parsing, loading and saving walk this table; a new parameter is a new row.
#pragma once

#include "texts/TextId.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Values of `ParameterSet::OutputFormat`; anything else is read as ASCII.
enum OutputFormatIndex : std::int32_t { FormatAscii = 0, FormatAsciiUnit = 1, FormatBinary = 2, FormatBinaryCrc = 3 };

inline constexpr bool IsBinary(std::int32_t outputFormat)
{
    return outputFormat == FormatBinary || outputFormat == FormatBinaryCrc;
}

/// Values of `ParameterSet::OutputMode`.
enum OutputModeIndex : std::int32_t { OutputContinuous = 0, OutputSingle = 1, OutputOnRequest = 2 };

/// The two types of sensor, as they name themselves.
inline constexpr std::string_view kSerialType = "Serial";
inline constexpr std::string_view kProfibusType = "Profibus";
inline constexpr std::string_view TypeName(bool serial)
{
    return serial ? kSerialType : kProfibusType;
}

/// The values of all parameters: indexes of lists, or plain numbers. Their codes, keys, defaults and texts stand in the
/// table below.
struct ParameterSet {
    /// All at their defaults.
    ParameterSet();
    bool operator==(const ParameterSet&) const = default;

    std::int32_t Baudrate, DistanceUnit, OutputMode, OutputFormat, NodeAddress, AutostartMode, AverageDepth,
        MovingAverage, TimeOut, EchoCheck, Blanking, RainFilter, DistanceWindow, EchoThreshold, DistanceLimit,
        MeasValid, Offset, ScaleFactor, Temperature, AirPressure, S1Logic, S1OnThreshold, S1OffThreshold, S2Logic,
        S2OnThreshold, S2OffThreshold, AnalogOutput, AnalogMin, AnalogMax;
};

/// What a sensor says of itself.
struct SensorIdentity {
    std::string DeviceType{kSerialType};
    std::string Attenuator, SerialNo, SWVersion, SWBuild, SWDate, HWPointer;
    bool operator==(const SensorIdentity&) const = default;
};

/// When the sensor's dump and the configuration files hold a parameter.
enum class ParameterGroup : std::uint8_t { Common, EchoFilter, SerialOnly };

struct ParameterDef {
    std::int32_t codeId;   ///< 1..29: the order in which an upload goes through the codes
    std::string_view code; ///< three digits, in commands and in the dump
    std::string_view key;  ///< in configuration files
    std::int32_t ParameterSet::*value;
    std::int32_t defaultValue;                   ///< of a new object
    std::int32_t missingKeyValue;                ///< of a file that does not name the key
    std::span<const std::string_view> wireTexts; ///< empty: the value travels as a decimal number
    std::string_view fallback;                   ///< sent for an index that wireTexts does not hold
    TextId labelId;                              ///< caption
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
std::span<const ParameterDef> ParameterTable();

/// The row of a three-digit code; null for any other text.
const ParameterDef* ParameterOfCode(std::string_view code);

/// Whether a set is one of a serial sensor; a node address of 0 or more makes it one of a Profibus sensor.
inline bool IsSerial(const ParameterSet& set)
{
    return set.NodeAddress < 0;
}

/// Deliberate: only a sensor whose attenuator text has an "E" has rain filter and echo parameters.
inline bool HasEchoFilter(const SensorIdentity& sensor)
{
    return sensor.Attenuator.find('E') != std::string::npos;
}

/// What the set command for a code carries: the wire text of the value or the value as a decimal number.
/// Empty for an unknown code, "999" and "000" among them.
std::string WireValue(const ParameterSet& set, std::string_view code);

/// Index 0..5 of the parameter `Baudrate` as bit/s; 0 for any other.
std::int32_t RateOfIndex(std::int32_t index);

/// A rate in bit/s if the sensor has it, else `kUsualRate`.
std::int32_t SensorRate(std::int32_t rate);

/// What a list shows where that is not what travels, by stored value.
inline constexpr std::array<std::string_view, 7> kUnitNamesLong{"Millimeter", "Meter", "Inch",       "Foot",
                                                                "Yard",       "Mile",  "Nautic Mile"};
inline constexpr std::array<std::string_view, 5> kTimeOutNames{"0 %", "25 %", "50 %", "100 %", "200 %"};

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
