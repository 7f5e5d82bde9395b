#include "ui/settings/EnablingRule.h"

#include "sensor/Fields.h"

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
        for (const ParameterDef* row : RowsByControl()) {
            if (row->control == ControlKind::Number) {
                usable += rule.Controls[*row] ? '1' : '-';
            }
        }
        EXPECT_EQ(usable, boxes);
        EXPECT_EQ(rule.Controls[&ParameterSet::S2Logic], rule.Controls[&ParameterSet::AnalogMin]) << boxes;
        EXPECT_EQ(rule.Controls[&ParameterSet::OutputMode], rule.Controls[&ParameterSet::S1OnThreshold]) << boxes;
    }
}

} // namespace
