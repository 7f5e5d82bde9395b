// Parameters and values as an operator types them.
#include "session/modParameterNames.h"

#include "texts/modFunctions.h"

#include <gtest/gtest.h>

namespace {

TEST(ParameterNames, AreCodesKeysAndCaptionsInBothLanguages)
{
    struct Row {
        const char* name;
        const char* code;
    };
    for (const Row& row :
         {Row{"701", "701"}, Row{"scalefactor", "702"}, Row{"Scaling Factor", "702"}, Row{"SKALIERUNGSFAKTOR", "702"},
          Row{"Maßeinheit", "111"}, Row{"on-threshold q2", "504"}, Row{"s1_on_threshold", "501"},
          Row{"EIN Schwelle Q1", "501"}, Row{"Scaling", ""}, Row{"", ""}, Row{"70", ""}, Row{"999", ""}}) {
        const ParameterDef* found = ParameterOfName(row.name);
        EXPECT_EQ(found == nullptr ? "" : found->code, row.code) << row.name;
    }
}

/// A name that meant two parameters would set the wrong one.
TEST(ParameterNames, MeanOneParameterEach)
{
    for (const ParameterDef& row : ParameterTable()) {
        for (const std::string& name : {std::string(row.code), std::string(row.key), CaptionOf(row, LanguageGerman),
                                        CaptionOf(row, LanguageEnglish)}) {
            EXPECT_EQ(ParameterOfName(name), &row) << name;
        }
    }
}

TEST(ParameterValues, AreTakenAsTypedOrNotAtAll)
{
    constexpr auto kNone = TypedValue::Fault::None, kNot = TypedValue::Fault::NotAllowed,
                   kPrecise = TypedValue::Fault::TooPrecise;
    struct Row {
        const char* code;
        const char* text;
        TypedValue::Fault fault;
        std::int32_t stored = 0;
    };
    for (const Row& row : {Row{"801", "21,5", kNone, 215},
                           Row{"801", " -10.0 °C ", kNone, -100},
                           Row{"801", "21.55", kPrecise},
                           Row{"801", "50.1", kNot},
                           Row{"702", "1.001", kNone, 1001},
                           Row{"702", "0.0005", kPrecise},
                           Row{"701", "-32768mm", kNone, -32768},
                           Row{"701", "32767.4", kNot},
                           Row{"701", "1e3", kNone, 1000},
                           Row{"701", "12 34", kNot},
                           Row{"701", "", kNot},
                           Row{"701", "nan", kNot},
                           Row{"701", "mm", kNot},
                           Row{"302", "50 %", kNone, 2},
                           Row{"302", "200", kNone, 4},
                           Row{"302", "51", kNot},
                           Row{"111", "meter", kNone, 1},
                           Row{"111", "NM", kNone, 6},
                           Row{"101", "ascii+unit", kNone, 1},
                           Row{"305", "ein", kNone, 1},
                           Row{"305", "Off", kNone, 0},
                           Row{"305", "2", kNot},
                           Row{"351", "pixel", kNone, 2}}) {
        const TypedValue value = ValueOfText(*ParameterOfCode(row.code), row.text);
        EXPECT_EQ(value.fault, row.fault) << row.code << " = " << row.text;
        if (row.fault == kNone) {
            EXPECT_EQ(value.stored, row.stored) << row.code << " = " << row.text;
        }
    }
}

/// What `get` prints can be given to `set`.
TEST(ParameterValues, GoThereAndBack)
{
    const ParameterSet set;
    for (const ParameterDef& row : ParameterTable()) {
        if (row.control == ControlKind::Number && set.*row.value >= row.limits.minimum) {
            EXPECT_EQ(ValueOfText(row, DataValue(row, set.*row.value)).stored, set.*row.value) << row.code;
        }
        for (std::size_t value = 0; row.control != ControlKind::Number && value < row.names.size(); ++value) {
            const auto stored = static_cast<std::int32_t>(value);
            EXPECT_EQ(ValueOfText(row, DataValue(row, stored)).stored, stored) << row.code;
        }
    }
}

} // namespace
