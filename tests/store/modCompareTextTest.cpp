// A comparison as text.
#include "store/modCompareText.h"

#include <gtest/gtest.h>

namespace {

TEST(CompareText, NoFieldBreaksItsLine)
{
    const modCompareText::Lines lines = {{"name", "a\tb", "c"}, {"Größe"}, {"°C", "1,5", "\"x\"\r\ny"}, {"z", "", "1"}};
    EXPECT_EQ(modCompareText::TabSeparated(lines), "name\ta b\tc\r\nGröße\r\n°C\t1,5\t\"x\"  y\r\nz\t\t1\r\n");
    EXPECT_EQ(modCompareText::Csv(lines), "name,a\tb,c\r\nGröße\r\n°C,\"1,5\",\"\"\"x\"\"\r\ny\"\r\nz,,1\r\n");
    EXPECT_EQ(modCompareText::Aligned(lines), "name  a b  c\r\nGröße\r\n°C    1,5  \"x\"  y\r\nz          1\r\n");
}

} // namespace
