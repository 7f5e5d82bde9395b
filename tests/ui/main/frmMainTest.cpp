// The main window, offscreen, with the simulated sensor on a real line.
#include "ui/main/frmMain.h"

#include "tests/support/Desk.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/XYChart.h"
#include "ui/chart/frmChartSettings.h"
#include "ui/console/ConsoleText.h"
#include "ui/main/LampShape.h"
#include "ui/main/ValueLabel.h"
#include "ui/main/frmAbout.h"
#include "ui/main/frmTextWindow.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/NumberEdit.h"

#include <QImage>
#include <QLocale>
#include <QMenu>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeWidget>
#include <QWheelEvent>
#include <QtTest/QTest>

#include <filesystem>
#include <gtest/gtest.h>
#include <numeric>
#include <tuple>

namespace {

TEST(MainWindow, MeasuresByButtonAndSaysWhatItDoes)
{
    const MainDesk main;
    auto* start = main.Find("cmdStart");
    auto* lamp = main.Find<LampShape>("shpLamp");
    EXPECT_FALSE(start->isEnabled());
    EXPECT_EQ(lamp->FillColor(), QColor(255, 0, 0));
    EXPECT_EQ(main.Text("lblLamp"), "Not connected");
    ASSERT_TRUE(main.Connects());
    EXPECT_EQ(lamp->FillColor(), QColor(255, 255, 0));
    ASSERT_TRUE(Until([&] { return main.Text("lblTemperature") == "23 C,  OK"; }));

    main.Find("cmdSingleValue")->click();
    ASSERT_TRUE(Until([&] { return main.Text("lblMeasValue").ends_with(" m"); }));
    EXPECT_EQ(start->text(), "Start");

    start->click();
    EXPECT_EQ(start->text(), "Stop");
    EXPECT_NE(main.Text("lblMeasValue"), "") << "the last value stays until a new one comes";
    const QImage before = main.Find<XYChart>("picGraph")->grab().toImage();
    struct Counter : SessionListener {
        int values = 0;
        void ShowDistance(const std::string&) override { ++values; }
    } counter;
    main.session->Listen(counter);
    ASSERT_TRUE(Until([&] { return counter.values >= 10; }));
    main.session->Leave(counter);
    EXPECT_EQ(lamp->FillColor(), QColor(0, 255, 0));
    EXPECT_EQ(main.Text("lblLamp"), "Measuring");
    EXPECT_FALSE(main.Find("cmdSingleValue")->isEnabled());
    EXPECT_NE(main.Find<XYChart>("picGraph")->grab().toImage(), before) << "the curve moves";

    start->click();
    EXPECT_EQ(start->text(), "Start");
    EXPECT_EQ(main.Text("lblMeasValue"), "");
}

TEST(MainWindow, ValuesHaveTheTimeOfTheirArrivalNotOfTheTick)
{
    const MainDesk main;
    struct Times : SessionListener {
        const clsRVQ& device;
        int values = 0, ofTick = 0;
        explicit Times(const clsRVQ& measuring) : device(measuring) {}
        void Sampled(std::span<const Measurement> samples, std::string_view) override
        {
            for (const Measurement& sample : samples) {
                ++values;
                ofTick += sample.time == device.CurrentTime() ? 1 : 0;
            }
        }
    } times(main.session->Device());
    ASSERT_TRUE(main.Connects());
    main.session->Listen(times);
    main.Find("cmdStart")->click();
    EXPECT_TRUE(Until([&] { return times.values >= 20; }));
    main.session->Leave(times);
    EXPECT_LT(times.ofTick, times.values / 2);
}

TEST(MainWindow, PaintsTheChartOnceATickHoweverManyValuesItBrings)
{
    struct Counter : QObject, SessionListener {
        std::ptrdiff_t paints = 0, ticks = 0, values = 0;

        bool eventFilter(QObject*, QEvent* event) override
        {
            paints += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
        void Ticked() override { ++ticks; }
        void Sampled(std::span<const Measurement> samples, std::string_view) override { values += std::ssize(samples); }
    } counter;
    const MainDesk main({.values_Hz = 90.0});
    ASSERT_TRUE(main.Connects());
    main.Find("cmdStart")->click();
    main.Find<QWidget>("picGraph")->installEventFilter(&counter);
    main.session->Listen(counter);
    EXPECT_TRUE(Until([&] { return counter.values >= 150; }));
    main.session->Leave(counter);
    EXPECT_GT(counter.values, 2 * counter.ticks);
    EXPECT_GT(counter.paints, counter.ticks / 2) << "it is seen at all";
    EXPECT_LE(counter.paints, counter.ticks + 2);
}

TEST(MainWindow, SaysWhyAPortCannotBeOpened)
{
    MainDesk main;
    main.devices.Override(2, "/dev/does-not-exist");
    auto* ports = main.Find<QComboBox>("cmbComPort");
    ASSERT_TRUE(main.Connects());
    Choose(*ports, 1);
    ASSERT_TRUE(Until([&] { return main.Text("sbar_1") == "Comport not open"; }));
    const auto toolTip = [&] { return main.Find<QLabel>("sbar_1")->toolTip().toStdString(); };
    EXPECT_TRUE(Until([&] { return toolTip().starts_with("There is no device /dev/does-not-exist.\n"); }));
    EXPECT_EQ(main.settings.Comport, 2);
    Choose(*ports, 0);
    EXPECT_TRUE(main.Connects());
    EXPECT_NE(toolTip().find(" Comport not open"), std::string::npos) << "with an open port: what was, and when";
}

TEST(MainWindow, SaysThatANumberLeadsToAnotherDeviceUntilItIsChosenAgain)
{
    MainDesk main;
    main.devices.Use([&](std::string_view key) { return key == "COM3" ? main.sensor.Path() : std::string(); });
    main.settings.Devices.Remember(3, "/dev/serial/by-id/usb-Maker_UART_A1-if00-port0");
    main.settings.Comport = 3;
    main.Open();
    ASSERT_TRUE(main.Connects());
    const std::string terminal = std::filesystem::canonical(main.sensor.Path());
    const std::string warning = "COM 3 now leads to another device: " + terminal + ". Last time it was Maker UART A1.";
    EXPECT_EQ(main.Text("sbar_1"), warning) << "for some seconds";
    const auto toolTip = [&] { return main.Find<QLabel>("sbar_1")->toolTip().toStdString(); };
    EXPECT_TRUE(toolTip().starts_with(warning + "\n"));
    Choose(*main.Find<QComboBox>("cmbComPort"), 2);
    EXPECT_TRUE(Until([&] { return !toolTip().starts_with(warning); }));
    EXPECT_EQ(main.settings.Devices.Of(3), terminal);
}

TEST(MainWindow, ThePortOfTheSimulatedSensorIsNotKept)
{
    MainDesk main;
    main.settings.Comport = 255; // no device
    main.Open();
    main.window->StartSimulatedSensor = [] { return 1; };
    ASSERT_TRUE(Until([&] { return main.Find<QWidget>("fraFirstSteps")->isVisible(); }));
    main.Find<QAbstractButton>("cmdSimulatedSensor")->click();
    EXPECT_EQ(main.settings.Comport, 1);
    main.window->close();
    EXPECT_EQ(main.settings.Comport, 255);
}

/// The caption, title or tool tip of every control of every open window is the text of its id.
void expectTexts(std::int32_t language)
{
    int texts = 0;
    for (const QWidget* control : QApplication::allWidgets()) {
        const QString caption = Text(static_cast<TextId>(control->property("Tag").toInt()), language);
        const QString toolTip = Text(static_cast<TextId>(control->property("ToolTipText").toInt()), language);
        QVariant shown;
        for (const char* property : {"windowTitle", "title", "text"}) {
            shown = control->property(property).isValid() ? control->property(property) : shown;
        }
        EXPECT_TRUE(caption.isEmpty() || shown == caption) << qPrintable(control->objectName());
        EXPECT_TRUE(toolTip.isEmpty() || control->toolTip() == toolTip) << qPrintable(control->objectName());
        texts += caption.isEmpty() ? 0 : 1;
    }
    EXPECT_GT(texts, 10);
}

TEST(MainWindow, LanguageSwitchesEveryTextOfEveryOpenWindowBothWays)
{
    const MainDesk main;
    frmAbout about(main.window.get(), main.settings);
    about.show();
    main.Trigger("mnuOptionConsole");
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
    for (int round = 1; round <= 20; ++round) {
        const bool isGerman = round % 2 == 1;
        main.Trigger("mnuOptionLanguageDEEN");
        expectTexts(isGerman ? LanguageGerman : LanguageEnglish);
        EXPECT_TRUE(page->source().toString().endsWith(isGerman ? "Main_de.htm" : "Main_en.htm"));
        EXPECT_TRUE(main.help.HelpFile().ends_with(isGerman ? "RVQ_PopUps_De.txt" : "RVQ_PopUps_En.txt"));
        const QStringList texts = menuTexts();
        for (int i = 0; i < english.size(); ++i) {
            EXPECT_EQ(texts[i] != english[i], isGerman) << qPrintable(texts[i]);
        }
    }
    EXPECT_FALSE(page->isBackwardAvailable()) << "it would lead to the other language";
    EXPECT_EQ(main.Find("cmdStart")->shortcut(), QKeySequence(Qt::Key_F5));
}

TEST(MainWindow, ConsoleShowsTheLineAndFailuresWhileItIsOpen)
{
    const MainDesk main;
    ASSERT_TRUE(main.Connects());
    auto* item = main.Find<QAction>("mnuOptionConsole");
    item->trigger();
    QWidget* console = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        console = window->objectName() == QLatin1String("frmConsole") ? window : console;
    }
    ASSERT_NE(console, nullptr);
    const auto* text = console->findChild<ConsoleText*>("txtConsole");
    ASSERT_TRUE(Until([&] { return text->WholeText().contains("23 C,  OK"); })) << "the idle sensor's temperature";
    Guarded([] { throw std::runtime_error("a slot failed"); });
    EXPECT_TRUE(text->WholeText().contains(QString(69, u'-') + "\na slot failed\n" + QString(69, u'-') + "\n"));

    EXPECT_FALSE(CloseByFrame(*console));
    item->trigger();
    EXPECT_FALSE(console->isVisible());
    item->trigger();
    EXPECT_EQ(text->WholeText(), "") << "a new console begins empty";
    main.window->close();
    EXPECT_FALSE(console->isVisible());
}

TEST(MainWindow, SensorSettingsGoToTheSensorAndOnlyFromTheOperator)
{
    MainDesk main;
    auto* depth = main.Find<QComboBox>("cmbAverageDepth");
    auto* average = main.Find<QCheckBox>("chkMovingAverage");
    auto* laser = main.Find<QCheckBox>("chkRedLaser");
    EXPECT_FALSE(depth->isEnabled());
    ASSERT_TRUE(Until([&] { return main.Text("lblTemperature") == "23 C,  OK" && depth->isEnabled(); }));
    std::string sent;
    const auto sees = [&](const std::string& wanted) {
        return Until([&] {
            main.sensor.With([&](const simulator::clsSensorModel& model) {
                sent = std::accumulate(model.WireLog().begin(), model.WireLog().end(), std::string());
            });
            return sent.find(wanted) != std::string::npos;
        });
    };
    main.Find("cmdStart")->click();
    ASSERT_TRUE(sees("M"));
    EXPECT_EQ(sent.find("30"), std::string::npos) << "reading the settings sends none back";
    average->click();
    EXPECT_TRUE(sees("S304 1\rCM")) << sent;
    laser->click();
    EXPECT_TRUE(sees(laser->isChecked() ? "SPM" : "SOM")) << sent;
    Choose(*depth, 2);
    EXPECT_TRUE(sees("S301 64\rCM")) << sent;
    EXPECT_EQ(depth->currentIndex(), 2);
    EXPECT_TRUE(average->isChecked());
    ASSERT_TRUE(Until([&] { return !main.Text("lblMeasValue").empty(); }));
}

TEST(MainWindow, AsksBeforeItChangesAValueThatCannotBeBackedUp)
{
    MainDesk main;
    auto* average = main.Find<QCheckBox>("chkMovingAverage");
    ASSERT_TRUE(Until([&] { return main.Text("lblTemperature") == "23 C,  OK" && average->isEnabled(); }));
    main.folder.Write("BACKUP", "a file where a folder should be");
    main.session->Writes().Keep({.backups = main.folder.path / "BACKUP"});
    QString answer;
    int questions = 0;
    QTimer answering;
    QObject::connect(&answering, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        for (QAbstractButton* button : box == nullptr ? QList<QAbstractButton*>() : box->buttons()) {
            if (box->objectName() == "dlgWithoutBackup" && button->text() == answer) {
                ++questions;
                button->click();
                return;
            }
        }
    });
    answering.start(10);
    for (const bool isAllowed : {false, true}) {
        answer = Text(isAllowed ? TextId::ButtonYes : TextId::ButtonNo, LanguageEnglish);
        const bool before = average->isChecked();
        average->click();
        EXPECT_EQ(average->isChecked() != before, isAllowed);
        EXPECT_EQ((main.session->Writes().Last() != nullptr), isAllowed);
    }
    EXPECT_EQ(questions, 2);
}

