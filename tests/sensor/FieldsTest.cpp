// What the settings window shows, checks and copies.
#include "sensor/Fields.h"

#include "sensor/Parameters.h"

#include <gtest/gtest.h>

namespace {

TEST(Fields, LeavingABoxClampsAndFormats)
{
    using Row = std::tuple<std::size_t, std::string, const char*>;
    for (const auto& [field, typed, shown] :
         {Row{3, "", "1013"}, Row{3, "700", "800"}, Row{3, "99999", "1200"}, Row{1, "40", "32,767"},
          Row{2, "1.5", "1,5"}, Row{2, "-10,04", "-10,0"}, Row{0, "2.5", "2"}, Row{0, "-", "0"},
          Row{0, std::string(400, '9'), "32767"}, Row{12, "1.234,5", "512"}, Row{12, "abc", "512"},
          Row{1, "-0,0004", "0,000"}}) {
        EXPECT_EQ(CheckedText(field, typed, ','), shown) << field << ": " << typed;
    }
}

TEST(Fields, CopyingRefusesWhatIsOutOfRange)
{
    using Row = std::tuple<std::size_t, const char*, std::optional<std::int32_t>>;
    for (const auto& [field, text, stored] :
         {Row{0, "32768", {}}, Row{0, "12x", 12}, Row{0, "1,9", 1}, Row{1, "1,005", 1005}, Row{1, "32.768", {}},
          Row{1, "x", {}}, Row{2, "50,1", {}}, Row{3, "", {}}, Row{9, "1e300", {}}, Row{11, "0", {}}}) {
        EXPECT_EQ(StoredValue(field, text), stored) << field << ": " << text;
    }
}

TEST(Fields, PairsMustLieApart)
{
    const std::tuple<std::size_t, const char*, const char*, bool> rows[] = {
        {FieldS1On, "1000", "1009", false},      {FieldS1On, "1000", "1010", true},
        {FieldS1On, "9999999", "9995", false}, // too close to the old value, 10000
        {FieldS2On, "-4", "5", false},           {FieldS2On, "-5", "5", true},
        {FieldAnalogMin, "1000", "1999", false}, {FieldAnalogMin, "1000", "0", true},
    };
    for (const auto& [first, a, b, stored] : rows) {
        ParameterSet configuration;
        ShownSettings shown = ShownOf(configuration, '.');
        shown.texts[first] = a;
        shown.texts[first + 1] = b;
        shown.texts[FieldDistanceWindow] = "77";
        EXPECT_EQ(CopyInto(configuration, shown)[first + 1] == CopyOutcome::Stored, stored) << a << ", " << b;
        EXPECT_EQ(configuration.DistanceWindow, 77) << "a refusal does not stop the others";
    }
}

TEST(Fields, TheTypeOfSensorDecidesWhatIsShownAndCopied)
{
    ParameterSet profibus;
    profibus.NodeAddress = 5;
    profibus.OutputMode = 2;
    profibus.TimeOut = 9; // not in the list
    profibus.ScaleFactor = -1234;
    const ShownSettings shown = ShownOf(profibus, ',');
    EXPECT_EQ(shown.texts[FieldS1On], "");
    EXPECT_EQ(shown.texts[FieldScaleFactor], "-1,234");
    EXPECT_EQ(shown.choices[ChoiceS2Logic], -1);
    EXPECT_EQ(shown.choices[ChoiceTimeOut], -1);

    ParameterSet target;
    target.RainFilter = 1;
    EXPECT_EQ(CopyInto(target, shown)[FieldS1On], CopyOutcome::Skipped);
    EXPECT_EQ(target.NodeAddress, 5);
    EXPECT_EQ(target.OutputMode, 0) << "its list is disabled";
    EXPECT_EQ(target.TimeOut, 1);
    EXPECT_EQ(target.RainFilter, -1);

    // A serial configuration is saved in its place, and one is sent to such a sensor.
    const ShownSettings serial = ShownOf(ParameterSet(), ',');
    EXPECT_EQ(serial.texts[FieldNodeAddress], "n/a");
    EXPECT_EQ(CopyInto(target, serial)[FieldNodeAddress], CopyOutcome::Skipped);
    EXPECT_EQ(target.NodeAddress, 5);
    CopyForSaving(target, serial);
    EXPECT_EQ(target.NodeAddress, -1);
}

TEST(Fields, DifferencesNameTheSensorsValue)
{
    ParameterSet set;
    SensorIdentity sensor;
    sensor.Attenuator = "DE";
    set.Offset = 40000; // outside the box's range, yet the same
    ShownSettings shown = ShownOf(set, ',');
    EXPECT_TRUE(Differences(shown, set, sensor, ',', 0).empty());
    shown.texts[FieldTemperature] = "20.0"; // written differently, yet the same
    shown.texts[FieldS1On] = "9000";
    shown.texts[FieldScaleFactor] = "x";
    shown.texts[FieldDistanceWindow] = "1";
    shown.choices[ChoiceMovingAverage] = 1;
    shown.choices[ChoiceTimeOut] = 4;
    shown.choices[ChoiceOutputMode] = 2;
    const auto found = [&] {
        std::string values;
        for (const Difference& difference : Differences(shown, set, sensor, ',', 0)) {
            values += std::string(difference.code) + ": " + difference.sensorText + '|';
        }
        return values;
    };
    const std::string everySensors = "603: Kontinuierlich|302: 25 %|304: Aus|";
    EXPECT_EQ(found(), "702: 1,000|501: 10000 mm|352: 20000 mm|" + everySensors);
    sensor.Attenuator = "D"; // such a sensor does not report the window
    set.NodeAddress = 5;
    EXPECT_EQ(found(), "702: 1,000|" + everySensors);
}

} // namespace
