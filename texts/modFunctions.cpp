#include "texts/modFunctions.h"

namespace modFunctions {

namespace {

struct TextRow {
    TextId id;
    std::string_view german, english;
};

constexpr TextRow kTexts[] = {
#define TEXT(id, name, german, english) {TextId::name, german, english},
#define SAME(id, name, text) {TextId::name, text, text},
#include "texts/StringTable.inc"
#undef SAME
#undef TEXT
};

struct NeutralRow {
    TextId id;
    std::string_view text;
};

constexpr NeutralRow kNeutralTexts[] = {
#define NEUTRAL(id, name, text) {TextId::name, text},
#include "texts/NeutralTable.inc"
#undef NEUTRAL
};

} // namespace

std::string_view NeutralText(TextId id)
{
    for (const NeutralRow& row : kNeutralTexts) {
        if (row.id == id) {
            return row.text;
        }
    }
    return {};
}

std::string_view GetText(TextId id, std::int32_t language)
{
    for (const TextRow& row : kTexts) {
        if (row.id == id) {
            return language == LanguageGerman ? row.german : row.english;
        }
    }
    return {};
}

std::string Filled(std::string_view text, std::initializer_list<std::string_view> parts)
{
    std::string filled;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool mayBePlace = text[at] == '%' && at + 1 < text.size() && text[at + 1] > '0';
        const auto number = static_cast<std::size_t>(mayBePlace ? text[at + 1] - '1' : 9);
        if (number < parts.size()) {
            filled += parts.begin()[number];
            ++at;
        } else {
            filled += text[at];
        }
    }
    return filled;
}

} // namespace modFunctions
