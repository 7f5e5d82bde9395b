#include "base/PlainText.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

struct Range {
    std::uint32_t first, last;
};
/// Controls, signs without a shape, private characters, and what is no character; all of them as code points.
constexpr std::array kUnprintable{
    Range{0x00, 0x1F},     Range{0x7F, 0x9F},     Range{0xAD, 0xAD},       Range{0x061C, 0x061C}, Range{0x200B, 0x200F},
    Range{0x2028, 0x202E}, Range{0x2060, 0x206F}, Range{0xD800, 0xF8FF},   Range{0xFDD0, 0xFDEF}, Range{0xFEFF, 0xFEFF},
    Range{0xFFF0, 0xFFFB}, Range{0xFFFE, 0xFFFF}, Range{0xE0000, 0x10FFFF}};

struct Sign {
    std::size_t bytes; ///< 1 for a byte that begins no sign
    bool isPrintable;
};

/// How long a sign is that begins with this byte; 0 when none does.
std::size_t bytesOf(std::uint8_t head)
{
    if (head < 0x80) {
        return 1;
    }
    if (head < 0xC2 || head >= 0xF5) {
        return 0;
    }
    return head < 0xE0 ? 2 : head < 0xF0 ? 3 : 4;
}

/// The first sign of a text that is not empty.
Sign signOf(std::string_view text)
{
    const auto byteAt = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const std::uint8_t head = byteAt(0);
    const std::size_t bytes = bytesOf(head);
    if (bytes == 0 || bytes > text.size()) {
        return {1, false};
    }
    std::uint32_t point = bytes == 1 ? head : head & (0x7Fu >> bytes);
    for (std::size_t at = 1; at < bytes; ++at) {
        if ((byteAt(at) & 0xC0u) != 0x80) {
            return {1, false};
        }
        point = point << 6 | (byteAt(at) & 0x3Fu);
    }
    constexpr std::array<std::uint32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000}; // a longer form of a smaller one is none
    const bool isUnprintable = std::ranges::any_of(
        kUnprintable, [&](const Range& range) { return point >= range.first && point <= range.last; });
    return {bytes, point >= kLeast[bytes] && !isUnprintable};
}

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace

std::string PlainText(std::string_view utf8, std::size_t longest)
{
    std::string text;
    std::size_t signs = 0, cut = 0; // where the last sign that has room begins
    const auto append = [&](std::string_view sign) {
        if (++signs == longest) {
            cut = text.size();
        }
        text += sign;
    };
    bool isAfterBlank = false;
    while (!utf8.empty() && signs <= longest) {
        const bool isGap = isBlank(utf8.front());
        const Sign sign = isGap ? Sign{1, true} : signOf(utf8);
        if (!isGap) {
            if (isAfterBlank && signs > 0) {
                append(" ");
            }
            append(sign.isPrintable ? utf8.substr(0, sign.bytes) : "?");
        }
        isAfterBlank = isGap;
        utf8.remove_prefix(sign.bytes);
    }
    if (signs > longest) {
        text.resize(cut);
        text += "…";
    }
    return text;
}

std::string Printable(std::string_view utf8)
{
    if (std::ranges::all_of(utf8, [](char c) { return c >= ' ' && c <= '~'; })) {
        return std::string(utf8);
    }
    std::string text;
    while (!utf8.empty()) {
        const char head = utf8.front();
        const bool isGap = head == '\n' || head == '\t';
        const Sign sign = isGap ? Sign{1, true} : signOf(utf8);
        text += head == '\t' ? " " : sign.isPrintable ? utf8.substr(0, sign.bytes) : "?";
        utf8.remove_prefix(sign.bytes);
    }
    return text;
}
