#include "session/modReportText.h"

#include "base/Numbers.h"
#include "sensor/Fields.h"
#include "sensor/modCompare.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

namespace {

constexpr std::int32_t kRounding = 10; // in stored units, or so many per cent: what is further away is no rounding

/// The text with its places filled.
std::string filled(TextId id, std::int32_t language, std::initializer_list<std::string> values)
{
    std::string text(modFunctions::GetText(id, language));
    char number = '0';
    for (const std::string& value : values) {
        const std::size_t at = text.find(std::string("%") + ++number);
        if (at != std::string::npos) {
            text.replace(at, 2, value);
        }
    }
    return text;
}

/// One of two texts: the first for 1, the second for any other number.
std::string counted(TextId one, TextId many, std::size_t count, std::int32_t language)
{
    return count == 1 ? std::string(modFunctions::GetText(one, language))
                      : filled(many, language, {std::to_string(count)});
}

struct Words {
    char decimalSeparator;
    std::int32_t language;

    std::string Value(const ParameterDef& row, std::int32_t value) const
    {
        const std::string shown = ShownValue(row, value, decimalSeparator, language);
        return shown.empty() ? std::to_string(value) : WithUnit(row, shown);
    }
    std::string Assignment(const ParameterDef& row, std::int32_t value) const
    {
        return modReportText::NameAndCode(row, language) + " = " + Value(row, value);
    }
    std::string Text(TextId id) const { return std::string(modFunctions::GetText(id, language)); }
};

std::string progress(TextId id, std::int32_t language, const std::string& what, std::size_t sent, std::size_t total)
{
    return filled(id, language, {what, std::to_string(sent), std::to_string(total), std::to_string(total - sent)});
}

/// The first value that ended the sending, or would have.
const ValueReport* culprit(const WriteReport& report)
{
    const auto value = std::ranges::find_if(report.values, [](const ValueReport& each) {
        return each.outcome == ValueOutcome::Refused || each.outcome == ValueOutcome::Unanswered;
    });
    return value == report.values.end() ? nullptr : &*value;
}

/// The value that the summary names.
const ValueReport* namedValue(const WriteReport& report)
{
    const bool isCut = report.isSameSensor && report.sent < report.frames && !report.isCancelled;
    return isCut ? culprit(report) : nullptr;
}

std::size_t countWrong(const WriteReport& report)
{
    return static_cast<std::size_t>(std::ranges::count_if(
        report.values, [](const ValueReport& value) { return value.outcome != ValueOutcome::Taken; }));
}

std::string cutShort(const WriteReport& report, const Words& words)
{
    const std::string reason = words.Text(report.reason);
    if (report.reason == TextId::TransferNoBackup) {
        return filled(TextId::TransferNothingSent, words.language, {reason});
    }
    if (report.kind == WriteKind::Store || report.kind == WriteKind::Defaults) {
        const bool isStore = report.kind == WriteKind::Store;
        return filled(isStore ? TextId::ReportStoreFailed : TextId::ReportDefaultsFailed, words.language, {reason});
    }
    const ValueReport* value = namedValue(report);
    if (value == nullptr) {
        return progress(TextId::ReportNotAllSent, words.language, reason, report.sent, report.frames);
    }
    const bool isRefused = value->outcome == ValueOutcome::Refused;
    if (report.frames == 1) {
        return filled(isRefused ? TextId::ReportLineRefused : TextId::ReportLineUnanswered, words.language,
                      {words.Assignment(*value->row, value->wanted)});
    }
    return modReportText::Refusal({value->row, value->wanted, isRefused, report.sent, report.frames}, words.language,
                                  words.decimalSeparator);
}

std::string verified(const WriteReport& report, std::int32_t language)
{
    const std::size_t changed = report.values.size();
    switch (report.kind) {
    case WriteKind::Store:
        return std::string(modFunctions::GetText(TextId::ReportStored, language));
    case WriteKind::Defaults:
        return changed == 0 ? std::string(modFunctions::GetText(TextId::ReportDefaultsNone, language))
                            : counted(TextId::ReportDefaultsOne, TextId::ReportDefaults, changed, language);
    case WriteKind::Undo:
        return report.frames == 0 ? std::string(modFunctions::GetText(TextId::ReportNothingToUndo, language))
                                  : counted(TextId::ReportUndoneOne, TextId::ReportUndone, report.frames, language);
    default:
        if (changed == report.frames) {
            return counted(TextId::ReportSentOne, TextId::ReportSent, report.frames, language);
        }
        return report.frames == 1 ? std::string(modFunctions::GetText(TextId::ReportSentOneSame, language))
                                  : filled(TextId::ReportSentChanged, language,
                                           {std::to_string(report.frames), std::to_string(changed)});
    }
}

bool isRounded(const ValueReport& value)
{
    const std::int64_t difference = std::abs(std::int64_t{*value.readBack} - value.wanted);
    return value.row->control == ControlKind::Number &&
           difference <= std::max<std::int64_t>(kRounding, std::abs(std::int64_t{value.wanted}) * kRounding / 100);
}

std::string lineOf(const ValueReport& value, const Words& words)
{
    const std::string name = modReportText::NameAndCode(*value.row, words.language);
    const std::string wanted = words.Value(*value.row, value.wanted);
    const std::string assignment = name + " = " + wanted;
    const std::string isNow = value.readBack ? words.Value(*value.row, *value.readBack) : std::string();
    switch (value.outcome) {
    case ValueOutcome::Taken:
        return {};
    case ValueOutcome::Rounded:
        return filled(isRounded(value) ? TextId::ReportLineRounded : TextId::ReportLineReports, words.language,
                      {name, wanted, isNow});
    case ValueOutcome::Ignored:
        return filled(TextId::ReportLineIgnored, words.language, {name, wanted, isNow});
    case ValueOutcome::Refused:
        return filled(TextId::ReportLineRefused, words.language, {assignment});
    case ValueOutcome::Unanswered:
        return filled(TextId::ReportLineUnanswered, words.language, {assignment});
    case ValueOutcome::NotSent:
        return filled(TextId::ReportLineNotSent, words.language, {assignment});
    case ValueOutcome::Unasked:
        return filled(TextId::ReportLineUnasked, words.language, {name, words.Value(*value.row, value.before), isNow});
    case ValueOutcome::Unknown:
        return filled(TextId::ReportLineUnknown, words.language, {assignment});
    }
    return {};
}

/// What the sensor works with and has not stored, by name.
std::string unstored(const WriteReport& report, const Words& words)
{
    if (report.kind == WriteKind::Undo && report.frames > 0) {
        return words.Text(TextId::ReportLineUndoUnstored);
    }
    const ParameterSet& stored = report.stored ? *report.stored : report.before;
    std::vector<const ParameterDef*> rows;
    for (const ParameterDef& row : ParameterTable()) {
        if (report.isReadBack && report.after.*row.value != stored.*row.value) {
            rows.push_back(&row);
        }
    }
    std::string names;
    for (const std::string& code : CodesInOrder(std::move(rows))) {
        names += (names.empty() ? "" : ", ") + modReportText::NameAndCode(*ParameterOfCode(code), words.language);
    }
    return names.empty() ? words.Text(TextId::ReportLineUnstoredOthers)
                         : filled(TextId::ReportLineUnstored, words.language, {names});
}

} // namespace

