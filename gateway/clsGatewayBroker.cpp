// What the gateway says to the broker, and what comes from there.
#include "base/modAPI.h"
#include "gateway/clsGateway.h"

#include <algorithm>
#include <chrono>
#include <sys/epoll.h>
#include <thread>

namespace {

constexpr double kFillEvery_s = 0.05, kStateAtLeast_s = 10.0, kDroppedAtMost_s = 10.0;
constexpr double kAgainAtMost_s = 2.0; // everything, which is much
constexpr double kKeptAtMost_s = 60.0; // a line of the log
constexpr double kFirstAnswer_s = 5.0; // before it, silence is nothing to be logged
constexpr double kGoodbye_s = 2.0;     // for the last messages

/// A state without what changes with every value, and so says nothing new by itself.
SensorState steady(SensorState state)
{
    state.time = 0.0;
    state.lastValue.reset();
    state.account = {};
    state.waiting = 0;
    return state;
}

std::string connectionText(const SensorState& state)
{
    switch (state.connection) {
    case SensorConnection::NoPort:
        return "no port: " + state.whyNoPort;
    case SensorConnection::NoAnswer:
        return "no answer";
    case SensorConnection::Connected:
        break;
    }
    return "connected" + (state.identity ? ", number " + state.identity->SerialNo : std::string());
}

} // namespace

// The sensors.

SensorState clsGateway::stateOf(const Entry& entry) const
{
    SensorState state = entry.line->State(m_now);
    state.waiting = m_journal.Waiting(entry.line->Name());
    state.dropped = m_journal.Dropped(entry.line->Name());
    return state;
}

/// Once a second: what is there to be said of a sensor.
void clsGateway::look(Entry& entry)
{
    if (const auto written = entry.line->LastWritten()) {
        m_journal.Noted(entry.line->Name(), written->file, written->bytes, written->lastSequence);
    }
    const SensorState state = stateOf(entry);
    logConnection(entry, state);
    const bool isLater = m_now_s - entry.toldDropped_s >= kDroppedAtMost_s;
    if (state.dropped > entry.toldDropped && isLater) {
        entry.toldDropped_s = m_now_s;
        const std::int64_t number = state.dropped - std::exchange(entry.toldDropped, state.dropped);
        Happened(*entry.line, "dropped", {{"values", std::to_string(number)}});
    }
    if (entry.toldReports != entry.line->Reports()) {
        tellReport(entry);
    }
    const bool isDue = m_now_s - entry.toldState_s >= kStateAtLeast_s;
    if (isDue || steady(state) != entry.told) {
        tellState(entry, state);
    }
}

void clsGateway::logConnection(Entry& entry, const SensorState& state)
{
    const std::string text = connectionText(state);
    const bool mayStillCome = state.connection != SensorConnection::Connected && entry.logged.empty() &&
                              m_now_s - entry.begun_s < kFirstAnswer_s;
    if (mayStillCome || m_isEnding) {
        return;
    }
    if (std::exchange(entry.logged, text) != text) {
        const bool isGood = state.connection == SensorConnection::Connected;
        m_parts.log(isGood ? LogLevel::Info : LogLevel::Warning, entry.line->Name() + ": " + text);
    }
}

// What the lines tell.

std::string clsGateway::NameForRecording(clsSensorLine& line)
{
    return m_journal.NameForRecording(line.Name());
}

void clsGateway::RecordingBegan(clsSensorLine& line, const std::filesystem::path& file, std::int64_t firstSequence)
{
    m_journal.Began(line.Name(), file, firstSequence);
}

void clsGateway::Recorded(clsSensorLine& line, std::int64_t lastSequence)
{
    m_journal.Recorded(line.Name(), lastSequence);
}

void clsGateway::RecordingEnded(clsSensorLine& line)
{
    m_journal.Ended(line.Name());
}

void clsGateway::Measured(clsSensorLine& line, std::span<const GatewayValue> values)
{
    m_publisher->SendLive(line.Name(), values, m_now_s);
}

