// The main window, offscreen, with the simulated sensor on a real line.
#include "monitor/frmMain.h"

#include "chart/XYChart.h"
#include "chart/frmChartSettings.h"
#include "config/clsConfigLibrary.h"
#include "device/clsPosixPort.h"
#include "monitor/LampShape.h"
#include "monitor/ValueLabel.h"
#include "monitor/frmTextWindow.h"
#include "settings/frmRVQ.h"
#include "shell/ConsoleText.h"
#include "shell/Guarded.h"
#include "shell/Help.h"
#include "shell/Localise.h"
#include "shell/NumberEdit.h"
#include "shell/frmAbout.h"
#include "simulator/clsSimulatedSensor.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QElapsedTimer>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeWidget>
#include <QWheelEvent>
#include <QtTest/QTest>
#include <QtTest/qtestspontaneevent.h>

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

struct Window {
    simulator::clsSimulatedSensor sensor;
    modPComm::PortDevices devices;
    clsPosixPort port{devices};
    modGlobals::Settings settings{.Language = LanguageEnglish};
    clsConfigLibrary library{{}};
    Help help{settings, "/folder"};
    std::unique_ptr<frmMain> window;

    Window()
    {
        devices.Override(1, sensor.Path());
        devices.Override(2, "/dev/does-not-exist");
        window =
            std::make_unique<frmMain>(settings, frmMain::Ports{port, devices, [this] { return port.LastFailure(); }},
                                      frmMain::Storage{library, {}}, help);
        window->show();
    }

    template <typename Widget>
    Widget* Find(const char* name) const
    {
        auto* widget = window->findChild<Widget*>(QLatin1String(name));
        if (widget == nullptr) {
            throw std::runtime_error(name);
        }
        return widget;
    }
    std::string Text(const char* label) const { return Find<QLabel>(label)->text().toStdString(); }

    bool Until(const std::function<bool()>& condition) const
    {
        QElapsedTimer timer;
        timer.start();
        while (!condition() && timer.elapsed() < 10000) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return condition();
    }
};

TEST(MainWindow, MeasuresByButtonAndSaysWhatItDoes)
{
    const Window main;
    auto* start = main.Find<QPushButton>("cmdStart");
    auto* single = main.Find<QPushButton>("cmdSingleValue");
    auto* lamp = main.Find<LampShape>("shpLamp");
    EXPECT_FALSE(start->isEnabled());
    EXPECT_EQ(lamp->FillColor(), QColor(255, 0, 0));
    EXPECT_EQ(main.Text("lblLamp"), "Not connected");
    ASSERT_TRUE(main.Until([&] { return start->isEnabled(); }));
    EXPECT_EQ(lamp->FillColor(), QColor(255, 255, 0));
    ASSERT_TRUE(main.Until([&] { return main.Text("lblTemperature") == "23 C,  OK"; }));

    single->click();
    ASSERT_TRUE(main.Until([&] { return main.Text("lblMeasValue").ends_with(" m"); }));
    EXPECT_EQ(start->text(), "Start");

    start->click();
    EXPECT_EQ(start->text(), "Stop");
    EXPECT_EQ(main.Text("lblMeasValue").empty(), false) << "the last value stays until a new one comes";
    const QImage before = main.Find<XYChart>("picGraph")->grab().toImage();
    int values = 0;
    main.window->DistanceShown = [&](const QString&) { ++values; };
    ASSERT_TRUE(main.Until([&] { return values >= 10; }));
    EXPECT_EQ(lamp->FillColor(), QColor(0, 255, 0));
    EXPECT_EQ(main.Text("lblLamp"), "Measuring");
    EXPECT_FALSE(single->isEnabled());
    EXPECT_NE(main.Find<XYChart>("picGraph")->grab().toImage(), before) << "the curve moves";

    start->click();
    EXPECT_EQ(start->text(), "Start");
    EXPECT_EQ(main.Text("lblMeasValue"), "");
}

