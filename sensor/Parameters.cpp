#include "sensor/Parameters.h"

#include "base/Numbers.h"

#include <algorithm>

namespace {

using enum ParameterGroup;

// RainFilter is the one parameter whose two defaults differ: a new object has chosen none (-1, outside the list, so
// that an upload can tell), a file without the key means "OFF".
constexpr ParameterDef kParameters[] = {
    {18, "601", "Baudrate", &ParameterSet::Baudrate, 3, 3, kBaudrateTexts, "9600", 1211, Common},
    {2, "111", "DistanceUnit", &ParameterSet::DistanceUnit, 1, 1, kDistanceUnitTexts, "M", 1214, Common},
    {19, "603", "OutputMode", &ParameterSet::OutputMode, 0, 0, kOutputModeTexts, "C", 1212, Common},
    {1, "101", "OutputFormat", &ParameterSet::OutputFormat, 1, 1, kOutputFormatTexts, "ASCII+UNIT", 1213, Common},
    {20, "610", "NodeAddress", &ParameterSet::NodeAddress, -1, -1, {}, {}, 1218, Common},
    {6, "305", "AutoStart", &ParameterSet::AutostartMode, 0, 0, {}, {}, 1224, Common},
    {3, "301", "AverageDepth", &ParameterSet::AverageDepth, 4, 4, kAverageDepthTexts, "1024", 1221, Common},
    {5, "304", "MovingAverage", &ParameterSet::MovingAverage, 0, 0, {}, {}, 1223, Common},
    {4, "302", "TimeOut", &ParameterSet::TimeOut, 1, 1, kTimeOutTexts, "25", 1222, Common},
    {7, "306", "BoundChecking", &ParameterSet::EchoCheck, 1, 1, {}, {}, 1225, Common},
    {8, "311", "Blanking", &ParameterSet::Blanking, 0, 0, {}, {}, 1226, Common},
    {25, "351", "RainFilter", &ParameterSet::RainFilter, -1, 0, kRainFilterTexts, "", 1301, EchoFilter},
    {26, "352", "DistanceWindow", &ParameterSet::DistanceWindow, 20000, 20000, {}, {}, 1302, EchoFilter},
    {27, "353", "EchoThreshold", &ParameterSet::EchoThreshold, 512, 512, {}, {}, 1303, EchoFilter},
    {28, "354", "DistanceLimit", &ParameterSet::DistanceLimit, 1000, 1000, {}, {}, 1304, EchoFilter},
    {29, "355", "ValidMeasurements", &ParameterSet::MeasValid, 1, 1, {}, {}, 1305, EchoFilter},
    {21, "701", "Offset", &ParameterSet::Offset, 0, 0, {}, {}, 1231, Common},
    {22, "702", "ScaleFactor", &ParameterSet::ScaleFactor, 1000, 1000, {}, {}, 1232, Common},
    {23, "801", "Temperature", &ParameterSet::Temperature, 200, 200, {}, {}, 1233, Common},
    {24, "802", "AirPressure", &ParameterSet::AirPressure, 1013, 1013, {}, {}, 1234, Common},
    {14, "503", "S1Logic", &ParameterSet::S1Logic, 1, 1, {}, {}, 1251, SerialOnly},
    {12, "501", "S1OnThreshold", &ParameterSet::S1OnThreshold, 10000, 10000, {}, {}, 1252, SerialOnly},
    {13, "502", "S1OffThreshold", &ParameterSet::S1OffThreshold, 9900, 9900, {}, {}, 1253, SerialOnly},
    {17, "506", "S2Logic", &ParameterSet::S2Logic, 1, 1, {}, {}, 1255, SerialOnly},
    {15, "504", "S2OnThreshold", &ParameterSet::S2OnThreshold, 1000, 1000, {}, {}, 1256, SerialOnly},
    {16, "505", "S2OffThreshold", &ParameterSet::S2OffThreshold, 900, 900, {}, {}, 1257, SerialOnly},
    {11, "403", "AnalogOutput", &ParameterSet::AnalogOutput, 0, 0, {}, {}, 1241, SerialOnly},
    {9, "401", "AnalogMin", &ParameterSet::AnalogMin, 1000, 1000, {}, {}, 1242, SerialOnly},
    {10, "402", "AnalogMax", &ParameterSet::AnalogMax, 9000, 9000, {}, {}, 1243, SerialOnly},
};

} // namespace

ParameterSet::ParameterSet()
{
    for (const ParameterDef& row : kParameters) {
        this->*row.value = row.defaultValue;
    }
}

std::span<const ParameterDef> ParameterTable()
{
    return kParameters;
}

const ParameterDef* ParameterOfCode(std::string_view code)
{
    const auto* row = std::ranges::find(kParameters, code, &ParameterDef::code);
    return row == std::end(kParameters) ? nullptr : row;
}

std::string WireValue(const ParameterSet& set, std::string_view code)
{
    const ParameterDef* row = ParameterOfCode(code);
    if (row == nullptr) {
        return {};
    }
    const std::int32_t value = set.*row->value;
    if (row->wireTexts.empty()) {
        return std::to_string(value);
    }
    const bool listed = value >= 0 && static_cast<std::size_t>(value) < row->wireTexts.size();
    return std::string(listed ? row->wireTexts[static_cast<std::size_t>(value)] : row->fallback);
}

std::int32_t RateOfIndex(std::int32_t index)
{
    const bool listed = index >= 0 && static_cast<std::size_t>(index) < kBaudrateTexts.size();
    return listed ? WholeNumber(kBaudrateTexts[static_cast<std::size_t>(index)]).value_or(0) : 0;
}

std::int32_t SensorRate(std::int32_t rate)
{
    const bool listed = std::ranges::find(kBaudrateTexts, std::to_string(rate)) != kBaudrateTexts.end();
    return listed ? rate : kUsualRate;
}

const UnitDef& UnitOf(std::int32_t distanceUnit)
{
    const bool known = distanceUnit >= 0 && static_cast<std::size_t>(distanceUnit) < kUnits.size();
    return kUnits[known ? static_cast<std::size_t>(distanceUnit) : 1];
}
