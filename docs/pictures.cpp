// Opens every window of the program with a simulated sensor and saves a picture of it in German and in English:
// orvex_pictures FOLDER [light|dark|contrast|contrast-dark]. The scale is Qt's, QT_SCALE_FACTOR=2 for instance.
#include "port/clsPosixPort.h"
#include "port/modPComm.h"
#include "session/clsSession.h"
#include "simulator/clsSimulatedSensor.h"
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/frmChartSettings.h"
#include "ui/help/Help.h"
#include "ui/help/frmHelp.h"
#include "ui/help/modHTMLHelp.h"
#include "ui/main/ValueLabel.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmFind.h"
#include "ui/main/frmMain.h"
#include "ui/main/frmSplash.h"
#include "ui/main/frmTextWindow.h"
#include "ui/recorder/LoadProgress.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/settings/RVQBoxes.h"
#include "ui/settings/frmCompare.h"
#include "ui/settings/frmPassport.h"
#include "ui/settings/frmRVQ.h"
#include "ui/settings/frmSheet.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/OutlinedStyle.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/UndoBar.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPixmap>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTableView>
#include <QTextBrowser>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <utility>

namespace {

constexpr char kNoDevice[] = "/dev/ttyUSB9";
constexpr int kWithoutSensor_ms = 3000;
constexpr int kMeasuring_ms = 20000;
constexpr int kMoment_ms = 200;
constexpr int kSearch_ms = 4000; // longer than a search of one port that has a sensor
constexpr int kBeginning_ms = 30;
constexpr QSize kUsualSize(800, 600);
constexpr QSize kLargeDisplay(420, 140);
constexpr int kDownload_ms = 3000;
constexpr int kConsole_ms = 3000;
constexpr int kRecording_ms = 6000;
constexpr QSize kManualSize(720, 580); // as wide as the column of the manual, as high as the left side needs
constexpr QSize kPassportSize(720, 360);
constexpr int kBarWidth = 424;
constexpr QSize kCompareSize(720, 400);
constexpr QSize kLookingSize(720, 640);
constexpr int kReading_ms = 1000;
constexpr int kLooking_ms = 15000;
constexpr int kBehind_ms = 5000;

void runFor(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// Two colours and nothing between them, for people with weak eyesight.
QPalette contrastPalette(const QColor& ground, const QColor& ink, const QColor& highlight, const QColor& link)
{
    QPalette contrast(ground);
    for (const auto role : {QPalette::Window, QPalette::Base, QPalette::AlternateBase, QPalette::Button,
                            QPalette::ToolTipBase, QPalette::HighlightedText}) {
        contrast.setColor(role, ground);
    }
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText,
                            QPalette::PlaceholderText, QPalette::BrightText}) {
        contrast.setColor(role, ink);
        contrast.setColor(QPalette::Disabled, role, QColor::fromHsv(120, 255, qGray(ground.rgb()) < 128 ? 200 : 100));
    }
    contrast.setColor(QPalette::Highlight, highlight);
    contrast.setColor(QPalette::Link, link);
    return contrast;
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

std::optional<QPalette> paletteOf(const QString& theme)
{
    if (theme == QLatin1String("light")) {
        return QApplication::palette();
    }
    if (theme == QLatin1String("dark")) {
        return darkPalette();
    }
    if (theme == QLatin1String("contrast")) {
        return contrastPalette(Qt::white, Qt::black, Qt::darkBlue, Qt::darkBlue);
    }
    if (theme == QLatin1String("contrast-dark")) {
        return contrastPalette(Qt::black, Qt::white, Qt::yellow, Qt::yellow);
    }
    return std::nullopt;
}

class Studio {
public:
    explicit Studio(QString folder) : m_folder(std::move(folder)) {}

    void TakeAll(std::int32_t language)
    {
        m_settings.Language = language;
        m_settings.Baudrate = 38400;
        m_devices = {}; // none is simulated
        m_help.SetHelpFile();
        LocaliseOpenWindows(language);
        takeStart();
        takeFirstSteps();
        takeMonitor();
        takeSimulated();
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
        const simulator::clsSimulatedSensor sensor({.lineRate = 19200});
        modPComm::PortDevices devices;
        devices.Override(33, sensor.Path());
        frmFind search(splash, m_settings.Language, devices, {{33, "COM 33 (/dev/ttyUSB0)", false}});
        search.show();
        runFor(kSearch_ms);
        save(search, "find");
    }

    /// A box that is open while `ask` runs and closes once its picture is taken.
    void takeBox(const char* name, const std::function<void()>& ask) const
    {
        QTimer::singleShot(kMoment_ms, qApp, [this, name] {
            if (QWidget* box = QApplication::activeModalWidget()) {
                save(*box, name);
                box->close();
            }
        });
        ask();
    }

