// The warnings about a set of parameters, and which typed numbers are moved to a limit.
#include "sensor/modChecks.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

struct Found {
    std::int32_t ParameterSet::*member;
    TextId textId;
    const char* arg = "";
};

TEST(Checks, WarnOfWhatNobodyCanMeanAndOfNothingElse)
{
    struct Row {
        const char* what;
        std::function<void(ParameterSet&)> change;
        std::vector<Found> found;
    };
    using Set = ParameterSet;
    const Row rows[] = {
        {"factory defaults", [](Set&) {}, {}},
        {"ON below OFF", [](Set& s) { s.S1OnThreshold = 9000; }, {{&Set::S1OnThreshold, TextId::CheckThresholdOrder}}},
        {"the same, negative", [](Set& s) { s.S1OnThreshold = 9000, s.S1Logic = 0; }, {}},
        {"9 mm apart, and in the wrong order",
         [](Set& s) { s.S1OnThreshold = 9891; },
         {{&Set::S1OffThreshold, TextId::CheckThresholdsClose, "10 mm"}}},
        {"10 mm apart", [](Set& s) { s.S1OffThreshold = 9990; }, {}},
        {"Q2", [](Set& s) { s.S2OffThreshold = 2000; }, {{&Set::S2OnThreshold, TextId::CheckThresholdOrder}}},
        {"Q2 under the analog output", [](Set& s) { s.S2OffThreshold = 2000, s.AnalogOutput = 1; }, {}},
        {"analog limits while it is off", [](Set& s) { s.AnalogMax = s.AnalogMin; }, {}},
        {"equal",
         [](Set& s) { s.AnalogMax = s.AnalogMin, s.AnalogOutput = 1; },
         {{&Set::AnalogMax, TextId::CheckAnalogEqual}}},
        {"close",
         [](Set& s) { s.AnalogMax = 1, s.AnalogOutput = 1; },
         {{&Set::AnalogMax, TextId::CheckAnalogClose, "1000 mm"}}},
        {"turned round",
         [](Set& s) { s.AnalogMax = 0, s.AnalogOutput = 1; },
         {{&Set::AnalogMax, TextId::CheckAnalogTurned}}},
        {"below the front of the sensor",
         [](Set& s) { s.S2OffThreshold = -1; },
         {{&Set::S2OffThreshold, TextId::CheckNeverBelow, "0 mm"}}},
        {"with an offset", [](Set& s) { s.S2OffThreshold = -500, s.Offset = -500; }, {}},
        {"beyond it", // the offset itself is below the measured distance
         [](Set& s) { s.S2OffThreshold = -501, s.Offset = 500; },
         {{&Set::S2OffThreshold, TextId::CheckNeverBelow, "-500 mm"}}},
        {"counted backwards",
         [](Set& s) { s.ScaleFactor = -1000, s.S1OnThreshold = 0, s.S1OffThreshold = -100, s.S2OffThreshold = -2000; },
         {{&Set::S2OnThreshold, TextId::CheckNeverAbove, "0 mm"}}},
        {"no scale", [](Set& s) { s.ScaleFactor = 0, s.S2OffThreshold = -2000; }, {}},
        {"as large as the distance", [](Set& s) { s.Offset = -2000; }, {}},
        {"larger", [](Set& s) { s.Offset = -2001; }, {{&Set::Offset, TextId::CheckOffset, "2000 mm"}}},
        {"the sensor's own", [](Set& s) { s.Offset = 7000; }, {}},
        {"Profibus", [](Set& s) { s.S1OnThreshold = -9, s.NodeAddress = 3; }, {}},
    };
    for (const Row& row : rows) {
        ParameterSet set;
        row.change(set);
        std::vector<Warning> expected;
        for (const Found& found : row.found) {
            expected.push_back({&RowOf(found.member), found.textId, {}});
            if (*found.arg != '\0') {
                expected.back().args = {found.arg};
            }
        }
        EXPECT_EQ(modChecks::Check(set, 2000, 7000), expected) << row.what;
    }
    EXPECT_TRUE(modChecks::Check({.Offset = -2001}, std::nullopt, 0).empty()) << "nothing is measured";
}

TEST(Checks, ATypedNumberBeyondALimitIsTold)
{
    using enum BeyondLimit;
    for (const auto& [member, typed, beyond] : {std::tuple(&ParameterSet::AirPressure, "1200", No),
                                                {&ParameterSet::AirPressure, "1200,1", Upper},
                                                {&ParameterSet::AirPressure, "-5", Lower},
                                                {&ParameterSet::AirPressure, "", No},
                                                {&ParameterSet::Temperature, "50.0", No},
                                                {&ParameterSet::Temperature, "50,1", Upper}}) {
        EXPECT_EQ(modChecks::LimitOf(RowOf(member), typed), beyond) << typed;
    }
}

} // namespace
