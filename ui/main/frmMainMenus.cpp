// What the menus of the main window do, and the windows that open from it.
#include "session/clsSession.h"
#include "store/Configuration.h"
#include "store/modGlobals.h"
#include "texts/modFunctions.h"
#include "ui/chart/ChartPanel.h"
#include "ui/console/frmTraffic.h"
#include "ui/help/Help.h"
#include "ui/main/MeasurementPanel.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmMain.h"
#include "ui/recorder/Export.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/settings/frmCompare.h"
#include "ui/settings/frmPassport.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/InputGuards.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/Waiting.h"

#include <QAction>
#include <QMenu>
#include <QWhatsThis>

void frmMain::connectMenus()
{
    connectAction(mnuFileExport, &frmMain::mnuFileExport_Click);
    connectAction(mnuFileExportChart, &frmMain::mnuFileExportChart_Click);
    connectAction(mnuFileExit, &frmMain::mnuFileExit_Click);
    connectAction(mnuConfigurationRVQ, &frmMain::mnuConfigurationRVQ_Click);
    connectAction(mnuConfigurationPassport, &frmMain::mnuConfigurationPassport_Click);
    connectAction(mnuConfigurationCompare, &frmMain::mnuConfigurationCompare_Click);
    connectAction(mnuConfigurationDefaultSerial, &frmMain::mnuConfigurationDefaultSerial_Click);
    connectAction(mnuConfigurationDefaultProfibus, &frmMain::mnuConfigurationDefaultProfibus_Click);
    connectAction(mnuRecorder, &frmMain::mnuRecorder_Click);
    connectAction(mnuOptionLanguageDEEN, &frmMain::mnuOptionLanguageDEEN_Click);
    connectAction(mnuOptionConsole, &frmMain::mnuOptionConsole_Click);
    connectAction(mnuOptionsTraffic, &frmMain::mnuOptionsTraffic_Click);
    connectAction(mnuHelpContents, &frmMain::mnuHelpContents_Click);
    connectAction(mnuHelpWhatsThis, &frmMain::mnuHelpWhatsThis_Click);
    connectAction(mnuHelpAbout, &frmMain::mnuHelpAbout_Click);
}

void frmMain::connectAction(const QAction* action, void (frmMain::*act)())
{
    connect(action, &QAction::triggered, this, [this, act] { Guarded([&] { (this->*act)(); }); });
}

void frmMain::mnuFileExport_Click()
{
    showNews(ExportRecording(*this, m_session.Recorder(), m_settings.Language));
}

void frmMain::mnuFileExportChart_Click()
{
    showNews(ExportChart(*this, *picGraph, m_session.Recorder(), m_settings.Language));
}

void frmMain::showNews(const QString& message)
{
    if (!message.isEmpty()) {
        pnlMessages->ShowMessage(message);
    }
}

void frmMain::mnuFileExit_Click()
{
    if (m_settingsWindow == nullptr || m_settingsWindow->MayClose([this] { close(); })) {
        close();
    }
}

void frmMain::chooseDefaultDevice(std::string_view type)
{
    m_settings.DefaultDevice = type;
    const bool serial = m_settings.DefaultDevice == kSerialType;
    (serial ? mnuConfigurationDefaultSerial : mnuConfigurationDefaultProfibus)->setChecked(true);
}

void frmMain::mnuConfigurationRVQ_Click()
{
    if (m_session.Device().Wait().Running || (m_settingsWindow != nullptr && m_settingsWindow->isVisible())) {
        return;
    }
    m_settingsWindow = std::make_unique<frmRVQ>(
        this, frmRVQ::Context{.device = m_session.Device(),
                              .library = m_storage.library,
                              .settings = m_settings,
                              .help = m_help,
                              .programFolder = m_storage.programFolder,
                              .pumpEvents = PumpEvents,
                              .tellUnkept = [this](const QString& message) { pnlMessages->ShowFailure(message); },
                              .writes = &m_session.Writes()});
    m_inputBlock = std::make_unique<InputBlock>(*this, *m_settingsWindow);
    connect(m_settingsWindow.get(), &QDialog::finished, this, [this] { m_inputBlock.reset(); });
    m_settingsWindow->show();
}

void frmMain::mnuConfigurationPassport_Click()
{
    if (m_passportWindow == nullptr) {
        m_passportWindow = new frmPassport(*this, {m_session.Device(), m_session.Writes(), m_settings});
        m_passportWindow->setAttribute(Qt::WA_DeleteOnClose);
        m_passportWindow->Compare = [this](const Configuration& state, const QString& name) {
            using Kind = frmCompare::SetKind;
            if (frmCompare* window = openComparison({{name, state.Parameters}})) {
                window->Choose(Kind::Sensor, Kind::State) || window->Choose(Kind::Factory, Kind::State);
            }
        };
        m_passportWindow->Restore = [this](const Configuration& state) {
            if (frmCompare* window = openComparison({{FromBytes(state.Description), state.Parameters}})) {
                window->Review(frmCompare::SetKind::State);
            }
        };
    }
    m_passportWindow->show();
    m_passportWindow->raise();
    m_passportWindow->activateWindow();
}

void frmMain::mnuConfigurationCompare_Click()
{
    openComparison({});
}

/// An open comparison comes to the front; with states of its caller it is opened anew. Null, with a message, when it
/// cannot be: it is sending.
frmCompare* frmMain::openComparison(const std::vector<frmCompare::NamedSet>& states)
{
    if (m_compareWindow != nullptr && !states.empty()) {
        if (m_compareWindow->IsSending()) {
            showNews(text(TextId::CompareStillSending));
            return nullptr;
        }
        delete m_compareWindow;
    }
    if (m_compareWindow == nullptr) {
        m_compareWindow = new frmCompare(this, {.settings = m_settings,
                                                .help = m_help,
                                                .device = &m_session.Device(),
                                                .library = &m_storage.library,
                                                .programFolder = m_storage.programFolder,
                                                .states = states,
                                                .pumpEvents = PumpEvents,
                                                .writes = &m_session.Writes()});
        m_compareWindow->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_compareWindow->show();
    m_compareWindow->raise();
    m_compareWindow->activateWindow();
    return m_compareWindow;
}

void frmMain::mnuConfigurationDefaultSerial_Click()
{
    chooseDefaultDevice(kSerialType);
}

void frmMain::mnuConfigurationDefaultProfibus_Click()
{
    chooseDefaultDevice(kProfibusType);
}

void frmMain::mnuRecorder_Click()
{
    if (m_recorderWindow == nullptr) {
        m_recorderWindow = new frmRecorder(*this, m_settings, m_session);
        m_recorderWindow->setAttribute(Qt::WA_DeleteOnClose);
        m_recorderWindow->ShowMessage = [this](const QString& message) { pnlMessages->ShowMessage(message); };
    }
    m_recorderWindow->show();
    m_recorderWindow->raise();
    m_recorderWindow->activateWindow();
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

void frmMain::mnuOptionsTraffic_Click()
{
    if (m_trafficWindow == nullptr) {
        m_trafficWindow = new frmTraffic(*this, m_session, m_settings);
        m_trafficWindow->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_trafficWindow->show();
    m_trafficWindow->raise();
    m_trafficWindow->activateWindow();
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
