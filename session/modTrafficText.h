// The traffic in words, for the window and the command line, and as the file in which it is saved. A line of it is
// made when it is seen or written, never before.
//
// The file is plain text, a line for each entry, which a simulated sensor can play (rvqsim --replay):
//   time       ISO 8601 with milliseconds and the offset from UTC
//   direction  ">" to the sensor, "<" from the sensor, "-" of the line itself
//   bytes      two hexadecimal digits each, with blanks between them
//   # ...      the bytes as text in quotes and what they mean; not for programs
// A line that begins with "#" is a comment.
#pragma once

#include "sensor/clsTraffic.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace modTrafficText {

/// What texts are made for.
struct Style {
    std::int32_t language = 0;
    char decimalSeparator = '.';
};

/// ASCII as it is; "\r", "\n", "\t", "\\", and "\x7F" for any other byte.
std::string Text(std::string_view bytes);
/// "4D 0D".
std::string Hex(std::string_view bytes);
/// "request: configuration", "distance 1.234 m", UTF-8.
std::string Meaning(const clsTraffic& traffic, const TrafficEntry& entry, const Style& style);
/// '>', '<' or '-'.
char Direction(TrafficKind kind);
/// The time of day to the millisecond.
std::string TimeOfDay(double time);

/// What a file begins with, with its line ends.
std::string FileHeader(std::string_view program, std::int32_t language);
/// The line of an entry, without its end.
std::string FileLine(const clsTraffic& traffic, const TrafficEntry& entry, const Style& style);

} // namespace modTrafficText