    /// What a menu item asks before it acts; a recording is chosen where one is needed.
    void takeFileQuestions(const frmMain& window)
    {
        const auto trigger = [&](const char* item) { window.findChild<QAction*>(QLatin1String(item))->trigger(); };
        takeBox("export-chart", [&] { trigger("mnuFileExportChart"); });
        QTimer::singleShot(kMoment_ms, qApp, [this] {
            auto* recording = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            save(*recording, "export-recording");
            recording->selectFile(recordingFile());
            QTimer::singleShot(kMoment_ms, recording, [recording] { QMetaObject::invokeMethod(recording, "accept"); });
            QTimer::singleShot(3 * kMoment_ms, qApp, [this] {
                QWidget* table = QApplication::activeModalWidget();
                save(*table, "export-table");
                table->close();
            });
        });
        trigger("mnuFileExport");
    }

    void takeMenus(const frmMain& window)
    {
        for (QMenu* menu : window.findChildren<QMenu*>(QRegularExpression(QStringLiteral("^mnu")))) {
            menu->popup(QPoint());
            runFor(kMoment_ms);
            save(*menu, qPrintable(QStringLiteral("menu-") + menu->objectName()));
            menu->close();
        }
    }

    /// The main window without a sensor, and its list of ports.
    void takeFirstSteps()
    {
        m_devices.Override(1, kNoDevice);
        clsSession session(std::make_unique<clsPosixPort>(m_devices), m_settings, "REC", DecimalSeparator());
        frmMain window(m_settings, session, m_devices, {m_library, {}}, m_help);
        window.StartSimulatedSensor = [] { return 1; };
        window.show();
        runFor(kWithoutSensor_ms);
        save(window, "unconnected");
        auto* ports = window.findChild<QComboBox*>("cmbComPort");
        ports->showPopup();
        runFor(kMoment_ms);
        save(*ports->view()->window(), "ports");
        ports->hidePopup();
    }

    /// The main window with the simulated sensor that the program itself offers.
    void takeSimulated()
    {
        simulator::SensorOptions options;
        options.lineRate = m_settings.Baudrate;
        const simulator::clsSimulatedSensor sensor(options);
        m_devices.Simulate(1, sensor.Path());
        clsSession session(std::make_unique<clsPosixPort>(m_devices), m_settings, "REC", DecimalSeparator());
        frmMain window(m_settings, session, m_devices, {m_library, {}}, m_help);
        window.MeasureWhenConnected();
        window.resize(kUsualSize);
        window.show();
        runFor(kRecording_ms);
        save(window, "simulated");
        takeLargeDisplay(window, "large_simulated");
    }

    void takeMonitor()
    {
        simulator::SensorOptions options;
        options.lineRate = m_settings.Baudrate;
        simulator::clsSimulatedSensor sensor(options);
        m_devices.Override(1, sensor.Path());
        const std::filesystem::path folder = m_folder.toStdString();
        clsSession session(std::make_unique<clsPosixPort>(m_devices), m_settings, folder / "REC", DecimalSeparator());
        const std::string passports = m_settings.Language == LanguageGerman ? "PASSPORT_de" : "PASSPORT_en";
        session.Writes().Keep({folder / "BACKUP", folder / passports, "operator", ORVEX_VERSION});
        frmMain window(m_settings, session, m_devices, {m_library, folder}, m_help);
        window.MeasureWhenConnected();
        window.show();
        runFor(kMeasuring_ms);
        save(window, "main");
        window.resize(kManualSize);
        runFor(kMoment_ms);
        save(window, "manual_main");
        takeLooking(window, session);
        window.findChild<QAction*>("mnuOptionConsole")->trigger();
        runFor(kConsole_ms);
        for (QWidget* other : QApplication::topLevelWidgets()) {
            if (other->objectName() == QLatin1String("frmConsole")) {
                save(*other, "console");
            }
        }
        takeMenus(window);
        takeRecorder(window);
        takeFileQuestions(window);
        takeSettings(window);
        takePassport(window);
        takeLargeDisplay(window, "large");
        window.findChild<QAction*>("mnuPopUpYscaleSettings")->trigger();
        runFor(kMoment_ms);
        save(*window.findChild<frmChartSettings*>(), "chart-settings");
        frmAbout about(&window, m_settings);
        about.show();
        runFor(kMoment_ms);
        save(about, "about");
        takeManual(window);
        window.close();
    }

