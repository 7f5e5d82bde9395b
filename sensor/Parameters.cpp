#include "sensor/Parameters.h"

#include "base/Numbers.h"

#include <algorithm>

namespace {

using enum ParameterGroup;

// RainFilter is the one parameter whose two defaults differ: a new object has chosen none (-1, outside the list, so
// that an upload can tell), a file without the key means "OFF".
constexpr ParameterDef kParameters[] = {
    {18, "601", "Baudrate", &ParameterSet::Baudrate, 3, 3, kBaudrateTexts, "9600", TextId::LabelBaudrate, Common},
    {2, "111", "DistanceUnit", &ParameterSet::DistanceUnit, 1, 1, kDistanceUnitTexts, "M", TextId::LabelDistanceUnit,
     Common},
    {19, "603", "OutputMode", &ParameterSet::OutputMode, 0, 0, kOutputModeTexts, "C", TextId::LabelOutputMode, Common},
    {1, "101", "OutputFormat", &ParameterSet::OutputFormat, 1, 1, kOutputFormatTexts, "ASCII+UNIT",
     TextId::LabelOutputFormat, Common},
    {20, "610", "NodeAddress", &ParameterSet::NodeAddress, -1, -1, {}, {}, TextId::LabelNodeAddress, Common},
    {6, "305", "AutoStart", &ParameterSet::AutostartMode, 0, 0, {}, {}, TextId::LabelAutostart, Common},
    {3, "301", "AverageDepth", &ParameterSet::AverageDepth, 4, 4, kAverageDepthTexts, "1024", TextId::LabelAverageDepth,
     Common},
    {5, "304", "MovingAverage", &ParameterSet::MovingAverage, 0, 0, {}, {}, TextId::LabelMovingAverage, Common},
    {4, "302", "TimeOut", &ParameterSet::TimeOut, 1, 1, kTimeOutTexts, "25", TextId::LabelTimeOut, Common},
    {7, "306", "BoundChecking", &ParameterSet::EchoCheck, 1, 1, {}, {}, TextId::LabelEchoCheck, Common},
    {8, "311", "Blanking", &ParameterSet::Blanking, 0, 0, {}, {}, TextId::LabelBlanking, Common},
    {25, "351", "RainFilter", &ParameterSet::RainFilter, -1, 0, kRainFilterTexts, "", TextId::LabelRainFilter,
     EchoFilter},
    {26,
     "352",
     "DistanceWindow",
     &ParameterSet::DistanceWindow,
     20000,
     20000,
     {},
     {},
     TextId::LabelDistanceWindow,
     EchoFilter},
    {27,
     "353",
     "EchoThreshold",
     &ParameterSet::EchoThreshold,
     512,
     512,
     {},
     {},
     TextId::LabelEchoThreshold,
     EchoFilter},
    {28,
     "354",
     "DistanceLimit",
     &ParameterSet::DistanceLimit,
     1000,
     1000,
     {},
     {},
     TextId::LabelDistanceLimit,
     EchoFilter},
    {29,
     "355",
     "ValidMeasurements",
     &ParameterSet::MeasValid,
     1,
     1,
     {},
     {},
     TextId::LabelValidMeasurements,
     EchoFilter},
    {21, "701", "Offset", &ParameterSet::Offset, 0, 0, {}, {}, TextId::LabelOffset, Common},
    {22, "702", "ScaleFactor", &ParameterSet::ScaleFactor, 1000, 1000, {}, {}, TextId::LabelScaleFactor, Common},
    {23, "801", "Temperature", &ParameterSet::Temperature, 200, 200, {}, {}, TextId::LabelTemperature, Common},
    {24, "802", "AirPressure", &ParameterSet::AirPressure, 1013, 1013, {}, {}, TextId::LabelAirPressure, Common},
    {14, "503", "S1Logic", &ParameterSet::S1Logic, 1, 1, {}, {}, TextId::LabelS1Logic, SerialOnly},
    {12, "501", "S1OnThreshold", &ParameterSet::S1OnThreshold, 10000, 10000, {}, {}, TextId::LabelS1On, SerialOnly},
    {13, "502", "S1OffThreshold", &ParameterSet::S1OffThreshold, 9900, 9900, {}, {}, TextId::LabelS1Off, SerialOnly},
    {17, "506", "S2Logic", &ParameterSet::S2Logic, 1, 1, {}, {}, TextId::LabelS2Logic, SerialOnly},
    {15, "504", "S2OnThreshold", &ParameterSet::S2OnThreshold, 1000, 1000, {}, {}, TextId::LabelS2On, SerialOnly},
    {16, "505", "S2OffThreshold", &ParameterSet::S2OffThreshold, 900, 900, {}, {}, TextId::LabelS2Off, SerialOnly},
    {11, "403", "AnalogOutput", &ParameterSet::AnalogOutput, 0, 0, {}, {}, TextId::LabelAnalogOutput, SerialOnly},
    {9, "401", "AnalogMin", &ParameterSet::AnalogMin, 1000, 1000, {}, {}, TextId::LabelAnalogMin, SerialOnly},
    {10, "402", "AnalogMax", &ParameterSet::AnalogMax, 9000, 9000, {}, {}, TextId::LabelAnalogMax, SerialOnly},
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
