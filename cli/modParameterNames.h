// Parameters and their values as an operator types them, and what may be typed.
#pragma once

#include "sensor/Parameters.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The parameter with this code, key in configuration files, or caption of its control in either language; null when
/// there is none. Letter case, blanks and hyphens do not count.
const ParameterDef* ParameterOfName(std::string_view name);

/// The same for several names; without any, all parameters that a set of this sensor has, in the order of the settings
/// window. Throws UsageError for a name that there is not.
std::vector<const ParameterDef*> ParametersOf(std::span<const std::string_view> names, const ParameterSet& set,
                                              const SensorIdentity& sensor);

/// The caption of its control, UTF-8.
std::string CaptionOf(const ParameterDef& row, std::int32_t language);

/// What a typed value means.
struct TypedValue {
    enum class Fault : std::uint8_t { None, NotAllowed, TooPrecise };
    Fault fault = Fault::None;
    std::int32_t stored = 0; ///< when there is no fault
};
/// A value of a list by its name in either language, as the sensor has it on the line, or, where that is its number, by
/// its number; letter case does not count. A number with comma or point. Both may have the unit of the parameter behind
/// them. A number outside its limits is not allowed; one that would have to be rounded is too precise.
TypedValue ValueOfText(const ParameterDef& row, std::string_view text);

/// "-32768 to 32767 mm" or "off, on": what may be typed; UTF-8.
std::string AllowedValues(const ParameterDef& row, std::int32_t language);

/// What a reader of data needs: the number of a number box with a point, else its English name, which is the same
/// whatever the language; without the unit.
std::string DataValue(const ParameterDef& row, std::int32_t value);
/// The same as JSON: a number, a truth for what is on or off, else a text.
std::string JsonValue(const ParameterDef& row, std::int32_t value);
