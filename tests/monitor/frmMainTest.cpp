// The main window, offscreen, with the simulated sensor on a real line.
#include "monitor/frmMain.h"

#include "chart/XYChart.h"
#include "device/clsPosixPort.h"
#include "monitor/LampShape.h"
#include "simulator/clsSimulatedSensor.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>

#include <functional>
#include <gtest/gtest.h>

namespace {

struct Window {
    simulator::clsSimulatedSensor sensor;
    modPComm::PortDevices devices;
    clsPosixPort port{devices};
    modGlobals::Settings settings{.Language = LanguageEnglish};
    std::unique_ptr<frmMain> window;

    Window()
    {
        devices.Override(1, sensor.Path());
        devices.Override(2, "/dev/does-not-exist");
        window =
            std::make_unique<frmMain>(settings, frmMain::Ports{port, devices, [this] { return port.LastFailure(); }});
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

TEST(MainWindow, LanguageSwitchesEveryTextBothWays)
{
    const Window main;
    const auto texts = [&] {
        QStringList all{main.window->windowTitle()};
        for (const auto* label :
             main.window->findChildren<QLabel*>(QRegularExpression("^lbl(Meas|Temp)Caption|lblLamp"))) {
            all += label->text();
        }
        for (const auto* action : main.window->findChildren<QAction*>(QRegularExpression("^mnu"))) {
            all += action->text();
        }
        for (const auto* menu : main.window->findChildren<QMenu*>(QRegularExpression("^mnu"))) {
            all += menu->title();
        }
        all += main.Find<QPushButton>("cmdStart")->toolTip();
        return all;
    };
    const QStringList english = texts();
    EXPECT_EQ(english.size(), 12);
    for (int round = 0; round < 10; ++round) {
        main.Find<QAction>("mnuOptionLanguageDEEN")->trigger();
        const QStringList german = texts();
        for (int i = 0; i < english.size(); ++i) {
            EXPECT_NE(german[i], english[i]);
        }
        main.Find<QAction>("mnuOptionLanguageDEEN")->trigger();
        EXPECT_EQ(texts(), english);
    }
    EXPECT_EQ(main.Find<QPushButton>("cmdStart")->text(), "Start");
    EXPECT_EQ(main.Find<QPushButton>("cmdStart")->shortcut(), QKeySequence(Qt::Key_F5));
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
