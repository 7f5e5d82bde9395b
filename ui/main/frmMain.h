// The main window: what its controls do. It owns the device and the measurement loop, drives the loop with a timer and
// shows what the loop says. The controls themselves are MainForm's.
#pragma once

#include "port/modPComm.h"
#include "sensor/clsRVQ.h"
#include "session/SessionListener.h"
#include "session/clsMeasurementLoop.h"
#include "session/clsRecorder.h"
#include "session/clsValueAge.h"
#include "store/modGlobals.h"
#include "texts/TextId.h"
#include "ui/console/clsConsole.h"
#include "ui/console/frmConsole.h"
#include "ui/main/MainForm.h"
#include "ui/recorder/RecorderHost.h"

#include <QMainWindow>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

class FirstSteps;
class Help;
class InputBlock;
class QTimer;
class SerialPort;
class clsConfigLibrary;
class frmChartSettings;
class frmRecorder;
class frmRVQ;
class frmTextWindow;

class frmMain : public QMainWindow, private MainForm, private SessionListener, private RecorderHost {
    Q_OBJECT

public:
    /// What the window is given: the serial ports and the devices behind their numbers.
    struct Ports {
        SerialPort& port;
        const modPComm::PortDevices& devices;
    };

    /// Where its files are: the list of configurations and the folder of the program.
    struct Storage {
        clsConfigLibrary& library;
        std::string programFolder;
    };

    /// `settings`, `help` and what `ports` and `storage` refer to must outlive the window.
    frmMain(modGlobals::Settings& settings, const Ports& ports, const Storage& storage, Help& help);
    ~frmMain() override;

    /// Measuring starts by itself as soon as the sensor answers.
    void MeasureWhenConnected();
    /// Begins a recording, as the recorder window does. Throws what clsRecorder::StartRecording throws.
    void StartRecording();
    /// Is told every distance text that is shown.
    std::function<void(const QString&)> DistanceShown;
    /// Starts a simulated sensor and returns its port number. While it is set, the window offers it when there is no
    /// connection.
    std::function<std::int32_t()> StartSimulatedSensor;

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void Echo(std::string_view received) override;
    void ShowDistance(const std::string& text) override;
    void ShowTemperature(const std::string& text) override;
    void ShowStatus(std::int32_t panel, std::string_view text) override;
    void ShowDialogue(std::int32_t commStatus) override;
    void ShowRunning(bool running) override;
    void ShowShutDown(bool shutDown) override;
    void ShowRule(const ControlRule& rule) override;
    void ShowSensorSettings(const SensorSettings& settings) override;
    void ResetChart() override;
    void ShowUnit(std::string_view unit) override;
    void AddChartPoint(double time, double value) override;
    void AddChartGap(double time) override;
    void ShowYLimits(double lower, double upper) override;
    std::optional<std::array<double, 2>> ChartedValues() override;
    void ShowChartTime(double time) override;

    // Recording, playback and export (frmMainRecorder.cpp).
    bool IsMeasuring() const override;
    const ParameterSet& Parameters() const override;
    void ShowFile(const QString& file, const QString& toolTip) override;
    void ShowMessage(const QString& message) override;
    void BeginPlayback() override;
    void ShowRecord(const Measurement& record) override;
    void EndPlayback(const modPlayback::Loaded& loaded) override;
    void connectRecorder();
    void serveRecorder(double now);
    void closeRecorder();
    void finishRecorder();
    void showFailure(const QString& message);
    void localiseRecorder();
    void explainPlayed();
    void showNews(const QString& message);
    void mnuRecorder_Click();
    void mnuFileExport_Click();
    void mnuFileExportChart_Click();

    static void pumpEvents();
    void fillControls();
    void connectControls();
    void connectMenus();
    void connectAction(const QAction* action, void (frmMain::*act)());
    void localise();
    void initChartData(std::int32_t points);
    void warnOfUnkeptSettings();
    void showAges();
    static void showAge(LineLabel& value, LineLabel& line, const QString& age);
    QString unkeptWarning() const;
    QString unkeptText(const std::error_code& why) const;
    void tellUnkept(const QString& message);
    bool keepsSettings();
    void explainFailure();
    void noteFailure();
    void offerFirstSteps();
    void fraFirstSteps_Tried();
    void timer_Tick();
    static void press(QPushButton& button, const std::function<void()>& act);
    void cmdStart_Click();
    void cmdSingleValue_Click();
    void chkMovingAverage_Click(bool checked);
    void cmbAverageDepth_Click(int index);
    void cmbComPort_Click(int index);
    void cmbBaudrate_Click(int index);
    void lblMeasValue_Click();
    void picGraph_MouseDown(const QPoint& position);
    void mnuFileExit_Click();
    void chooseDefaultDevice(std::string_view type);
    void mnuConfigurationRVQ_Click();
    void mnuConfigurationDefaultSerial_Click();
    void mnuConfigurationDefaultProfibus_Click();
    void mnuOptionLanguageDEEN_Click();
    void mnuOptionConsole_Click();
    void mnuHelpContents_Click();
    void mnuHelpWhatsThis_Click();
    void mnuHelpAbout_Click();
    void mnuPopupShowZero_Click();
    void mnuPopupFixedTime_Click();
    void mnuPopUpYscaleSettings_Click();
    void mnuPopupHelp_Click();
    QString text(TextId id) const;

    modGlobals::Settings& m_settings;
    Ports m_ports;
    Storage m_storage;
    Help& m_help;
    LateConsole m_consoleWindow;
    clsConsole m_console;
    clsRVQ m_device;
    clsMeasurementLoop m_loop;
    clsValueAge m_distanceAge, m_temperatureAge;
    bool m_running = false;
    std::int32_t m_shownDialogue = -1;
    std::optional<ControlRule> m_shownRule;
    QString m_unkept;            ///< the warning that panel 2 has been given
    bool m_closesUnkept = false; ///< the next close ends the program even if the settings cannot be kept
    std::int32_t m_unconnectedTicks = 0;
    /// The port in use before the simulated sensor's, and that one: for one run only, it is not kept.
    std::optional<std::pair<std::int32_t, std::int32_t>> m_simulated;

    clsRecorder m_recorder;
    QPointer<frmRecorder> m_recorderWindow;
    std::error_code m_shownFailure;             ///< of the recorder
    QString m_playedFile;                       ///< what panel 2 was given after the last playback
    std::int64_t m_playedLines = 0;             ///< of that file
    std::optional<std::int32_t> m_liveRange_ms; ///< the chart's range before the first playback

    QTimer* m_timer;
    FirstSteps* fraFirstSteps = nullptr;
    QPointer<frmTextWindow> m_textWindow;
    QPointer<frmChartSettings> m_chartSettings;
    std::unique_ptr<frmRVQ> m_settingsWindow;
    std::unique_ptr<InputBlock> m_inputBlock; ///< while the settings window is open
};
