#include "cli/modTerminal.h"

#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace modTerminal {

namespace {

bool beginsCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

} // namespace

bool CanMoveCursor(int descriptor)
{
    const char* kind = std::getenv("TERM");
    return isatty(descriptor) != 0 && kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
}

bool HasColours(int descriptor)
{
    const char* unwanted = std::getenv("NO_COLOR");
    return (unwanted == nullptr || *unwanted == '\0') && CanMoveCursor(descriptor);
}

Size SizeOf(int descriptor)
{
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        return {};
    }
    return {size.ws_row, size.ws_col};
}

std::size_t Columns(std::string_view text)
{
    std::size_t columns = 0;
    for (const char byte : text) {
        columns += beginsCharacter(byte) ? 1 : 0;
    }
    return columns;
}

std::string_view Cut(std::string_view text, std::size_t columns)
{
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        if (beginsCharacter(text[end]) && columns-- == 0) {
            break;
        }
    }
    return text.substr(0, end);
}

} // namespace modTerminal
