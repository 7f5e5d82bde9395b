// The program's texts by their names.
#pragma once

#include "texts/TextId.h"

#include <cstdint>
#include <string_view>

/// Added to the text ids of a language.
enum LanguageOffset : std::int32_t { LanguageGerman = 0, LanguageEnglish = 1000 };

namespace modFunctions {

/// The text (UTF-8) in the language with this offset (0 German, 1000 English). Empty for `TextId::None` and for a text
/// that is the same in both languages.
std::string_view GetText(TextId id, std::int32_t language);

/// The text (UTF-8) that is the same in both languages, such as a name; empty for any other.
std::string_view NeutralText(TextId id);

} // namespace modFunctions
