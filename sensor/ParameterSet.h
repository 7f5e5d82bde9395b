// The values of the sensor's parameters, and what the sensor reports about itself.
#pragma once

#include <cstdint>
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

/// The values of all parameters: indexes of lists, or plain numbers. A new set holds the defaults.
struct ParameterSet {
#define PARAMETER(name, standard, ...) std::int32_t name = (standard);
#include "sensor/ParameterTable.inc"
#undef PARAMETER
    bool operator==(const ParameterSet&) const = default;
};

/// What a sensor reports about itself.
struct SensorIdentity {
    std::string DeviceType{kSerialType};
    std::string Attenuator, SerialNo, SWVersion, SWBuild, SWDate, HWPointer;
    bool operator==(const SensorIdentity&) const = default;
};

/// Whether a set belongs to a serial sensor; a node address of 0 or more makes it the set of a Profibus sensor.
inline bool IsSerial(const ParameterSet& set)
{
    return set.NodeAddress < 0;
}

/// Deliberate: only a sensor whose attenuator text has an "E" has rain filter and echo parameters.
inline bool HasEchoFilter(const SensorIdentity& sensor)
{
    return sensor.Attenuator.find('E') != std::string::npos;
}
