#include "session/clsMarks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD

/// The number of bytes of the UTF-8 character that a text begins with, and its code; 0 bytes when it begins with none.
struct Character {
    std::size_t bytes = 0;
    std::uint32_t code = 0;
};

Character characterOf(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byte(0);
    const std::size_t bytes = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || bytes > text.size()) {
        return {};
    }
    std::uint32_t code = bytes == 1 ? lead : lead & (0xFFU >> (bytes + 1));
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) {
            return {};
        }
        code = code << 6U | (byte(i) & 0x3FU);
    }
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    return code < kLeast[bytes] || code > 0x10FFFF || isSurrogate ? Character() : Character{bytes, code};
}

bool isControl(std::uint32_t code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029; // line separators
}

} // namespace

std::string clsMarks::TextOf(std::string_view typed)
{
    std::string text;
    bool isBlankDue = false;
    for (std::size_t length = 0; !typed.empty() && length < kLongestText;) {
        const Character character = characterOf(typed);
        const bool isBlank = character.bytes > 0 && (character.code == ' ' || isControl(character.code));
        if (!isBlank) {
            if (isBlankDue && length + 1 < kLongestText) {
                text += ' ';
                ++length;
            }
            text += character.bytes > 0 ? typed.substr(0, character.bytes) : kReplacement;
            ++length;
        }
        isBlankDue = isBlank && !text.empty(); // those at the end are left out
        typed.remove_prefix(std::max<std::size_t>(character.bytes, 1));
    }
    return text;
}

std::optional<std::size_t> clsMarks::Add(double place, std::string_view text)
{
    if (m_marks.size() >= kMost || !std::isfinite(place)) {
        return std::nullopt;
    }
    const auto behind = std::ranges::upper_bound(m_marks, place, {}, &Mark::place);
    return static_cast<std::size_t>(std::distance(m_marks.begin(), m_marks.insert(behind, {place, TextOf(text)})));
}

void clsMarks::Remove(std::size_t mark)
{
    static_cast<void>(m_marks.at(mark));
    m_marks.erase(m_marks.begin() + static_cast<std::ptrdiff_t>(mark));
}
