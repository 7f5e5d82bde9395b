#include "shell/modFunctions.h"

#include "shell/modGlobals.h"

namespace modFunctions {

namespace {

struct TextRow {
    std::int32_t id;
    std::string_view german, english;
};

constexpr TextRow kTexts[] = {
#define TEXT(id, german, english) {id, german, english},
#include "shell/StringTable.inc"
#undef TEXT
};

} // namespace

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
