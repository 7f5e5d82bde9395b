// How much of a line is still to come is known from the lines before it, and nothing is guessed.
#include "gateway/clsLineEnd.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace {

/// What is missing behind the last of these pieces.
std::size_t missingAfter(std::initializer_list<std::string_view> pieces)
{
    clsLineEnd end;
    for (const std::string_view piece : pieces) {
        end.Came(piece);
    }
    return end.Missing();
}

TEST(LineEnd, IsExpectedWhereTheLinesBeforeHaveHadIt)
{
    EXPECT_EQ(missingAfter({"  1.234 m\r\n", "  1.2", "35 m\r\n", "  1"}), 8u) << "after two lines of one length";
    EXPECT_EQ(missingAfter({"  1.234 m\r\n  1.235 m\r\n  1.236 m\r"}), 1u) << "in one piece";
    EXPECT_EQ(missingAfter({"  1.234 m\r\n", "  1.235 m\r\n"}), 0u) << "none has begun";
    EXPECT_EQ(missingAfter({"  1.234 m\r\n", "  1"}), 0u) << "after one line";
    EXPECT_EQ(missingAfter({"  1.234 m\r\n", " 12.345 m\r\n\n", "  1"}), 0u) << "after lines of other lengths";
    EXPECT_EQ(missingAfter({"  1.234 m\r\n", "  1.235 m\r\n", " 12.345 m\r\r\r"}), 0u) << "of a longer one";
}

} // namespace
