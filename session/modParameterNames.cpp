#include "session/modParameterNames.h"

#include "base/Numbers.h"
#include "base/PlainText.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "session/modReportText.h"
#include "store/modPassport.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace {

constexpr std::size_t kLongestNumber = 30; // characters
constexpr std::size_t kLongestShown = 60;  // of a typed value
constexpr double kNearlyWhole = 1e-6;      // what a decimal fraction loses as a double is far less

char lowered(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowered(std::string_view text)
{
    std::string result(Trimmed(text));
    std::ranges::transform(result, result.begin(), [](char c) { return lowered(c); });
    return result;
}

/// What counts of a name.
std::string essence(std::string_view name)
{
    std::string result = lowered(name);
    std::erase_if(result, [](char c) { return c == ' ' || c == '-' || c == '_'; });
    return result;
}

std::string_view withoutUnit(const ParameterDef& row, std::string_view text)
{
    text = Trimmed(text);
    if (!row.unit.empty() && text.size() > row.unit.size() && lowered(text).ends_with(lowered(row.unit))) {
        text.remove_suffix(row.unit.size());
    }
    return Trimmed(text);
}

TypedValue numberOf(const ParameterDef& row, std::string_view text)
{
    const auto number = text.size() > kLongestNumber ? std::nullopt : CDbl(text, ',');
    if (!number) {
        return {TypedValue::Fault::NotAllowed};
    }
    const double scaled = *number * std::pow(10.0, row.decimals);
    const auto stored = RoundHalfToEven(scaled);
    if (!stored || scaled < row.limits.minimum || scaled > row.limits.maximum) {
        return {TypedValue::Fault::NotAllowed};
    }
    return {std::abs(scaled - *stored) > kNearlyWhole ? TypedValue::Fault::TooPrecise : TypedValue::Fault::None,
            *stored};
}

/// Whether a text names this value of a list.
bool isValue(const ParameterDef& row, std::int32_t value, const std::string& typed)
{
    const auto isName = [&](const std::string& name) { return !name.empty() && lowered(name) == typed; };
    return isName(modPassport::WireText(row, value)) ||
           std::ranges::any_of(std::initializer_list<std::int32_t>{LanguageGerman, LanguageEnglish},
                               [&](std::int32_t language) { return isName(ShownValue(row, value, '.', language)); });
}

} // namespace

const ParameterDef* ParameterOfName(std::string_view name)
{
    const std::string typed = essence(name);
    const auto isNamed = [&](const ParameterDef& row) {
        return typed == row.code || typed == essence(row.key) || typed == essence(CaptionOf(row, LanguageGerman)) ||
               typed == essence(CaptionOf(row, LanguageEnglish));
    };
    const auto found = std::ranges::find_if(ParameterTable(), isNamed);
    return found == ParameterTable().end() ? nullptr : &*found;
}

std::string CaptionOf(const ParameterDef& row, std::int32_t language)
{
    const std::string_view caption = modFunctions::GetText(row.labelId, language);
    return std::string(Trimmed(caption.empty() ? modFunctions::NeutralText(row.labelId) : caption));
}

TypedValue ValueOfText(const ParameterDef& row, std::string_view text)
{
    if (row.control == ControlKind::Number) {
        return numberOf(row, withoutUnit(row, text));
    }
    const std::string typed = lowered(withoutUnit(row, text));
    for (std::int32_t value = 0; value < ValueCount(row); ++value) {
        if (isValue(row, value, typed)) {
            return {TypedValue::Fault::None, value};
        }
    }
    return {TypedValue::Fault::NotAllowed};
}

std::string AllowedValues(const ParameterDef& row, std::int32_t language)
{
    if (row.control == ControlKind::Number) {
        std::string range(modFunctions::GetText(TextId::CliRange, language));
        range.replace(range.find("%1"), 2, NumberText(row, row.limits.minimum, '.'));
        range.replace(range.find("%2"), 2, NumberText(row, row.limits.maximum, '.'));
        return WithUnit(row, range);
    }
    std::string names;
    for (std::int32_t value = 0; value < ValueCount(row); ++value) {
        names += (names.empty() ? "" : ", ") + ShownValue(row, value, '.', language);
    }
    return WithUnit(row, names);
}

std::string DataValue(const ParameterDef& row, std::int32_t value)
{
    return ShownValue(row, value, '.', LanguageEnglish);
}

std::string WhyNotAllowed(const ParameterDef& row, std::string_view text, TypedValue::Fault fault,
                          std::int32_t language)
{
    const bool isTooPrecise = fault == TypedValue::Fault::TooPrecise;
    const std::string possible = isTooPrecise ? WithUnit(row, NumberText(row, 1, '.')) : AllowedValues(row, language);
    return modFunctions::Filled(
        modFunctions::GetText(isTooPrecise ? TextId::CliTooPrecise : TextId::CliNotAllowed, language),
        {modReportText::NameAndCode(row, language), PlainText(text, kLongestShown), possible});
}