TEST(MainWindow, SaysWhyAPortCannotBeOpened)
{
    const Window main;
    auto* ports = main.Find<QComboBox>("cmbComPort");
    EXPECT_EQ(ports->count(), 255);
    ASSERT_TRUE(main.Until([&] { return main.Find<QPushButton>("cmdStart")->isEnabled(); }));
    ports->setCurrentIndex(1);
    emit ports->activated(1); // as a click in the list does
    ASSERT_TRUE(main.Until([&] { return main.Text("sbar_1") == "Comport not open"; }));
    const auto toolTip = [&] { return main.Find<QLabel>("sbar_1")->toolTip().toStdString(); };
    EXPECT_TRUE(main.Until([&] { return toolTip() == "There is no device /dev/does-not-exist."; }));
    EXPECT_EQ(main.settings.Comport, 2);
    ports->setCurrentIndex(0);
    emit ports->activated(0);
    EXPECT_TRUE(main.Until([&] { return main.Find<QPushButton>("cmdStart")->isEnabled(); }));
    EXPECT_NE(toolTip().find(" Comport not open"), std::string::npos) << "with an open port: what was, and when";
}

/// The caption, title or tool tip of every control of every open window, as it stands and as its id says.
void expectTexts(std::int32_t language)
{
    int texts = 0;
    for (const QWidget* control : QApplication::allWidgets()) {
        const QString caption = Text(control->property("Tag").toInt(), language);
        const QString toolTip = Text(control->property("ToolTipText").toInt(), language);
        if (!caption.isEmpty()) {
            const QVariant shown = control->isWindow()                   ? control->windowTitle()
                                   : control->property("text").isValid() ? control->property("text")
                                                                         : control->property("title");
            EXPECT_EQ(shown.toString().toStdString(), caption.toStdString()) << qPrintable(control->objectName());
            ++texts;
        }
        if (!toolTip.isEmpty()) {
            EXPECT_EQ(control->toolTip().toStdString(), toolTip.toStdString());
        }
    }
    EXPECT_GT(texts, 10);
}

TEST(MainWindow, LanguageSwitchesEveryTextOfEveryOpenWindowBothWays)
{
    const Window main;
    frmAbout about(main.window.get(), main.settings);
    about.show();
    main.Find<QAction>("mnuOptionConsole")->trigger();
    main.help.ShowHelpTopic(*main.window, "Main");
    const auto* page = main.Find<QTextBrowser>("txtPage");
    const auto* contents = main.Find<QTreeWidget>("tvContents");
    const auto menuTexts = [&] {
        QStringList all{main.Find<QLabel>("lblLamp")->text(), contents->topLevelItem(1)->text(0)};
        for (const auto* action : main.window->findChildren<QAction*>(QRegularExpression("^mnu"))) {
            all += action->text();
        }
        all.removeAll(QString());   // separators
        all.removeAll("&Profibus"); // the same in both languages
        return all;
    };
    const QStringList english = menuTexts();
    expectTexts(LanguageEnglish);
    for (int round = 0; round < 10; ++round) {
        main.Find<QAction>("mnuOptionLanguageDEEN")->trigger();
        expectTexts(LanguageGerman);
        EXPECT_TRUE(page->source().toString().endsWith("Main_de.htm"));
        EXPECT_EQ(main.help.HelpFile(), "/folder/RVQ.chm::/RVQ_PopUps_De.txt");
        const QStringList german = menuTexts();
        for (int i = 0; i < english.size(); ++i) {
            EXPECT_NE(german[i].toStdString(), english[i].toStdString());
        }
        main.Find<QAction>("mnuOptionLanguageDEEN")->trigger();
        expectTexts(LanguageEnglish);
        EXPECT_EQ(menuTexts(), english);
    }
    EXPECT_TRUE(page->source().toString().endsWith("Main_en.htm"));
    EXPECT_FALSE(page->isBackwardAvailable()) << "it would lead to the other language";
    EXPECT_EQ(main.Find<QPushButton>("cmdStart")->text(), "Start");
    EXPECT_EQ(main.Find<QPushButton>("cmdStart")->shortcut(), QKeySequence(Qt::Key_F5));
}