TEST(MainWindow, AValueThatIsNoLongerTrueSaysItsAge)
{
    Desk main;
    auto sensor = std::make_unique<simulator::clsSimulatedSensor>(simulator::SensorOptions());
    main.devices.Override(1, sensor->Path());
    main.Open();
    emit main.Find<ValueLabel>("lblMeasValue")->clicked();
    const auto& large = *main.window->findChild<frmTextWindow*>();
    const auto ages = [&] {
        return main.Text("lblMeasAge") + '|' + main.Text("lblTempAge") + '|' +
               FindIn<QLabel>(large, "lblValueAge")->text().toStdString();
    };
    const auto looks = [&] {
        return std::array{main.Find<QLabel>("lblMeasValue")->grab().toImage(),
                          main.Find<QLabel>("lblTemperature")->grab().toImage(),
                          FindIn<QLabel>(large, "lblValue")->grab().toImage()};
    };
    ASSERT_TRUE(Until([&] { return !main.Text("lblTemperature").empty(); }));
    main.Find("cmdSingleValue")->click();
    ASSERT_TRUE(Until([&] { return !main.Text("lblMeasValue").empty(); }));
    EXPECT_EQ(ages(), "||");
    const auto fresh = looks();
    const QSize frame = main.Find<QWidget>("fraMeasurement")->size();
    sensor.reset(); // the cable is pulled: that shows at once, not after three seconds
    ASSERT_TRUE(Until([&] { return !main.Text("lblMeasAge").empty() && !main.Text("lblTempAge").empty(); }));
    EXPECT_EQ(ages().find_first_not_of("0123456789 sold|"), std::string::npos) << ages();
    EXPECT_EQ(main.Text("lblAge"), main.Text("lblMeasAge"));
    EXPECT_EQ(main.Find<QLabel>("lblMeasValue")->accessibleDescription().toStdString(), main.Text("lblMeasAge"));
    for (std::size_t i = 0; i < fresh.size(); ++i) {
        EXPECT_NE(looks().at(i), fresh.at(i)) << i << ": the colour of what is disabled";
    }
    EXPECT_TRUE(main.Find<QWidget>("lblMeasValue")->isEnabled()) << "it still opens the large display";
    EXPECT_EQ(main.Find<QWidget>("fraMeasurement")->size(), frame) << "nothing jumps";
    main.Trigger("mnuOptionLanguageDEEN");
    EXPECT_TRUE(Until([&] { return ages().find("alt") != std::string::npos; }));
    sensor = std::make_unique<simulator::clsSimulatedSensor>(simulator::SensorOptions());
    main.devices.Override(1, sensor->Path());
    ASSERT_TRUE(main.Connects());
    main.Find("cmdSingleValue")->click();
    EXPECT_TRUE(Until([&] { return ages() == "||"; })) << ages();
    main.window.reset();
}

