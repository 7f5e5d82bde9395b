// Live, simulated and played values in the main window: nobody can take one for the other.
#include "session/SessionListener.h"
#include "session/ValueOrigin.h"
#include "tests/support/Desk.h"
#include "ui/chart/XYChart.h"
#include "ui/main/MeasurementPanel.h"
#include "ui/main/ValueLabel.h"
#include "ui/main/frmTextWindow.h"
#include "ui/recorder/frmRecorder.h"
#include "ui/widgets/Badge.h"
#include "ui/widgets/LineLabel.h"

#include <gtest/gtest.h>

namespace {

constexpr double kTwoThreePm = 46346.0 + (14.0 * 60 + 3) / 1440.0; // 20.11.2026

TEST(BadgeText, NamesWhatIsNotLiveInBothLanguages)
{
    struct Row {
        ValueOrigin origin;
        const char *english, *german;
    };
    const std::string longName(64, 'W');
    for (const Row& row :
         {Row{{}, "", ""}, Row{{.simulated = true}, "SIMULATED", "SIMULIERT"},
          Row{{.recorded = kTwoThreePm}, "RECORDING of 20.11.2026 14:03", "AUFZEICHNUNG vom 20.11.2026 14:03"},
          Row{{.recorded = kTwoThreePm, .serial = "004711"},
              "RECORDING of 20.11.2026 14:03, SN 004711",
              "AUFZEICHNUNG vom 20.11.2026 14:03, SN 004711"},
          Row{{.simulated = true, .recorded = kTwoThreePm, .serial = " \r\n"},
              "RECORDING of 20.11.2026 14:03, SIMULATED",
              "AUFZEICHNUNG vom 20.11.2026 14:03, SIMULIERT"},
          Row{{.simulated = true, .recorded = kTwoThreePm, .serial = "004711"},
              "RECORDING of 20.11.2026 14:03, SIMULATED, SN 004711",
              "AUFZEICHNUNG vom 20.11.2026 14:03, SIMULIERT, SN 004711"},
          Row{{.recorded = kTwoThreePm, .serial = longName},
              "RECORDING of 20.11.2026 14:03, SN WWWWWWWWWWWWWWWWWWW…",
              "AUFZEICHNUNG vom 20.11.2026 14:03, SN WWWWWWWWWWWWWWWWWWW…"}}) {
        EXPECT_EQ(BadgeText(row.origin, LanguageEnglish).toStdString(), row.english);
        EXPECT_EQ(BadgeText(row.origin, LanguageGerman).toStdString(), row.german);
    }
}

/// What a window says about its values, in every place.
struct Watched : Desk {
    simulator::clsSimulatedSensor sensor;

