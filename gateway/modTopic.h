// Names that become part of a topic and of a path.
#pragma once

#include <string_view>

namespace modTopic {

/// Whether a name can be one level of a topic and the name of a folder: 1 to 64 bytes of printable UTF-8 without "/",
/// "\",
/// "+" and "#", without "$" or "." at the beginning, and without blanks at its ends or two in succession.
bool IsPart(std::string_view name);

} // namespace modTopic