TEST(MainWindow, ATextFromTheLineWidensNothing)
{
    const MainDesk main;
    auto* temperature = main.Find<QLabel>("lblTemperature");
    const int width = main.window->minimumSizeHint().width();
    temperature->setText(QString(80, u'W'));
    EXPECT_EQ(temperature->textFormat(), Qt::PlainText);
    QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    EXPECT_EQ(main.window->minimumSizeHint().width(), width);
}

TEST(MainWindow, LargeDisplayFitsItsLettersToTheWindow)
{
    const MainDesk main;
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
    const double narrowed = value->font().pointSizeF();
    window()->resize(20, 300);
    EXPECT_EQ(value->font().pointSizeF(), narrowed) << "too narrow for any letter: as before";
    window()->close();
}

TEST(ChartSettings, AppliesKeepsAndFollowsTheMenu)
{
    const MainDesk main;
    const auto* chart = main.Find<XYChart>("picGraph");
    main.Trigger("mnuPopUpYscaleSettings");
    auto* dialog = main.window->findChild<frmChartSettings*>();
    ASSERT_NE(dialog, nullptr);
    const auto button = [&](const char* name) { return FindIn<QAbstractButton>(*dialog, name); };
    auto* upper = FindIn<NumberEdit>(*dialog, "txtParameter_0");
    auto* lower = FindIn<NumberEdit>(*dialog, "txtParameter_1");
    EXPECT_FALSE(upper->isEnabled());
    EXPECT_EQ(FindIn<QLabel>(*dialog, "lblUnit_0")->text(), "mm");
    button("optYScaleManual")->click();
    upper->ShowText("123456789");
    lower->ShowText("7");
    for (const char* name : {"optxAxisTime", "chkConnectPoints", "chkNullWerte", "cmdApply"}) {
        button(name)->click();
    }
    EXPECT_EQ(upper->text(), "255");
    EXPECT_EQ(chart->YMaximum(), 5000.0);
    EXPECT_EQ(chart->YMinimum(), 7.0);
    EXPECT_TRUE(chart->TimeScale() && main.settings.TimeOfDay);
    EXPECT_FALSE(chart->ConnectPoints());
    EXPECT_TRUE(main.settings.ShowZeroValues);
    main.Find<QAction>("mnuPopupShowZero")->setChecked(true);
    main.Trigger("mnuPopupShowZero");
    EXPECT_FALSE(button("chkNullWerte")->isChecked()) << "menu and window stay in step";

    lower->clear();
    QTest::keyClicks(lower, "1a,5");
    EXPECT_EQ(lower->text(), QString("1%1").arg(QLocale().decimalPoint()) + "5");
    lower->setText("1a,5");
    EXPECT_EQ(lower->text(), QString("1%1").arg(QLocale().decimalPoint()) + "5") << "no number: it stays";
    lower->setText("-20");
    PressKey(*lower, Qt::Key_Return);
    EXPECT_EQ(lower->text(), "0");
    EXPECT_TRUE(dialog->isVisible()) << "Enter belongs to the box";
    upper->setText("12-3");
    button("cmdOK")->click();
    EXPECT_TRUE(dialog->isVisible()) << "no number: to be corrected";
    button("cmdCancel")->click();
    EXPECT_EQ(chart->YMinimum(), 7.0);
}

