#include "base/Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\0';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Joins groups of three digits, the first of which may be shorter; empty when the text has no such groups.
std::optional<std::string> withoutGroups(std::string_view text, char separator)
{
    constexpr std::size_t kGroup = 3;
    const std::size_t first = text.find(separator);
    if (first == std::string_view::npos || first == 0 || first > kGroup) {
        return std::nullopt;
    }
    std::string digits(text.substr(0, first));
    for (std::size_t at = first; at < text.size(); at += kGroup + 1) {
        if (text[at] != separator || text.size() - at <= kGroup) {
            return std::nullopt;
        }
        digits += text.substr(at + 1, kGroup);
    }
    return std::ranges::all_of(digits, isDigit) ? std::optional(digits) : std::nullopt;
}

} // namespace

std::optional<std::int32_t> RoundHalfToEven(double value)
{
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    // The remainder of a division by 1 is exact and needs no rounding mode.
    const double below = std::floor(value);
    const double rest = value - below;
    const bool up = rest > 0.5 || (rest == 0.5 && std::fmod(below, 2.0) != 0.0);
    const double rounded = up ? below + 1.0 : below;
    if (rounded < std::numeric_limits<std::int32_t>::min() || rounded > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(rounded);
}

double Val(std::string_view text)
{
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') {
            return 0.0;
        }
    }
    const std::size_t head = !text.empty() && text.front() == '-' ? 1 : 0;
    // from_chars would also accept "inf" and "nan", which no sensor sends.
    if (text.size() <= head || !(isDigit(text[head]) || text[head] == '.')) {
        return 0.0;
    }
    double value = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc{} ? value : 0.0;
}

std::optional<double> CDbl(std::string_view text, char decimalSeparator)
{
    std::string number(Trimmed(text));
    if (const auto sign = number.find(decimalSeparator); sign != std::string::npos) {
        number[sign] = '.';
    }
    if (number.size() > 1 && number.front() == '+' && number[1] != '-') {
        number.erase(0, 1);
    }
    double value = 0.0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool whole = !number.empty() && result.ptr == number.data() + number.size();
    return whole && result.ec == std::errc{} && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<std::int32_t> WholeNumber(std::string_view text)
{
    text = Trimmed(text);
    if (text.size() > 1 && text.front() == '+' && isDigit(text[1])) {
        text.remove_prefix(1);
    }
    std::int32_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc{} || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::optional<char> FilteredKey(char key, char decimalSeparator)
{
    constexpr char kBackspace = 8, kEnter = 13;
    if (key == ',' || key == '.') {
        // Deliberate: a comma or point that is not the separator becomes the other of the two.
        return key == decimalSeparator ? key : key == ',' ? '.' : ',';
    }
    return isDigit(key) || key == '-' || key == kBackspace || key == kEnter ? std::optional(key) : std::nullopt;
}

std::optional<std::string> PastedNumber(std::string_view text, char decimalSeparator, char groupSeparator)
{
    text = Trimmed(text);
    std::string number;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        number.append(text.front() == '-' ? "-" : "");
        text.remove_prefix(1);
    }
    const std::size_t sign = text.find(decimalSeparator);
    if (const auto whole = withoutGroups(text.substr(0, sign), groupSeparator)) {
        number += *whole;
        text.remove_prefix(std::min(sign, text.size()));
    }
    bool hasDigits = !number.empty() && isDigit(number.back()), hasSeparator = false;
    for (const char c : text) {
        const bool isSeparator = c == ',' || c == '.' || c == decimalSeparator;
        if (isSeparator ? std::exchange(hasSeparator, true) : !isDigit(c)) {
            return std::nullopt;
        }
        hasDigits = hasDigits || isDigit(c);
        number += isSeparator ? decimalSeparator : c;
    }
    return hasDigits ? std::optional(number) : std::nullopt;
}

std::string NumberText(double value)
{
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), result.ptr};
}

std::string FixedText(double value, int decimals, char decimalSeparator)
{
    // The largest double has 309 digits before its point.
    std::array<char, 352> buffer{};
    const auto result =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals);
    std::string text(buffer.data(), result.ptr);
    if (const auto point = text.find('.'); point != std::string::npos) {
        text[point] = decimalSeparator;
    }
    return text;
}

void AppendPadded(std::string& text, std::int64_t value, std::size_t digits)
{
    const std::string number = std::to_string(value);
    text.append(digits - std::min(digits, number.size()), '0');
    text += number;
}
