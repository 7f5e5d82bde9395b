// What the settings window shows, checks and copies.
#include "sensor/Fields.h"

#include "sensor/Parameters.h"

#include <gtest/gtest.h>

namespace {

TEST(Fields, LeavingABoxClampsAndFormats)
{
    using Row = std::tuple<const char*, std::string, const char*>;
    for (const auto& [code, typed, shown] :
         {Row{"802", "", "1013"}, Row{"802", "700", "800"}, Row{"802", "99999", "1200"}, Row{"702", "40", "32,767"},
          Row{"801", "1.5", "1,5"}, Row{"801", "-10,04", "-10,0"}, Row{"701", "2.5", "2"}, Row{"701", "-", "0"},
          Row{"701", std::string(400, '9'), "32767"}, Row{"353", "1.234,5", "512"}, Row{"353", "abc", "512"},
          Row{"702", "-0,0004", "0,000"}, Row{"610", "", "0"}}) {
        EXPECT_EQ(CheckedText(*ParameterOfCode(code), typed, ','), shown) << code << ": " << typed;
    }
}

TEST(Fields, CopyingRefusesWhatIsOutOfRange)
{
    using Row = std::tuple<const char*, const char*, std::optional<std::int32_t>>;
    for (const auto& [code, text, stored] :
         {Row{"701", "32768", {}}, Row{"701", "12x", 12}, Row{"701", "1,9", 1}, Row{"702", "1,005", 1005},
          Row{"702", "32.768", {}}, Row{"702", "x", {}}, Row{"801", "50,1", {}}, Row{"802", "", {}},
          Row{"402", "1e300", {}}, Row{"352", "0", {}}}) {
        EXPECT_EQ(StoredValue(*ParameterOfCode(code), text), stored) << code << ": " << text;
    }
}

TEST(Fields, PairsMustLieApart)
{
    const std::tuple<const char*, const char*, const char*, const char*, bool> rows[] = {
        {"501", "1000", "502", "1009", false},    {"501", "1000", "502", "1010", true},
        {"501", "9999999", "502", "9995", false}, // too close to the old value, 10000
        {"504", "-4", "505", "5", false},         {"504", "-5", "505", "5", true},
        {"401", "1000", "402", "1999", false},    {"401", "1000", "402", "0", true},
    };
    for (const auto& [first, a, second, b, stored] : rows) {
        ParameterSet configuration;
        ShownSettings shown = ShownOf(configuration, '.');
        shown.texts[*ParameterOfCode(first)] = a;
        shown.texts[*ParameterOfCode(second)] = b;
        shown.texts[&ParameterSet::DistanceWindow] = "77";
        shown.texts[&ParameterSet::ScaleFactor] = "99"; // refused, and stands before the pairs
        const CopyOutcomes outcomes = CopyInto(configuration, shown);
        EXPECT_EQ(outcomes[*ParameterOfCode(second)] == CopyOutcome::Stored, stored) << a << ", " << b;
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
    EXPECT_EQ(shown.texts[&ParameterSet::S1OnThreshold], "");
    EXPECT_EQ(shown.texts[&ParameterSet::ScaleFactor], "-1,234");
    EXPECT_EQ(shown.choices[&ParameterSet::S2Logic], -1);
    EXPECT_EQ(shown.choices[&ParameterSet::TimeOut], -1);

    ParameterSet target;
    target.RainFilter = 1;
    EXPECT_EQ(CopyInto(target, shown)[&ParameterSet::S1OnThreshold], CopyOutcome::Skipped);
    EXPECT_EQ(target.NodeAddress, 5);
    EXPECT_EQ(target.OutputMode, 0) << "its list is disabled";
    EXPECT_EQ(target.TimeOut, 1);
    EXPECT_EQ(target.RainFilter, -1);

    // CopyInto keeps the node address; CopyForSaving makes the set one of the shown type, here serial.
    const ShownSettings serial = ShownOf(ParameterSet(), ',');
    EXPECT_EQ(serial.texts[&ParameterSet::NodeAddress], "n/a");
    EXPECT_EQ(CopyInto(target, serial)[&ParameterSet::NodeAddress], CopyOutcome::Skipped);
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
    shown.texts[&ParameterSet::Temperature] = "20.0"; // written differently, yet the same
    shown.texts[&ParameterSet::S1OnThreshold] = "9000";
    shown.texts[&ParameterSet::ScaleFactor] = "x";
    shown.texts[&ParameterSet::DistanceWindow] = "1";
    shown.choices[&ParameterSet::MovingAverage] = 1;
    shown.choices[&ParameterSet::TimeOut] = 4;
    shown.choices[&ParameterSet::OutputMode] = 2;
    const auto found = [&] {
        std::string values;
        for (const Difference& difference : Differences(shown, set, sensor, ',', 0)) {
            values += std::string(difference.row->code) + ": " + difference.sensorText + '|';
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
