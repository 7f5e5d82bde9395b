// The main window, offscreen, with the simulated sensor on a real line.
#include "monitor/frmMain.h"

#include "chart/XYChart.h"
#include "device/clsPosixPort.h"
#include "monitor/LampShape.h"
#include "shell/ConsoleText.h"
#include "shell/Guarded.h"
#include "shell/Help.h"
#include "shell/Localise.h"
#include "shell/frmAbout.h"
#include "simulator/clsSimulatedSensor.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QElapsedTimer>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QtTest/qtestspontaneevent.h>

#include <functional>
#include <gtest/gtest.h>

namespace {

struct Window {
    simulator::clsSimulatedSensor sensor;
    modPComm::PortDevices devices;
    clsPosixPort port{devices};
    modGlobals::Settings settings{.Language = LanguageEnglish};
    Help help{settings, "/folder"};
    std::unique_ptr<frmMain> window;

    Window()
    {
        devices.Override(1, sensor.Path());
        devices.Override(2, "/dev/does-not-exist");
        window = std::make_unique<frmMain>(settings,
                                           frmMain::Ports{port, devices, [this] { return port.LastFailure(); }}, help);
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
    ASSERT_TRUE(main.Until([&] { return !main.Find<QLabel>("sbar_1")->toolTip().isEmpty(); }));
    EXPECT_EQ(main.Find<QLabel>("sbar_1")->toolTip(), "There is no device /dev/does-not-exist.");
    EXPECT_EQ(main.settings.Comport, 2);
    ports->setCurrentIndex(0);
    emit ports->activated(0);
    EXPECT_TRUE(main.Until([&] { return main.Find<QPushButton>("cmdStart")->isEnabled(); }));
    EXPECT_EQ(main.Find<QLabel>("sbar_1")->toolTip(), "");
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
        all.removeAll(QString()); // separators
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
            EXPECT_NE(german[i], english[i]);
        }
        main.Find<QAction>("mnuOptionLanguageDEEN")->trigger();
        expectTexts(LanguageEnglish);
        EXPECT_EQ(menuTexts(), english);
    }
    EXPECT_TRUE(page->source().toString().endsWith("Main_en.htm"));
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

TEST(MainWindow, SaysOnceThatSettingsCannotBeKept)
{
    Window main;
    EXPECT_EQ(main.Text("sbar_2"), "") << "nothing is to be kept";
    main.settings.IniFile = "/proc/self/RVQ.ini";
    main.window = std::make_unique<frmMain>(
        main.settings, frmMain::Ports{main.port, main.devices, [] { return modPComm::OpenFailure{}; }}, main.help);
    EXPECT_EQ(main.Text("sbar_2"), "Settings are not kept: no permission to write in /proc/self");
    main.window->close();
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
