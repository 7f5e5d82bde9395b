#include "ui/console/clsConsole.h"

namespace {

constexpr std::size_t kSeparatorLength = 69;

} // namespace

clsConsole::~clsConsole()
{
    CloseConsole();
}

void clsConsole::WriteOut(std::string_view LogIt)
{
    if (!m_open || LogIt.empty()) {
        return;
    }
    m_screen.Write(LogIt, m_colour);
    m_atLineStart = LogIt.back() == '\n' || LogIt.back() == '\r';
}

void clsConsole::Important(std::string_view LogIt)
{
    const std::string separator(kSeparatorLength, '-');
    m_colour = ConsoleBrightRed;
    if (!m_atLineStart) {
        WriteOut("\r\n"); // the sensor's text may end anywhere in a row
    }
    for (const std::string_view line : {std::string_view(separator), LogIt, std::string_view(separator)}) {
        WriteOut(line);
        WriteOut("\r\n");
    }
    m_colour = ConsoleGrey;
}

void clsConsole::CloseConsole()
{
    if (m_open) {
        m_open = false;
        m_screen.Close();
    }
}

void clsConsole::LoadConsole()
{
    if (!m_open) {
        m_open = true;
        m_atLineStart = true;
        m_screen.Open(WindowTitle);
    }
}