TEST(MainWindow, TheChartHasItsMenuOnARightClickOnly)
{
    const MainDesk main;
    auto* chart = main.Find<XYChart>("picGraph");
    const auto* popUp = main.Find<QMenu>("mnuPopUp");
    QTest::mouseClick(chart, Qt::LeftButton);
    EXPECT_FALSE(popUp->isVisible());
    main.Trigger("mnuPopupFixedTime");
    EXPECT_TRUE(chart->HoldSpan());
    emit chart->customContextMenuRequested({5, 5}); // a right click and the menu key both do this
    EXPECT_TRUE(popUp->isVisible());
    EXPECT_TRUE(main.Find<QAction>("mnuPopupFixedTime")->isChecked());
}

TEST(MainWindow, SaysThatSettingsCannotBeKept)
{
    MainDesk main;
    EXPECT_EQ(main.Text("sbar_2"), "") << "nothing is to be kept";
    for (const char* file : {"/proc/self/RVQ.ini", "/tmp"}) {
        main.settings.IniFile = file;
        main.Open();
        EXPECT_EQ(main.Text("sbar_2"), std::string("Settings are not kept: ") + file + " cannot be written");
        main.Trigger("mnuOptionLanguageDEEN");
        EXPECT_TRUE(main.Text("sbar_2").starts_with("Einstellungen werden nicht gespeichert: "));
        main.Trigger("mnuOptionLanguageDEEN");
    }
}

