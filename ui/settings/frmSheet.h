// Shows and prints the settings sheet where the desktop has no text viewer.
#pragma once

#include <QDialog>

#include <filesystem>

class QPlainTextEdit;

namespace modGlobals {
struct Settings;
}

class frmSheet : public QDialog {
    Q_OBJECT

public:
    frmSheet(QWidget& owner, const modGlobals::Settings& settings, const std::filesystem::path& file);

    /// Opens a sheet in the desktop's text viewer, or in a window of this class when the viewer cannot be started or
    /// reports a failure. Returns at once.
    static void Open(QWidget& owner, const modGlobals::Settings& settings, const std::filesystem::path& file);

private:
    void cmdPrint_Click();

    QPlainTextEdit* txtSheet;
};
