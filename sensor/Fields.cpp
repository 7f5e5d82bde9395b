#include "sensor/Fields.h"

#include "base/Numbers.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace {

constexpr std::size_t kLongestNumber = 300; // characters; such a number still fits a double

bool isNumber(const ParameterDef& row)
{
    return row.control == ControlKind::Number;
}

double scaleOf(const ParameterDef& row)
{
    return std::pow(10.0, row.decimals);
}

/// A number with a comma or a point, whichever the user's locale uses.
std::optional<double> typedNumber(std::string_view text)
{
    return CDbl(text.substr(0, kLongestNumber), ',');
}

bool isWithin(const ParameterDef& row, std::int32_t stored)
{
    return stored >= row.limits.minimum && stored <= row.limits.maximum;
}

/// Clamped, because the default for sensors without the parameter may lie outside the limits.
std::int32_t emptyValue(const ParameterDef& row)
{
    return std::clamp(row.defaultValue, row.limits.minimum, row.limits.maximum);
}

/// Thresholds and analog limits come in pairs; the rule is checked for the second of a pair.
bool keepsDistance(const ParameterSet& set, const ParameterDef& row, std::int32_t stored)
{
    return row.apart.partner == nullptr || std::abs(std::int64_t{set.*row.apart.partner} - stored) >= row.apart.least;
}

bool isChoosable(const ParameterDef& row, std::int32_t value)
{
    const bool none = value == -1 && row.value == &ParameterSet::RainFilter;
    return none || (value >= 0 && value < ValueCount(row));
}

bool isCopied(const ParameterDef& row, const ShownSettings& shown)
{
    // The output mode of a Profibus sensor is fixed, so its list is disabled.
    const bool fixed = row.editable == EditableWhen::Serial && !shown.serial;
    return !fixed && IsShown(row, shown.serial) && isChoosable(row, shown.choices[row]);
}

std::int32_t shownChoice(const ParameterDef& row, std::int32_t stored)
{
    if (row.control == ControlKind::Check) {
        return stored == 0 ? 0 : 1;
    }
    if (row.control == ControlKind::Label) {
        return stored == 1 ? 1 : 0;
    }
    return isChoosable(row, stored) ? stored : -1;
}

CopyOutcome copyNumber(ParameterSet& set, const ParameterDef& row, const ShownSettings& shown)
{
    if (!IsShown(row, shown.serial)) {
        return CopyOutcome::Skipped;
    }
    const auto stored = StoredValue(row, shown.texts[row]);
    if (!stored || !keepsDistance(set, row, *stored)) {
        return CopyOutcome::Refused;
    }
    set.*row.value = *stored;
    return CopyOutcome::Stored;
}

std::array<const ParameterDef*, kParameterCount> sortedByControl()
{
    std::array<const ParameterDef*, kParameterCount> rows{};
    std::ranges::transform(ParameterTable(), rows.begin(), [](const ParameterDef& row) { return &row; });
    std::ranges::sort(rows, {}, [](const ParameterDef* row) { return std::pair(isNumber(*row), row->number); });
    return rows;
}

} // namespace

std::span<const ParameterDef* const> RowsByControl()
{
    static const auto rows = sortedByControl();
    return rows;
}

std::string ControlName(const ParameterDef& row)
{
    return isNumber(row) ? "txtParameter_" + std::to_string(row.number) : std::string(row.controlName);
}

bool IsShown(const ParameterDef& row, bool serial)
{
    if (row.value == &ParameterSet::NodeAddress) {
        return !serial;
    }
    return serial || row.group != ParameterGroup::SerialOnly;
}

bool IsReported(const ParameterDef& row, const ParameterSet& set, const SensorIdentity& sensor)
{
    const bool echo = row.group == ParameterGroup::EchoFilter;
    return IsShown(row, IsSerial(set)) && (!echo || HasEchoFilter(sensor));
}

std::int32_t ValueCount(const ParameterDef& row)
{
    return static_cast<std::int32_t>(row.names.empty() ? row.wireTexts.size() : row.names.size());
}

