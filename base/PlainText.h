// A text out of a file or from the sensor, which may hold anything, made fit to be shown or printed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The text (UTF-8) in one line: runs of blanks, tabs and line ends become one blank, those at both ends go, and what
/// cannot be printed becomes "?", such as control characters, bytes that are no UTF-8, and signs that turn the
/// direction of writing. At most `longest` characters, the last of which then is "…".
std::string PlainText(std::string_view utf8, std::size_t longest);

/// The text with all its blanks and its ends of lines "\n", but a tab is a blank, and what cannot be printed is "?".
/// The last guard before a terminal: what a text is made of should be plain before.
std::string Printable(std::string_view utf8);
