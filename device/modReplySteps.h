// What the bytes of a reply mean, each step a pure function over bytes: no device, no clock, no port. A step says what
// it found and how many bytes it used; whoever calls it changes the state. Every step takes one pass over its bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace modReplySteps {

/// True when the sensor announces itself ("Sensor ready" or "RVQ ready"), as it does after power-on and when probed.
bool HoldsAnnouncement(std::string_view bytes);

struct TextTemperature {
    std::size_t consumed = 0; ///< 0: no complete reply yet
    std::string_view text;    ///< "23 C,  OK"; the newest of several
};
/// Temperature replies in text: two characters of number, " C,", the status, CR LF.
TextTemperature FindTextTemperature(std::string_view bytes);

/// A temperature as it stands in `sTemperature`; ok is the status to show.
std::string TemperatureText(std::int32_t celsius, bool ok);

struct BinaryTemperature {
    std::size_t consumed = 0; ///< 0: wait for more; 1 with `crcError`: a byte that no good reply starts with
    bool crcError = false;
    std::int32_t celsius = 0; ///< -128..127
    std::int32_t status = 0;  ///< 1 good, 0 not
};
/// Two bytes, value and status; with `withCrc` two CRC bytes behind them.
BinaryTemperature StepBinaryTemperature(std::string_view bytes, bool withCrc);

struct AsciiDistance {
    std::size_t consumed = 0;
    std::string_view text; ///< "No Echo", "TempError" or a trimmed text with a number that is not 0; empty: none
    double value = 0.0;    ///< the number in the sensor's unit; 0 for the two markers
};
/// The newest distance among the complete lines. Lines are taken in pairs, the second of a pair being the value; a
/// single line counts only if it holds at least 12 characters and no pair was found.
AsciiDistance FindAsciiDistance(std::string_view bytes);

struct BinaryDistances {
    std::size_t consumed = 0;
    std::optional<std::int32_t> newest_mm;
    bool crcError = false; ///< the last consumed byte starts no good frame
};
/// All complete 4-byte frames, least significant byte first; a byte that starts none is passed over.
BinaryDistances FindBinaryDistances(std::string_view bytes);
/// All complete 6-byte frames up to the first bad CRC; of the bad frame one byte is consumed.
BinaryDistances FindCrcDistances(std::string_view bytes);
/// Where the first good 6-byte frame begins; npos when there is none.
std::size_t FirstCrcFrame(std::string_view bytes);

struct DumpSpan {
    bool begun = false;    ///< "Type:" has come
    std::string_view text; ///< from "Type:" up to "end"; empty while "end" is missing
};
DumpSpan FindDump(std::string_view bytes);

/// The trimmed text between a key and its line end; empty when either is missing.
std::string_view DumpValue(std::string_view dump, std::string_view key);

} // namespace modReplySteps
