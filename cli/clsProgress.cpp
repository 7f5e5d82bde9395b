#include "cli/clsProgress.h"

#include "base/PlainText.h"
#include "base/modAPI.h"
#include "cli/clsOutput.h"
#include "cli/modTerminal.h"

#include <unistd.h>

namespace {

constexpr double kAfter_s = 1.0;
constexpr double kAgain_s = 0.2;

} // namespace

clsProgress::clsProgress(clsOutput& output, bool wanted)
    : m_output(output), m_isPossible(wanted && modTerminal::CanMoveCursor(STDERR_FILENO))
{}

void clsProgress::Show(std::string_view text)
{
    if (!m_isPossible || m_output.Waiting() > 0) {
        return;
    }
    const double now_s = modAPI::UpTime_s();
    m_begin_s = m_begin_s == 0.0 ? now_s : m_begin_s;
    const bool isTimely = now_s - m_begin_s >= kAfter_s && now_s - m_shown_s >= kAgain_s;
    if (isTimely && (!m_isShown || m_text != text)) {
        m_text = text;
        m_shown_s = now_s;
        const std::size_t columns = modTerminal::SizeOf(STDERR_FILENO).columns;
        std::string line(1, '\r');
        const std::string plain = Printable(text);
        line += modTerminal::Cut(plain, columns - 1);
        write(line + "\033[K");
        m_isShown = m_isPossible;
    }
}

void clsProgress::End()
{
    m_begin_s = 0.0;
    if (m_isShown) {
        m_isShown = false;
        write("\r\033[K");
    }
}

/// A terminal that has vanished gets nothing more.
void clsProgress::write(std::string_view text)
{
    m_output.Write(text);
    m_output.Serve();
    m_isPossible = m_output.IsOpen();
}