void clsGateway::Happened(clsSensorLine& line, std::string_view what, const Details& details)
{
    if (what == "recording failed" || what == "dropped") {
        const std::string why = details.empty() ? std::string() : details.front().second;
        m_parts.log(LogLevel::Warning, line.Name() + ": " + std::string(what) + ": " + why);
    }
    Note(line.Name(), what, details);
}

void clsGateway::Note(std::string_view sensor, std::string_view what, const Details& details)
{
    GatewayEvent event;
    event.time = m_now;
    event.sensor = sensor;
    event.what = what;
    event.details = details;
    m_journal.Add(event);
    m_nextFill_s = 0.0;
}

// The broker.

void clsGateway::connect()
{
    m_publisher.reset();
    m_broker.reset();
    m_format = m_parts.makeFormat(m_config);
    m_broker = m_parts.makeBroker(m_config);
    m_publisher = std::make_unique<clsPublisher>(*m_broker, *m_format, m_journal, m_config.broker);
    m_broker->SetWill(m_format->Will());
    m_broker->Subscribe(m_format->CommandTopics());
    m_isConnecting = false;
}

/// A broker that knows a client by its name lets the former connection drop when the next one comes, so that one ends
/// first. Lines are served meanwhile.
bool clsGateway::isConnecting()
{
    std::erase_if(m_formerBrokers,
                  [this](const auto& former) { return former->HasLeft() || m_now_s >= m_goodbyesUntil_s; });
    m_nextTry_s = m_now_s + clsTickPhase::kInterval_s;
    if (m_isConnecting || !m_formerBrokers.empty()) {
        return m_isConnecting;
    }
    m_isConnecting = true;
    if (m_broker->EventHandle() >= 0) {
        WakeBy(m_broker->EventHandle());
    }
    return true;
}

void clsGateway::takeBrokerEvents()
{
    if (!isConnecting()) {
        return;
    }
    for (const BrokerEvent& event : m_broker->TakeEvents()) {
        std::visit([this](const auto& what) { take(what); }, event);
    }
}

void clsGateway::take(const BrokerConnected& /*event*/)
{
    m_parts.log(LogLevel::Info, "broker: connected");
    m_brokerProblem.clear();
    m_publisher->Connected(m_now);
    for (const auto& entry : m_entries) {
        m_format->State(entry->line->Name(), stateOf(*entry)); // a birth says what is now, not what was before the loss
    }
    sayEverything();
}

/// The next connection begins with another will.
void clsGateway::take(const BrokerDisconnected& event)
{
    if (std::exchange(m_brokerProblem, event.why) != event.why) {
        m_parts.log(LogLevel::Warning, "broker: not connected: " + event.why);
    }
    m_publisher->Disconnected();
    m_broker->SetWill(m_format->Will());
}

void clsGateway::take(const BrokerAcknowledged& event)
{
    m_publisher->Acknowledged(event.token);
}

void clsGateway::take(const BrokerReceived& event)
{
    const auto command = m_format->ReadCommand(event.topic, event.payload);
    if (command && event.isRetained) {
        noteKept(event.topic);
    } else if (command && command->isRebirth) {
        m_isAskedAgain = true;
    } else if (command && m_parts.commands.take) {
        m_parts.commands.take(*command, event, m_now);
    }
}

/// It is for whoever was there when it was given.
void clsGateway::noteKept(const std::string& topic)
{
    if (m_now_s - m_keptLogged_s >= kKeptAtMost_s) {
        m_keptLogged_s = m_now_s;
        m_parts.log(LogLevel::Warning, "a retained command is ignored: " + topic);
    }
}

/// However often it was asked for meanwhile.
void clsGateway::sayAgain()
{
    if (m_isAskedAgain && m_now_s >= m_nextAgain_s) {
        sayEverything();
    }
}

void clsGateway::sayEverything()
{
    m_isAskedAgain = false;
    m_nextAgain_s = m_now_s + kAgainAtMost_s;
    m_publisher->Say(m_format->Online(m_now));
    sayForgotten();
    for (const auto& entry : m_entries) {
        entry->toldState_s = -1e9;
        entry->toldReports = 0;
        look(*entry);
    }
    m_nextFill_s = 0.0;
}

