#include "sensor/modChecks.h"

#include "base/Numbers.h"
#include "sensor/Fields.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace {

constexpr std::int32_t kPositiveLogic = 1;

using Member = std::int32_t ParameterSet::*;

struct Collector {
    const ParameterSet& set;
    std::vector<Warning> found{};

    void Add(Member member, TextId textId, std::vector<std::string> args = {})
    {
        found.push_back({&RowOf(member), textId, std::move(args)});
    }
    static std::string Millimetres(std::int64_t value) { return std::to_string(value) + " mm"; }

    /// A pair that is too close is refused when it is sent or saved, whatever else may be said about it.
    bool IsTooClose(Member second, TextId textId)
    {
        const ParameterDef::Distance& apart = RowOf(second).apart;
        const bool isClose = std::abs(std::int64_t{set.*apart.partner} - set.*second) < apart.least;
        if (isClose) {
            Add(second, textId, {Millimetres(apart.least)});
        }
        return isClose;
    }
    void CheckSwitch(Member logic, Member on, Member off)
    {
        CheckReach(on);
        CheckReach(off);
        if (!IsTooClose(off, TextId::CheckThresholdsClose) && set.*logic == kPositiveLogic && set.*on < set.*off) {
            Add(on, TextId::CheckThresholdOrder);
        }
    }
    void CheckReach(Member threshold)
    {
        const std::int64_t end = std::abs(std::int64_t{set.Offset});
        if (set.ScaleFactor > 0 && set.*threshold < -end) {
            Add(threshold, TextId::CheckNeverBelow, {Millimetres(-end)});
        } else if (set.ScaleFactor < 0 && set.*threshold > end) {
            Add(threshold, TextId::CheckNeverAbove, {Millimetres(end)});
        }
    }
    void CheckAnalog()
    {
        if (set.AnalogMin == set.AnalogMax) {
            Add(&ParameterSet::AnalogMax, TextId::CheckAnalogEqual);
        } else if (!IsTooClose(&ParameterSet::AnalogMax, TextId::CheckAnalogClose) && set.AnalogMin > set.AnalogMax) {
            Add(&ParameterSet::AnalogMax, TextId::CheckAnalogTurned);
        }
    }
    void CheckOffset(std::int32_t distance_mm, std::int32_t offset_mm)
    {
        const std::int64_t distance = std::abs(std::int64_t{distance_mm});
        if (set.Offset != offset_mm && std::abs(std::int64_t{set.Offset}) > distance) {
            Add(&ParameterSet::Offset, TextId::CheckOffset, {Millimetres(distance_mm)});
        }
    }
};

} // namespace

std::vector<Warning> modChecks::Check(const ParameterSet& set, std::optional<std::int32_t> distance_mm,
                                      std::int32_t offset_mm)
{
    Collector warnings{set};
    if (distance_mm) {
        warnings.CheckOffset(*distance_mm, offset_mm);
    }
    if (IsSerial(set)) {
        warnings.CheckSwitch(&ParameterSet::S1Logic, &ParameterSet::S1OnThreshold, &ParameterSet::S1OffThreshold);
        if (set.AnalogOutput == 0) {
            warnings.CheckSwitch(&ParameterSet::S2Logic, &ParameterSet::S2OnThreshold, &ParameterSet::S2OffThreshold);
        } else {
            warnings.CheckAnalog();
        }
    }
    std::ranges::stable_sort(warnings.found, {}, &Warning::row); // the table is in the order of a file
    return std::move(warnings.found);
}

BeyondLimit modChecks::LimitOf(const ParameterDef& row, std::string_view typed)
{
    const auto number = CDbl(typed, ',');
    if (!number) {
        return BeyondLimit::No;
    }
    const double stored = *number * std::pow(10.0, row.decimals);
    return stored < row.limits.minimum   ? BeyondLimit::Lower
           : stored > row.limits.maximum ? BeyondLimit::Upper
                                         : BeyondLimit::No;
}
