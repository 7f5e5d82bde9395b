// What a measurement is and how it is written.
#include "sensor/Measurement.h"

#include <cmath>
#include <gtest/gtest.h>
#include <utility>

namespace {

TEST(DistanceText, ByUnitFormatAndMarker)
{
    const std::pair<Measurement, const char*> rows[] = {
        {{.value = 1234, .value_mm = 1234, .unit = 0, .outputFormat = 1}, "1234 mm"},
        {{.value = 1.2345, .value_mm = 1234, .unit = 1, .outputFormat = 1}, "1,234 m"},
        {{.value = 1.5, .value_mm = 38, .unit = 2, .outputFormat = 0}, "1,500 [in]"},
        {{.value = -1.5, .value_mm = -457, .unit = 3, .outputFormat = 2}, "-1,5000 ft"},
        {{.value = 2, .value_mm = 1829, .unit = 4, .outputFormat = 1}, "2,0000 yd"},
        {{.value = 2, .value_mm = 3218688, .unit = 5, .outputFormat = 1}, "2,00000000 mi"},
        {{.value = 0.5, .value_mm = 926000, .unit = 6, .outputFormat = 0}, "0,50000000 [nm]"},
        {{.value = 1, .value_mm = 1000, .unit = 99, .outputFormat = 1}, "1,000 m"}, // no such unit
        {{.value = 0, .value_mm = 0, .unit = 1}, "No Echo"},
        {{.value = 2147483.647, .value_mm = 2147483647, .unit = 1}, "No Echo"},
        {{.value = 2147483.632, .value_mm = 2147483632, .unit = 1}, "TempError"},
        {{.value = 2147483632, .value_mm = 0, .unit = 0}, "TempError"},
        {{.value = 2147483647, .value_mm = 2147483632, .unit = 1}, "TempError"}, // "TempErr!" sets both markers
    };
    for (const auto& [measurement, text] : rows) {
        EXPECT_EQ(DistanceText(measurement, ','), text);
    }
}

TEST(Charted, IsADistanceThatIsNotTooFar)
{
    for (const double value : {99999998.0, -99999998.0, 99999999.0, -99999999.0}) {
        EXPECT_EQ(IsCharted({.value = value, .value_mm = 1}, false), std::abs(value) < 99999999.0) << value;
    }
}

} // namespace
