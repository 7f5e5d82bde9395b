#include "sensor/modCompare.h"

#include "sensor/Fields.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

bool isNumber(const ParameterDef& row)
{
    return row.control == ControlKind::Number;
}

bool isWithin(const ParameterDef& row, std::int32_t value)
{
    return isNumber(row) ? value >= row.limits.minimum && value <= row.limits.maximum
                         : value >= 0 && value < ValueCount(row);
}

std::optional<std::int32_t> valueIn(const ParameterSet& set, const ParameterDef& row)
{
    const bool none = row.value == &ParameterSet::RainFilter && set.RainFilter == -1;
    return IsShown(row, IsSerial(set)) && !none ? std::optional(set.*row.value) : std::nullopt;
}

/// A new set has no rain filter, and no node address; a sensor that has a rain filter comes with it switched off.
std::optional<std::int32_t> factoryValue(const ParameterDef& row)
{
    const std::int32_t value = row.missingKeyValue.value_or(row.defaultValue);
    return isWithin(row, value) ? std::optional(value) : std::nullopt;
}

bool keepsDistance(const ParameterDef& row, const ParameterSet& set)
{
    return row.apart.partner == nullptr ||
           std::abs(std::int64_t{set.*row.apart.partner} - set.*row.value) >= row.apart.least;
}

} // namespace

std::vector<ComparedRow> Compare(const ParameterSet& left, const ParameterSet& right)
{
    std::vector<ComparedRow> rows;
    for (const ParameterDef* row : RowsByControl()) {
        const ComparedRow compared{row, valueIn(left, *row), valueIn(right, *row), factoryValue(*row)};
        if (compared.left || compared.right) {
            rows.push_back(compared);
        }
    }
    std::ranges::stable_sort(rows, {}, [](const ComparedRow& compared) { return compared.row->section; });
    return rows;
}

std::string ShownValue(const ParameterDef& row, std::int32_t value, char decimalSeparator, std::int32_t language)
{
    if (isNumber(row)) {
        return NumberText(row, value, decimalSeparator);
    }
    std::string name = ValueName(row, value, language);
    if (name.empty()) {
        return std::to_string(value);
    }
    const std::string unit = WithUnit(row, {});
    if (!row.unit.empty() && name.ends_with(unit)) {
        name.resize(name.size() - unit.size());
    }
    return name;
}

TextId GroupOf(const ParameterDef& row)
{
    switch (row.section) {
    case SettingsSection::Interface:
        return TextId::FrameInterface;
    case SettingsSection::Measurement:
        return TextId::FrameMeasurementSettings;
    case SettingsSection::Correction:
        return TextId::FrameCorrection;
    case SettingsSection::RainAndEcho:
        return TextId::FrameRainFilter;
    default:
        return TextId::FrameSwitches;
    }
}

ParameterSet FactorySet(const ParameterSet& like)
{
    ParameterSet set;
    set.NodeAddress = like.NodeAddress;
    if (like.RainFilter != -1) {
        set.RainFilter = factoryValue(RowOf(&ParameterSet::RainFilter)).value_or(-1);
    }
    return set;
}

std::vector<std::string> CodesInOrder(std::vector<const ParameterDef*> rows)
{
    std::ranges::sort(rows, {}, &ParameterDef::codeId);
    std::vector<std::string> codes;
    codes.reserve(rows.size());
    for (const ParameterDef* row : rows) {
        codes.emplace_back(row->code);
    }
    return codes;
}

std::vector<std::string> CodesThatLead(const ParameterSet& current, const ParameterSet& target,
                                       const SensorIdentity& sensor)
{
    std::vector<const ParameterDef*> rows;
    for (const ParameterDef& row : ParameterTable()) {
        const bool exists =
            IsShown(row, IsSerial(current)) && (row.group != ParameterGroup::EchoFilter || HasEchoFilter(sensor));
        if (exists && current.*row.value != target.*row.value && !WireValue(target, row.code).empty()) {
            rows.push_back(&row);
        }
    }
    return CodesInOrder(std::move(rows));
}

SendObstacle ObstacleOf(const ParameterDef& row, const ParameterSet& current, const ParameterSet& target,
                        const SensorIdentity& sensor)
{
    if (!IsReported(row, current, sensor)) {
        return SendObstacle::NotInSensor;
    }
    if (row.editable == EditableWhen::Never || (row.editable == EditableWhen::Serial && !IsSerial(current))) {
        return SendObstacle::ReadOnly;
    }
    if (!valueIn(target, row)) {
        return SendObstacle::NoValue;
    }
    return isWithin(row, target.*row.value) && keepsDistance(row, target) ? SendObstacle::None : SendObstacle::NotValid;
}

const ParameterDef* TooClose(const ParameterSet& current, const ParameterSet& target,
                             const std::vector<std::string>& codes, const SensorIdentity& sensor)
{
    ParameterSet result = current;
    for (const std::string& code : codes) {
        const ParameterDef& row = *ParameterOfCode(code);
        result.*row.value = target.*row.value;
    }
    const auto isInvalid = [&](const ParameterDef& row, const ParameterSet& set) {
        return ObstacleOf(row, current, set, sensor) == SendObstacle::NotValid;
    };
    for (const ParameterDef& row : ParameterTable()) {
        const bool isSent = std::ranges::find(codes, row.code) != codes.end();
        if (isInvalid(row, result) && (isSent || !isInvalid(row, current))) {
            return &row;
        }
    }
    return nullptr;
}
