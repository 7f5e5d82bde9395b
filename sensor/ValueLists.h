// The names of list values on the line and in the windows, by stored value: the lists that several places use, and the
// templates with which a row of the parameter table writes its own.
#pragma once

#include "texts/TextId.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

inline constexpr std::array<std::string_view, 6> kBaudrateTexts{"1200", "2400", "4800", "9600", "19200", "38400"};
inline constexpr std::array<std::string_view, 4> kOutputFormatTexts{"ASCII", "ASCII+UNIT", "BINARY", "BINARY+CRC"};
inline constexpr std::array<std::string_view, 5> kAverageDepthTexts{"1", "16", "64", "256", "1024"};

inline constexpr std::array<std::string_view, 7> kUnitNamesLong{"Millimeter", "Meter", "Inch",       "Foot",
                                                                "Yard",       "Mile",  "Nautic Mile"};
inline constexpr std::array kLogicNames{TextId::LogicNegative, TextId::LogicPositive};
inline constexpr std::array kStateNames{TextId::StateOff, TextId::StateOn};

template <std::size_t Size>
struct Literal {
    char characters[Size]; ///< with the terminating zero

    consteval Literal(const char (&text)[Size]) { std::ranges::copy(text, characters); }
};
/// A list of texts, `kTexts<"OFF", "ON">`.
template <Literal... literals>
inline constexpr std::array<std::string_view, sizeof...(literals)> kTexts{
    std::string_view(literals.characters, sizeof(literals.characters) - 1)...};
/// A list of names in the languages of the program, `kNames<TextId::StateOff, TextId::StateOn>`.
template <TextId... ids>
inline constexpr std::array<TextId, sizeof...(ids)> kNames{ids...};
