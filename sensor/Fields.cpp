#include "sensor/Fields.h"

#include "base/Numbers.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace {

constexpr std::size_t kLongestNumber = 300; // characters; a double holds what they say
constexpr std::int32_t kLeastHysteresis = 10;
constexpr std::int32_t kLeastAnalogSpan = 1000;

const ParameterDef& parameterOf(std::string_view code)
{
    return *ParameterOfCode(code); // the tables here name only codes that there are
}

/// Whether the type of sensor has the parameter.
bool isShown(std::string_view code, bool serial)
{
    if (code == "610") {
        return !serial;
    }
    return serial || parameterOf(code).group != ParameterGroup::SerialOnly;
}

bool isReported(std::string_view code, const ParameterSet& set, const SensorIdentity& sensor)
{
    const bool echo = parameterOf(code).group == ParameterGroup::EchoFilter;
    return isShown(code, IsSerial(set)) && (!echo || HasEchoFilter(sensor));
}

double scaleOf(const FieldDef& field)
{
    return std::pow(10.0, field.decimals);
}

/// A number with comma or point, whichever the user's locale has.
std::optional<double> typedNumber(std::string_view text)
{
    return CDbl(text.substr(0, kLongestNumber), ',');
}

bool isWithin(const FieldDef& field, std::int32_t stored)
{
    return stored >= field.minimum && stored <= field.maximum;
}

bool areApart(std::int32_t a, std::int32_t b, std::int32_t least)
{
    return std::abs(std::int64_t{a} - b) >= least;
}

/// Thresholds and analog limits come in pairs; the rule is looked at for the second of a pair.
bool keepsPairRule(const ParameterSet& set, std::size_t field, std::int32_t stored)
{
    switch (field) {
    case FieldS1Off:
        return areApart(set.S1OnThreshold, stored, kLeastHysteresis);
    case FieldS2Off:
        return areApart(set.S2OnThreshold, stored, kLeastHysteresis);
    case FieldAnalogMax:
        return areApart(set.AnalogMin, stored, kLeastAnalogSpan);
    default:
        return true;
    }
}

bool isChoosable(const ChoiceDef& choice, std::int32_t value)
{
    const bool none = value == -1 && choice.code == "351";
    return none || (value >= 0 && value < choice.Count());
}

bool isCopied(std::size_t choice, const ShownSettings& shown)
{
    // The output mode of a Profibus sensor is fixed, so its list is disabled.
    const bool fixed = choice == ChoiceOutputMode && !shown.serial;
    return !fixed && isShown(kChoices[choice].code, shown.serial) &&
           isChoosable(kChoices[choice], shown.choices[choice]);
}

std::int32_t shownChoice(const ChoiceDef& choice, std::int32_t stored)
{
    if (choice.kind == ChoiceKind::Check) {
        return stored == 0 ? 0 : 1;
    }
    if (choice.kind == ChoiceKind::Label) {
        return stored == 1 ? 1 : 0;
    }
    return isChoosable(choice, stored) ? stored : -1;
}

} // namespace

TextId LabelId(std::string_view code)
{
    return parameterOf(code).labelId;
}

std::string_view ChoiceText(std::size_t choice, std::int32_t value, std::int32_t language)
{
    const ChoiceDef& def = kChoices.at(choice);
    if (value < 0 || value >= def.Count()) {
        return {};
    }
    const auto index = static_cast<std::size_t>(value);
    return def.names.empty() ? def.sameNames[index] : modFunctions::GetText(def.names[index], language);
}

std::string FieldText(const FieldDef& field, std::int32_t stored, char decimalSeparator)
{
    return FixedText(stored / scaleOf(field), field.decimals, decimalSeparator);
}

std::string CheckedText(std::size_t field, std::string_view typed, char decimalSeparator)
{
    const FieldDef& def = kFields.at(field);
    const auto number = typedNumber(typed);
    if (!number) {
        return FieldText(def, def.emptyValue, decimalSeparator);
    }
    const double clamped = std::clamp<double>(*number * scaleOf(def), def.minimum, def.maximum);
    return FieldText(def, RoundHalfToEven(clamped).value_or(def.emptyValue), decimalSeparator);
}

ShownSettings ShownOf(const ParameterSet& set, char decimalSeparator)
{
    ShownSettings shown;
    shown.serial = IsSerial(set);
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        if (isShown(kFields[i].code, shown.serial)) {
            shown.texts[i] = FieldText(kFields[i], set.*parameterOf(kFields[i].code).value, decimalSeparator);
        }
    }
    if (shown.serial) {
        shown.texts[FieldNodeAddress] = kNoAddress;
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        const std::int32_t empty = kChoices[i].kind == ChoiceKind::Check ? 0 : -1;
        const std::int32_t stored = set.*parameterOf(kChoices[i].code).value;
        shown.choices[i] = isShown(kChoices[i].code, shown.serial) ? shownChoice(kChoices[i], stored) : empty;
    }
    return shown;
}

std::optional<std::int32_t> StoredValue(std::size_t field, std::string_view text)
{
    const FieldDef& def = kFields.at(field);
    const auto number = def.decimals > 0 ? typedNumber(text) : std::optional(Val(text));
    const auto stored = number ? RoundHalfToEven(*number * scaleOf(def)) : std::nullopt;
    return stored && isWithin(def, *stored) ? stored : std::nullopt;
}

CopyOutcomes CopyInto(ParameterSet& set, const ShownSettings& shown)
{
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        if (isCopied(i, shown)) {
            set.*parameterOf(kChoices[i].code).value = shown.choices[i];
        }
    }
    CopyOutcomes outcomes{};
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        if (!isShown(kFields[i].code, shown.serial)) {
            continue;
        }
        const auto stored = StoredValue(i, shown.texts[i]);
        const bool accepted = stored && keepsPairRule(set, i, *stored);
        if (accepted) {
            set.*parameterOf(kFields[i].code).value = *stored;
        }
        outcomes[i] = accepted ? CopyOutcome::Stored : CopyOutcome::Refused;
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
    const auto isComparable = [&](std::string_view code) {
        return isShown(code, shown.serial) && isReported(code, set, sensor);
    };
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        const FieldDef& field = kFields[i];
        const bool same =
            shown.texts[i] == reported.texts[i] || StoredValue(i, shown.texts[i]) == set.*parameterOf(field.code).value;
        if (!same && isComparable(field.code)) {
            const std::string gap = field.unit.empty() ? "" : " ";
            found.push_back({field.code, reported.texts[i] + gap + std::string(field.unit)});
        }
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        if (shown.choices[i] != reported.choices[i] && isComparable(kChoices[i].code)) {
            found.push_back({kChoices[i].code, std::string(ChoiceText(i, reported.choices[i], language))});
        }
    }
    return found;
}
