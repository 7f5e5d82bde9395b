// The debug console: the raw text of the sensor and highlighted notes in a text window. This file decides what is
// written and in which colour; the window is behind `ConsoleScreen`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Colour attributes on black, numbered as in text consoles.
enum ConsoleColour : std::uint8_t { ConsoleGrey = 7, ConsoleBrightRed = 12 };

/// The text window. Texts are Windows-1252, one byte a character.
class ConsoleScreen {
public:
    virtual ~ConsoleScreen() = default;
    virtual void Open(const std::string& title) = 0;
    virtual void Write(std::string_view text, ConsoleColour colour) = 0;
    virtual void Close() = 0;
};

class clsConsole {
public:
    /// `screen` must outlive the console.
    explicit clsConsole(ConsoleScreen& screen) : m_screen(screen) {}
    ~clsConsole();
    clsConsole(const clsConsole&) = delete;
    clsConsole& operator=(const clsConsole&) = delete;

    /// The title used when the console is created.
    std::string WindowTitle;
    /// Writes the text unchanged, without a line end. Does nothing while no console is open.
    void WriteOut(std::string_view LogIt);
    /// Writes the text in bright red between two lines of minus signs, on lines of their own.
    void Important(std::string_view LogIt);
    void CloseConsole();
    void LoadConsole();

private:
    ConsoleScreen& m_screen;
    bool m_open = false;
    bool m_atLineStart = true;
    ConsoleColour m_colour = ConsoleGrey;
};
