// The text table and the conversions at the windows' edge.
#include "shell/QtText.h"
#include "shell/modFunctions.h"

#include <gtest/gtest.h>
#include <set>

namespace {

TEST(Texts, EveryRowHasTwoDifferentTextsAndAnIdOfItsOwn)
{
    struct Row {
        int id;
        const char *german, *english;
    };
    const Row rows[] = {
#define TEXT(id, german, english) {id, german, english},
#include "shell/StringTable.inc"
#undef TEXT
    };
    std::set<int> ids;
    for (const Row& row : rows) {
        EXPECT_TRUE(ids.insert(row.id).second) << row.id << " stands twice";
        EXPECT_STRNE(row.german, row.english) << row.id;
        EXPECT_GT(row.id, 1000) << "1000 stays free: it is what a control without an id asks for";
        EXPECT_LT(row.id, 1400);
        EXPECT_EQ(modFunctions::GetText(row.id, 0), row.german);
        EXPECT_EQ(modFunctions::GetText(row.id, 1000), row.english);
        EXPECT_FALSE(FromUtf8(row.german).contains(QChar::ReplacementCharacter)) << row.id;
    }
    EXPECT_EQ(modFunctions::GetText(1401, 1000), "");
}

TEST(Texts, BytesGoThereAndBack)
{
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(FromBytes(all).size(), 256);
    EXPECT_EQ(ToBytes(FromBytes(all)), all);
    EXPECT_EQ(FromBytes("23 \xB0\x43 \x80"), QStringLiteral("23 °C €"));
    EXPECT_EQ(ToBytes(QStringLiteral("aΩ😀ß")), "a??\xDF");
}

} // namespace