TEST(MainWindow, SaysAtOnceThatTheSettingsCouldNotBeRead)
{
    MainDesk main;
    main.settings.UnreadFile = main.folder.Write("RVQ.ini", "\xFF\xFE[\0");
    main.settings.UnreadWhy = std::make_error_code(std::errc::illegal_byte_sequence);
    main.Open();
    EXPECT_EQ(main.Text("sbar_2"), "Settings are not kept: " + main.settings.UnreadFile +
                                       " cannot be read: It holds no plain text, but UTF-16, for instance.");
    main.settings.Comport = 9;
    EXPECT_TRUE(main.window->close());
    EXPECT_EQ(TemporaryFolder::Read(main.settings.UnreadFile), "\xFF\xFE[");
}

TEST(ChartSettings, BoxesShowWhatIsSeenAndKeepWhatIsTyped)
{
    MainDesk main;
    main.settings.AutoScale = true;
    main.settings.yMax = 4321.0;
    auto* chart = main.Find<ChartPanel>("picGraph");
    ASSERT_TRUE(main.Connects());
    main.Find("cmdStart")->click();
    ASSERT_TRUE(Until([&] { return chart->Source() != nullptr && chart->Source()->Size() > 5; }));
    chart->grab();
    main.Trigger("mnuPopUpYscaleSettings");
    auto* dialog = main.window->findChild<frmChartSettings*>();
    auto* upper = FindIn<NumberEdit>(*dialog, "txtParameter_0");
    EXPECT_NE(upper->text(), "4321");
    FindIn(*dialog, "cmdApply")->click();
    EXPECT_EQ(main.settings.yMax, 4321.0) << "nobody has typed anything";
    for (const auto& [typed, shown, kept] : {std::tuple("1234", "1234", 1234.0), {"123456789", "255", 1234.0}}) {
        upper->ShowText(typed);
        FindIn(*dialog, "cmdApply")->click();
        EXPECT_TRUE(main.settings.AutoScale);
        EXPECT_EQ(upper->text(), shown);
        EXPECT_EQ(main.settings.yMax, kept);
    }
    main.settings.AutoScale = false;
    dialog->ShowUpdatedSettings();
    EXPECT_EQ(upper->text(), "1234");
    chart->ZoomValues(ChartPanel::Step::New, 0.0, 0.5);
    dialog->ShowUpdatedSettings();
    EXPECT_NEAR(upper->text().toDouble(), chart->YMaximum(), 1e-6) << "held in the view";
    EXPECT_NE(upper->text(), "1234");
}

