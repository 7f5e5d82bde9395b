#include "ui/settings/EnablingRule.h"

#include <gtest/gtest.h>

namespace {

TEST(EnablingRule, Boxes)
{
    using Row = std::pair<EditorState, const char*>;
    for (const auto& [state, boxes] :
         {Row{{.serial = true}, "11111111-------"}, Row{{.serial = true, .analogOutput = true}, "111111--11-----"},
          Row{{.serial = false, .analogOutput = true}, "1111------1----"},
          Row{{.serial = true, .busy = true}, "---------------"}}) {
        const EditorRule rule = RuleOf(state);
        std::string usable;
        for (const bool field : rule.Fields) {
            usable += field ? '1' : '-';
        }
        EXPECT_EQ(usable, boxes);
        EXPECT_EQ(rule.Choices[ChoiceS2Logic], rule.Fields[FieldAnalogMin]) << boxes;
        EXPECT_EQ(rule.Choices[ChoiceOutputMode], rule.Fields[FieldS1On]) << boxes;
    }
}

} // namespace
