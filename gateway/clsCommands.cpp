#include "gateway/clsCommands.h"

#include "base/Days.h"
#include "gateway/modCommandText.h"

#include <utility>

clsCommands::clsCommands(std::set<CommandKind> allowed, double now, clsCommandRun::Tell tell)
    : m_allowed(std::move(allowed)), m_begin(now), m_tell(std::make_shared<clsCommandRun::Tell>(std::move(tell)))
{}

clsCommands::~clsCommands()
{
    *m_tell = nullptr;
}

void clsCommands::Add(std::string_view sensor, clsSession& session)
{
    m_runs.insert_or_assign(std::string(sensor), std::make_shared<clsCommandRun>(session));
}

void clsCommands::Remove(std::string_view sensor)
{
    if (const auto found = m_runs.find(sensor); found != m_runs.end()) {
        m_runs.erase(found); // what it has started keeps it until it ends
    }
}

bool clsCommands::Take(const GatewayCommand& command, const BrokerReceived& message, double now)
{
    forgetIds(now);
    if (message.isRetained) {
        return false;
    }
    if (!command.sensor.empty() && !m_runs.contains(command.sensor)) {
        (*m_tell)({.sensor = {},
                   .id = command.id,
                   .result = "refused",
                   .text = "there is no sensor \"" + command.sensor + '"'});
        return true;
    }
    const std::string why = whyNot(command, now);
    if (!why.empty()) {
        (*m_tell)({.sensor = command.sensor, .id = command.id, .result = "refused", .text = why});
        return true;
    }
    m_seen.push_back({command.id, now});
    m_ids.insert(command.id);
    clsCommandRun::Start(m_runs.find(command.sensor)->second, command, now, m_tell);
    return true;
}

/// Why a command is refused; empty when it is not.
std::string clsCommands::whyNot(const GatewayCommand& command, double now) const
{
    if (!command.problem.empty()) {
        return command.problem;
    }
    if (!command.kind || command.sensor.empty()) {
        return "the gateway itself has no commands";
    }
    if (command.id.empty()) {
        return "the command has no id";
    }
    if (!m_allowed.contains(*command.kind)) {
        return '"' + std::string(modCommandText::NameOf(*command.kind)) + "\" is not allowed here";
    }
    return whyNotNow(command, now);
}

std::string clsCommands::whyNotNow(const GatewayCommand& command, double now) const
{
    if (!command.time) {
        return "the command has no time";
    }
    const double age_s = (now - *command.time) * kSecondsPerDay;
    if (!(age_s <= kMostAge_s && age_s >= -kMostAhead_s)) {
        return age_s > 0 ? "the command is older than a minute" : "the command is from the future";
    }
    if (*command.time < m_begin) {
        return "the command is older than the start of the gateway";
    }
    if ((*command.time - m_begin) * kSecondsPerDay < kMostAhead_s) {
        return "the gateway has only just started; try again in some seconds";
    }
    if (m_ids.contains(command.id)) {
        return "this id was used already";
    }
    if (m_seen.size() >= kMostIds) {
        return "too many commands have come in the last minutes"; // a forgotten id could come again
    }
    const bool isFull = m_runs.find(command.sensor)->second->Open() >= kMostWaiting;
    return isFull ? "too many commands wait for this sensor" : std::string();
}

/// Deliberate: with a clock that was set back, ids are kept longer, since times are valid for longer, too.
void clsCommands::forgetIds(double now)
{
    while (!m_seen.empty() && (now - m_seen.front().time) * kSecondsPerDay > kRemembers_s) {
        m_ids.erase(m_seen.front().id);
        m_seen.pop_front();
    }
}
