// A picture of lines on a terminal that is drawn again in place. It takes the terminal's second screen, so that nothing
// of what stood there is lost, and gives it back in every ending: the destructor's, that of a signal, and while the
// program is stopped.
#pragma once

#include "cli/modTerminal.h"

#include <string>
#include <vector>

class clsLiveScreen {
public:
    /// One object at a time.
    explicit clsLiveScreen(int descriptor);
    ~clsLiveScreen();
    clsLiveScreen(const clsLiveScreen&) = delete;
    clsLiveScreen& operator=(const clsLiveScreen&) = delete;

    /// The size now.
    modTerminal::Size Size() const { return modTerminal::SizeOf(m_descriptor); }
    /// What to write to show these lines. With `again`, the program was stopped meanwhile or the size has changed.
    std::string Picture(const std::vector<std::string>& lines, bool again);

private:
    void take();

    int m_descriptor;
};
