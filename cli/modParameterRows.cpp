#include "cli/modParameterRows.h"

#include "cli/clsArguments.h"
#include "cli/modRows.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"

std::vector<const ParameterDef*> ParametersOf(std::span<const std::string_view> names, const ParameterSet& set,
                                              const SensorIdentity& sensor)
{
    std::vector<const ParameterDef*> rows;
    for (const std::string_view name : names) {
        rows.push_back(ParameterOfName(name));
        if (rows.back() == nullptr) {
            throw UsageError("there is no parameter \"" + std::string(name) + "\"; rvqctl get --list names them all");
        }
    }
    if (names.empty()) {
        for (const ComparedRow& compared : Compare(set, set)) {
            if (IsReported(*compared.row, set, sensor)) {
                rows.push_back(compared.row);
            }
        }
    }
    return rows;
}

std::string JsonValue(const ParameterDef& row, std::int32_t value)
{
    if (row.control == ControlKind::Number) {
        return NumberText(row, value, '.');
    }
    return row.control == ControlKind::Check ? modRows::Truth(value != 0) : modRows::Quoted(DataValue(row, value));
}