    XYChart* Chart() const { return Find<XYChart>("picGraph"); }
    std::string Title() const { return window->windowTitle().toStdString(); }
    std::string InChart() const { return Chart()->Badge().toStdString(); }
    std::string BesideNumber() const { return Find<QLabel>("lblBadge")->isVisible() ? Text("lblBadge") : ""; }
    bool IsDim(const char* label) const { return Find<LineLabel>(label)->IsStale(); }
    const QObject& Large() const { return *window->findChild<frmTextWindow*>(); }
    std::string UnderLarge() const { return FindIn<QLabel>(Large(), "lblValueAge")->text().toStdString(); }
    void Start() const
    {
        Find("cmdStart")->click();
        EXPECT_TRUE(Until([&] { return !Text("lblMeasValue").empty() && !Find<QLabel>("lblBadge")->isVisible(); }));
    }
    void Play() const
    {
        Trigger("mnuRecorder");
        auto* recorder = window->findChild<frmRecorder*>();
        recorder->ChooseFiles = [&] {
            const auto file = folder.Write("played.rec", "20.11.2026 14:03:00,000; 1000 mm; 21 \xB0\x43\r\n"
                                                         "20.11.2026 14:05:00,000; 5000 mm; 22 \xB0\x43\n");
            return QStringList{QString::fromStdString(file)};
        };
        FindIn(*recorder, "cmdPlay")->click();
    }
};

TEST(MainWindow, APlayedRecordingIsNotTakenForAMeasurement)
{
    Watched main;
    main.devices.Override(3, main.sensor.Path());
    main.settings.Comport = 3;
    main.Open();
    const std::string live = "Orvex Monitor – Laser Distance Sensor – COM 3 – SN 004711";
    EXPECT_EQ(main.Title(), "Orvex Monitor – Laser Distance Sensor – COM 3");
    EXPECT_EQ(main.Chart()->SeriesLabel(), "RVQ");
    emit main.Find<ValueLabel>("lblMeasValue")->clicked();
    ASSERT_TRUE(main.Connects());
    EXPECT_TRUE(Until([&] { return main.Title() == live; })) << main.Title();
    EXPECT_EQ(main.Chart()->SeriesLabel(), "SN 004711");
    EXPECT_EQ(main.InChart() + main.BesideNumber() + main.UnderLarge(), "");

    main.Play();
    const std::string badge = "RECORDING of 20.11.2026 14:03";
    EXPECT_EQ(main.InChart(), badge);
    EXPECT_EQ(main.BesideNumber(), badge);
    EXPECT_EQ(main.UnderLarge(), badge);
    EXPECT_EQ(main.Text("lblMeasValue"), "5.000 m");
    EXPECT_TRUE(main.IsDim("lblMeasValue") && main.IsDim("lblTemperature"));
    EXPECT_TRUE(FindIn<LineLabel>(main.Large(), "lblValue")->IsStale());
    EXPECT_EQ(main.Chart()->SeriesLabel(), "RVQ") << "of which sensor is not known";
    EXPECT_TRUE(Until([&] { return main.Title() == live + " – " + badge; })) << main.Title();
    EXPECT_TRUE(Until([&] { return !main.IsDim("lblTemperature"); })) << "the idle sensor sends its own";

    main.Find("cmdSingleValue")->click();
    EXPECT_TRUE(Until([&] { return !main.IsDim("lblMeasValue"); }));
    EXPECT_EQ(main.BesideNumber() + main.UnderLarge(), "");
    EXPECT_EQ(main.InChart(), badge) << "its curve is still there";
    main.Start();
    EXPECT_EQ(main.InChart(), "");
    EXPECT_TRUE(Until([&] { return main.Title() == live; })) << main.Title();
    EXPECT_EQ(main.Chart()->SeriesLabel(), "SN 004711");
    main.window.reset();
}

TEST(MainWindow, NothingOfARecordingStaysWhenTheNextOneIsEmpty)
{
    Watched main;
    main.Open();
    main.Play();
    ASSERT_EQ(main.Text("lblMeasValue") + '|' + main.BesideNumber(), "5.000 m|RECORDING of 20.11.2026 14:03");
    main.session->Play(main.folder.Write("empty.rec", ""), [](double) { return true; });
    EXPECT_EQ(main.Text("lblMeasValue") + main.Text("lblTemperature") + main.BesideNumber(), "");
}

TEST(MainWindow, ALiveDistanceIsNotCalledARecordingBecauseTheTemperatureIsOne)
{
    Watched main;
    simulator::SensorOptions dead;
    dead.faults.silence = 1.0; // the port is open, but no temperature comes by itself
    const simulator::clsSimulatedSensor sensor(dead);
    main.devices.Override(1, sensor.Path());
    main.Open();
    ASSERT_TRUE(Until([&] { return main.session->Device().PortIsOpen(); }));
    emit main.Find<ValueLabel>("lblMeasValue")->clicked();
    main.Play();
    auto* panel = main.Find<MeasurementPanel>("fraMeasurement");
    panel->ShowAges();
    EXPECT_NE(main.BesideNumber(), "");
    static_cast<SessionListener&>(*panel).ShowDistance("1.234 m");
    panel->ShowAges();
    EXPECT_EQ(main.BesideNumber() + main.UnderLarge(), "");
    EXPECT_FALSE(main.IsDim("lblMeasValue"));
    EXPECT_TRUE(main.IsDim("lblTemperature"));
    EXPECT_EQ(main.Text("lblTempAge"), "recorded");
    main.window.reset();
}

TEST(MainWindow, TheSimulatedSensorIsNamedAsLongAsItsValuesAreShown)
{
    Watched main;
    simulator::clsSimulatedSensor real{simulator::SensorOptions()};
    main.devices.Simulate(1, main.sensor.Path());
    main.devices.Override(2, real.Path());
    main.Open();
    main.window->MeasureWhenConnected();
    EXPECT_TRUE(main.session->IsSimulated()) << "also for a recording that begins at once";
    ASSERT_TRUE(Until([&] { return main.Chart()->Series().Added() > 2; }));
    EXPECT_EQ(main.InChart() + '|' + main.BesideNumber(), "SIMULATED|SIMULATED");
    EXPECT_FALSE(main.IsDim("lblMeasValue"));
    EXPECT_TRUE(main.Title().ends_with(" – COM 1 – SN 004711 – SIMULATED")) << main.Title();
    main.Trigger("mnuOptionLanguageDEEN");
    EXPECT_EQ(main.InChart(), "SIMULIERT");
    EXPECT_TRUE(Until([&] { return main.BesideNumber() == "SIMULIERT"; }));
    EXPECT_TRUE(main.Title().starts_with("Orvex Monitor – Laser-Abstandssensor – COM 1")) << main.Title();
    EXPECT_TRUE(main.Title().ends_with("SIMULIERT")) << main.Title();

    main.Find("cmdStart")->click();
    Choose(*main.Find<QComboBox>("cmbComPort"), 1);
    ASSERT_TRUE(Until([&] { return main.Title().find("COM 2 – SN 004711") != std::string::npos; })) << main.Title();
    EXPECT_EQ(main.InChart(), "SIMULIERT") << "the curve is still the simulated one";
    main.Start();
    EXPECT_EQ(main.InChart(), "");
    EXPECT_FALSE(main.session->IsSimulated());
    main.window.reset();
}

} // namespace
