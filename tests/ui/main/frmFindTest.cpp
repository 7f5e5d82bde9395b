// The search for a sensor and a changed baud rate, in the windows, with the simulated sensor behind pseudo-terminals.
#include "ui/main/frmFind.h"

#include "tests/support/Desk.h"
#include "ui/main/frmSplash.h"

#include <QListWidget>
#include <QPlainTextEdit>
#include <QTimer>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

/// Waits inside the modal window until the condition holds, and then acts on it.
void inSearch(const std::function<bool(const frmFind&)>& condition, const std::function<void(frmFind&)>& act)
{
    QTimer::singleShot(0, qApp, [=] {
        auto* window = qobject_cast<frmFind*>(QApplication::activeModalWidget());
        ASSERT_NE(window, nullptr);
        EXPECT_TRUE(Until([&] { return condition(*window); }));
        act(*window);
    });
}

bool hasFound(const frmFind& window)
{
    return FindIn(window, "cmdFindUse")->isEnabled();
}

bool isOver(const frmFind& window)
{
    return FindIn(window, "cmdFindStop")->text() == QStringLiteral("Find Sensor");
}

struct Search : Desk {
    simulator::clsSimulatedSensor sensor{{.lineRate = 19200}};
    modGlobals::Settings& kept(std::int32_t port)
    {
        devices.Override(7, sensor.Path());
        settings.Comport = port;
        return settings;
    }
};

TEST(FindWindow, OneClickTakesWhatWasFoundAndTheConnectionGoesOn)
{
    Search main;
    main.kept(7); // the right port, but at 9600: the session lets go of it
    main.Open();
    EXPECT_TRUE(Until([&] { return main.session->Device().PortIsOpen(); }));
    inSearch(hasFound, [](frmFind& window) {
        EXPECT_EQ(FindIn<QLabel>(window, "lblFound")->text(), QStringLiteral("Sensors found: 1"));
        FindIn(window, "cmdFindUse")->click();
    });
    main.Find<QAbstractButton>("cmdFindPort")->click();
    EXPECT_EQ(main.settings.Comport, 7);
    EXPECT_EQ(main.settings.Baudrate, 19200);
    EXPECT_EQ(main.Find<QComboBox>("cmbBaudrate")->currentText(), "19200");
    EXPECT_TRUE(main.Connects());

    main.sensor.With([](simulator::clsSensorModel& model) { model.ClearWireLog(); });
    inSearch(isOver, [](frmFind& window) {
        EXPECT_TRUE(FindIn<QPlainTextEdit>(window, "txtFindSteps")->toPlainText().contains("already connected"));
        EXPECT_EQ(FindIn<QListWidget>(window, "lstFound")->count(), 0);
        window.close();
    });
    main.Find<QAbstractButton>("cmdFindPort")->click();
    EXPECT_EQ(main.session->Device().CommStatus(), DialogueIdle);
    main.sensor.With([](simulator::clsSensorModel& model) {
        EXPECT_EQ(std::ranges::count(model.WireLog(), "C"), 0) << "nobody has asked it again";
    });
}

TEST(FindWindow, StopsAndBeginsAgain)
{
    Search main;
    main.kept(1);
    frmSplash owner(main.settings, main.devices, main.help);
    frmFind window(owner, LanguageEnglish, main.devices, {{7, "COM 7", false}});
    window.show();
    FindIn(window, "cmdFindStop")->click();
    EXPECT_TRUE(isOver(window));
    EXPECT_FALSE(hasFound(window));
    FindIn(window, "cmdFindStop")->click();
    EXPECT_FALSE(isOver(window));
    EXPECT_TRUE(Until([&] { return hasFound(window); }));
    emit FindIn<QListWidget>(window, "lstFound")->itemActivated(nullptr);
    ASSERT_TRUE(window.Chosen());
    EXPECT_EQ(window.Chosen()->rate, 19200);
    EXPECT_EQ(window.Chosen()->serialNo, "004711");
}

TEST(FindWindow, ADeviceWithoutANumberIsFoundAndNotTaken)
{
    Search main;
    const std::string path = main.sensor.Path();
    main.devices.Override(254, path);
    frmSplash owner(main.settings, main.devices, main.help);
    frmFind window(owner, LanguageEnglish, main.devices, {{254, path, false, path, false}});
    window.show();
    EXPECT_TRUE(Until([&] { return isOver(window); }));
    auto* found = FindIn<QListWidget>(window, "lstFound");
    ASSERT_EQ(found->count(), 1);
    EXPECT_TRUE(found->item(0)->text().startsWith(QString::fromStdString(path))) << "not a number that is nobody's";
    const auto* note = FindIn<QLabel>(window, "lblFindNote");
    EXPECT_TRUE(note->isVisible());
    EXPECT_TRUE(note->text().contains(QString::fromStdString("COM254=" + path)));
    emit found->itemActivated(found->item(0));
    EXPECT_FALSE(window.Chosen());
}

TEST(StartUpWindow, FoundSensorIsConnectedToAtOnce)
{
    Search main;
    main.kept(3);
    main.settings.IniFile = main.folder.path / "RVQ.ini";
    frmSplash window(main.settings, main.devices, main.help);
    window.show();
    inSearch(hasFound, [](frmFind& search) { FindIn(search, "cmdFindUse")->click(); });
    FindIn(window, "cmdFind")->click();
    EXPECT_EQ(window.result(), QDialog::Accepted);
    EXPECT_EQ(main.settings.Comport, 7);
    EXPECT_EQ(main.settings.Baudrate, 19200);
}

TEST(MainWindow, ChangedBaudRateIsFollowedAndOneClickLeadsBack)
{
    MainDesk main;
    ASSERT_TRUE(main.Connects());
    main.sensor.With(
        [&](simulator::clsSensorModel& model) { model.Receive("601 19200\r999 \r", main.sensor.Now_s()); });
    main.session->Device().SendCommand(Request::Configuration);
    ASSERT_TRUE(Until([&] { return main.session->Device().Parameters().Baudrate == 4; }));
    main.sensor.Restart();
    const auto* bar = main.Find<QWidget>("fraRate");
    ASSERT_TRUE(Until([&] { return bar->isVisible(); }));
    EXPECT_EQ(main.Text("lblRate"), "The sensor answers at 19200 now.");
    EXPECT_EQ(main.Find<QComboBox>("cmbBaudrate")->currentText(), "19200");
    EXPECT_EQ(main.settings.Baudrate, 19200);
    QTest::qWait(4 * clsMeasurementLoop::kInterval_ms);
    EXPECT_TRUE(bar->isVisible()) << "it stays";
    EXPECT_EQ(main.Find("cmdRateBack")->text(), "Back to 9600");
    main.Find("cmdRateBack")->click();
    EXPECT_EQ(main.settings.Baudrate, 9600);
    EXPECT_EQ(main.session->Device().CommBaudrate(), 9600);
    EXPECT_FALSE(bar->isVisible());
}

} // namespace
