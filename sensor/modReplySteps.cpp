#include "sensor/modReplySteps.h"

#include "base/Numbers.h"
#include "sensor/Crc16.h"
#include "sensor/Parameters.h"

#include <algorithm>
#include <cstdlib>

namespace modReplySteps {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kTemperatureMark = " C,";
constexpr std::size_t kTemperatureDigits = 2;
constexpr std::size_t kCrcTemperatureSize = 4;
constexpr std::uint32_t kCrcStart = 0xFFFFFFFFU;

std::uint8_t byteAt(std::string_view bytes, std::size_t i)
{
    return static_cast<std::uint8_t>(bytes[i]);
}

bool hasCrc(std::string_view bytes, std::size_t at, std::size_t size)
{
    return Crc16(bytes.substr(at, size), kCrcStart) == 0;
}

/// As a frame without CRC, but the lowest byte may be 0 because the CRC shows where frames begin. There are two
/// markers.
bool isDistance(std::uint32_t word)
{
    return word >> 24U == 0x7FU ? word == 0x7FFFFFFFU || word == 0x7FFFFFF0U : word >> 24U == 0 || IsFrame(word);
}

/// A checksum may be right by chance, so the bytes must also have the form of a distance.
bool isGoodFrame(std::string_view bytes, std::size_t at)
{
    return isDistance(FrameWord(bytes, at)) && hasCrc(bytes, at, kCrcFrameSize);
}

bool isNear(std::int64_t value, std::int64_t before)
{
    return std::abs(value - before) <= std::max<std::int64_t>(1000, std::abs(before) / 4); // mm
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Removes the digits at the start and says how many there were.
std::size_t takeDigits(std::string_view& text)
{
    const auto end = std::ranges::find_if_not(text, isDigit);
    const auto count = static_cast<std::size_t>(end - text.begin());
    text.remove_prefix(count);
    return count;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// The index of a unit by its name, in capital or small letters.
std::optional<std::int32_t> unitOf(std::string_view text)
{
    const auto isName = [&](std::string_view name) { return std::ranges::equal(text, name, {}, lower, lower); };
    for (std::size_t i = 0; i < kUnits.size(); ++i) {
        if (text == kUnits[i].name || isName(kUnits[i].name) || isName(kUnitNamesLong[i])) {
            return static_cast<std::int32_t>(i);
        }
    }
    return std::nullopt;
}

bool isTextByte(char c)
{
    return (c >= ' ' && c <= '~') || c == '\r' || c == '\n';
}

/// A line end with two bytes of text before it: frames have at most three such bytes in a row.
bool holdsText(std::string_view bytes)
{
    for (std::size_t at = bytes.find(kLineEnd); at != std::string_view::npos; at = bytes.find(kLineEnd, at + 1)) {
        if (at >= 2 && isTextByte(bytes[at - 1]) && isTextByte(bytes[at - 2])) {
            return true;
        }
    }
    return false;
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
    const std::size_t size = withCrc ? kCrcTemperatureSize : kTemperatureDigits;
    if (bytes.size() < size) {
        return {};
    }
    if (withCrc && !hasCrc(bytes, 0, size)) {
        return {.consumed = 1, .crcError = true};
    }
    const std::int32_t celsius = byteAt(bytes, 0) < 128 ? byteAt(bytes, 0) : byteAt(bytes, 0) - 256;
    return {.consumed = size, .celsius = celsius, .status = byteAt(bytes, 1)};
}

std::optional<DistanceLine> ReadDistanceLine(std::string_view line)
{
    std::string_view rest = line.substr(std::min(line.find_first_not_of(' '), line.size()));
    const bool isPadded = line.size() - rest.size() > 1;
    const std::string_view number = rest;
    if (rest.starts_with('-') || rest.starts_with('+')) {
        rest.remove_prefix(1);
    }
    const std::string_view digits = rest;
    const std::size_t whole = takeDigits(rest);
    std::size_t decimals = 0;
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        decimals = takeDigits(rest);
    }
    const double value = Val(number.substr(0, number.size() - rest.size()));
    rest = rest.substr(std::min(rest.find_first_not_of(' '), rest.size()));
    rest = rest.substr(0, rest.find_last_not_of(' ') + 1);
    const std::optional<std::int32_t> unit = rest.empty() ? std::nullopt : unitOf(rest);
    if (whole + decimals == 0 || (!rest.empty() && !unit)) {
        return std::nullopt;
    }
    const bool hasZeros = whole > 1 && digits.front() == '0';
    return DistanceLine{value, static_cast<std::int32_t>(decimals), rest, unit, isPadded, hasZeros};
}

CrcDistances FindCrcDistances(std::string_view bytes)
{
    CrcDistances found;
    std::size_t at = 0;
    for (; bytes.size() - at >= kCrcFrameSize; at += kCrcFrameSize) {
        if (!isGoodFrame(bytes, at)) {
            found.crcError = true;
            break;
        }
        found.newest_mm = DecodeFrame(FrameWord(bytes, at));
    }
    found.consumed = at + (found.crcError ? 1 : 0);
    return found;
}

std::optional<bool> IsCrcFrameInStep(std::string_view bytes, std::optional<std::int32_t> last_mm)
{
    if (!last_mm || isNear(DecodeFrame(FrameWord(bytes, 0)), *last_mm)) {
        return true;
    }
    if (bytes.size() < 2 * kCrcFrameSize) {
        return std::nullopt;
    }
    return isGoodFrame(bytes, kCrcFrameSize);
}

CrcDistances FindCrcDistancesInDamage(std::string_view bytes, std::optional<std::int32_t> last_mm)
{
    CrcDistances found;
    found.crcError = true;
    while (bytes.size() - found.consumed >= kCrcFrameSize) {
        const std::string_view rest = bytes.substr(found.consumed);
        const bool isGood = isGoodFrame(rest, 0);
        const auto inStep = isGood && found.crcError ? IsCrcFrameInStep(rest, last_mm) : std::optional(isGood);
        if (!inStep) {
            break;
        }
        found.crcError = !*inStep;
        if (*inStep) {
            found.newest_mm = last_mm = DecodeFrame(FrameWord(rest, 0));
            found.starts.push_back(found.consumed);
        }
        found.consumed += *inStep ? kCrcFrameSize : 1;
    }
    return found;
}

std::size_t FirstCrcFrame(std::string_view bytes)
{
    std::size_t at = 0;
    while (at + kCrcFrameSize <= bytes.size() && !isGoodFrame(bytes, at)) {
        ++at;
    }
    return at + kCrcFrameSize <= bytes.size() ? at : std::string_view::npos;
}

std::size_t FirstCrcTemperature(std::string_view bytes)
{
    std::size_t at = 0;
    while (at + kCrcTemperatureSize <= bytes.size() && !hasCrc(bytes, at, kCrcTemperatureSize)) {
        ++at;
    }
    return at + kCrcTemperatureSize <= bytes.size() ? at : std::string_view::npos;
}

std::size_t CutTexts(std::string& bytes, const std::function<void(std::size_t at, std::size_t size)>& cut)
{
    constexpr std::size_t kShortest = 4; // the highest byte of a frame is not text: at most three in a row are
    if (holdsText(bytes)) {
        std::size_t kept = 0;
        std::size_t textAt = 0; // in the kept bytes: where the current text begins
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const char byte = bytes[i];
            bytes[kept++] = byte;
            if (!isTextByte(byte)) {
                textAt = kept;
            } else if (byte == '\n' && kept - textAt >= kShortest && bytes[kept - 2] == '\r') {
                if (cut) {
                    cut(i + 1 - (kept - textAt), kept - textAt);
                }
                kept = textAt;
            }
        }
        bytes.resize(kept);
    }
    const auto end = std::find_if_not(bytes.rbegin(), bytes.rend(), isTextByte);
    const auto open = static_cast<std::size_t>(end - bytes.rbegin());
    return open >= kShortest ? open : 0;
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
