// A window's size and place, saved in the section "WINDOWS" of "RVQ.ini" under the window's name.
#pragma once

#include <QObject>

#include <string>

class QWidget;

/// What the operator has chosen for a window, kept in the same section; `fallback` when nothing is kept.
bool KeptChoice(const std::string& name, bool fallback, const std::string& iniFile);
void KeepChoice(const std::string& name, bool chosen, const std::string& iniFile);

class WindowPlace : public QObject {
    Q_OBJECT

public:
    /// Restores the window's place before it is shown, no larger than its screen, and saves it when the window closes.
    /// The object is deleted with the window. With an empty `iniFile` nothing is saved.
    WindowPlace(QWidget& window, std::string iniFile);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fitToScreen();
    void keep();

    QWidget& m_window;
    std::string m_iniFile;
    QByteArray m_kept;
};
