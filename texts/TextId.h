// The names of the program's texts. The two tables list each text once, with its number, its name and its wording.
#pragma once

#include <cstdint>

enum class TextId : std::int32_t {
    None = 0,
#define TEXT(id, name, german, english) name = (id),
#define SAME(id, name, text) name = (id),
#define NEUTRAL(id, name, text) name = (id),
#include "texts/NeutralTable.inc"
#include "texts/StringTable.inc"
#undef NEUTRAL
#undef SAME
#undef TEXT
};
