// The debug console: what reaches its window, and in which colours.
#include "ui/console/clsConsole.h"

#include <gtest/gtest.h>

namespace {

struct Screen : ConsoleScreen {
    std::string log; ///< "<title>" opened, "12:" a change of colour, "X" closed
    int colour = 0;

    void Open(const std::string& title) override { log += '<' + title + '>'; }
    void Write(std::string_view text, ConsoleColour written) override
    {
        if (written != colour) {
            colour = written;
            log += std::to_string(colour) + ':';
        }
        log += text;
    }
    void Close() override { log += 'X'; }
};

TEST(Console, HighlightsBetweenSeparatorsAndIsSilentWhileClosed)
{
    const std::string line(69, '-');
    Screen screen;
    {
        clsConsole console(screen);
        console.WindowTitle = "Orvex Monitor";
        console.WriteOut("before");
        console.Important("before");
        console.LoadConsole();
        console.LoadConsole();
        console.WriteOut("1.234 m");
        console.Important("lost");
        console.WriteOut("5\r\n");
        console.Important("again");
        console.CloseConsole();
        console.WriteOut("after");
        console.LoadConsole();
    }
    const auto note = [&](const std::string& text) { return line + "\r\n" + text + "\r\n" + line + "\r\n"; };
    EXPECT_EQ(screen.log,
              "<Orvex Monitor>7:1.234 m12:\r\n" + note("lost") + "7:5\r\n12:" + note("again") + "X<Orvex Monitor>X");
}

} // namespace
