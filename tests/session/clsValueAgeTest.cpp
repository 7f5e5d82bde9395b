// When a shown value states its age, and in which form.
#include "session/clsValueAge.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

constexpr TextId kSeconds = TextId::AgeSeconds, kMinutes = TextId::AgeMinutes, kHours = TextId::AgeHours;
using Age = std::optional<ValueAge>;

TEST(ValueAge, IsToldOnceTheValueIsStale)
{
    using Row = std::tuple<double, double, bool, Age>; // age, the age up to which a value is fresh, port open
    for (const auto& [age_s, fresh_s, isOpen, told] :
         {Row{2.99, kFresh_s, true, Age{}}, Row{3.01, kFresh_s, true, ValueAge{kSeconds, 3}},
          Row{0.0, kFresh_s, false, ValueAge{kSeconds, 0}}, Row{12.9, kFresh_s, true, ValueAge{kSeconds, 12}},
          Row{120.0, kFresh_s, true, ValueAge{kSeconds, 120}}, Row{120.1, kFresh_s, true, ValueAge{kMinutes, 2}},
          Row{7200.0, kFresh_s, true, ValueAge{kMinutes, 120}}, Row{7201.0, kFresh_s, true, ValueAge{kHours, 2}},
          Row{1e12, kFresh_s, true, ValueAge{kHours, 2147483647 / 3600}},
          Row{17.9, FreshTemperature_s(true, 15000), true, Age{}},
          Row{18.1, FreshTemperature_s(true, 15000), true, ValueAge{kSeconds, 18}},
          Row{17.9, FreshTemperature_s(false, 15000), true, ValueAge{kSeconds, 17}}}) {
        clsValueAge value;
        value.Arrived();
        value.Look(1000.0, fresh_s, true);
        EXPECT_EQ(value.Look(1000.0 + age_s, fresh_s, isOpen), told) << age_s;
    }
}

TEST(ValueAge, ANewValueIsFreshAndNoValueHasNoAge)
{
    clsValueAge value;
    EXPECT_EQ(value.Look(10.0, kFresh_s, false), Age{}) << "nothing has come yet";
    value.Arrived();
    value.Look(10.0, kFresh_s, true);
    EXPECT_EQ(value.Look(20.0, kFresh_s, true), (ValueAge{kSeconds, 10}));
    value.Arrived();
    EXPECT_EQ(value.Look(20.0, kFresh_s, true), Age{});
    EXPECT_EQ(value.Look(25.0, kFresh_s, true), (ValueAge{kSeconds, 5}));
    value.Forget();
    EXPECT_EQ(value.Look(30.0, kFresh_s, false), Age{}) << "emptied, or a recording's";
}

} // namespace