    /// The chart, frozen, with both cursors and a mark.
    void takeLooking(frmMain& window, clsSession& session) const
    {
        window.resize(kLookingSize);
        auto* chart = window.findChild<ChartPanel*>();
        chart->Span(kLooking_ms);
        runFor(kMoment_ms);
        chart->Freeze(true);
        const bool isGerman = m_settings.Language == LanguageGerman;
        session.SetMark(chart->PlaceAt(pointAt(*chart, 0.35)), isGerman ? "Tor offen" : "gate open");
        for (const auto& [cursor, share] : {std::pair(0, 0.2), std::pair(1, 0.8)}) {
            pointAt(*chart, share);
            chart->ToggleCursor(cursor);
        }
        pointAt(*chart, 0.6);
        runFor(kBehind_ms);
        save(window, "looking");
        chart->ToggleCursor(0);
        chart->ToggleCursor(1);
        chart->Freeze(false);
        chart->Span(modGlobals::Settings().Span_ms);
        window.resize(kManualSize);
    }

    /// Moves the pointer to a share of the plot's width; returns where that is.
    static double pointAt(ChartPanel& chart, double share)
    {
        const QRectF plot = chart.PlotArea();
        const QPointF point(plot.left() + share * plot.width(), plot.center().y());
        QMouseEvent move(QEvent::MouseMove, point, chart.mapToGlobal(point), Qt::NoButton, Qt::NoButton, {});
        QApplication::sendEvent(&chart, &move);
        return point.x();
    }

    /// The viewer, and every page of the manual at its full length.
    void takeManual(frmMain& window) const
    {
        m_help.ShowHelpTopic(window, "Main");
        runFor(kMoment_ms);
        auto* viewer = window.findChild<frmHelp*>();
        save(*viewer, "help");
        const auto* shown = viewer->findChild<QTextBrowser*>("txtPage");
        QFile contents(FromUtf8(modHTMLHelp::kFolder) + QStringLiteral("Contents.txt"));
        contents.open(QIODevice::ReadOnly);
        for (const QByteArray& line : contents.readAll().split('\n')) {
            const std::string topic = line.trimmed().toStdString();
            if (!topic.empty()) {
                viewer->ShowPage(FromUtf8(modHTMLHelp::TopicPage(topic, m_settings.Language)));
                runFor(kMoment_ms);
                const QSize usual = viewer->size();
                viewer->resize(usual.width(), usual.height() + shown->verticalScrollBar()->maximum());
                runFor(kMoment_ms);
                save(*viewer, ("help-" + topic).c_str());
                viewer->resize(usual);
            }
        }
    }

    void takeLargeDisplay(const frmMain& window, const char* name) const
    {
        emit window.findChild<ValueLabel*>("lblMeasValue")->clicked();
        auto* display = window.findChild<frmTextWindow*>();
        display->resize(kLargeDisplay);
        runFor(kMoment_ms);
        save(*display, name);
        display->close();
    }

    QString recordingFile() const { return m_folder + QStringLiteral("/REC/SAVE0001.rec"); }

    /// The recorder before, during and after recording and playing, and the main window after a playback.
    void takeRecorder(frmMain& window)
    {
        window.findChild<QAction*>("mnuRecorder")->trigger();
        auto* recorder = window.findChild<frmRecorder*>();
        const auto press = [&](const char* name) { recorder->findChild<QPushButton*>(QLatin1String(name))->click(); };
        runFor(kMoment_ms);
        save(*recorder, "recorder_idle");
        press("cmdRec");
        runFor(kRecording_ms);
        save(*recorder, "recorder");
        press("cmdStop");
        window.findChild<QPushButton*>("cmdStart")->click();
        recorder->ChooseFiles = [this] { return QStringList{recordingFile()}; };
        runFor(kMoment_ms);
        press("cmdPlay");
        runFor(kMoment_ms);
        save(*recorder, "recorder_played");
        save(window, "playback");
        takeLargeDisplay(window, "large_played");
        takeLoading(*recorder);
        window.findChild<QPushButton*>("cmdStart")->click();
        recorder->close();
    }

    /// The box that is shown while a long recording is loaded.
    void takeLoading(QWidget& recorder) const
    {
        LoadProgress loading(recorder, m_settings.Language);
        while (recorder.findChild<QProgressDialog*>() == nullptr) {
            loading.GoOn(0.4);
        }
        loading.GoOn(0.4);
        runFor(kMoment_ms);
        save(*recorder.findChild<QProgressDialog*>(), "recorder_loading");
    }