TEST(MainWindow, ConsoleShowsWhatTheSensorSendsWhileItIsOpen)
{
    const Window main;
    ASSERT_TRUE(main.Until([&] { return main.Find<QPushButton>("cmdStart")->isEnabled(); }));
    auto* item = main.Find<QAction>("mnuOptionConsole");
    item->trigger();
    QWidget* console = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        console = window->objectName() == QLatin1String("frmConsole") ? window : console;
    }
    ASSERT_NE(console, nullptr);
    const auto* text = console->findChild<ConsoleText*>("txtConsole");
    EXPECT_EQ(console->windowTitle(), "Orvex Monitor");
    ASSERT_TRUE(main.Until([&] { return text->WholeText().contains("23 C,  OK"); })) << "the idle sensor's temperature";
    Guarded([] { throw std::runtime_error("a slot failed"); });
    EXPECT_TRUE(text->WholeText().contains(QString(69, u'-') + "\na slot failed\n" + QString(69, u'-') + "\n"));

    QCloseEvent byTheFrame;
    QSpontaneKeyEvent::setSpontaneous(&byTheFrame);
    qApp->notify(console, &byTheFrame);
    EXPECT_FALSE(byTheFrame.isAccepted());
    item->trigger();
    EXPECT_FALSE(console->isVisible());
    item->trigger();
    EXPECT_EQ(text->WholeText(), "") << "a new console begins empty";
    main.window->close();
    EXPECT_FALSE(console->isVisible());
}

TEST(MainWindow, SensorSettingsGoToTheSensorAndOnlyFromTheOperator)
{
    Window main;
    auto* depth = main.Find<QComboBox>("cmbAverageDepth");
    auto* average = main.Find<QCheckBox>("chkMovingAverage");
    auto* laser = main.Find<QCheckBox>("chkRedLaser");
    EXPECT_FALSE(depth->isEnabled());
    EXPECT_EQ(depth->count(), 5);
    ASSERT_TRUE(main.Until([&] { return main.Text("lblTemperature") == "23 C,  OK" && depth->isEnabled(); }));
    std::string sent;
    const auto sees = [&](const std::string& wanted) {
        sent.clear();
        return main.Until([&] {
            main.sensor.With([&](simulator::clsSensorModel& model) {
                for (const std::string& command : model.WireLog()) {
                    sent += command;
                }
                model.ClearWireLog();
            });
            return sent.find(wanted) != std::string::npos;
        });
    };
    main.Find<QPushButton>("cmdStart")->click();
    ASSERT_TRUE(sees("M"));
    EXPECT_EQ(sent.find("30"), std::string::npos) << "reading the settings sends none back";
    average->click();
    EXPECT_TRUE(sees("S304 1\rM")) << sent;
    laser->click();
    EXPECT_TRUE(sees(laser->isChecked() ? "SPM" : "SOM")) << sent;
    depth->setCurrentIndex(2);
    emit depth->activated(2);
    EXPECT_TRUE(sees("S301 64\rM")) << sent;
    EXPECT_EQ(depth->currentIndex(), 2);
    EXPECT_TRUE(average->isChecked());
    ASSERT_TRUE(main.Until([&] { return !main.Text("lblMeasValue").empty(); }));
}

