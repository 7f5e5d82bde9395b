// Two sets of parameters side by side.
#pragma once

#include "sensor/Parameters.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ComparedRow {
    const ParameterDef* row = nullptr;
    /// Empty when the set's type of sensor has no such parameter.
    std::optional<std::int32_t> left{}, right{}, factory{};
    bool Differs() const { return left != right; }
};

/// One row for each parameter that one of the two has, in the order of the settings window's groups.
std::vector<ComparedRow> Compare(const ParameterSet& left, const ParameterSet& right);

/// A value as its control shows it, without its unit; UTF-8.
std::string ShownValue(const ParameterDef& row, std::int32_t value, char decimalSeparator, std::int32_t language);

/// The codes, in the order of an upload, of the parameters that differ and that this sensor has: what leads it from
/// `current` to `target`. Unlike an upload, it has the thresholds of Q2 while the analog output takes their place, and
/// the echo parameters of a sensor that has them.
std::vector<std::string> CodesThatLead(const ParameterSet& current, const ParameterSet& target,
                                       const SensorIdentity& sensor);