/// Sensors that the configuration no longer has; as soon as the broker is there.
void clsGateway::sayForgotten()
{
    if (m_publisher->IsConnected()) {
        for (const std::string& sensor : std::exchange(m_forgotten, {})) {
            m_publisher->Say(m_format->Forget(sensor, m_now));
        }
    }
}

/// Nobody says any more on the present topics what the sensors do, so what is retained there goes.
void clsGateway::forgetAll()
{
    m_publisher->SendBatches();
    for (const Entries* entries : {&m_entries, &m_leaving}) {
        for (const auto& entry : *entries) {
            m_publisher->Say(m_format->Forget(entry->line->Name(), m_now));
        }
    }
}

void clsGateway::tellState(Entry& entry, const SensorState& state)
{
    if (m_publisher->IsConnected()) {
        m_publisher->Say(m_format->State(entry.line->Name(), state));
        entry.told = steady(state);
        entry.toldState_s = m_now_s;
    }
}

void clsGateway::tellReport(Entry& entry)
{
    if (m_publisher->IsConnected() && entry.line->LastReport()) {
        const clsSensorLine::Report& report = *entry.line->LastReport();
        m_publisher->Say(m_format->Parameters(entry.line->Name(), report.identity, report.set, m_now));
        entry.toldReports = entry.line->Reports();
    }
}

void clsGateway::Answer(const CommandAnswer& answer)
{
    m_publisher->Say(m_format->Answer(answer, m_now));
}

void clsGateway::noteJournal()
{
    const std::string problem = m_journal.Problem();
    if (std::exchange(m_journalProblem, problem) != problem) {
        m_parts.log(problem.empty() ? LogLevel::Info : LogLevel::Error,
                    "journal: " + (problem.empty() ? "kept again" : problem));
    }
    if (m_now_s >= m_nextFormer_s) {
        m_nextFormer_s = m_now_s + kDroppedAtMost_s;
        noteFormer();
    }
}

/// Values that have waited for sensors that are no longer there, and had to go: nobody else tells that.
void clsGateway::noteFormer()
{
    for (const std::string& sensor : m_journal.Sensors()) {
        const std::int64_t dropped = m_journal.Dropped(sensor);
        const auto [told, isNew] = m_toldFormer.try_emplace(sensor, dropped);
        const std::int64_t number = dropped - std::exchange(told->second, dropped);
        if (number > 0 && !isNamed(sensor)) {
            m_parts.log(LogLevel::Warning, sensor + ", which has been removed: dropped: " + std::to_string(number));
            Note({}, "dropped", {{"sensor", sensor}, {"values", std::to_string(number)}});
        }
    }
}

void clsGateway::publish()
{
    if (m_now_s >= m_nextFill_s || m_now_s >= m_publisher->Due_s()) {
        m_nextFill_s = m_now_s + kFillEvery_s;
        m_publisher->Fill(m_names, m_now, m_now_s);
    }
    m_publisher->Flush();
}

/// The last messages.
void clsGateway::sayGoodbye()
{
    m_publisher->SendBatches();
    m_publisher->Say(m_format->Offline(m_now));
    m_publisher->Flush();
}

/// Without waiting for it. What it does not acknowledge goes to the next one too.
void clsGateway::leaveBroker()
{
    sayGoodbye();
    m_publisher->Disconnected();
    if (m_broker->EventHandle() >= 0) {
        epoll_ctl(m_epoll, EPOLL_CTL_DEL, m_broker->EventHandle(), nullptr);
    }
    m_broker->Leave();
    m_formerBrokers.push_back(std::move(m_broker));
    m_goodbyesUntil_s = m_now_s + kGoodbye_s;
}

/// With a moment for the broker to take the last messages.
void clsGateway::endBroker()
{
    const double end_s = modAPI::UpTime_s() + kGoodbye_s;
    const auto haveLeft = [this] {
        return std::ranges::all_of(m_formerBrokers, [](const auto& former) { return former->HasLeft(); });
    };
    sayGoodbye();
    while (((m_publisher->IsConnected() && m_broker->InFlight() > 0) || !haveLeft()) && modAPI::UpTime_s() < end_s) {
        takeBrokerEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    takeBrokerEvents();
    m_publisher->Disconnected();
}
