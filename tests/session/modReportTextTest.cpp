#include "session/modReportText.h"

#include "session/clsWriteKeeper.h"
#include "texts/modFunctions.h"

#include <gtest/gtest.h>

namespace {

ValueReport valueOf(std::int32_t ParameterSet::*value, std::int32_t before, std::int32_t wanted,
                    std::optional<std::int32_t> readBack, ValueOutcome outcome)
{
    return {&RowOf(value), before, wanted, readBack, outcome};
}

WriteReport reportOf(WriteKind kind, std::size_t frames, std::size_t sent, WriteResult result,
                     std::vector<ValueReport> values = {})
{
    WriteReport report;
    report.kind = kind;
    report.frames = frames;
    report.sent = sent;
    report.isReadBack = true;
    report.result = result;
    report.values = std::move(values);
    return report;
}

std::string textOf(const WriteReport& report, std::int32_t language = LanguageEnglish)
{
    std::string text = modReportText::Summary(report, language, ',');
    for (const std::string& line : modReportText::Lines(report, ',', language)) {
        text += '\n' + line;
    }
    return text;
}

TEST(ReportText, SaysWhatWasDoneAndVerifiedOnlyThen)
{
    using enum WriteResult;
    const ValueReport offset = valueOf(&ParameterSet::Offset, 0, 123, 123, ValueOutcome::Taken);
    const ValueReport depth = valueOf(&ParameterSet::AverageDepth, 2, 3, 3, ValueOutcome::Taken);
    const std::pair<WriteReport, const char*> rows[] = {
        {reportOf(WriteKind::Send, 1, 1, Verified, {offset}), "1 value sent and verified."},
        {reportOf(WriteKind::Send, 2, 2, Verified, {offset, depth}), "2 values sent and verified."},
        {reportOf(WriteKind::Send, 25, 25, Verified, {offset}), "25 values sent and verified, of which changed: 1."},
        {reportOf(WriteKind::Single, 1, 1, Verified, {depth}), "1 value sent and verified."},
        {reportOf(WriteKind::Defaults, 1, 1, Verified, {offset, depth}), "Factory defaults applied, 2 values changed."},
        {reportOf(WriteKind::Defaults, 1, 1, Differs), "Factory defaults acknowledged, no value changed."},
        {reportOf(WriteKind::Undo, 1, 1, Verified, {offset}), "1 value restored and verified."},
        {reportOf(WriteKind::Undo, 0, 0, Verified), "Nothing to undo: the sensor has these values already."},
        {reportOf(WriteKind::Store, 1, 1, Verified), "Storing acknowledged, values unchanged."},
    };
    for (const auto& [report, text] : rows) {
        EXPECT_EQ(textOf(report), text);
    }
}

TEST(ReportText, NamesEachValueThatIsNotAsItShouldBe)
{
    using enum ValueOutcome;
    const std::pair<ValueReport, const char*> rows[] = {
        {valueOf(&ParameterSet::Offset, 0, 123, 120, Rounded),
         "Offset (701): sent 123 mm, the sensor reports 120 mm (rounded)."},
        {valueOf(&ParameterSet::Offset, 0, 1230, 500, Rounded),
         "Offset (701): sent 1230 mm, the sensor reports 500 mm."},
        {valueOf(&ParameterSet::AverageDepth, 2, 3, 1, Rounded),
         "Average Depth (301): sent 256, the sensor reports 16."},
        {valueOf(&ParameterSet::Temperature, 200, 215, 200, Ignored),
         "Air Temperature (801): 21,5 °C acknowledged, but the sensor still reports 20,0 °C."},
        {valueOf(&ParameterSet::S2OnThreshold, 1000, 1000, 2000, Unasked),
         "ON-Threshold Q2 (504): not sent, but changed from 1000 mm to 2000 mm."},
        {valueOf(&ParameterSet::MovingAverage, 0, 1, {}, Unknown),
         "Moving Average (304) = On was acknowledged, but not read back."},
    };
    for (const auto& [value, line] : rows) {
        const WriteReport report = reportOf(WriteKind::Send, 1, 1, WriteResult::Differs, {value});
        EXPECT_EQ(textOf(report), std::string("1 value is not as wanted.\n") + line);
    }
}

TEST(ReportText, SaysWhereTheSendingEndedAndWhatDidNotGo)
{
    using enum ValueOutcome;
    WriteReport report = reportOf(
        WriteKind::Send, 25, 3, WriteResult::Failed,
        {valueOf(&ParameterSet::OutputFormat, 0, 1, 0, Refused), valueOf(&ParameterSet::Offset, 0, 5, 0, NotSent)});
    report.reason = TextId::TransferInvalidCode;
    report.isUnstored = true;
    EXPECT_EQ(textOf(report), "Data Format (101) = ASCII+UNIT was refused; 3 of 25 sent, 22 not.\n"
                              "Offset (701) = 5 mm was not sent.\nThe sensor works with values that are not stored.");
    EXPECT_EQ(textOf(report, LanguageGerman),
              "Datenformat (101) = ASCII+UNIT wurde abgelehnt; 3 von 25 gesendet, 22 nicht.\n"
              "Offset (701) = 5 mm wurde nicht gesendet.\nDer Sensor arbeitet mit Werten, die nicht gespeichert sind.");
    report.isCancelled = true;
    report.reason = TextId::TransferCancelled;
    report.values.erase(report.values.begin());
    EXPECT_TRUE(textOf(report).starts_with("Cancelled; 3 of 25 sent, 22 not.\n"));
    report = reportOf(WriteKind::Store, 1, 0, WriteResult::Failed);
    report.reason = TextId::TransferNoResponse;
    EXPECT_EQ(textOf(report), "Not stored in the sensor: No response from Orvex.");
    report.isSameSensor = false;
    EXPECT_EQ(textOf(report), "Another sensor answers; what became of the write is unknown.");
}

TEST(ReportText, NamesAllThatIsNotStoredWhicheverWriteHasChangedIt)
{
    clsWriteKeeper keeper;
    ParameterSet set;
    const auto told = [&](std::int32_t ParameterSet::*which, std::int32_t value, bool isUnstored = true) {
        WriteReport report;
        report.serialNo = "1";
        report.before = set;
        set.*which = value;
        report.after = set;
        report.frames = report.sent = 1;
        report.isReadBack = true;
        report.isUnstored = isUnstored;
        report.result = WriteResult::Verified;
        const auto lines = modReportText::Lines(keeper.Note(report, ""), '.', LanguageEnglish);
        return lines.empty() ? "" : lines.back();
    };
    const std::string begin = "Not stored in the sensor yet: ", first = "ON-Threshold Q1 (501)";
    EXPECT_EQ(told(&ParameterSet::S1OnThreshold, 9007), begin + first + ".");
    EXPECT_EQ(told(&ParameterSet::Offset, 12), begin + first + ", Offset (701).");
    EXPECT_EQ(told(&ParameterSet::Offset, 0), begin + first + ".") << "as it is stored";
    EXPECT_EQ(told(&ParameterSet::Offset, 0, false), "");
    EXPECT_EQ(told(&ParameterSet::Offset, 5), begin + "Offset (701).");
}

} // namespace
