#include "device/modReplySteps.h"

#include "device/Crc16.h"
#include "shell/Numbers.h"

namespace modReplySteps {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kTemperatureMark = " C,";
constexpr std::size_t kTemperatureDigits = 2;
constexpr std::size_t kShortestSingleLine = 12;
constexpr std::size_t kFrameSize = 4;
constexpr std::size_t kCrcFrameSize = 6;
constexpr std::uint32_t kCrcStart = 0xFFFFFFFFU;

std::uint8_t byteAt(std::string_view bytes, std::size_t i)
{
    return static_cast<std::uint8_t>(bytes[i]);
}

/// Four bytes of a frame, least significant first.
std::uint32_t frameWord(std::string_view bytes, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return std::uint32_t{byteAt(bytes, at + i)}; };
    return byte(0) | byte(1) << 8U | byte(2) << 16U | byte(3) << 24U;
}

/// What tells a frame from four bytes out of step: only these combinations are distances or markers.
bool isFrame(std::uint32_t word)
{
    const std::uint32_t b0 = word & 0xFFU;
    switch (word >> 24U) {
    case 0x00:
        return b0 != 0;
    case 0x7F:
        return b0 == 0xFF || b0 == 0xF0;
    case 0xFF:
        return (word >> 16U & 0xFFU) > 0xE1;
    default:
        return false;
    }
}

std::int32_t decodeFrame(std::uint32_t word)
{
    // From 128 on the highest byte is a sign only; its value does not count.
    return word < 0x80000000U ? static_cast<std::int32_t>(word)
                              : static_cast<std::int32_t>(word & 0xFFFFFFU) - 0x1000000;
}

AsciiDistance judged(std::string_view candidate, std::size_t consumed)
{
    if (candidate.find("No Echo") != std::string_view::npos) {
        return {consumed, "No Echo", 0.0};
    }
    if (candidate.find("TempErr") != std::string_view::npos) {
        return {consumed, "TempError", 0.0};
    }
    const double value = Val(candidate);
    if (value == 0.0) {
        return {consumed, {}, 0.0};
    }
    return {consumed, Trimmed(candidate), value};
}

} // namespace

bool HoldsAnnouncement(std::string_view bytes)
{
    return bytes.find("Sensor ready") != std::string_view::npos || bytes.find("RVQ ready") != std::string_view::npos;
}

TextTemperature FindTextTemperature(std::string_view bytes)
{
    TextTemperature found;
    for (;;) {
        const std::size_t mark = bytes.find(kTemperatureMark, found.consumed + kTemperatureDigits);
        const std::size_t lineEnd = mark == std::string_view::npos ? mark : bytes.find(kLineEnd, mark);
        if (lineEnd == std::string_view::npos) {
            return found;
        }
        const std::size_t start = mark - kTemperatureDigits;
        found.text = bytes.substr(start, lineEnd - start);
        found.consumed = lineEnd + kLineEnd.size();
    }
}

std::string TemperatureText(std::int32_t celsius, bool ok)
{
    return std::to_string(celsius) + " C" + (ok ? ",  OK" : ", NOK");
}

BinaryTemperature StepBinaryTemperature(std::string_view bytes, bool withCrc)
{
    const std::size_t size = withCrc ? kFrameSize : kTemperatureDigits;
    if (bytes.size() < size) {
        return {};
    }
    if (withCrc && Crc16(bytes.substr(0, size), kCrcStart) != 0) {
        return {.consumed = 1, .crcError = true};
    }
    const std::int32_t celsius = byteAt(bytes, 0) < 128 ? byteAt(bytes, 0) : byteAt(bytes, 0) - 256;
    return {.consumed = size, .celsius = celsius, .status = byteAt(bytes, 1)};
}

AsciiDistance FindAsciiDistance(std::string_view bytes)
{
    std::string_view candidate;
    std::size_t consumed = 0;
    bool pairFound = false;
    for (;;) {
        const std::size_t first = bytes.find(kLineEnd, consumed);
        if (first == std::string_view::npos) {
            break;
        }
        const std::size_t start = first + kLineEnd.size();
        const std::size_t second = bytes.find(kLineEnd, start);
        if (second != std::string_view::npos) {
            candidate = bytes.substr(start, second - start);
            consumed = second + kLineEnd.size();
            pairFound = true;
            continue;
        }
        // After a pair the odd line stays for the next evaluation.
        if (!pairFound) {
            candidate = first >= kShortestSingleLine ? bytes.substr(0, first) : std::string_view{};
            consumed = start;
        }
        break;
    }
    return judged(candidate, consumed);
}

BinaryDistances FindBinaryDistances(std::string_view bytes)
{
    BinaryDistances found;
    std::optional<std::uint32_t> newest;
    std::size_t at = 0;
    while (bytes.size() - at >= kFrameSize) {
        const std::uint32_t word = frameWord(bytes, at);
        if (isFrame(word)) {
            newest = word;
            at += kFrameSize;
        } else {
            ++at;
        }
    }
    found.consumed = at;
    if (newest) {
        found.newest_mm = decodeFrame(*newest);
    }
    return found;
}

BinaryDistances FindCrcDistances(std::string_view bytes)
{
    BinaryDistances found;
    std::size_t newest = std::string_view::npos;
    std::size_t at = 0;
    for (; bytes.size() - at >= kCrcFrameSize; at += kCrcFrameSize) {
        if (Crc16(bytes.substr(at, kCrcFrameSize), kCrcStart) != 0) {
            found.crcError = true;
            break;
        }
        newest = at;
    }
    found.consumed = at + (found.crcError ? 1 : 0);
    if (newest != std::string_view::npos) {
        found.newest_mm = decodeFrame(frameWord(bytes, newest));
    }
    return found;
}

std::size_t FirstCrcFrame(std::string_view bytes)
{
    for (std::size_t at = 0; at + kCrcFrameSize <= bytes.size(); ++at) {
        if (Crc16(bytes.substr(at, kCrcFrameSize), kCrcStart) == 0) {
            return at;
        }
    }
    return std::string_view::npos;
}

DumpSpan FindDump(std::string_view bytes)
{
    const std::size_t start = bytes.find("Type:");
    if (start == std::string_view::npos) {
        return {};
    }
    const std::size_t end = bytes.find("end", start);
    return {true, end == std::string_view::npos ? std::string_view{} : bytes.substr(start, end - start)};
}

std::string_view DumpValue(std::string_view dump, std::string_view key)
{
    const std::size_t at = dump.find(key);
    if (at == std::string_view::npos) {
        return {};
    }
    const std::size_t start = at + key.size();
    const std::size_t lineEnd = dump.find(kLineEnd, start);
    return lineEnd == std::string_view::npos ? std::string_view{} : Trimmed(dump.substr(start, lineEnd - start));
}

} // namespace modReplySteps