TEST(MainWindow, LargeDisplayFitsItsLettersToTheWindow)
{
    const Window main;
    const auto window = [&] { return main.window->findChild<frmTextWindow*>(); };
    emit main.Find<ValueLabel>("lblMeasValue")->clicked();
    emit main.Find<ValueLabel>("lblMeasValue")->clicked();
    ASSERT_EQ(main.window->findChildren<frmTextWindow*>().size(), 1) << "one window only";
    const auto* value = window()->findChild<QLabel*>("lblValue");
    window()->resize(600, 300);
    const double size = value->font().pointSizeF();
    EXPECT_GT(size, 26.0);
    window()->ShowValue("1.2 m");
    EXPECT_EQ(value->font().pointSizeF(), size) << "the first digits do not change the size";
    window()->ShowValue("123.45678901 nm");
    EXPECT_LT(value->sizeHint().width(), 600) << "a longer text makes the letters smaller";
    window()->resize(20, 300);
    EXPECT_GT(value->font().pointSizeF(), 8.0) << "too narrow for any letter: as before";
    window()->close();
}

TEST(ChartSettings, AppliesKeepsAndFollowsTheMenu)
{
    const Window main;
    const auto* chart = main.Find<XYChart>("picGraph");
    main.Find<QAction>("mnuPopUpYscaleSettings")->trigger();
    auto* dialog = main.window->findChild<frmChartSettings*>();
    ASSERT_NE(dialog, nullptr);
    const auto box = [&](const char* name) { return dialog->findChild<NumberEdit*>(QLatin1String(name)); };
    const auto button = [&](const char* name) { return dialog->findChild<QAbstractButton*>(QLatin1String(name)); };
    EXPECT_TRUE(button("optYScaleAuto")->isChecked());
    EXPECT_FALSE(box("txtParameter_0")->isEnabled());
    button("optYScaleManual")->click();
    box("txtParameter_0")->ShowText("123456789");
    box("txtParameter_1")->ShowText("7");
    button("optxAxisTime")->click();
    button("chkConnectPoints")->click();
    button("chkNullWerte")->click();
    button("cmdApply")->click();
    EXPECT_EQ(box("txtParameter_0")->text(), "255");
    EXPECT_EQ(main.settings.yMax, 5000.0);
    EXPECT_EQ(chart->YMaximum(), 5000.0);
    EXPECT_EQ(chart->YMinimum(), 7.0);
    EXPECT_TRUE(chart->TimeScale());
    EXPECT_FALSE(chart->ConnectPoints());
    EXPECT_TRUE(main.settings.ShowZeroValues);
    main.Find<QAction>("mnuPopupShowZero")->setChecked(true);
    main.Find<QAction>("mnuPopupShowZero")->trigger();
    EXPECT_FALSE(button("chkNullWerte")->isChecked()) << "menu and window stay in step";

    box("txtParameter_1")->setText("1a,5");
    EXPECT_EQ(box("txtParameter_1")->text(), QString("1%1").arg(QLocale().decimalPoint()) + "5") << "pasted text too";
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    box("txtParameter_1")->setText("-20");
    QApplication::sendEvent(box("txtParameter_1"), &enter);
    EXPECT_EQ(box("txtParameter_1")->text(), "0");
    EXPECT_TRUE(dialog->isVisible()) << "Enter belongs to the box";
    box("txtParameter_0")->setText("12-3");
    button("cmdOK")->click();
    EXPECT_TRUE(dialog->isVisible()) << "no number: to be corrected";
    button("cmdCancel")->click();
    EXPECT_EQ(chart->YMinimum(), 7.0);
    EXPECT_EQ(main.settings.yMax, 5000.0);

    const auto* popUp = main.Find<QMenu>("mnuPopUp");
    QTest::mouseClick(main.Find<XYChart>("picGraph"), Qt::LeftButton);
    EXPECT_FALSE(popUp->isVisible());
    main.Find<QAction>("mnuPopupFixedTime")->trigger();
    EXPECT_TRUE(chart->HoldSpan());
    emit main.Find<XYChart>("picGraph")->customContextMenuRequested({5, 5}); // as a right click and the menu key do
    EXPECT_TRUE(popUp->isVisible());
    EXPECT_TRUE(main.Find<QAction>("mnuPopupFixedTime")->isChecked());
}

