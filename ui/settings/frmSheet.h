// Shows the settings sheet and prints it, where the desktop has no viewer for texts.
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

    /// Opens a sheet in the desktop's viewer for texts; in a window of this class when that cannot be started or says
    /// that it has failed. Returns at once.
    static void Open(QWidget& owner, const modGlobals::Settings& settings, const std::filesystem::path& file);

private:
    void cmdPrint_Click();

    QPlainTextEdit* txtSheet;
};
