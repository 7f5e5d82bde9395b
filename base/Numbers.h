// Reads and writes numbers and trims texts, the same in every locale. A function that depends on the user's locale
// takes the separator as an argument.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The nearest whole number; a half goes to the even neighbour (2.5 gives 2, 3.5 gives 4).
/// Empty when the value is not finite or the result does not fit 32 bits.
std::optional<std::int32_t> RoundHalfToEven(double value);

/// The number at the head of a text, after blanks: sign, digits, ".", digits, exponent. What follows is ignored.
/// 0 when there is none or when it is too large for a double.
double Val(std::string_view text);

/// The whole text, without the blanks around it, as a number with the user's decimal separator or a point; empty when
/// it is anything else or too large.
std::optional<double> CDbl(std::string_view text, char decimalSeparator);

/// The whole text, without the blanks around it, as a decimal whole number; empty when it is anything else or too
/// large.
std::optional<std::int32_t> WholeNumber(std::string_view text);

/// The text without blanks, tabs, line ends and NUL bytes at both ends.
std::string_view Trimmed(std::string_view text);

inline bool Contains(std::string_view text, std::string_view what)
{
    return text.find(what) != std::string_view::npos;
}

/// The character that a key puts into a number box: a digit, minus, backspace (8) or enter (13) gives itself, comma and
/// point both give the decimal separator. Empty for any other key.
std::optional<char> FilteredKey(char key, char decimalSeparator);

/// A pasted text as it goes into a number box: one number with its sign and the decimal separator, without group
/// separators. Where comma and point do not form proper groups, a single one of them is the decimal separator,
/// whichever it is. Blanks and line ends around the number are ignored. Empty for any other text, such as one with two
/// numbers: a part of it would be a different number.
std::optional<std::string> PastedNumber(std::string_view text, char decimalSeparator, char groupSeparator);

/// The shortest text that reads back as the same value, with a point.
std::string NumberText(double value);

/// Appends a whole number, padded with leading zeros to at least this many digits.
void AppendPadded(std::string& text, std::int64_t value, std::size_t digits);

/// A value with a fixed number of decimals (0..17) and the given decimal separator; no group separators.
std::string FixedText(double value, int decimals, char decimalSeparator);
