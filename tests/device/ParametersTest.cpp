// The parameter table and the wire values that come from it.
#include "device/Parameters.h"

#include <gtest/gtest.h>
#include <set>
#include <tuple>

namespace {

TEST(Parameters, NoRowKeepsTheIdOrTheLabelThatItWasCopiedWith)
{
    std::set<std::int32_t> ids, labels;
    for (const ParameterDef& row : Parameters()) {
        EXPECT_TRUE(ids.insert(row.codeId).second && labels.insert(row.labelId).second) << row.code;
    }
}

TEST(WireValue, OfListedAndPlainParameters)
{
    using Row = std::tuple<const char*, std::int32_t clsRVQ::*, std::int32_t, const char*>;
    for (const auto& [code, member, value, wire] :
         {Row{"601", &clsRVQ::Baudrate, 3, "9600"}, Row{"601", &clsRVQ::Baudrate, -1, "9600"},
          Row{"111", &clsRVQ::DistanceUnit, 7, "M"}, Row{"101", &clsRVQ::OutputFormat, 4, "ASCII+UNIT"},
          Row{"603", &clsRVQ::OutputMode, 2, "R"}, Row{"603", &clsRVQ::OutputMode, 3, "C"},
          Row{"301", &clsRVQ::AverageDepth, 9, "1024"}, Row{"302", &clsRVQ::TimeOut, 4, "200"},
          Row{"351", &clsRVQ::RainFilter, 3, ""}, Row{"701", &clsRVQ::Offset, -5, "-5"},
          Row{"502", &clsRVQ::S1OffThreshold, 2147483647, "2147483647"}, Row{"999", &clsRVQ::Offset, 1, ""},
          Row{"30", &clsRVQ::TimeOut, 1, ""}}) {
        clsRVQ device;
        device.*member = value;
        EXPECT_EQ(WireValue(device, code), wire) << code << " = " << value;
    }
}

} // namespace
