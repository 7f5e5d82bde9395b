#include "sensor/Parameters.h"

#include "base/Numbers.h"

#include <algorithm>

namespace {

using enum ControlKind;
using enum EditableWhen;
using enum ParameterGroup;
using enum SettingsSection;

constexpr ParameterDef::Limits kAnyDistance{-1000000, 1000000}; // mm

constexpr ParameterDef kParameters[] = {
#define PARAMETER(name, standard, ...) {.value = &ParameterSet::name, .defaultValue = standard, __VA_ARGS__},
#include "sensor/ParameterTable.inc"
#undef PARAMETER
};
static_assert(std::size(kParameters) == kParameterCount);

} // namespace

std::span<const ParameterDef> ParameterTable()
{
    return kParameters;
}

const ParameterDef* ParameterOfCode(std::string_view code)
{
    const auto* row = std::ranges::find(kParameters, code, &ParameterDef::code);
    return row == std::end(kParameters) ? nullptr : row;
}

const ParameterDef& RowOf(std::int32_t ParameterSet::*value)
{
    return *std::ranges::find(kParameters, value, &ParameterDef::value); // every member comes from a row
}

std::string WireValue(const ParameterSet& set, std::string_view code)
{
    const ParameterDef* row = ParameterOfCode(code);
    if (row == nullptr) {
        return {};
    }
    if (row->wireTexts.empty()) {
        return std::to_string(set.*row->value);
    }
    // A value outside the list is sent as the default; if the default is outside too, nothing is sent.
    for (const std::int32_t value : {set.*row->value, row->defaultValue}) {
        if (value >= 0 && static_cast<std::size_t>(value) < row->wireTexts.size()) {
            return std::string(row->wireTexts[static_cast<std::size_t>(value)]);
        }
    }
    return {};
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
