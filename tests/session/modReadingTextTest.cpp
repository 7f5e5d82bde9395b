// The texts of what is read from a curve.
#include "session/modReadingText.h"

#include <gtest/gtest.h>

namespace {

constexpr double kSecond = 1.0 / 86400.0;
constexpr std::int32_t kMillimetres = 0, kMetres = 1, kFeet = 3;

TEST(ReadingText, NumbersHaveTheDecimalsOfTheirUnit)
{
    EXPECT_EQ(modReadingText::Length(2223, kMetres, 0, '.'), "2.223 m");
    EXPECT_EQ(modReadingText::Length(2223.26, kMillimetres, 1, ','), "2223,3 mm");
    EXPECT_EQ(modReadingText::Length(-304.8, kFeet, 0, '.'), "-1.0000 ft");
    EXPECT_EQ(modReadingText::LengthPer(-12.0, "min", kMetres, ','), "-0,0120 m/min");
    EXPECT_EQ(modReadingText::LengthPer(-0.01, "min", kMetres, '.'), "0.0000 m/min") << "no minus without a digit";
    EXPECT_EQ(modReadingText::Share(999, 1000, ','), "99,9 %");
    EXPECT_EQ(modReadingText::Share(19999, 20000, '.'), "99.9 %") << "100 % would say that none is missing";
    EXPECT_EQ(modReadingText::Share(0, 0, '.'), "–");
}

TEST(ReadingText, TimesAreReadable)
{
    struct Row {
        double seconds;
        const char* difference;
        const char* roughly;
    };
    for (const Row& row :
         {Row{0, "0.0 ms", "0 s"}, Row{0.0165, "16.5 ms", "0 s"}, Row{12.345, "12.345 s", "12 s"},
          Row{60, "60.000 s", "1 min"}, Row{200.5, "200.500 s", "3 min 20 s"}, Row{3600, "1.0000 h", "1 h"},
          Row{3900, "1.0833 h", "1 h 5 min"}, Row{183600, "51.0000 h", "2 d 3 h"}}) {
        EXPECT_EQ(modReadingText::Difference(row.seconds * kSecond, '.'), row.difference) << row.seconds;
        EXPECT_EQ(modReadingText::Roughly(row.seconds * kSecond), row.roughly) << row.seconds;
    }
    EXPECT_EQ(modReadingText::Difference(-1.5 * kSecond, ','), "-1,500 s");
    EXPECT_EQ(modReadingText::TimeOfDay(46000.5 + 61.25 * kSecond, 3, ','), "12:01:01,250");
    EXPECT_EQ(modReadingText::TimeOfDay(46000.9999999999, 1, '.'), "00:00:00.0") << "the next day";
}

} // namespace