TEST(MainWindow, SettingsThatCannotBeKeptAreToldWhenTheyAreAppliedAndBeforeTheEnd)
{
    MainDesk main;
    const std::filesystem::path file = main.folder.path / "RVQ.ini";
    main.settings.IniFile = file;
    main.Open();
    std::filesystem::create_directory(file); // nothing was in the way when the program started
    const std::string told = file.string() + " cannot be written: There is no ordinary file there.";
    main.Trigger("mnuPopUpYscaleSettings");
    FindIn(*main.window->findChild<frmChartSettings*>(), "cmdApply")->click();
    EXPECT_EQ(main.Text("sbar_1"), told);
    EXPECT_FALSE(main.window->close());
    EXPECT_EQ(main.Text("sbar_1"), "Not saved, close again to end. " + told);
    EXPECT_TRUE(main.window->isVisible());
    EXPECT_TRUE(main.window->close());
}

TEST(MainWindow, ComesBackAtItsSize)
{
    MainDesk main;
    main.settings.IniFile = main.folder.path / "RVQ.ini";
    main.Open();
    main.window->resize(777, 555);
    main.window->close();
    main.Open();
    EXPECT_EQ(main.window->size(), QSize(777, 555));
    main.window->close();
    main.Open(); // the size is saved and restored exactly
    for (const QSize size : {QSize(800, 600), QSize(777, 555)}) {
        main.window->resize(size);
        main.window->hide();
        main.window->show();
    }
    main.Open();
    EXPECT_EQ(main.window->size(), QSize(777, 555)) << "the last place counts, also when it is the first again";
    main.window->resize(12386, 4000);
    main.window->close();
    main.Open();
    EXPECT_EQ(main.window->size().boundedTo(main.window->screen()->availableSize()), main.window->size());
}

TEST(MainWindow, ClosingWhileMeasuringSendsNothing)
{
    MainDesk main;
    main.window->MeasureWhenConnected();
    ASSERT_TRUE(Until([&] { return !main.Text("lblMeasValue").empty(); }));
    main.sensor.With([](simulator::clsSensorModel& model) { model.ClearWireLog(); });
    main.window->close();
    EXPECT_EQ(main.session->Device().CommBaudrate(), -1) << "the port is closed";
    main.window.reset();
    main.sensor.With([](simulator::clsSensorModel& model) {
        EXPECT_TRUE(model.WireLog().empty());
        EXPECT_TRUE(model.IsMeasuring());
    });
}

} // namespace
