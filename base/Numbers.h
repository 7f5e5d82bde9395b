// Reading and writing numbers and trimming texts, the same in every locale. What depends on the user's locale takes the
// separator as an argument.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The nearest whole number, a half going to the even neighbour (2.5 gives 2, 3.5 gives 4).
/// Empty when the value is not finite or the result does not fit 32 bits.
std::optional<std::int32_t> RoundHalfToEven(double value);

/// The number at the head of a text, after blanks: sign, digits, ".", digits, exponent. What follows is ignored.
/// 0 when there is none or when it is too large for a double.
double Val(std::string_view text);

/// The whole text, blanks around it apart, as a number with the user's decimal separator or a point; empty when it is
/// anything else or too large.
std::optional<double> CDbl(std::string_view text, char decimalSeparator);

/// The whole text, blanks around it apart, as a decimal whole number; empty when it is anything else or does not fit.
std::optional<std::int32_t> WholeNumber(std::string_view text);

/// The text without blanks, tabs, line ends and NUL bytes at both ends.
std::string_view Trimmed(std::string_view text);

/// Whether a text stands anywhere in another one.
inline bool Contains(std::string_view text, std::string_view what)
{
    return text.find(what) != std::string_view::npos;
}

/// The character that a pressed key puts into a box for a number: digits, minus, backspace (8) and enter (13)
/// themselves, comma and point both the decimal separator. Nothing for any other key.
std::optional<char> FilteredKey(char key, char decimalSeparator);

/// A pasted text as it is put into a box for a number: one number with its sign, without the group separators, with the
/// decimal separator. Where comma and point are no well-formed groups, a single one of them is the decimal separator,
/// whichever it is. Blanks and line ends around the number do not count. Nothing for any other text, two numbers among
/// them: a part of it would be another number.
std::optional<std::string> PastedNumber(std::string_view text, char decimalSeparator, char groupSeparator);

/// The shortest text that reads back as the same value, with a point.
std::string NumberText(double value);

/// Appends a whole number with at least so many digits, zeros first.
void AppendPadded(std::string& text, std::int64_t value, std::size_t digits);

/// A value with a fixed number of decimals (0..17) and the given decimal separator; no group separators.
std::string FixedText(double value, int decimals, char decimalSeparator);
