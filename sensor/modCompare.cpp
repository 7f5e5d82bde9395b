#include "sensor/modCompare.h"

#include "sensor/Fields.h"

#include <algorithm>

namespace {

std::optional<std::int32_t> valueIn(const ParameterSet& set, const ParameterDef& row)
{
    return IsShown(row, IsSerial(set)) ? std::optional(set.*row.value) : std::nullopt;
}

} // namespace

std::vector<ComparedRow> Compare(const ParameterSet& left, const ParameterSet& right)
{
    std::vector<ComparedRow> rows;
    for (const ParameterDef* row : RowsByControl()) {
        ComparedRow compared{row, valueIn(left, *row), valueIn(right, *row), row->defaultValue};
        if (compared.left || compared.right) {
            rows.push_back(compared);
        }
    }
    std::ranges::stable_sort(rows, {}, [](const ComparedRow& compared) { return compared.row->section; });
    return rows;
}

std::string ShownValue(const ParameterDef& row, std::int32_t value, char decimalSeparator, std::int32_t language)
{
    return row.control == ControlKind::Number ? NumberText(row, value, decimalSeparator)
                                              : ValueName(row, value, language);
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
    std::ranges::sort(rows, {}, &ParameterDef::codeId);
    std::vector<std::string> codes;
    for (const ParameterDef* row : rows) {
        codes.emplace_back(row->code);
    }
    return codes;
}