    void takeSettings(const frmMain& window)
    {
        window.findChild<QAction*>("mnuConfigurationRVQ")->trigger();
        runFor(kBeginning_ms);
        auto* settings = window.findChild<frmRVQ*>();
        settings->resize(settings->sizeHint()); // the screen may be smaller
        save(*settings, "settings_reading");
        runFor(kDownload_ms);
        save(*settings, "settings");
        takeSettingsBoxes(*settings);
        // Values that differ from the sensor's; an ON threshold below its OFF threshold is warned of.
        settings->findChild<QLineEdit*>("txtParameter_0")->setText(QStringLiteral("25"));
        settings->findChild<QLineEdit*>("txtParameter_4")->setText(QStringLiteral("9500"));
        settings->findChild<QCheckBox*>("chkMovingAverage")->click();
        settings->resize(settings->sizeHint()); // with the row of the warning
        runFor(kMoment_ms);
        save(*settings, "settings_edited");
        takeComparisons(*settings);
        settings->findChild<QPushButton*>("cmdReview")->click();
        settings->findChild<frmCompare*>()->findChild<QPushButton*>("cmdSendChosen")->click();
        runFor(kDownload_ms);
        save(*settings, "settings_sent");
        auto* bar = settings->findChild<UndoBar*>();
        bar->resize(kBarWidth, bar->height()); // as wide as the column of the manual
        save(*bar, "undo");
        settings->findChild<QPushButton*>("cmdSaveSettings")->click();
        runFor(kDownload_ms);
        settings->findChild<QPushButton*>("cmdPrint")->setFocus();
        settings->Boxes.OpenSheet = [&](const std::string& file) {
            frmSheet sheet(*settings, m_settings, file);
            sheet.show();
            runFor(kMoment_ms);
            save(sheet, "sheet");
        };
        settings->findChild<QPushButton*>("cmdPrint")->click();
        settings->close();
    }

    /// What the settings window has written before.
    void takePassport(const frmMain& window) const
    {
        window.findChild<QAction*>("mnuConfigurationPassport")->trigger();
        runFor(kMoment_ms);
        auto* passport = window.findChild<frmPassport*>();
        passport->resize(kPassportSize);
        runFor(kReading_ms);
        passport->findChild<QTableView*>("tblPassport")->selectRow(1);
        runFor(kMoment_ms);
        save(*passport, "passport");
        passport->close();
    }

    void takeComparisons(const frmRVQ& settings) const
    {
        settings.findChild<QPushButton*>("cmdReview")->click();
        runFor(kMoment_ms);
        auto* review = settings.findChild<frmCompare*>();
        review->resize(kCompareSize);
        save(*review, "review");
        review->Choose(frmCompare::SetKind::Sensor, frmCompare::SetKind::Factory);
        review->findChild<QCheckBox*>("chkOnlyDifferences")->click();
        runFor(kMoment_ms);
        save(*review, "compare");
        review->close();
        runFor(kMoment_ms);
    }

    void takeSettingsBoxes(const frmRVQ& settings) const
    {
        const QString question = Text(TextId::QuestionFileExists, m_settings.Language) +
                                 QStringLiteral(": /home/user/hall-3.rvq\n") +
                                 Text(TextId::QuestionOverwrite, m_settings.Language);
        takeBox("box_overwrite", [&] { settings.Boxes.Overwrite(question); });
        takeBox("box_failure", [&] {
            AskAboutFailure(settings.Boxes, TextId::TransferInvalidCode,
                            {&RowOf(&ParameterSet::OutputFormat), 1, true, 3, 25}, m_settings.Language);
        });
        takeBox("box_description",
                [&] { settings.Boxes.Description(Text(TextId::DescriptionProposal, m_settings.Language)); });
        takeBox("box_load", [&] { settings.Boxes.FileToLoad(m_folder.toStdString()); });
        takeBox("box_save", [&] { settings.Boxes.FileToSave(m_folder.toStdString() + '/'); });
    }

    QString m_folder;
    modGlobals::Settings m_settings;
    modPComm::PortDevices m_devices;
    clsConfigLibrary m_library{{}};
    Help m_help{m_settings, {}};
};

int usage()
{
    std::fprintf(stderr, "orvex_pictures FOLDER [light|dark|contrast|contrast-dark]\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        return usage();
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral(ORVEX_VERSION));
    QApplication::setStyle(new OutlinedStyle);
    const auto palette = paletteOf(argc > 2 ? QString::fromLocal8Bit(argv[2]) : QStringLiteral("light"));
    if (!palette) {
        return usage();
    }
    QApplication::setPalette(*palette);
    Studio studio(QString::fromLocal8Bit(argv[1]));
    for (const std::int32_t language : {LanguageGerman, LanguageEnglish}) {
        studio.TakeAll(language);
    }
    return 0;
}
