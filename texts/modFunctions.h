// The program's texts by their names.
#pragma once

#include "texts/TextId.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

/// Added to the text ids of a language.
enum LanguageOffset : std::int32_t { LanguageGerman = 0, LanguageEnglish = 1000 };

namespace modFunctions {

/// The text (UTF-8) in the language with this offset (0 German, 1000 English). Empty for `TextId::None` and for a text
/// that is the same in both languages.
std::string_view GetText(TextId id, std::int32_t language);

/// The text (UTF-8) that is the same in both languages, such as a name; empty for any other.
std::string_view NeutralText(TextId id);

/// A text with its places "%1" to "%9" filled. What fills one is not searched for places again; a place without a part
/// stays.
std::string Filled(std::string_view text, std::initializer_list<std::string_view> parts);

} // namespace modFunctions
