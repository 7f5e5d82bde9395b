// The main window: one calm column of controls, the chart beside it, the status bar below. It owns the device and the
// measurement loop, drives the loop with a timer and shows what the loop says.
#pragma once

#include "device/clsRVQ.h"
#include "device/modPComm.h"
#include "monitor/MonitorView.h"
#include "monitor/clsMeasurementLoop.h"
#include "shell/clsConsole.h"
#include "shell/frmConsole.h"
#include "shell/modGlobals.h"

#include <QMainWindow>

#include <array>
#include <functional>

class Help;
class LampShape;
class QAction;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QMenu;
class QPushButton;
class QTimer;
class SerialPort;
class XYChart;

class frmMain : public QMainWindow, private MonitorView {
    Q_OBJECT

public:
    /// What the window is given: the serial ports, the devices behind their numbers, and why the last opening failed.
    struct Ports {
        SerialPort& port;
        const modPComm::PortDevices& devices;
        std::function<modPComm::OpenFailure()> lastFailure;
    };

    /// `settings`, `help` and what `ports` refers to must outlive the window.
    frmMain(modGlobals::Settings& settings, const Ports& ports, Help& help);
    ~frmMain() override;

    /// Measuring starts by itself as soon as the sensor answers.
    void MeasureWhenConnected();
    /// Is told every distance text that is shown.
    std::function<void(const QString&)> DistanceShown;

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
    void ResetChart() override;
    void ShowUnit(std::string_view unit) override;
    void AddChartPoint(double time, double value) override;
    void ShowChartTime(double time) override;

    QWidget* buildMeasurementFrame();
    QWidget* buildComportFrame();
    void buildMenus();
    QAction* addAction(QMenu* menu, const char* name, const std::function<void()>& act);
    void buildStatusBar();
    void connectControls();
    void localise();
    void warnOfUnkeptSettings();
    void explainFailure();
    void noteFailure();
    QString openFailureText() const;
    void timer_Tick();
    void cmbComPort_Click(int index);
    void cmbBaudrate_Click(int index);
    void mnuOptionLanguageDEEN_Click();
    void mnuOptionConsole_Click();
    void mnuHelpContents_Click();
    void mnuHelpAbout_Click();
    QString text(std::int32_t id) const;

    modGlobals::Settings& m_settings;
    Ports m_ports;
    Help& m_help;
    frmConsole m_consoleWindow;
    clsConsole m_console;
    clsRVQ m_device;
    clsMeasurementLoop m_loop;
    bool m_running = false;
    std::int32_t m_shownDialogue = -1;

    QTimer* m_timer;
    QGroupBox* fraMeasurement;
    QGroupBox* fraComport;
    QLabel* lblMeasCaption;
    QLabel* lblMeasValue;
    QLabel* lblTempCaption;
    QLabel* lblTemperature;
    QLabel* lblShutDown;
    QLabel* lblLamp;
    LampShape* shpLamp;
    QPushButton* cmdStart;
    QPushButton* cmdSingleValue;
    QCheckBox* chkTempMeasurement;
    QComboBox* cmbComPort;
    QComboBox* cmbBaudrate;
    XYChart* picGraph;
    std::array<QLabel*, 3> sbar{};
    QMenu* mnuFile;
    QMenu* mnuOptions;
    QMenu* mnuOptionLanguage;
    QMenu* mnuHelp;
    QAction* mnuFileExit;
    QAction* mnuOptionLanguageDEEN;
    QAction* mnuOptionConsole;
    QAction* mnuHelpContents;
    QAction* mnuHelpWhatsThis;
    QAction* mnuHelpBar;
    QAction* mnuHelpAbout;
};