std::string ValueName(const ParameterDef& row, std::int32_t value, std::int32_t language)
{
    if (value < 0 || value >= ValueCount(row)) {
        return {};
    }
    const auto index = static_cast<std::size_t>(value);
    if (!row.names.empty()) {
        return std::string(modFunctions::GetText(row.names[index], language));
    }
    return row.sameNames.empty() ? WithUnit(row, std::string(row.wireTexts[index])) : std::string(row.sameNames[index]);
}

std::string WithUnit(const ParameterDef& row, std::string text)
{
    return row.unit.empty() ? text : std::move(text.append(" ").append(row.unit));
}

std::string NumberText(const ParameterDef& row, std::int32_t stored, char decimalSeparator)
{
    return FixedText(stored / scaleOf(row), row.decimals, decimalSeparator);
}

std::string CheckedText(const ParameterDef& row, std::string_view typed, char decimalSeparator)
{
    const auto number = typedNumber(typed);
    if (!number) {
        return NumberText(row, emptyValue(row), decimalSeparator);
    }
    const double clamped = std::clamp<double>(*number * scaleOf(row), row.limits.minimum, row.limits.maximum);
    return NumberText(row, RoundHalfToEven(clamped).value_or(emptyValue(row)), decimalSeparator);
}

ShownSettings ShownOf(const ParameterSet& set, char decimalSeparator)
{
    ShownSettings shown;
    shown.serial = IsSerial(set);
    for (const ParameterDef& row : ParameterTable()) {
        const bool has = IsShown(row, shown.serial);
        if (isNumber(row)) {
            shown.texts[row] = has ? NumberText(row, set.*row.value, decimalSeparator) : std::string();
        } else {
            const std::int32_t empty = row.control == ControlKind::Check ? 0 : -1;
            shown.choices[row] = has ? shownChoice(row, set.*row.value) : empty;
        }
    }
    if (shown.serial) {
        shown.texts[&ParameterSet::NodeAddress] = kNoAddress;
    }
    return shown;
}

std::optional<std::int32_t> StoredValue(const ParameterDef& row, std::string_view text)
{
    const auto number = row.decimals > 0 ? typedNumber(text) : std::optional(Val(text));
    const auto stored = number ? RoundHalfToEven(*number * scaleOf(row)) : std::nullopt;
    return stored && isWithin(row, *stored) ? stored : std::nullopt;
}

CopyOutcomes CopyInto(ParameterSet& set, const ShownSettings& shown)
{
    CopyOutcomes outcomes;
    for (const ParameterDef& row : ParameterTable()) {
        if (isNumber(row)) {
            outcomes[row] = copyNumber(set, row, shown);
        } else if (isCopied(row, shown)) {
            set.*row.value = shown.choices[row];
        }
    }
    return outcomes;
}

CopyOutcomes CopyForSaving(ParameterSet& set, const ShownSettings& shown)
{
    if (shown.serial) {
        set.NodeAddress = -1;
    }
    return CopyInto(set, shown);
}

std::vector<Difference> Differences(const ShownSettings& shown, const ParameterSet& set, const SensorIdentity& sensor,
                                    char decimalSeparator, std::int32_t language)
{
    std::vector<Difference> found;
    const ShownSettings reported = ShownOf(set, decimalSeparator);
    const auto differs = [&](const ParameterDef& row) {
        if (!IsShown(row, shown.serial) || !IsReported(row, set, sensor)) {
            return false;
        }
        if (!isNumber(row)) {
            return shown.choices[row] != reported.choices[row];
        }
        return shown.texts[row] != reported.texts[row] && StoredValue(row, shown.texts[row]) != set.*row.value;
    };
    for (const bool numbers : {true, false}) {
        for (const ParameterDef* row : RowsByControl()) {
            if (isNumber(*row) == numbers && differs(*row)) {
                found.push_back({row, numbers ? WithUnit(*row, reported.texts[*row])
                                              : ValueName(*row, reported.choices[*row], language)});
            }
        }
    }
    return found;
}
