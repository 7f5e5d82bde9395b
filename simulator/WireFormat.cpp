// Numbers, markers and checksums as the sensor writes them.
#include "simulator/WireFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace simulator {

namespace {

constexpr std::size_t kLineWidth = 12; // receivers do not take shorter lines as a distance
constexpr std::int32_t kNoEcho = 0x7FFFFFFF;
constexpr std::int32_t kTemperatureError = 0x7FFFFFF0;

struct Unit {
    std::string_view name;
    double size_mm;
    int decimals;
};
constexpr Unit kUnits[] = {{"mm", 1.0, 0},   {"m", 1000.0, 3},     {"in", 25.4, 3},     {"ft", 304.8, 4},
                           {"yd", 914.4, 4}, {"mi", 1609344.0, 8}, {"nm", 1852000.0, 8}};

std::string rightAligned(std::string_view text)
{
    return std::string(kLineWidth - std::min(kLineWidth, text.size()), ' ').append(text);
}

std::string fixedPoint(double value, int decimals)
{
    char text[64];
    const auto [end, error] =
        std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed, decimals);
    return error == std::errc{} ? std::string(text, end) : std::string("0");
}

std::string withCrc(std::string bytes)
{
    const std::uint16_t crc = Crc16(bytes);
    bytes.push_back(static_cast<char>(crc & 0xFF));
    bytes.push_back(static_cast<char>(crc >> 8));
    return bytes;
}

std::string binaryMessage(Format format, std::int32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<char>((static_cast<std::uint32_t>(value) >> shift) & 0xFF));
    }
    return format == Format::BinaryCrc ? withCrc(bytes) : bytes;
}

double awayFromZero(double distance_mm)
{
    return std::abs(distance_mm) < 1.0 ? std::copysign(1.0, distance_mm) : distance_mm;
}

bool isText(Format format)
{
    return format == Format::Ascii || format == Format::AsciiUnit;
}

} // namespace

std::uint16_t Crc16(std::string_view bytes)
{
    std::uint32_t crc = 0xFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xA001 : crc >> 1;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

std::int32_t WholeMillimetres(double distance_mm)
{
    return static_cast<std::int32_t>(std::nearbyint(awayFromZero(distance_mm)));
}

std::string DistanceMessage(Format format, std::int32_t unit, double distance_mm)
{
    distance_mm = awayFromZero(distance_mm);
    if (!isText(format)) {
        return binaryMessage(format, WholeMillimetres(distance_mm));
    }
    const Unit& shown = kUnits[std::clamp(unit, 0, 6)];
    std::string line = rightAligned(fixedPoint(distance_mm / shown.size_mm, shown.decimals));
    if (format == Format::AsciiUnit) {
        line.append(" ").append(shown.name);
    }
    return line + "\r\n";
}

std::string NoEchoMessage(Format format)
{
    return isText(format) ? rightAligned("No Echo") + "\r\n" : binaryMessage(format, kNoEcho);
}

std::string TemperatureErrorMessage(Format format)
{
    return isText(format) ? rightAligned("TempErr!") + "\r\n" : binaryMessage(format, kTemperatureError);
}

std::string TemperatureText(std::int32_t temperature_C, bool isGood)
{
    std::string number = std::to_string(std::clamp(temperature_C, -9, 99));
    number.insert(0, 2 - number.size(), ' ');
    return number + (isGood ? " C,  OK" : " C, NOK");
}

std::string TemperatureMessage(Format format, std::int32_t temperature_C, bool isGood)
{
    if (isText(format)) {
        return TemperatureText(temperature_C, isGood) + "\r\n";
    }
    const std::string bytes{static_cast<char>(std::clamp(temperature_C, -128, 127)), isGood ? '\1' : '\0'};
    return format == Format::BinaryCrc ? withCrc(bytes) : bytes;
}

} // namespace simulator
