// What the operator may send by hand: a single command, or a frame or text, to which the carriage return is added.
#pragma once

#include "texts/TextId.h"

#include <string>
#include <string_view>

namespace modHandSending {

inline constexpr std::size_t kLongest = 40; ///< characters of a frame; a sensor takes no longer one

/// Why a typed text has no form that can be sent; None when it has one.
TextId ProblemOf(std::string_view typed);
/// What goes over the line for a text without a problem.
std::string BytesOf(std::string_view typed);
/// Whether it is a frame: three digits and a blank begin it. It may change a parameter.
bool IsFrame(std::string_view typed);

} // namespace modHandSending
