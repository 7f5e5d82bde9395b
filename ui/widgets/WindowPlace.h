// A window's size and place, kept in the section "WINDOWS" of "RVQ.ini" under the window's name.
#pragma once

#include <QObject>

#include <string>

class QWidget;

class WindowPlace : public QObject {
    Q_OBJECT

public:
    /// Restores the window's place before it is shown, no larger than its screen, and keeps it when it closes; the
    /// object goes with the window. With an empty `iniFile` nothing is kept.
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
