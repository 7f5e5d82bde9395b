#include "sensor/Crc16.h"

#include <array>

namespace {

constexpr std::array<std::uint16_t, 256> makeTable()
{
    std::array<std::uint16_t, 256> table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xA001U : crc >> 1U;
        }
        table[byte] = static_cast<std::uint16_t>(crc);
    }
    return table;
}

constexpr std::array<std::uint16_t, 256> kTable = makeTable();

} // namespace

std::uint16_t Crc16(std::string_view bytes, std::uint32_t start)
{
    std::uint32_t crc = start & 0xFFFFU;
    for (const char c : bytes) {
        crc = (crc >> 8U) ^ kTable[(crc ^ static_cast<std::uint8_t>(c)) & 0xFFU];
    }
    return static_cast<std::uint16_t>(crc);
}
