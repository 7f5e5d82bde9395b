// What the menus of the main window do, and the windows that open from it.
#include "texts/modFunctions.h"
#include "ui/chart/XYChart.h"
#include "ui/chart/frmChartSettings.h"
#include "ui/help/Help.h"
#include "ui/main/ValueLabel.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmMain.h"
#include "ui/main/frmTextWindow.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/InputGuards.h"
#include "ui/widgets/Localise.h"

#include <QAction>
#include <QMenu>
#include <QShortcut>
#include <QWhatsThis>

void frmMain::connectMenus()
{
    connect(new QShortcut(QKeySequence(Qt::Key_F11), this), &QShortcut::activated, lblMeasValue, &ValueLabel::clicked);
    connectAction(mnuFileExit, &frmMain::mnuFileExit_Click);
    connectAction(mnuConfigurationRVQ, &frmMain::mnuConfigurationRVQ_Click);
    connectAction(mnuConfigurationDefaultSerial, &frmMain::mnuConfigurationDefaultSerial_Click);
    connectAction(mnuConfigurationDefaultProfibus, &frmMain::mnuConfigurationDefaultProfibus_Click);
    connectAction(mnuOptionLanguageDEEN, &frmMain::mnuOptionLanguageDEEN_Click);
    connectAction(mnuOptionConsole, &frmMain::mnuOptionConsole_Click);
    connectAction(mnuHelpContents, &frmMain::mnuHelpContents_Click);
    connectAction(mnuHelpWhatsThis, &frmMain::mnuHelpWhatsThis_Click);
    connectAction(mnuHelpAbout, &frmMain::mnuHelpAbout_Click);
    connectAction(mnuPopupShowZero, &frmMain::mnuPopupShowZero_Click);
    connectAction(mnuPopupFixedTime, &frmMain::mnuPopupFixedTime_Click);
    connectAction(mnuPopUpYscaleSettings, &frmMain::mnuPopUpYscaleSettings_Click);
    connectAction(mnuPopupHelp, &frmMain::mnuPopupHelp_Click);
}

void frmMain::connectAction(const QAction* action, void (frmMain::*act)())
{
    connect(action, &QAction::triggered, this, [this, act] { Guarded([&] { (this->*act)(); }); });
}

void frmMain::lblMeasValue_Click()
{
    if (m_textWindow == nullptr) {
        m_textWindow = new frmTextWindow(*this, m_settings);
        m_textWindow->ShowValue(lblMeasValue->text());
        m_textWindow->ShowAge(lblMeasAge->text());
    }
    m_textWindow->show();
    m_textWindow->raise();
    m_textWindow->activateWindow();
}

void frmMain::picGraph_MouseDown(const QPoint& position)
{
    mnuPopupShowZero->setChecked(m_settings.ShowZeroValues);
    mnuPopupFixedTime->setChecked(picGraph->HoldSpan());
    mnuPopUp->popup(picGraph->mapToGlobal(position));
}

void frmMain::mnuFileExit_Click()
{
    close();
}

void frmMain::chooseDefaultDevice(std::string_view type)
{
    m_settings.DefaultDevice = type;
    const bool serial = m_settings.DefaultDevice == kSerialType;
    (serial ? mnuConfigurationDefaultSerial : mnuConfigurationDefaultProfibus)->setChecked(true);
}

void frmMain::mnuConfigurationRVQ_Click()
{
    if (m_device.Wait.Running || (m_settingsWindow != nullptr && m_settingsWindow->isVisible())) {
        return;
    }
    m_settingsWindow = std::make_unique<frmRVQ>(
        this, frmRVQ::Context{.device = m_device,
                              .library = m_storage.library,
                              .settings = m_settings,
                              .help = m_help,
                              .programFolder = m_storage.programFolder,
                              .pumpEvents = pumpEvents,
                              .tellUnkept = [this](const QString& message) { tellUnkept(message); }});
    m_loop.LiveUpdate = [this](const clsRVQ&) { m_settingsWindow->FollowDevice(); };
    m_inputBlock = std::make_unique<InputBlock>(*this, *m_settingsWindow);
    connect(m_settingsWindow.get(), &QDialog::finished, this, [this] {
        m_loop.LiveUpdate = nullptr;
        m_inputBlock.reset();
    });
    m_settingsWindow->show();
}

void frmMain::mnuConfigurationDefaultSerial_Click()
{
    chooseDefaultDevice(kSerialType);
}

void frmMain::mnuConfigurationDefaultProfibus_Click()
{
    chooseDefaultDevice(kProfibusType);
}

void frmMain::mnuPopupShowZero_Click()
{
    m_settings.ShowZeroValues = mnuPopupShowZero->isChecked();
    picGraph->ShowZeroValues(m_settings.ShowZeroValues);
    m_loop.FitRange();
    if (m_chartSettings != nullptr) {
        m_chartSettings->ShowUpdatedSettings();
    }
}

void frmMain::mnuPopupFixedTime_Click()
{
    picGraph->HoldSpan(mnuPopupFixedTime->isChecked());
}

void frmMain::mnuPopUpYscaleSettings_Click()
{
    if (m_chartSettings == nullptr) {
        m_chartSettings = new frmChartSettings(*this, m_settings, *picGraph);
        m_chartSettings->setAttribute(Qt::WA_DeleteOnClose);
        m_chartSettings->Applied = [this] { m_loop.FitRange(); };
        m_chartSettings->Unkept = [this](const std::error_code& why) { tellUnkept(unkeptText(why)); };
    }
    m_chartSettings->show();
    m_chartSettings->raise();
    m_chartSettings->activateWindow();
}

void frmMain::mnuPopupHelp_Click()
{
    m_help.ShowHelpTopic(*this, "Main");
}

void frmMain::mnuOptionLanguageDEEN_Click()
{
    m_settings.Language = m_settings.Language == LanguageGerman ? LanguageEnglish : LanguageGerman;
    m_help.SetHelpFile();
    LocaliseOpenWindows(m_settings.Language);
}

void frmMain::mnuOptionConsole_Click()
{
    if (mnuOptionConsole->isChecked()) {
        m_console.WindowTitle = "Orvex Monitor";
        m_console.LoadConsole();
        noteFailure();
    } else {
        m_console.CloseConsole();
    }
}

void frmMain::mnuHelpContents_Click()
{
    m_help.ShowHelpTopic(*this, "Start");
}

void frmMain::mnuHelpWhatsThis_Click()
{
    QWhatsThis::enterWhatsThisMode();
}

void frmMain::mnuHelpAbout_Click()
{
    auto* about = new frmAbout(this, m_settings);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open(); // returns at once: a wait for the sensor must be able to end
}
