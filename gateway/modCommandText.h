// The text of a command from outside, which may hold anything.
#pragma once

#include "gateway/GatewayMessages.h"

#include <cstddef>
#include <string_view>

namespace modCommandText {

inline constexpr std::size_t kMostBytes = 65536;

/// "start", "stop", ...
std::string_view NameOf(CommandKind kind);

/// Reads the JSON text of a command into everything but its sensor. What is wrong with it is its problem; then what
/// else has been read, such as the id for the answer, still counts. A key that it does not know is a problem, too: a
/// typing error must not change what is done.
void Read(std::string_view text, GatewayCommand& command);

} // namespace modCommandText
