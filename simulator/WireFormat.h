// What distances and temperatures look like on the sensor's line, in each of its four output formats.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

/// The values of parameter 101.
enum class Format : std::int32_t { Ascii, AsciiUnit, Binary, BinaryCrc };

/// CRC of the line: reflected polynomial 0xA001, start value 0xFFFF. It is sent low byte first.
std::uint16_t Crc16(std::string_view bytes);

/// What a distance becomes on the line: whole millimetres, and never zero.
std::int32_t WholeMillimetres(double distance_mm);

/// One distance, complete with its line end or CRC. unit is the value of parameter 111 (0..6); the binary formats
/// always carry whole millimetres. The line cannot carry a distance of zero: anything nearer than 1 mm is sent as 1 mm.
std::string DistanceMessage(Format format, std::int32_t unit, double distance_mm);

/// The two values that stand for "no distance".
std::string NoEchoMessage(Format format);
std::string TemperatureErrorMessage(Format format);

/// "23 C,  OK" or "23 C, NOK"; the number takes two characters, so it is held within -9..99.
std::string TemperatureText(std::int32_t temperature_C, bool isGood);

/// The answer to a temperature request, complete with its line end or CRC.
std::string TemperatureMessage(Format format, std::int32_t temperature_C, bool isGood);

} // namespace simulator