namespace modReportText {

std::string Summary(const WriteReport& report, std::int32_t language, char decimalSeparator)
{
    const Words words{decimalSeparator, language};
    const auto sentence = [](const std::string& text) { return text.ends_with('.') ? text : text + '.'; };
    if (!report.isSameSensor) {
        const bool isUntouched = report.reason == TextId::TransferOtherSensor;
        return isUntouched ? sentence(filled(TextId::TransferNothingSent, language, {words.Text(report.reason)}))
                           : words.Text(TextId::ReportOtherSensor);
    }
    if (report.sent < report.frames) {
        return sentence(cutShort(report, words));
    }
    if (!report.isReadBack) {
        return sentence(filled(TextId::ReportNotReadBack, language, {words.Text(report.reason)}));
    }
    if (report.result == WriteResult::Verified) {
        return verified(report, language);
    }
    if (report.hasRestarted) {
        return words.Text(TextId::ReportRestarted);
    }
    const std::size_t wrong = countWrong(report);
    return wrong == 0 ? words.Text(TextId::ReportDefaultsNone)
                      : counted(TextId::ReportDiffersOne, TextId::ReportDiffers, wrong, language);
}

std::vector<std::string> Lines(const WriteReport& report, char decimalSeparator, std::int32_t language)
{
    const Words words{decimalSeparator, language};
    std::vector<std::string> lines;
    for (const ValueReport& value : report.values) {
        if (value.outcome != ValueOutcome::Taken && &value != namedValue(report)) {
            lines.push_back(lineOf(value, words));
        }
    }
    if (report.hasRestarted && report.sent < report.frames) {
        lines.push_back(words.Text(TextId::ReportRestarted)); // else the summary says so
    }
    if (report.isUnstored) {
        lines.push_back(unstored(report, words));
    }
    if (report.noBackup) {
        lines.push_back(words.Text(TextId::ReportLineNoBackup));
    }
    return lines;
}

std::string NameAndCode(const ParameterDef& row, std::int32_t language)
{
    const std::string_view label = modFunctions::GetText(row.labelId, language);
    const std::string_view name = label.empty() ? modFunctions::NeutralText(row.labelId) : label;
    return std::string(Trimmed(name)) + " (" + std::string(row.code) + ")";
}

std::string Refusal(const TransferFailure& failure, std::int32_t language, char decimalSeparator)
{
    const Words words{decimalSeparator, language};
    return progress(failure.isRefused ? TextId::ReportRefused : TextId::ReportUnanswered, language,
                    words.Assignment(*failure.row, failure.value), failure.sent, failure.total);
}

} // namespace modReportText
