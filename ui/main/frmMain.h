// The main window: it combines the panels of one session, drives the session with a timer, and opens the other windows
// from its menus.
#pragma once

#include "session/SessionListener.h"
#include "texts/TextId.h"
#include "ui/console/clsConsole.h"
#include "ui/console/frmConsole.h"
#include "ui/main/MainForm.h"
#include "ui/settings/frmCompare.h"

#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

class FirstSteps;
class Help;
class InputBlock;
class PortWatch;
class QTimer;
class UndoRun;
class clsConfigLibrary;
class clsSession;
class frmPassport;
class frmRecorder;
class frmRVQ;
class frmTraffic;

namespace modGlobals {
struct Settings;
}
namespace modPComm {
class PortDevices;
}

class frmMain : public QMainWindow, private MainForm, private SessionListener {
    Q_OBJECT

public:
    /// The window's files: the list of configurations and the folder of the program.
    struct Storage {
        clsConfigLibrary& library;
        std::string programFolder;
    };

    /// `devices` says what stands behind the port numbers. Everything referred to must outlive the window.
    frmMain(modGlobals::Settings& settings, clsSession& session, const modPComm::PortDevices& devices,
            const Storage& storage, Help& help);
    ~frmMain() override;

    /// Makes the measurement start as soon as the sensor answers.
    void MeasureWhenConnected();
    /// Starts a simulated sensor and returns its port number. If it is set, the window offers the simulated sensor
    /// while there is no connection.
    std::function<std::int32_t()> StartSimulatedSensor;

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void Echo(std::string_view received) override;
    void ShowStatus(StatusPanel panel, std::string_view text) override;
    void ShowDialogue(std::int32_t commStatus) override { m_commStatus = commStatus; }
    void ShowRule(const ControlRule& rule) override;
    void RateFollowed(std::int32_t former, std::int32_t rate) override;
    void Ticked() override;
    void PlaybackBegins() override { followRecorder(); }

    void followSession();
    void connectMenus();
    void connectAction(const QAction* action, void (frmMain::*act)());
    void localise();
    void nameWindow();
    void followSimulation();
    void timer_Tick();
    void explainFailure();
    void tellPassport();
    void followPort();
    void noteFailure();
    void offerFirstSteps();
    void fraFirstSteps_Tried();

    // The way to the sensor (frmMainPort.cpp).
    void connectPort();
    void findSensor();
    void cmdRateBack_Click();

    // The settings at the program's end (frmMainSettings.cpp).
    bool keepsSettings();
    void warnOfUnkeptSettings();
    QString unkeptWarning() const;
    QString unkeptText(const std::error_code& why) const;
    void finishWriting();

    // The view: menu, tool bar, left column, files dropped on the window (frmMainView.cpp).
    void connectView();
    void followView();
    void followRecorder();
    void followWrites();
    void fold(bool folded);
    void openDropped(const QList<QUrl>& files);
    void tlbRecord_Click();
    void mnuFileExportVisible_Click();
    void mnuFileCopyChart_Click();
    void play(const QStringList& files);
    void fillRecent();
    void mnuFileRecentClear_Click();

    // What the menus do (frmMainMenus.cpp).
    void chooseDefaultDevice(std::string_view type);
    void showNews(const QString& message);
    void mnuFileExport_Click();
    void mnuFileExportChart_Click();
    void mnuFileExit_Click();
    void cmdUndo_Click();
    void mnuConfigurationRVQ_Click();
    void mnuConfigurationPassport_Click();
    void mnuConfigurationCompare_Click();
    frmCompare* openComparison(const std::vector<frmCompare::NamedSet>& states);
    void mnuConfigurationDefaultSerial_Click();
    void mnuConfigurationDefaultProfibus_Click();
    void mnuRecorder_Click();
    void mnuOptionLanguageDEEN_Click();
    void mnuOptionConsole_Click();
    void mnuOptionsTraffic_Click();
    void mnuHelpContents_Click();
    void mnuHelpWhatsThis_Click();
    void mnuHelpAbout_Click();
    QString text(TextId id) const;

    modGlobals::Settings& m_settings;
    clsSession& m_session;
    const modPComm::PortDevices& m_devices;
    Storage m_storage;
    Help& m_help;
    LateConsole m_consoleWindow;
    clsConsole m_console;
    std::int32_t m_commStatus = 0;
    std::optional<bool> m_settingsUsable;
    std::int32_t m_followedPort = 0;
    struct TitleFacts {
        std::int32_t port = 0;
        std::string serial;
        QString badge;
        std::int32_t language = -1;
        bool operator==(const TitleFacts&) const = default;
    };
    TitleFacts m_named; ///< in the title
    struct OpenedPort {
        std::int32_t port = 0; ///< 0: closed
        std::int32_t language = -1;
        bool operator==(const OpenedPort&) const = default;
    };
    OpenedPort m_openedPort;     ///< when its device was last compared with the one it had before
    QString m_portWarning;       ///< that it is another one
    QString m_unkept;            ///< the warning given to panel 2
    bool m_closesUnkept = false; ///< the next close ends the program even if the settings cannot be saved
    std::int32_t m_unconnectedTicks = 0;
    /// The port in use before the simulated sensor, and the port of the simulated sensor, which lasts for one run only.
    std::optional<std::pair<std::int32_t, std::int32_t>> m_simulated;

    QTimer* m_timer;
    PortWatch* m_portWatch;
    FirstSteps* fraFirstSteps = nullptr;
    QPointer<frmRecorder> m_recorderWindow;
    QPointer<frmPassport> m_passportWindow;
    QPointer<frmTraffic> m_trafficWindow;
    std::error_code m_passportFailure; ///< that was told last
    std::optional<double> m_toldWrite; ///< the time of the last write that was told
    QPointer<frmCompare> m_compareWindow;
    std::unique_ptr<frmRVQ> m_settingsWindow;
    std::unique_ptr<UndoRun> m_undoRun;
    std::unique_ptr<InputBlock> m_inputBlock; ///< while the settings window is open
};
