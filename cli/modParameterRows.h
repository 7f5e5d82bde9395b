// The parameters that a command is about, and their values as JSON.
#pragma once

#include "session/modParameterNames.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The parameters with these names, see `ParameterOfName`; without any, all that a set of this sensor has, in the order
/// of the settings window. Throws UsageError for a name that there is not.
std::vector<const ParameterDef*> ParametersOf(std::span<const std::string_view> names, const ParameterSet& set,
                                              const SensorIdentity& sensor);

/// `DataValue` as JSON: a number, a truth for what is on or off, else a text.
std::string JsonValue(const ParameterDef& row, std::int32_t value);
