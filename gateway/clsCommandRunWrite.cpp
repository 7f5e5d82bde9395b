// Writing parameters by a command: the checks, the backup, the sending and the reading back of every other write.
#include "base/PlainText.h"
#include "gateway/clsCommandRun.h"
#include "session/modParameterNames.h"
#include "session/modReportText.h"
#include "session/modSetReading.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t kLongestShown = 40; // characters

std::string englishText(TextId id, std::initializer_list<std::string_view> parts = {})
{
    return modFunctions::Filled(modFunctions::GetText(id, LanguageEnglish), parts);
}

void add(std::string& text, const std::string& sentence)
{
    text += text.empty() ? "" : " ";
    text += sentence;
}

/// Backups are not made as long as it exists: the one before leads back to the state before the command.
class WithoutBackups {
public:
    explicit WithoutBackups(clsWriteKeeper& keeper) : m_keeper(keeper), m_places(keeper.Kept())
    {
        clsWriteKeeper::Places places = m_places;
        places.backups.clear();
        m_keeper.Keep(places);
    }
    ~WithoutBackups() { m_keeper.Keep(m_places); }
    WithoutBackups(const WithoutBackups&) = delete;
    WithoutBackups& operator=(const WithoutBackups&) = delete;

private:
    clsWriteKeeper& m_keeper;
    clsWriteKeeper::Places m_places;
};

/// The rows of the values, which go to `target`. What is wrong with them goes to `why`.
std::vector<const ParameterDef*> take(const GatewayCommand& command, ParameterSet& target, std::string& why)
{
    std::vector<const ParameterDef*> rows;
    for (const auto& [name, text] : command.values) {
        const ParameterDef* row = ParameterOfName(name);
        if (row == nullptr) {
            add(why, "There is no parameter \"" + PlainText(name, kLongestShown) + "\".");
            continue;
        }
        const TypedValue value = ValueOfText(*row, text);
        if (value.fault != TypedValue::Fault::None) {
            add(why, WhyNotAllowed(*row, text, value.fault, LanguageEnglish));
        } else if (std::ranges::find(rows, row) != rows.end()) {
            add(why, "Parameter " + std::string(row->code) + " is set twice.");
        } else {
            target.*row->value = value.stored;
            rows.push_back(row);
        }
    }
    return rows;
}

} // namespace

Operation<> clsCommandRun::writing(const GatewayCommand& command, CommandAnswer& answer)
{
    Operation<std::optional<modPlan::Plan>> work = planning(command, answer);
    const std::optional<modPlan::Plan> plan = co_await work;
    if (!plan) {
        co_return;
    }
    m_report.reset();
    m_failure.clear();
    Operation<> sending = m_transfer.SendingChosen(plan->target, plan->codes);
    co_await sending;
    tellReport(answer);
    tellValues(*plan, answer);
    if (answer.result == "done" && command.stores) {
        Operation<> store = storing(answer);
        co_await store;
    }
    if (m_session.Writes().PassportFailure()) {
        add(answer.text, "The passport could not be written.");
    }
}

/// What is to be sent; nothing, with the reason in the answer, when something is wrong with it.
Operation<std::optional<modPlan::Plan>> clsCommandRun::planning(const GatewayCommand& command, CommandAnswer& answer)
{
    std::string why;
    ParameterSet current;
    take(command, current, why); // it needs no sensor to know that
    if (why.empty() && m_session.Writes().Kept().backups.empty()) {
        why = "Nothing is written without a folder for backups.";
    }
    if (!why.empty()) {
        answer.result = "refused";
        answer.text = std::move(why);
        co_return std::nullopt;
    }
    Operation<modSetReading::Outcome> reading = modSetReading::Reading(m_device, current);
    const modSetReading::Outcome outcome = co_await reading;
    if (outcome != modSetReading::Outcome::Read) {
        answer.result = "failed";
        answer.text = englishText(TextId::TransferNotRead, {englishText(modSetReading::Reason(outcome))});
        co_return std::nullopt;
    }
    ParameterSet target = current;
    const std::vector<const ParameterDef*> rows = take(command, target, why);
    modPlan::Plan plan = modPlan::OfValues(current, target, rows, m_device.Identity(), LanguageEnglish);
    if (plan.isRefused) {
        answer.result = "refused";
        answer.text.clear();
        std::ranges::for_each(plan.remarks, [&](const auto& remark) { add(answer.text, remark.text); });
        co_return std::nullopt;
    }
    co_return plan;
}

/// What is stored is what was just read back.
Operation<> clsCommandRun::storing(CommandAnswer& answer)
{
    const WithoutBackups once(m_session.Writes());
    m_entry.Parameters = m_device.Parameters();
    m_entry.Identity = m_device.Identity();
    const std::string written = modReportText::Summary(*m_report, LanguageEnglish, '.'); // not that it is unstored
    m_report.reset();
    m_failure.clear();
    Operation<> work = m_transfer.Storing();
    co_await work;
    tellReport(answer);
    answer.text = written + ' ' + answer.text;
}

void clsCommandRun::tellReport(CommandAnswer& answer) const
{
    if (!m_report) {
        answer.result = "failed";
        answer.text = m_failure.empty() ? englishText(TextId::StatusNoConnection) : m_failure;
        return;
    }
    answer.result = m_report->result == WriteResult::Verified  ? "done"
                    : m_report->result == WriteResult::Differs ? "differs"
                                                               : "failed";
    answer.text = modReportText::Summary(*m_report, LanguageEnglish, '.');
    for (const std::string& line : modReportText::Lines(*m_report, '.', LanguageEnglish)) {
        add(answer.text, line);
    }
}

/// Every value that was to be sent, then those that have changed besides.
void clsCommandRun::tellValues(const modPlan::Plan& plan, CommandAnswer& answer) const
{
    if (!m_report) {
        return;
    }
    const auto tell = [&](const ParameterDef& row, const std::string& sent, std::optional<std::int32_t> read,
                          bool differs) {
        answer.values.push_back({.code = std::string(row.code),
                                 .name = CaptionOf(row, LanguageEnglish),
                                 .sent = sent,
                                 .read = read ? DataValue(row, *read) : std::string(),
                                 .differs = differs});
    };
    for (const std::string& code : plan.codes) {
        const ParameterDef& row = *ParameterOfCode(code);
        const std::int32_t sent = plan.target.*row.value;
        const auto read = m_report->isReadBack ? std::optional(m_report->after.*row.value) : std::nullopt;
        tell(row, DataValue(row, sent), read, read != sent);
    }
    for (const ValueReport& value : m_report->values) {
        if (value.outcome == ValueOutcome::Unasked &&
            std::ranges::find(plan.codes, value.row->code) == plan.codes.end()) {
            tell(*value.row, {}, value.readBack, true);
        }
    }
}

void clsCommandRun::ShowFailure(TextId textId, TextId reasonTextId)
{
    m_failure = englishText(textId, {englishText(reasonTextId)});
}
