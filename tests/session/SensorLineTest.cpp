// The whole way from the sensor over a real pseudo-terminal to the view, and back.
#include "sensor/Parameters.h"
#include "tests/support/SensorOnLine.h"

#include <gtest/gtest.h>

namespace {

using simulator::SensorOptions;

TEST(SensorLine, DistancesInEveryUnitSingleValuesAndTemperaturesArriveInEveryFormat)
{
    SensorOnLine line;
    line.sensor.HoldDistance(3300.0);
    ASSERT_TRUE(line.Configured());
    for (std::int32_t format = FormatAscii; format <= FormatBinaryCrc; ++format) {
        for (std::int32_t unit = 0; unit < 7; ++unit) {
            const std::string name = std::string(kOutputFormatTexts[static_cast<std::size_t>(format)]) + " in " +
                                     std::string(UnitOf(unit).name);
            line.sensor.SetParameter("101", format);
            line.sensor.SetParameter("111", unit);
            line.device.SendCommand("C");
            ASSERT_TRUE(line.Configured()) << name;
            EXPECT_EQ(line.device.Parameters().OutputFormat, format);
            EXPECT_EQ(line.device.Parameters().DistanceUnit, unit);
            line.loop.StartStop({});
            ASSERT_TRUE(line.UntilEvent(EventDistance)) << name;
            EXPECT_NEAR(line.device.MeasValue_mm(), 3300, unit >= 5 ? 10 : 1) << name;
            EXPECT_NEAR(line.device.MeasValue() * UnitOf(unit).millimetres, 3300.0, unit >= 5 ? 10 : 1) << name;
            line.loop.StartStop({});
        }
        line.loop.RequestSingleValue();
        ASSERT_TRUE(line.UntilEvent(EventDistance)) << format;
        EXPECT_NEAR(line.device.MeasValue_mm(), 3300, 10) << format;
        EXPECT_EQ(line.device.CommStatus(), DialogueIdle);
        line.sensor.SetTemperature(40 + format); // the idle sensor is polled for it
        ASSERT_TRUE(line.Until([&] { return line.view.temperature == std::to_string(40 + format) + " C,  OK"; }));
    }
}

} // namespace
