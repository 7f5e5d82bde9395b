// The window of the debug console: grey on black, monospaced, with limited scroll-back.
#pragma once

#include "ui/console/clsConsole.h"

#include <QWidget>

#include <memory>

class ConsoleText;
class QPushButton;

namespace modGlobals {
struct Settings;
}

class frmConsole : public QWidget, public ConsoleScreen {
    Q_OBJECT

public:
    /// Rows that are kept; the oldest are dropped first. A row holds at most `kColumns` characters; longer ones are
    /// broken.
    static constexpr int kRows = 10000;
    static constexpr int kColumns = 160;

    /// `settings` must outlive the window.
    explicit frmConsole(const modGlobals::Settings& settings);

    void Open(const std::string& title) override;
    /// Appends as `ConsoleText::Append` does.
    void Write(std::string_view text, ConsoleColour colour) override;
    void Close() override;

protected:
    /// Only `Close` closes the console, not the window's frame, a key or the window manager.
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void localise();
    void cmdCopy_Click();
    void cmdSave_Click();

    const modGlobals::Settings& m_settings;
    ConsoleText* txtConsole;
    QPushButton* cmdCopy;
    QPushButton* cmdSave;
};

/// The console's window, created when it is first opened: most runs never open it.
class LateConsole : public ConsoleScreen {
public:
    /// `settings` must outlive the window.
    explicit LateConsole(const modGlobals::Settings& settings) : m_settings(settings) {}

    void Open(const std::string& title) override;
    void Write(std::string_view text, ConsoleColour colour) override;
    void Close() override;

private:
    const modGlobals::Settings& m_settings;
    std::unique_ptr<frmConsole> m_window;
};
