// Texts that anybody may have written, made fit to be shown.
#include "base/PlainText.h"

#include <gtest/gtest.h>

TEST(PlainText, IsOneLineOfWhatCanBePrinted)
{
    struct Row {
        const char* text;
        const char* shown;
    };
    for (const Row& row :
         {Row{"  a \t\r\n b  ", "a b"}, Row{"", ""}, Row{" \n ", ""}, Row{"\033[2Jgrün µ€ 😀", "?[2Jgrün µ€ 😀"},
          Row{"a\u009b31m", "a?31m"}, Row{"\x80g\xc3", "?g?"}, Row{"\xc0\xaf", "??"}, Row{"\xe0\x80\xaf|", "?|"},
          Row{"\xed\xa0\x80|", "?|"}, Row{"abc\u202edcba\u2066", "abc?dcba?"}, Row{"\ufeff\ue000\u061c", "???"}}) {
        EXPECT_EQ(PlainText(row.text, 20), row.shown) << row.shown;
    }
}

TEST(PlainText, IsCutAtACharacter)
{
    EXPECT_EQ(PlainText("grün", 4), "grün");
    EXPECT_EQ(PlainText("grün ", 4), "grün");
    EXPECT_EQ(PlainText("grüne", 4), "grü…");
    EXPECT_EQ(PlainText("ab c d", 4), "ab …");
}

TEST(Printable, KeepsTheFormOfATextButNoControlCharacter)
{
    EXPECT_EQ(Printable("  a\n\tb  "), "  a\n b  ");
    EXPECT_EQ(Printable("\033[31m 4\r\u009b\x80\u202e µ"), "?[31m 4???? µ");
}
