// Parameters and their values as an operator types them, and what may be typed.
#pragma once

#include "sensor/Parameters.h"

#include <cstdint>
#include <string>
#include <string_view>

/// The parameter with this code, key in configuration files, or caption of its control in either language; null when
/// there is none. Letter case, blanks and hyphens do not count.
const ParameterDef* ParameterOfName(std::string_view name);

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

/// Why a typed text is not taken, with what may be typed; UTF-8.
std::string WhyNotAllowed(const ParameterDef& row, std::string_view text, TypedValue::Fault fault,
                          std::int32_t language);

/// What a reader of data needs: the number of a number box with a point, else its English name, which is the same
/// whatever the language; without the unit.
std::string DataValue(const ParameterDef& row, std::int32_t value);
