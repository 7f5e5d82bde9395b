#include "cli/clsLiveScreen.h"

#include "cli/modSignals.h"

#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr std::string_view kTake = "\033[?1049h\033[?25l\033[H\033[J"; // second screen, no cursor, empty
constexpr std::string_view kGiveBack = "\033[?25h\033[?1049l";

// A signal handler reaches no object.
int terminal = -1;
bool isEchoOff = false;
termios usual{};

/// May run inside a signal handler.
void giveBack()
{
    if (terminal < 0) {
        return;
    }
    [[maybe_unused]] const ssize_t count = write(terminal, kGiveBack.data(), kGiveBack.size());
    if (isEchoOff) {
        tcsetattr(terminal, TCSANOW, &usual);
        isEchoOff = false;
    }
}

} // namespace

clsLiveScreen::clsLiveScreen(int descriptor) : m_descriptor(descriptor)
{
    terminal = descriptor;
    modSignals::AtSuddenEnd(giveBack);
    take();
}

clsLiveScreen::~clsLiveScreen()
{
    modSignals::AtSuddenEnd(nullptr);
    giveBack();
    terminal = -1;
}

/// What is typed meanwhile is not shown. A program in the background leaves the terminal alone: it would be stopped.
void clsLiveScreen::take()
{
    const bool isOurs = tcgetpgrp(m_descriptor) == getpgrp();
    if (isOurs && !isEchoOff && tcgetattr(m_descriptor, &usual) == 0) {
        termios quiet = usual;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        isEchoOff = tcsetattr(m_descriptor, TCSANOW, &quiet) == 0;
    }
}

std::string clsLiveScreen::Picture(const std::vector<std::string>& lines, bool again)
{
    if (again) {
        take();
    }
    std::string picture(again ? kTake : std::string_view("\033[H"));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        picture += lines[i];
        picture += i + 1 < lines.size() ? "\033[K\n" : "\033[K\033[J";
    }
    return picture;
}
