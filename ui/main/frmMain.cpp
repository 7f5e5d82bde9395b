#include "ui/main/frmMain.h"

#include "base/modAPI.h"
#include "port/modPComm.h"
#include "session/clsSession.h"
#include "session/modPortMemory.h"
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/Overview.h"
#include "ui/chart/StatisticsPanel.h"
#include "ui/console/frmTraffic.h"
#include "ui/help/Help.h"
#include "ui/main/FirstSteps.h"
#include "ui/main/LinePanel.h"
#include "ui/main/MeasurementPanel.h"
#include "ui/main/MessagePanel.h"
#include "ui/main/RateBar.h"
#include "ui/main/SensorPanel.h"
#include "ui/main/UndoRun.h"
#include "ui/recorder/FilePanel.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/settings/frmCompare.h"
#include "ui/settings/frmPassport.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/Badge.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/InputGuards.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/PortModel.h"
#include "ui/widgets/PortWatch.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/Waiting.h"
#include "ui/widgets/WindowPlace.h"

#include <QAction>
#include <QCloseEvent>
#include <QScreen>
#include <QTimer>

#include <utility>

namespace {

/// Two seconds show whether there is a connection; the window offers the simulated sensor only after that.
constexpr std::int32_t kTicksBeforeOffer = 2000 / clsMeasurementLoop::kInterval_ms;

} // namespace

frmMain::frmMain(modGlobals::Settings& settings, clsSession& session, const modPComm::PortDevices& devices,
                 const Storage& storage, Help& help)
    : m_settings(settings), m_session(session), m_devices(devices), m_storage(storage), m_help(help),
      m_consoleWindow(settings), m_console(m_consoleWindow), m_timer(new QTimer(this)),
      m_portWatch(new PortWatch(session, this))
{
    setObjectName(QStringLiteral("frmMain"));
    BuildForm(*this);
    fraFirstSteps = new FirstSteps(*picGraph);
    KeepWheelFromLists(*this);
    resize((QSize(66, 43) * fontMetrics().height()).boundedTo(screen()->availableSize()));
    new WindowPlace(*this, m_settings.IniFile);
    chooseDefaultDevice(m_settings.DefaultDevice.c_str());
    m_undoRun =
        std::make_unique<UndoRun>(*this, m_session, m_storage.library.Device(), m_settings, m_help, *pnlMessages);
    followSession();
    localise();
    connectMenus();
    connectView();
    connectPort();
    connect(fraFirstSteps, &FirstSteps::tried, this, [this] { Guarded([this] { fraFirstSteps_Tried(); }); });
    FaultNoted = [this](const char* fault) { m_console.Important(ToBytes(QString::fromUtf8(fault))); };
    if (!m_settings.UnreadFile.empty()) {
        NoteFault(unkeptWarning().toUtf8().constData());
    }
    connect(m_timer, &QTimer::timeout, this, [this] {
        Guarded([this] { timer_Tick(); });
        Guarded([this] { m_portWatch->Follow(); }); // also while the ticks rest, and after one that has failed
    });
    m_timer->setObjectName(QStringLiteral("Timer"));
    m_timer->start(clsMeasurementLoop::kInterval_ms);
}

void frmMain::followSession()
{
    m_session.Loop().PumpEvents = PumpEvents;
    m_session.Loop().MayChangeWithoutBackup = [this](const std::filesystem::path& folder, std::error_code why) {
        return m_undoRun->MayWriteWithoutBackup(folder, why);
    };
    fraMeasurement->Follow(m_session, m_settings);
    fraRVQ->Follow(m_session);
    fraComport->Follow(m_session, m_settings, m_devices);
    fraLine->Follow(m_session, m_settings);
    picGraph->Follow(m_session, m_settings, m_help);
    picOverview->Follow(m_session, *picGraph);
    picOverview->News = [this](const QString& message) { showNews(message); };
    fraStatistics->Follow(*picGraph);
    picGraph->Unkept = [this](const std::error_code& why) { pnlMessages->ShowFailure(unkeptText(why)); };
    pnlMessages->Follow(m_session, m_settings);
    pnlFile->Follow(m_session, m_settings);
    pnlFile->CountIncomplete = [this] { return picGraph->CountIncomplete(); };
    followSimulation();
    m_session.Listen(*this);
}

frmMain::~frmMain()
{
    FaultNoted = nullptr;
    m_portWatch->Stop();
    m_session.End();
    m_session.Loop().MayChangeWithoutBackup = nullptr;
    Guarded([this] { finishWriting(); });
    m_session.Leave(*this);
}

void frmMain::MeasureWhenConnected()
{
    m_session.Loop().MeasureWhenConnected();
}

void frmMain::closeEvent(QCloseEvent* event)
{
    bool mayClose = true;
    Guarded([&] {
        mayClose =
            !event->spontaneous() || m_settingsWindow == nullptr || m_settingsWindow->MayClose([this] { close(); });
    });
    if (!mayClose) {
        event->ignore();
        return;
    }
    bool keeps = true;
    Guarded([&] { keeps = keepsSettings(); });
    if (!keeps) {
        event->ignore();
        return;
    }
    Guarded([this] {
        m_timer->stop();
        m_portWatch->Stop();
        m_session.Loop().Unload();
        if (m_recorderWindow != nullptr) {
            m_recorderWindow->close();
        }
        if (m_passportWindow != nullptr) {
            m_passportWindow->close();
        }
        if (m_trafficWindow != nullptr) {
            m_trafficWindow->close();
        }
        m_session.End();
        m_undoRun->Unload();
        if (m_settingsWindow != nullptr) {
            m_settingsWindow->Unload();
        }
        if (m_compareWindow != nullptr) {
            m_compareWindow->FollowDevice();
        }
        if (mnuOptionConsole->isChecked()) {
            m_console.CloseConsole();
        }
    });
    event->accept();
}

