// The start-up window: language, serial port and rate, before any connection.
#pragma once

#include "store/modGlobals.h"
#include "texts/TextId.h"

#include <QDialog>
#include <QString>

#include <cstdint>
#include <map>
#include <vector>

class Help;
class PortList;
class QComboBox;
class QGridLayout;
class QLabel;
class QPushButton;

namespace modPComm {
class PortDevices;
}

class frmSplash : public QDialog {
    Q_OBJECT

public:
    /// `settings` and `help` must outlive the window. OK accepts the choices and saves them; a choice of language takes
    /// effect at once. Exit and the close box reject; Escape does nothing.
    frmSplash(modGlobals::Settings& settings, const modPComm::PortDevices& devices, Help& help);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QLayout* buildChoices();
    QLayout* buildButtons();
    QPushButton* addButton(const char* name, TextId captionId, void (frmSplash::*clicked)());
    void addChoice(QGridLayout& grid, const char* label, QComboBox& box, const char* list, TextId captionId);
    void localise();
    void warnOfPort();
    void cmbLanguage_Click(int index);
    void cmdOK_Click();
    void cmdExit_Click();
    void cmdFind_Click();
    void cmdHelp_Click();

    modGlobals::Settings& m_settings;
    const modPComm::PortDevices& m_devices;
    Help& m_help;
    QComboBox* cmbLanguage;
    PortList* cmbComPort;
    QComboBox* cmbBaudrate;
    QLabel* lblPortWarning;
    std::vector<std::int64_t> m_seen;           ///< `modPortScan::Look` when the warnings were made
    std::map<std::int32_t, QString> m_warnings; ///< by port: an arrow key must not search the system each time
    QPushButton* cmdFind;
    QPushButton* cmdOK;
    QPushButton* cmdExit;
    QPushButton* cmdHelp;
};
