// The parameter table and the wire values that come from it.
#include "device/Parameters.h"

#include <gtest/gtest.h>
#include <set>

namespace {

TEST(Parameters, RowsAreConsistent)
{
    std::set<std::int32_t> ids, labels;
    std::set<std::string_view> codes, keys;
    std::set<std::int32_t*> members;
    clsRVQ device;
    for (const ParameterDef& row : Parameters()) {
        ids.insert(row.codeId), labels.insert(row.labelId), codes.insert(row.code), keys.insert(row.key);
        members.insert(&(device.*row.value));
    }
    // 29 different ones of each: a copied row that kept a neighbour's member or code shows here.
    EXPECT_EQ(ids.size(), 29U);
    EXPECT_EQ(*ids.rbegin(), 29);
    EXPECT_EQ(labels.size() + codes.size() + keys.size() + members.size(), 4 * 29U);
}

TEST(WireValue, OfListedAndPlainParameters)
{
    struct Row {
        const char* code;
        std::int32_t clsRVQ::*member;
        std::int32_t value;
        const char* wire;
    };
    const Row rows[] = {
        {"601", &clsRVQ::Baudrate, 3, "9600"},
        {"601", &clsRVQ::Baudrate, -1, "9600"},
        {"111", &clsRVQ::DistanceUnit, 7, "M"},
        {"101", &clsRVQ::OutputFormat, 4, "ASCII+UNIT"},
        {"603", &clsRVQ::OutputMode, 2, "R"},
        {"603", &clsRVQ::OutputMode, 3, "C"},
        {"301", &clsRVQ::AverageDepth, 9, "1024"},
        {"302", &clsRVQ::TimeOut, 4, "200"},
        {"351", &clsRVQ::RainFilter, 3, ""},
        {"701", &clsRVQ::Offset, -5, "-5"},
        {"502", &clsRVQ::S1OffThreshold, 2147483647, "2147483647"},
        {"999", &clsRVQ::Offset, 1, ""},
        {"30", &clsRVQ::TimeOut, 1, ""},
    };
    for (const Row& row : rows) {
        clsRVQ device;
        device.*row.member = row.value;
        EXPECT_EQ(WireValue(device, row.code), row.wire) << row.code << " = " << row.value;
    }
}

} // namespace