void frmMain::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] { localise(); });
    }
    QMainWindow::changeEvent(event);
}

void frmMain::localise()
{
    LocaliseForm(*this, m_settings.Language);
    LocalisePanels(m_settings.Language);
    nameWindow();
    fraFirstSteps->Localise(m_settings.Language);
    m_help.ExplainMenus(*this);
    warnOfUnkeptSettings();
}

void frmMain::timer_Tick()
{
    if (m_session.Recorder().Mode == RecorderPlaying) {
        fraMeasurement->ShowAges();
        return; // the window stays alive while a file is loaded; the measurement waits
    }
    if (m_followedPort != m_settings.Comport) {
        followSimulation();
    }
    const double now = modAPI::LocalTime();
    Guarded([&] { m_session.ServeFiles(now); }); // whatever happens to a file, the measurement goes on
    m_session.Tick(now);
    fraMeasurement->ShowAges();
    explainFailure();
    offerFirstSteps();
}

/// When the reason why the port cannot be opened changes, it also goes to the console.
void frmMain::explainFailure()
{
    const clsRVQ& device = m_session.Device();
    followPort();
    const QString failure = OpenFailureText(device.LastFailure(), m_settings.Language);
    const QString why = device.PortIsOpen() && failure.isEmpty() ? m_portWarning : failure;
    if (pnlMessages->Explain(why)) {
        noteFailure();
    }
}

/// When the port opens, it says if there is another device behind its number than last time.
void frmMain::followPort()
{
    const OpenedPort opened{m_session.Device().PortIsOpen() ? m_settings.Comport : 0, m_settings.Language};
    if (std::exchange(m_openedPort, opened) == opened || opened.port == 0) {
        return;
    }
    modPortMemory::Learn(opened.port, m_devices, m_settings.Devices);
    const std::string warning = modPortMemory::Warning(opened.port, m_devices, m_settings.Devices, m_settings.Language);
    if (m_portWarning = FromUtf8(warning); !m_portWarning.isEmpty()) {
        pnlMessages->ShowMessage(m_portWarning);
    }
}

void frmMain::noteFailure()
{
    if (!pnlMessages->Failure().isEmpty()) {
        m_console.Important(ToBytes(pnlMessages->Failure()));
    }
}

/// Without a connection, an empty chart says how to get one.
void frmMain::offerFirstSteps()
{
    if (m_commStatus != DialogueNone || !StartSimulatedSensor) {
        if (std::exchange(m_unconnectedTicks, 0) != 0) {
            fraFirstSteps->hide();
        }
        return;
    }
    const bool isDue = ++m_unconnectedTicks % kTicksBeforeOffer == 0;
    if (isDue || fraFirstSteps->isVisible()) { // it leaves at once, over a recording without a distance, too
        const clsHistory* history = picGraph->Source();
        const bool hasValues =
            picGraph->ShownValues().has_value() || (history != nullptr && history->CountIn(picGraph->ShownRange()) > 0);
        fraFirstSteps->setVisible(!hasValues);
    }
    fraFirstSteps->Explain(pnlMessages->Failure());
}

void frmMain::fraFirstSteps_Tried()
{
    const std::int32_t port = StartSimulatedSensor();
    if (!m_simulated) {
        m_simulated.emplace(m_settings.Comport, port);
    }
    m_unconnectedTicks = 0;
    fraFirstSteps->hide();
    fraMeasurement->FocusStart(); // the button that had it is hidden
    followSimulation();           // the port may have the same number as before
    fraComport->Choose(port);
    MeasureWhenConnected();
}

void frmMain::Echo(std::string_view received)
{
    if (mnuOptionConsole->isChecked()) {
        m_console.WriteOut(received);
    }
}

void frmMain::ShowStatus(StatusPanel panel, std::string_view message)
{
    if (panel == PanelClock) {
        ShowText(*pnlClock, FromUtf8(message));
    }
}

void frmMain::ShowRule(const ControlRule& rule)
{
    if (rule.Settings != m_settingsUsable) {
        m_settingsUsable = rule.Settings;
        mnuConfigurationRVQ->setEnabled(rule.Settings);
    }
}

void frmMain::Ticked()
{
    if (m_inputBlock != nullptr) {
        m_settingsWindow->FollowDevice();
    }
    nameWindow();
    followRecorder();
    followWrites();
    fraRate->Follow(m_settings.Comport, m_settings.Baudrate);
    tellPassport();
}

/// A passport that cannot be written stops nothing; it is said once.
void frmMain::tellPassport()
{
    const std::error_code why = m_session.Writes().PassportFailure();
    if (std::exchange(m_passportFailure, why) != why && why) {
        pnlMessages->ShowFailure(text(TextId::PassportNotWritten).arg(FileErrorText(why, m_settings.Language)));
    }
}

/// Two programs side by side are told apart by port and serial number.
void frmMain::nameWindow()
{
    const TitleFacts shown{m_settings.Comport, std::string(m_session.SerialNo()), picGraph->Badge(),
                           m_settings.Language};
    if (shown == m_named) {
        return;
    }
    m_named = shown;
    QStringList parts{text(TextId::TitleMain), PortName(shown.port), SerialText(shown.serial, shown.language),
                      shown.badge};
    parts.removeAll(QString());
    setWindowTitle(parts.join(QStringLiteral(" – ")));
}

/// Comes before the first value of another port.
void frmMain::followSimulation()
{
    m_followedPort = m_settings.Comport;
    m_session.Simulated(m_devices.IsSimulated(m_followedPort));
}

QString frmMain::text(TextId id) const
{
    return Text(id, m_settings.Language);
}
