// The window of the debug console: grey on black, monospaced, with a bounded scroll-back.
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
    /// Rows that are kept; the oldest go first. A row holds at most `kColumns` characters, longer ones are broken.
    static constexpr int kRows = 10000;
    static constexpr int kColumns = 160;

    /// `settings` must outlive the window.
    explicit frmConsole(const modGlobals::Settings& settings);

    void Open(const std::string& title) override;
    /// As `ConsoleText::Append`.
    void Write(std::string_view text, ConsoleColour colour) override;
    void Close() override;

protected:
    /// The window's frame, a key or the window manager cannot close the console; `Close` can.
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

/// The console's window, made when it is opened for the first time: most runs never do.
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
