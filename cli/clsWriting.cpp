#include "cli/clsWriting.h"

#include "cli/clsProgram.h"
#include "cli/clsSensorRun.h"
#include "cli/modQuestion.h"
#include "session/modReportText.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace {

constexpr int kMostRetries = 5; // of all values together, when nobody is asked

std::optional<FailureAnswer> readAnswer(const clsArguments& arguments)
{
    const auto answer = arguments.Value(clsWriting::kOnFailure.name);
    if (!answer) {
        return std::nullopt;
    }
    constexpr std::array<std::pair<std::string_view, FailureAnswer>, 3> kAnswers{
        {{"abort", FailureAnswer::Abort}, {"retry", FailureAnswer::Retry}, {"ignore", FailureAnswer::Ignore}}};
    for (const auto& [name, value] : kAnswers) {
        if (*answer == name) {
            return value;
        }
    }
    throw UsageError("--on-failure takes abort, retry or ignore");
}

/// The sensor is not there, as opposed to a sensor that does not do what it should.
bool isAboutConnection(TextId reason)
{
    return reason == TextId::StatusPortNotOpen || reason == TextId::StatusNoConnection ||
           reason == TextId::TransferNoResponse;
}

int codeOf(const WriteReport& report)
{
    if (report.result == WriteResult::Verified) {
        return ExitDone;
    }
    if (report.isCancelled || !report.isSameSensor || report.reason == TextId::TransferNoBackup) {
        return ExitFailed;
    }
    const bool isCut = report.sent < report.frames || !report.isReadBack;
    return isCut && isAboutConnection(report.reason) ? ExitNoConnection : ExitRefused;
}

} // namespace

clsWriting::clsWriting(clsProgram& program, clsSensorRun& run, const clsArguments& arguments)
    : m_program(program), m_run(run), m_transfer(run.Device(), m_entry, *this, {}, &run.Session().Writes()),
      m_stores(arguments.Has(kStore.name)), m_mayBeWithoutBackup(arguments.Has(kWithoutBackup.name)),
      m_answer(readAnswer(arguments))
{}

int clsWriting::Write(const ParameterSet& target, const std::vector<std::string>& codes)
{
    if (codes.empty()) {
        m_program.Note(m_program.Text(TextId::CliNothingToSend));
    } else if (const int code = perform(m_transfer.SendingChosen(target, codes), m_stores); code != ExitDone) {
        if (m_stores) {
            m_program.Say(m_program.Text(TextId::CliNotStored));
        }
        return code;
    }
    if (!m_stores) {
        return ExitDone;
    }
    m_entry.Parameters = m_run.Device().Parameters();
    m_entry.Identity = m_run.Device().Identity();
    if (!codes.empty()) { // the backup that was made leads back to the state before the command
        clsWriteKeeper::Places places = m_run.Session().Writes().Kept();
        places.backups.clear();
        m_run.Session().Writes().Keep(places);
    }
    return perform(m_transfer.Storing());
}

/// What is to be stored next is not said to be unstored.
int clsWriting::perform(Operation<> operation, bool storesNext)
{
    m_report.reset();
    m_failure.clear();
    m_run.PerformWhole(std::move(operation), [this] { m_transfer.Cancel(); });
    m_program.Progress().End();
    if (m_report && storesNext && codeOf(*m_report) == ExitDone) {
        m_report->isUnstored = false;
    }
    return tellReport();
}

/// What is in order is good to know, everything else has to be said.
int clsWriting::tellReport()
{
    if (!m_report) {
        m_program.Say(m_failure.empty() ? m_program.Text(TextId::StatusNoConnection) : m_failure);
        return ExitNoConnection;
    }
    const int code = codeOf(*m_report);
    std::vector<std::string> lines{modReportText::Summary(*m_report, m_program.Language(), '.')};
    std::ranges::move(modReportText::Lines(*m_report, '.', m_program.Language()), std::back_inserter(lines));
    for (const std::string& line : lines) {
        code == ExitDone ? m_program.Note(line) : m_program.Say(line);
    }
    if (const std::error_code why = m_run.Session().Writes().PassportFailure()) {
        m_program.Say(m_program.Text(TextId::PassportNotWritten, {m_program.FileError(why)}));
    }
    return code;
}

void clsWriting::ShowFailure(TextId textId, TextId reasonTextId)
{
    m_failure = m_program.Text(textId, {m_program.Text(reasonTextId)});
}

void clsWriting::ShowProgress(const TransferProgress& progress)
{
    const std::string what = m_program.Text(progress.textId);
    m_program.Progress().Show(progress.steps > 0
                                  ? m_program.Text(TextId::TransferStep, {std::to_string(progress.step),
                                                                          std::to_string(progress.steps), what})
                                  : what);
}

bool clsWriting::MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why)
{
    const std::string reason = m_program.Text(TextId::FailureNotWritten, {file.string(), m_program.FileError(why)});
    if (m_mayBeWithoutBackup) {
        m_program.Note(reason);
        return true;
    }
    if (!modQuestion::IsPossible()) {
        m_program.Say(reason);
        return false;
    }
    m_program.Say(m_program.Text(TextId::QuestionNoBackup, {reason}));
    return modQuestion::YesOrNo(m_program);
}

FailureAnswer clsWriting::AskAboutFailure(TextId reasonTextId, const TransferFailure& failure)
{
    const std::string what = failure.row == nullptr ? m_program.Text(reasonTextId)
                                                    : modReportText::Refusal(failure, m_program.Language(), '.');
    if (!m_answer && modQuestion::IsPossible()) {
        constexpr std::array kAnswers{FailureAnswer::Abort, FailureAnswer::Retry, FailureAnswer::Ignore};
        m_program.Say(what);
        m_program.Note(m_program.Text(TextId::DetailAnswers));
        return kAnswers[modQuestion::Ask(m_program, TextId::CliQuestionFailure)];
    }
    m_program.Note(what);
    const FailureAnswer answer = m_answer.value_or(FailureAnswer::Abort);
    return answer == FailureAnswer::Retry && ++m_retries > kMostRetries ? FailureAnswer::Abort : answer;
}

bool IsAccepted(clsProgram& program, const modPlan::Plan& plan)
{
    for (const auto& [text, isReason] : plan.remarks) {
        isReason ? program.Say(text) : program.Note(text);
    }
    if (plan.isRefused) {
        program.Say(program.Text(TextId::CliNothingSent));
    }
    return !plan.isRefused;
}
