// Numbers and texts, the same in every locale.
#include "base/Numbers.h"

#include "tests/support/GermanLocale.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(Numbers, RoundHalfToEven)
{
    using Row = std::pair<double, std::optional<std::int32_t>>;
    for (const auto& [value, rounded] :
         {Row{0.5, 0}, Row{1.5, 2}, Row{2.5, 2}, Row{-0.5, 0}, Row{-1.5, -2}, Row{-2.5, -2}, Row{2.51, 3},
          Row{-2.51, -3}, Row{4166.67, 4167}, Row{2147483647.4, 2147483647}, Row{2147483647.5, std::nullopt},
          Row{-2147483648.5, -2147483647 - 1}, Row{-2147483649.0, std::nullopt}, Row{NAN, std::nullopt},
          Row{INFINITY, std::nullopt}}) {
        EXPECT_EQ(RoundHalfToEven(value), rounded) << value;
    }
}

TEST_F(GermanLocale, ChangesNoNumberThatIsReadOrWritten)
{
    const std::pair<const char*, double> rows[] = {
        {"  1.25 m", 1.25}, {"1,25", 1}, {"-.5x", -0.5}, {"+7", 7},   {"+-7", 0},  {"1e3", 1000}, {"m 5", 0}, {"", 0},
        {"-", 0},           {".", 0},    {"inf", 0},     {"-nan", 0}, {"0x10", 0}, {"1e999", 0}};
    for (const auto& [text, value] : rows) {
        EXPECT_EQ(Val(text), value) << text;
    }
    using Whole = std::pair<const char*, std::optional<std::int32_t>>;
    for (const auto& [text, value] : {Whole{" -12 ", -12}, Whole{"+3", 3}, Whole{"1.5", {}}, Whole{"12 %", {}},
                                      Whole{"", {}}, Whole{"+-3", {}}, Whole{"2147483648", {}}}) {
        EXPECT_EQ(WholeNumber(text), value) << text;
    }
    EXPECT_EQ(FixedText(-1234.5, 3, ','), "-1234,500");
    EXPECT_EQ(FixedText(2.0, 0, ','), "2");
    EXPECT_EQ(FixedText(std::numeric_limits<double>::max(), 8, '.').size(), 318U);
}

TEST(Numbers, WhatIsPastedIsOneNumberOrNothing)
{
    using Row = std::tuple<const char*, char, char, std::optional<std::string>>;
    for (const auto& [text, decimal, group, number] : {Row{"1,234.5", '.', ',', "1234.5"},
                                                       Row{"1.234,5", ',', '.', "1234,5"},
                                                       Row{" -12\n", '.', ',', "-12"},
                                                       Row{"+7", '.', ',', "7"},
                                                       Row{"12\n34\n", '.', ',', {}},
                                                       Row{"12\t34", ',', '.', {}},
                                                       Row{"1,234,567", '.', ',', "1234567"},
                                                       Row{"1.234", ',', '.', "1234"},
                                                       Row{"1.5", ',', '.', "1,5"},
                                                       Row{"1,5", '.', ',', "1.5"},
                                                       Row{"12,34,567", '.', ',', {}},
                                                       Row{"1.234.5", '.', ',', {}},
                                                       Row{"1,2345.6", '.', ',', {}},
                                                       Row{"1234,567", '.', ',', "1234.567"},
                                                       Row{"1.234,5", '.', ',', {}},
                                                       Row{"1 234,5", ',', ' ', "1234,5"},
                                                       Row{"1'234.5", '.', '\'', "1234.5"},
                                                       Row{"12 34", ',', ' ', {}},
                                                       Row{"12 mm", '.', ',', {}},
                                                       Row{"1e3", '.', ',', {}},
                                                       Row{"-", '.', ',', {}},
                                                       Row{".", '.', ',', {}},
                                                       Row{"--5", '.', ',', {}},
                                                       Row{"", '.', ',', {}},
                                                       Row{",123", '.', ',', ".123"}}) {
        EXPECT_EQ(PastedNumber(text, decimal, group), number) << text << ", " << decimal;
    }
}

TEST(Numbers, KeysOfANumberBox)
{
    EXPECT_EQ(FilteredKey(',', '.'), '.');
    EXPECT_EQ(FilteredKey('.', ','), ',');
    EXPECT_EQ(FilteredKey('-', ','), '-');
    EXPECT_EQ(FilteredKey('e', ','), std::nullopt);
}

} // namespace
