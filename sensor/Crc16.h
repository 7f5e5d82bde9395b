// The checksum of the sensor's binary frames.
#pragma once

#include <cstdint>
#include <string_view>

/// CRC-16 over the bytes: reflected polynomial 0xA001, the start value masked to 16 bits, no final inversion.
/// The sensor appends it low byte first, so that the CRC over a whole good frame is 0:
/// 10 27 00 00 is followed by B4 EF when the start value is 0xFFFFFFFF.
std::uint16_t Crc16(std::string_view bytes, std::uint32_t start);
