#include "gateway/modTopic.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

TEST(Topic, TakesNamesThatAreOneLevelAndOneFolder)
{
    for (const std::string_view name : {"silo 7", "Kran-Süd", "a", "x.1"}) {
        EXPECT_TRUE(modTopic::IsPart(name)) << name;
    }
    using namespace std::string_view_literals;
    for (const std::string_view name :
         {""sv, "a/b"sv, "+"sv, "a#"sv, ".."sv, "$SYS"sv, " a"sv, "a "sv, "a\0b"sv, "a\nb"sv, "\xff"sv, "a\\b"sv}) {
        EXPECT_FALSE(modTopic::IsPart(name)) << name;
    }
    EXPECT_FALSE(modTopic::IsPart(std::string(65, 'x')));
}
