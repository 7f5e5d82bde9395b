// Opens every window of the program with a simulated sensor and saves a picture of it in German and in English:
// orvex_pictures FOLDER [--dark]. The scale is Qt's, QT_SCALE_FACTOR=2 for instance.
#include "chart/frmChartSettings.h"
#include "config/clsConfigLibrary.h"
#include "device/clsPosixPort.h"
#include "device/modPComm.h"
#include "monitor/ValueLabel.h"
#include "monitor/frmMain.h"
#include "monitor/frmTextWindow.h"
#include "recorder/frmRecorder.h"
#include "settings/frmRVQ.h"
#include "shell/Help.h"
#include "shell/Localise.h"
#include "shell/frmAbout.h"
#include "shell/frmHelp.h"
#include "shell/frmSplash.h"
#include "shell/modGlobals.h"
#include "simulator/clsSimulatedSensor.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QPixmap>
#include <QPushButton>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kWithoutSensor_ms = 3000;
constexpr int kMeasuring_ms = 20000;
constexpr int kMoment_ms = 200;
constexpr QSize kLargeDisplay(420, 140);
constexpr int kDownload_ms = 3000;
constexpr int kConsole_ms = 3000;
constexpr int kRecording_ms = 6000;
constexpr QSize kManualSize(720, 460); // fits the manual's column unscaled

void runFor(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

QPalette darkPalette()
{
    QPalette dark(QColor(45, 48, 52));
    dark.setColor(QPalette::Base, QColor(30, 32, 35));
    dark.setColor(QPalette::AlternateBase, QColor(38, 41, 45));
    dark.setColor(QPalette::Highlight, QColor(60, 120, 200));
    dark.setColor(QPalette::Link, QColor(110, 170, 250));
    dark.setColor(QPalette::PlaceholderText, QColor(150, 150, 150));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText}) {
        dark.setColor(role, QColor(225, 227, 230));
        dark.setColor(QPalette::Disabled, role, QColor(125, 128, 132));
    }
    return dark;
}

class Studio {
public:
    explicit Studio(QString folder) : m_folder(std::move(folder)) {}

    void TakeAll(std::int32_t language)
    {
        m_settings.Language = language;
        m_settings.Baudrate = 38400;
        m_help.SetHelpFile();
        LocaliseOpenWindows(language);
        takeStart();
        takeFirstSteps();
        takeMonitor();
    }

private:
    void save(QWidget& window, const char* name) const
    {
        const QString file =
            QStringLiteral("%1/%2_%3.png")
                .arg(m_folder, QLatin1String(name),
                     m_settings.Language == LanguageGerman ? QStringLiteral("de") : QStringLiteral("en"));
        if (!window.grab().save(file)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            std::exit(1);
        }
    }

    void takeStart()
    {
        frmSplash splash(m_settings, m_devices, m_help);
        splash.show();
        runFor(kMoment_ms);
        save(splash, "splash");
    }

    /// The main window without a sensor, and its list of ports.
    void takeFirstSteps()
    {
        clsPosixPort port(m_devices);
        frmMain window(m_settings, {port, m_devices, [&port] { return port.LastFailure(); }}, {m_library, {}}, m_help);
        window.StartSimulatedSensor = [] { return 1; };
        window.show();
        runFor(kWithoutSensor_ms);
        save(window, "unconnected");
        auto* ports = window.findChild<QComboBox*>("cmbComPort");
        ports->showPopup();
        runFor(200);
        save(*ports->view()->window(), "ports");
        ports->hidePopup();
    }

    void takeMonitor()
    {
        simulator::SensorOptions options;
        options.lineRate = m_settings.Baudrate;
        simulator::clsSimulatedSensor sensor(options);
        m_devices.Override(1, sensor.Path());
        clsPosixPort port(m_devices);
        frmMain window(m_settings, {port, m_devices, [&port] { return port.LastFailure(); }},
                       {m_library, m_folder.toStdString()}, m_help);
        window.MeasureWhenConnected();
        window.show();
        runFor(kMeasuring_ms);
        save(window, "main");
        window.resize(kManualSize);
        runFor(kMoment_ms);
        save(window, "manual_main");
        window.findChild<QAction*>("mnuOptionConsole")->trigger();
        runFor(kConsole_ms);
        for (QWidget* other : QApplication::topLevelWidgets()) {
            if (other->objectName() == QLatin1String("frmConsole")) {
                save(*other, "console");
            }
        }
        takeRecorder(window);
        takeSettings(window);
        takeLargeDisplay(window);
        window.findChild<QAction*>("mnuPopUpYscaleSettings")->trigger();
        runFor(kMoment_ms);
        save(*window.findChild<frmChartSettings*>(), "chart-settings");
        frmAbout about(&window, m_settings);
        about.show();
        runFor(kMoment_ms);
        save(about, "about");
        m_help.ShowHelpTopic(window, "Main");
        runFor(kMoment_ms);
        save(*window.findChild<frmHelp*>(), "help");
        window.close();
    }

    void takeLargeDisplay(const frmMain& window)
    {
        emit window.findChild<ValueLabel*>("lblMeasValue")->clicked();
        auto* display = window.findChild<frmTextWindow*>();
        display->resize(kLargeDisplay);
        runFor(kMoment_ms);
        save(*display, "large");
    }

    /// The recorder while it records, and the main window after a playback.
    void takeRecorder(frmMain& window)
    {
        window.findChild<QAction*>("mnuRecorder")->trigger();
        auto* recorder = window.findChild<frmRecorder*>();
        const auto press = [&](const char* name) { recorder->findChild<QPushButton*>(QLatin1String(name))->click(); };
        press("cmdRec");
        runFor(kRecording_ms);
        save(*recorder, "recorder");
        press("cmdStop");
        window.findChild<QPushButton*>("cmdStart")->click();
        recorder->ChooseFile = [this] { return m_folder + QStringLiteral("/REC/SAVE0001.rec"); };
        runFor(kMoment_ms);
        press("cmdPlay");
        runFor(kMoment_ms);
        save(*recorder, "recorder_played");
        save(window, "playback");
        window.findChild<QPushButton*>("cmdStart")->click();
        recorder->close();
    }

    void takeSettings(const frmMain& window)
    {
        window.findChild<QAction*>("mnuConfigurationRVQ")->trigger();
        runFor(kDownload_ms);
        auto* settings = window.findChild<frmRVQ*>();
        save(*settings, "settings");
        settings->close();
    }

    QString m_folder;
    modGlobals::Settings m_settings;
    modPComm::PortDevices m_devices;
    clsConfigLibrary m_library{{}};
    Help m_help{m_settings, {}};
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "orvex_pictures FOLDER [--dark]\n");
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral(ORVEX_VERSION));
    QApplication::setStyle(QStringLiteral("Fusion"));
    if (argc > 2) {
        QApplication::setPalette(darkPalette());
    }
    Studio studio(QString::fromLocal8Bit(argv[1]));
    for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
        studio.TakeAll(language);
    }
    return 0;
}
