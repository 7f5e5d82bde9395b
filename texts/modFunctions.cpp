#include "texts/modFunctions.h"

#include "sensor/Parameters.h"
#include "store/modGlobals.h"

namespace modFunctions {

namespace {

struct TextRow {
    std::int32_t id;
    std::string_view german, english;
};

constexpr TextRow kTexts[] = {
#define TEXT(id, german, english) {id, german, english},
#define SAME(id, text) {id, text, text},
#include "texts/StringTable.inc"
#undef SAME
#undef TEXT
};

struct NeutralRow {
    std::int32_t id;
    std::string_view text;
};

constexpr NeutralRow kNeutralTexts[] = {
#define NEUTRAL(id, text) {id, text},
#include "texts/NeutralTable.inc"
#undef NEUTRAL
};

} // namespace

std::string_view NeutralText(std::int32_t id)
{
    for (const NeutralRow& row : kNeutralTexts) {
        if (row.id == id) {
            return row.text;
        }
    }
    for (const ParameterDef& row : ParameterTable()) {
        if (row.codeId == id) {
            return row.code;
        }
    }
    for (const ValueListDef& list : kValueLists) {
        const std::int32_t index = id - list.firstId;
        if (index >= 0 && static_cast<std::size_t>(index) < list.texts.size()) {
            return list.texts[static_cast<std::size_t>(index)];
        }
    }
    return {};
}

std::string_view GetText(std::int32_t id, std::int32_t language)
{
    for (const TextRow& row : kTexts) {
        if (row.id == id) {
            return language == LanguageGerman ? row.german : row.english;
        }
    }
    return {};
}

} // namespace modFunctions
