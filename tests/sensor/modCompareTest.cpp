// Two sets side by side, and what of it can be sent.
#include "sensor/modCompare.h"

#include "texts/modFunctions.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

const ComparedRow* rowOf(const std::vector<ComparedRow>& rows, std::string_view code)
{
    const auto found = std::ranges::find(rows, code, [](const ComparedRow& row) { return row.row->code; });
    return found == rows.end() ? nullptr : &*found;
}

TEST(Compare, HasEveryRowThatOneSideHasInTheOrderOfTheWindow)
{
    ParameterSet serial, profibus;
    profibus.NodeAddress = 5;
    std::string codes;
    for (const ComparedRow& row : Compare(serial, serial)) {
        codes.append(row.row->code).append(" ");
        EXPECT_FALSE(row.Differs()) << row.row->code;
    }
    EXPECT_EQ(codes, "601 603 101 111 301 302 304 305 306 311 701 702 801 802 403 401 402 503 501 502 506 504 505 "
                     "352 353 354 355 ");
    const auto mixed = Compare(serial, profibus);
    EXPECT_EQ(mixed.size(), kParameterCount - 1) << "no rain filter on either side";
    EXPECT_FALSE(rowOf(mixed, "610")->left);
    EXPECT_EQ(rowOf(mixed, "610")->right, 5);
    EXPECT_FALSE(rowOf(mixed, "610")->factory);
    EXPECT_FALSE(rowOf(mixed, "501")->right);
    EXPECT_TRUE(rowOf(mixed, "501")->Differs());
    serial.RainFilter = 2;
    const auto filtered = Compare(serial, FactorySet(serial));
    EXPECT_EQ(rowOf(filtered, "351")->right, 0);
    EXPECT_EQ(rowOf(filtered, "351")->factory, 0);
    EXPECT_EQ(std::ranges::count_if(filtered, &ComparedRow::Differs), 1);
    const auto atFactory = Compare(profibus, FactorySet(profibus));
    EXPECT_EQ(std::ranges::count_if(atFactory, &ComparedRow::Differs), 0);
}

TEST(Compare, ShowsValuesAsTheWindowDoesButWithoutTheUnit)
{
    struct Row {
        const char* code;
        std::int32_t value;
        const char* shown;
    };
    for (const Row& row : {Row{"801", 215, "21,5"}, Row{"702", -1, "-0,001"}, Row{"302", 1, "25"}, Row{"302", 77, "77"},
                           Row{"601", 3, "9600"}, Row{"351", 1, "DISTECHO"}, Row{"304", 5, "5"}}) {
        EXPECT_EQ(ShownValue(*ParameterOfCode(row.code), row.value, ',', LanguageEnglish), row.shown) << row.code;
    }
}

TEST(Compare, NamesWhatKeepsAValueFromBeingSent)
{
    ParameterSet serial, profibus;
    profibus.NodeAddress = 5;
    SensorIdentity plain, withEcho;
    withEcho.Attenuator = "E";
    ParameterSet target;
    target.AirPressure = 5000;
    target.TimeOut = 77; // would travel as another value
    target.S1OffThreshold = target.S1OnThreshold - 9;
    target.S2OffThreshold = target.S2OnThreshold - 10;
    struct Row {
        const char* code;
        const ParameterSet& current;
        const ParameterSet& target;
        const SensorIdentity& sensor;
        SendObstacle obstacle;
    };
    for (const Row& row :
         {Row{"701", serial, target, plain, SendObstacle::None}, Row{"505", serial, target, plain, SendObstacle::None},
          Row{"502", serial, target, plain, SendObstacle::NotValid},
          Row{"802", serial, target, plain, SendObstacle::NotValid},
          Row{"302", serial, target, plain, SendObstacle::NotValid},
          Row{"352", serial, target, plain, SendObstacle::NotInSensor},
          Row{"352", serial, target, withEcho, SendObstacle::ReadOnly},
          Row{"351", serial, target, withEcho, SendObstacle::NoValue},
          Row{"501", profibus, target, plain, SendObstacle::NotInSensor},
          Row{"603", profibus, target, plain, SendObstacle::ReadOnly},
          Row{"610", serial, profibus, plain, SendObstacle::NotInSensor},
          Row{"610", profibus, serial, plain, SendObstacle::NoValue},
          Row{"610", profibus, profibus, plain, SendObstacle::None}}) {
        EXPECT_EQ(ObstacleOf(*ParameterOfCode(row.code), row.current, row.target, row.sensor), row.obstacle)
            << row.code << " of a " << TypeName(IsSerial(row.current));
    }
}

TEST(Compare, FindsWhatWouldBeTooCloseInTheSensor)
{
    ParameterSet current, target;
    target.S1OnThreshold = current.S1OffThreshold + 5;
    target.S1OffThreshold = target.S1OnThreshold - 20;
    target.AirPressure = 5000;
    ParameterSet close = current; // a sensor that has such values already is not kept from others
    close.S1OffThreshold = close.S1OnThreshold;
    struct Row {
        std::vector<std::string> codes;
        const ParameterSet& current;
        const char* found;
    };
    for (const Row& row : {Row{{"501"}, current, "502"}, Row{{"501", "502"}, current, ""}, Row{{"502"}, current, ""},
                           Row{{"701", "802"}, current, "802"}, Row{{"701"}, close, ""}}) {
        const ParameterDef* found = TooClose(row.current, target, row.codes, {});
        EXPECT_EQ(found == nullptr ? "" : found->code, row.found) << row.codes.front() << ' ' << row.codes.size();
    }
}

} // namespace
