// The program's texts by id.
#pragma once

#include <cstdint>
#include <string_view>

namespace modFunctions {

/// Ids of the texts that say why the sensor cannot be reached, the same in every window.
enum TextId : std::int32_t { TextNoConnection = 1134, TextPortNotOpen = 1136 };

/// The text (UTF-8) of a German id, 1000..1399, in the language with this offset (0 German, 1000 English).
/// Empty when there is none.
std::string_view GetText(std::int32_t id, std::int32_t language);

/// The text (UTF-8) of an id below 1000, the same in every language; empty when there is none.
std::string_view NeutralText(std::int32_t id);

} // namespace modFunctions
