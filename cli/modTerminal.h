// What a terminal can show. Texts are UTF-8, every character one column wide.
#pragma once

#include <cstddef>
#include <string_view>

namespace modTerminal {

/// Whether the descriptor is a terminal on which lines can be written again.
bool CanMoveCursor(int descriptor);
/// Whether to use colours: on such a terminal, unless the user has set NO_COLOR.
bool HasColours(int descriptor);

struct Size {
    std::size_t rows = 24, columns = 80;
};
/// The usual size when it is not known.
Size SizeOf(int descriptor);

/// The number of columns that a text takes.
std::size_t Columns(std::string_view text);
/// As much of the text as fits.
std::string_view Cut(std::string_view text, std::size_t columns);

} // namespace modTerminal
