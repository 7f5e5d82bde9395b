#include "base/CodePage.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::uint32_t kNoCharacter = 0xFFFD;

struct Character {
    std::size_t length;
    std::uint32_t code;
};

Character characterAt(std::string_view utf8, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(utf8[i]); };
    const std::uint8_t head = byte(at);
    const std::size_t length = head < 0x80   ? 1
                               : head < 0xC2 ? 0
                               : head < 0xE0 ? 2
                               : head < 0xF0 ? 3
                               : head < 0xF5 ? 4
                                             : 0;
    if (length == 0 || at + length > utf8.size()) {
        return {1, kNoCharacter};
    }
    std::uint32_t code = length == 1 ? head : head & (0x7FU >> length);
    for (std::size_t i = at + 1; i < at + length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return {1, kNoCharacter};
        }
        code = code << 6 | (byte(i) & 0x3FU);
    }
    return {length, code};
}

char byteOf(std::uint32_t code)
{
    const auto* high = std::ranges::find(kHighControls, code);
    if (high != kHighControls.end()) {
        return static_cast<char>(kFirstHigh + (high - kHighControls.begin()));
    }
    const bool same = code < kFirstHigh || (code >= kFirstHigh + kHighControls.size() && code <= 0xFF);
    return same ? static_cast<char>(code) : '?';
}

} // namespace

std::string CodePageBytes(std::string_view utf8)
{
    std::string bytes;
    bytes.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const Character character = characterAt(utf8, at);
        bytes += byteOf(character.code);
        at += character.length;
    }
    return bytes;
}

std::string Utf8Of(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<std::uint8_t>(c);
        const bool high = byte >= kFirstHigh && byte < kFirstHigh + kHighControls.size();
        const std::uint32_t code = high ? kHighControls.at(byte - kFirstHigh) : byte;
        if (code < 0x80) {
            text += static_cast<char>(code);
        } else if (code < 0x800) {
            text += static_cast<char>(0xC0U | code >> 6U);
            text += static_cast<char>(0x80U | (code & 0x3FU));
        } else {
            text += static_cast<char>(0xE0U | code >> 12U);
            text += static_cast<char>(0x80U | (code >> 6U & 0x3FU));
            text += static_cast<char>(0x80U | (code & 0x3FU));
        }
    }
    return text;
}