TEST(MainWindow, SaysThatSettingsCannotBeKept)
{
    Window main;
    EXPECT_EQ(main.Text("sbar_2"), "") << "nothing is to be kept";
    for (const char* file : {"/proc/self/RVQ.ini", "/tmp"}) {
        main.settings.IniFile = file;
        main.window.reset();
        main.window = std::make_unique<frmMain>(
            main.settings, frmMain::Ports{main.port, main.devices, [] { return modPComm::OpenFailure{}; }},
            frmMain::Storage{main.library, {}}, main.help);
        EXPECT_EQ(main.Text("sbar_2"), std::string("Settings are not kept: ") + file + " cannot be written");
        main.Find<QAction>("mnuOptionLanguageDEEN")->trigger();
        EXPECT_TRUE(main.Text("sbar_2").starts_with("Einstellungen werden nicht gespeichert: "));
        main.Find<QAction>("mnuOptionLanguageDEEN")->trigger();
    }
}

TEST(MainWindow, SettingsWindowBlocksInputButNotTheEnd)
{
    const Window main;
    auto* start = main.Find<QPushButton>("cmdStart");
    ASSERT_TRUE(main.Until([&] { return start->isEnabled(); }));
    main.Find<QAction>("mnuConfigurationRVQ")->trigger();
    const auto* settings = main.Find<frmRVQ>("frmRVQ");
    const auto* status = settings->findChild<QLabel*>("lblStatus");
    ASSERT_TRUE(main.Until([&] { return status->text() == "Download configuration from Orvex finished"; }));
    QTest::mouseClick(start, Qt::LeftButton);
    EXPECT_EQ(start->text(), "Start");
    auto* combo = settings->findChild<QComboBox*>("cmbBaudrate");
    const int before = combo->currentIndex();
    QWheelEvent wheel({}, {}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    combo->clearFocus();
    QApplication::sendEvent(combo, &wheel);
    EXPECT_EQ(combo->currentIndex(), before);

    bool closed = false;
    QTimer::singleShot(20, main.window.get(), [&] { closed = main.window->close(); });
    QElapsedTimer timer;
    timer.start();
    settings->findChild<QPushButton*>("cmdUpload")->click();
    EXPECT_TRUE(closed) << "in the middle of the upload";
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_FALSE(settings->isVisible());
}

TEST(MainWindow, ComesBackInItsSize)
{
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("orvex-main-" + std::to_string(getpid()) + ".ini");
    Window main;
    main.settings.IniFile = file;
    for (const QSize size : {QSize(), QSize(777, 555)}) {
        main.window.reset();
        main.window = std::make_unique<frmMain>(
            main.settings, frmMain::Ports{main.port, main.devices, [] { return modPComm::OpenFailure{}; }},
            frmMain::Storage{main.library, {}}, main.help);
        main.window->show();
        if (size.isValid()) {
            EXPECT_EQ(main.window->size(), size);
        }
        main.window->resize(777, 555);
        main.window->close();
    }
    std::filesystem::remove(file);
}

TEST(MainWindow, ClosingWhileMeasuringSendsNothing)
{
    Window main;
    main.window->MeasureWhenConnected();
    ASSERT_TRUE(main.Until([&] { return main.Find<QPushButton>("cmdStart")->text() == "Stop"; }));
    ASSERT_TRUE(main.Until([&] { return !main.Text("lblMeasValue").empty(); }));
    main.sensor.With([](simulator::clsSensorModel& model) { model.ClearWireLog(); });
    main.window->close();
    EXPECT_EQ(main.port.sio_getbaud(1), -1) << "the port is closed";
    main.window.reset();
    main.sensor.With([](simulator::clsSensorModel& model) {
        EXPECT_TRUE(model.WireLog().empty());
        EXPECT_TRUE(model.IsMeasuring());
    });
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
