// What the bytes of a reply mean. Each step is a pure function of the bytes: no device, no clock, no port. It says what
// it found and how many bytes it used; the caller changes the state. Every step goes through its bytes once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace modReplySteps {

/// True when the sensor announces itself ("Sensor ready" or "RVQ ready"), as it does after power-on and when probed.
bool HoldsAnnouncement(std::string_view bytes);

struct TextTemperature {
    std::size_t consumed = 0; ///< 0: no complete reply yet
    std::string_view text;    ///< "23 C,  OK"; the newest if there are several
};
/// Temperature replies in text: two characters of number, " C,", the status, CR LF.
TextTemperature FindTextTemperature(std::string_view bytes);

/// A temperature in the form of `sTemperature`; `ok` is the status to show.
std::string TemperatureText(std::int32_t celsius, bool ok);

struct BinaryTemperature {
    std::size_t consumed = 0; ///< 0: wait for more; 1 with `crcError`: no good reply starts with this byte
    bool crcError = false;
    std::int32_t celsius = 0; ///< -128..127
    std::int32_t status = 0;  ///< 1 good, 0 not
};
/// Two bytes, value and status; with `withCrc` two CRC bytes follow.
BinaryTemperature StepBinaryTemperature(std::string_view bytes, bool withCrc);

/// A line in the form of a distance: blanks, sign, digits with or without a point, and at most a unit.
struct DistanceLine {
    double value = 0.0;        ///< in the sensor's unit
    std::int32_t decimals = 0; ///< digits after the point
    std::string_view unit;     ///< as spelt in the line; empty: none
    std::optional<std::int32_t> unitIndex;
    bool isPadded = false; ///< two or more blanks stand before the number
    bool hasZeros = false; ///< the number begins with a 0 that another digit follows
};
/// Takes the line without its line end; empty when it is anything else.
std::optional<DistanceLine> ReadDistanceLine(std::string_view line);

inline constexpr std::size_t kFrameSize = 4;
/// Four bytes of a frame, least significant first. All four must be there.
inline std::uint32_t FrameWord(std::string_view bytes, std::size_t at)
{
    std::uint8_t byte[kFrameSize];
    std::memcpy(byte, bytes.data() + at, kFrameSize); // the compiler makes one load of it
    return byte[0] | std::uint32_t{byte[1]} << 8U | std::uint32_t{byte[2]} << 16U | std::uint32_t{byte[3]} << 24U;
}
/// Tells a frame from four bytes that are out of step: only these combinations are distances or markers.
inline bool IsFrame(std::uint32_t word)
{
    const std::uint32_t lowest = word & 0xFFU;
    switch (word >> 24U) {
    case 0x00:
        return lowest != 0;
    case 0x7F:
        return lowest == 0xFF || lowest == 0xF0;
    case 0xFF:
        return (word >> 16U & 0xFFU) > 0xE1;
    default:
        return false;
    }
}
/// The millimetres of a frame. From 128 on the highest byte is only a sign; its value does not count.
inline std::int32_t DecodeFrame(std::uint32_t word)
{
    return word < 0x80000000U ? static_cast<std::int32_t>(word)
                              : static_cast<std::int32_t>(word & 0xFFFFFFU) - 0x1000000;
}

struct CrcDistances {
    std::size_t consumed = 0;
    std::optional<std::int32_t> newest_mm;
    bool crcError = false;             ///< the last consumed byte starts no good frame
    std::vector<std::size_t> starts{}; ///< of the good frames; not filled where all stand at the beginning
};
inline constexpr std::size_t kCrcFrameSize = 6;
/// All complete 6-byte frames up to the first bad one. A frame is bad if its CRC is wrong or if it does not have the
/// form of a distance; one byte of it is consumed.
CrcDistances FindCrcDistances(std::string_view bytes);
/// Continues behind damage: finds all good 6-byte frames, wherever they begin. Out of step a CRC may be right by
/// chance, so the first frame must lie near `last_mm` or be followed by another good one. The rest is shorter than a
/// frame, or a frame that cannot be judged yet; `crcError` says that the step has not been found.
CrcDistances FindCrcDistancesInDamage(std::string_view bytes, std::optional<std::int32_t> last_mm);
/// Whether the good 6-byte frame at the start is such a frame; empty while that cannot be judged.
std::optional<bool> IsCrcFrameInStep(std::string_view bytes, std::optional<std::int32_t> last_mm);
/// Where the first good 6-byte frame begins; npos when there is none.
std::size_t FirstCrcFrame(std::string_view bytes);
/// Where the first good binary temperature with a CRC begins; npos when there is none.
std::size_t FirstCrcTemperature(std::string_view bytes);

/// Cuts texts out of binary distances: lines of four characters or more, including the line end, which no run of frames
/// can contain. Returns how many bytes at the end may be the start of such a line. `cut` is told where each text was.
std::size_t CutTexts(std::string& bytes, const std::function<void(std::size_t at, std::size_t size)>& cut = {});

struct DumpSpan {
    bool begun = false;    ///< "Type:" has come
    std::string_view text; ///< from "Type:" up to "end"; empty while "end" is missing
};
DumpSpan FindDump(std::string_view bytes);

/// The trimmed text between a key and its line end; empty when either is missing.
std::string_view DumpValue(std::string_view dump, std::string_view key);

} // namespace modReplySteps
