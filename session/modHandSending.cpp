#include "session/modHandSending.h"

#include <algorithm>

namespace modHandSending {

namespace {

constexpr std::size_t kCode = 3; // digits

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

} // namespace

TextId ProblemOf(std::string_view typed)
{
    if (typed.empty()) {
        return TextId::HandNothing;
    }
    if (!std::ranges::all_of(typed, [](char character) { return character >= ' ' && character <= '~'; })) {
        return TextId::HandCharacters;
    }
    if (typed.size() > kLongest) {
        return TextId::HandTooLong;
    }
    if (typed.find_first_not_of(' ') == typed.npos) {
        return TextId::HandNothing;
    }
    // A digit begins a frame for the sensor: it would wait for the rest, and swallow what comes next.
    return isDigit(typed.front()) && !IsFrame(typed) ? TextId::HandNoFrame : TextId::None;
}

std::string BytesOf(std::string_view typed)
{
    return typed.size() == 1 ? std::string(typed) : std::string(typed) + '\r';
}

bool IsFrame(std::string_view typed)
{
    return typed.size() > kCode && std::all_of(typed.begin(), typed.begin() + kCode, isDigit) && typed[kCode] == ' ';
}

} // namespace modHandSending
