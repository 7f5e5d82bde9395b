#include "gateway/clsGateway.h"

#include "base/modAPI.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <exception>
#include <sys/epoll.h>
#include <system_error>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

/// Bytes are taken at most so often, whatever the number of lines that bring some.
constexpr double kCoalesced_s = 0.002;
constexpr std::size_t kFew = 4; ///< lines that do not bring so much that it is worth a pause
constexpr double kLookEvery_s = 1.0;
constexpr double kWorthQuiet_s = 0.003; // a shorter wait for the end of a line saves no turn
constexpr double kLateEnd_s = 0.001;    // a driver passes the last piece on so much later
constexpr double kFaultAgain_s = 60.0;  // a fault that goes on is logged again
constexpr std::chrono::seconds kPatienceWithDisk{10};

} // namespace

clsGateway::clsGateway(GatewayConfig config, Parts parts)
    : m_config(std::move(config)), m_parts(std::move(parts)), m_journal(m_parts.journal),
      m_epoll(epoll_create1(EPOLL_CLOEXEC)), m_now(modAPI::LocalTime()), m_now_s(modAPI::UpTime_s())
{
    if (m_epoll < 0) {
        throw std::system_error(errno, std::generic_category(), "epoll");
    }
    for (const std::string& sensor : m_journal.Sensors()) {
        if (!isNamed(sensor)) {
            m_forgotten.insert(sensor); // an earlier run has had it
        }
    }
    for (const SensorConfig& sensor : m_config.sensors) {
        begin(sensor);
        m_names.push_back(sensor.name);
    }
    connect();
}

clsGateway::~clsGateway()
{
    m_entries.clear();
    m_leaving.clear();
    close(m_epoll);
}

void clsGateway::WakeBy(int descriptor)
{
    add(descriptor, nullptr);
}

bool clsGateway::Serve(double most_s)
{
    m_now = modAPI::LocalTime();
    m_now_s = modAPI::UpTime_s();
    if (std::exchange(m_isCalled, false) || nextDue_s() <= m_now_s) { // else a line has begun, and that is all
        takeBrokerEvents();
        sayAgain();
        serveLines();
        m_journal.Serve(m_now);
        if (m_now_s >= m_nextNote_s) {
            m_nextNote_s = m_now_s + kLookEvery_s;
            noteJournal();
        }
        publish();
    }
    wait(most_s);
    return m_isCalled;
}

// The lines.

void clsGateway::begin(const SensorConfig& sensor)
{
    const clsSensorLine::Places places{.backups = m_config.folder / "BACKUP",
                                       .passports = m_config.folder / "PASSPORT",
                                       .version = m_parts.version,
                                       .run = m_journal.Run(),
                                       .portSensors = &m_portSensors};
    auto entry = std::make_unique<Entry>(std::make_unique<clsSensorLine>(
        sensor, m_journal.FolderOf(sensor.name), places, static_cast<SensorLineListener&>(*this), m_now_s));
    // Not all at once: each second has its share of states.
    entry->begun_s = m_now_s;
    entry->nextLook_s = m_now_s + static_cast<double>(m_entries.size() % 20) * 0.05;
    entry->toldDropped = m_journal.Dropped(sensor.name);
    entry->line->ContinueAfter(m_journal.LastSequence(sensor.name));
    if (m_parts.commands.begin) {
        m_parts.commands.begin(sensor.name, entry->line->Session());
    }
    m_entries.push_back(std::move(entry));
    m_forgotten.erase(sensor.name);
}

bool clsGateway::isNamed(const std::string& sensor) const
{
    return std::ranges::find(m_config.sensors, sensor, &SensorConfig::name) != m_config.sensors.end();
}

void clsGateway::leave(Entry& entry)
{
    if (m_parts.commands.end) {
        m_parts.commands.end(entry.line->Name());
    }
    entry.line->BeginLeaving(m_now_s);
    entry.leftBy_s = m_now_s + m_parts.patienceWithLine_s;
}

void clsGateway::serveLines()
{
    for (Entries* entries : {&m_entries, &m_leaving}) {
        for (const auto& entry : *entries) {
            if (entry->line->Due_s() <= m_now_s) {
                serveLine(*entry);
            }
        }
    }
    endLeaving();
}

/// What is retained of a sensor must not say that it measures, should nothing follow. One that goes is forgotten when
/// nothing more comes of it, or it would be there again behind that.
void clsGateway::endLeaving()
{
    const auto ends = [this](const auto& entry) {
        const std::string& name = entry->line->Name();
        if (!entry->line->HasLeft()) {
            return false;
        }
        m_publisher->Finish(name);
        if (isNamed(name)) {
            tellState(*entry, stateOf(*entry));
        } else {
            m_forgotten.insert(name);
        }
        return true;
    };
    if (std::erase_if(m_leaving, ends) == 0) {
        return;
    }
    sayForgotten();
    if (m_leaving.empty()) {
        beginWaiting();
    }
}

/// A fault in one session must not end the others, and is not logged with each tick.
void clsGateway::guard(Entry& entry, const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::exception& fault) {
        if (std::exchange(entry.fault, fault.what()) != fault.what() || m_now_s >= entry.faultAgain_s) {
            entry.faultAgain_s = m_now_s + kFaultAgain_s;
            m_parts.log(LogLevel::Error, entry.line->Name() + ": " + fault.what());
        }
    }
}

void clsGateway::serveLine(Entry& entry)
{
    guard(entry, [&] { entry.line->Serve(m_now, m_now_s); });
    if (m_now_s >= entry.leftBy_s && !entry.line->HasLeft()) {
        m_parts.log(LogLevel::Warning, entry.line->Name() + ": it does not come to an end and is given up");
        guard(entry, [&] { entry.line->GiveUp(m_now_s); });
    }
    watch(entry);
    if (!entry.isLeaving && m_now_s >= entry.nextLook_s) {
        entry.nextLook_s = m_now_s + kLookEvery_s;
        look(entry);
    }
}

/// The descriptor changes with each opening. One that was closed is no longer watched by itself.
void clsGateway::watch(Entry& entry)
{
    const auto now = entry.line->Arrivals();
    if (std::exchange(entry.watched, now) != now && now.first >= 0) {
        entry.quietUntil_s.reset();
        add(now.first, &entry);
    }
}

/// What has arrived. While a line of text is under way, its pieces are not told: it is looked at again when it should
/// have ended.
void clsGateway::take(Entry& entry)
{
    m_lastArrivals_s = modAPI::UpTime_s();
    const bool hasCome = entry.line->Arrived(modAPI::LocalTime(), m_lastArrivals_s);
    const double quiet_s = hasCome ? entry.line->Quiet_s() : 0.0;
    const bool isTold = quiet_s < kWorthQuiet_s || entry.line->Arrivals() != entry.watched;
    if (isTold != !entry.quietUntil_s) {
        add(entry.watched.first, &entry, isTold);
    }
    entry.quietUntil_s = isTold ? std::nullopt : std::optional(m_lastArrivals_s + quiet_s + kLateEnd_s);
}

void clsGateway::takeQuiet()
{
    const double now_s = modAPI::UpTime_s();
    for (Entries* entries : {&m_entries, &m_leaving}) {
        for (const auto& entry : *entries) {
            if (entry->quietUntil_s && *entry->quietUntil_s <= now_s) {
                take(*entry);
            }
        }
    }
}

/// Each arrival is told once, so that a line that has hung up does not call all the time.
void clsGateway::add(int descriptor, void* whom, bool isTold)
{
    epoll_event event{};
    event.events = (isTold ? EPOLLIN : 0U) | (whom != nullptr ? static_cast<std::uint32_t>(EPOLLET) : 0U);
    event.data.ptr = whom;
    if (epoll_ctl(m_epoll, EPOLL_CTL_MOD, descriptor, &event) != 0 && errno == ENOENT) {
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &event);
    }
}

// The wait.

double clsGateway::nextDue_s() const
{
    double due_s = m_entries.empty() ? m_nextFill_s : m_publisher->Due_s(); // lines call often enough
    due_s = m_isConnecting ? due_s : std::min(due_s, m_nextTry_s);
    due_s = m_isAskedAgain ? std::min(due_s, m_nextAgain_s) : due_s;
    for (const Entries* entries : {&m_entries, &m_leaving}) {
        for (const auto& entry : *entries) {
            due_s = std::min({due_s, entry->line->Due_s(), entry->quietUntil_s.value_or(due_s)});
        }
    }
    return due_s;
}

void clsGateway::wait(double most_s)
{
    const double early_s = m_lastArrivals_s + kCoalesced_s - modAPI::UpTime_s();
    if (early_s > 0.0 && m_entries.size() > kFew) {
        std::this_thread::sleep_for(std::chrono::duration<double>(std::min(early_s, kCoalesced_s)));
    }
    const double now_s = modAPI::UpTime_s();
    const double rest_ms = std::clamp(nextDue_s() - now_s, 0.0, most_s) * 1000.0;
    std::array<epoll_event, 256> events{};
    const int count =
        epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), static_cast<int>(std::ceil(rest_ms)));
    for (int i = 0; i < count; ++i) {
        if (auto* entry = static_cast<Entry*>(events.at(static_cast<std::size_t>(i)).data.ptr)) {
            take(*entry);
        } else {
            m_isCalled = true;
        }
    }
    takeQuiet();
}

// Another configuration, and the end.

void clsGateway::Reload(GatewayConfig config)
{
    const bool isOtherBroker = config.broker != m_config.broker || config.name != m_config.name;
    const auto placeOf = [](const GatewayConfig& of) {
        return std::tie(of.name, of.broker.host, of.broker.port, of.broker.prefix, of.broker.format);
    };
    const bool isOtherPlace = placeOf(config) != placeOf(m_config);
    keepJournal(config);
    m_config = std::move(config);
    const auto isIn = [](const auto& sensors, const SensorConfig& sensor) {
        return std::ranges::find(sensors, sensor) != sensors.end();
    };
    std::vector<SensorConfig> kept;
    for (auto& entry : m_entries) {
        const SensorConfig& sensor = entry->line->Config();
        if (isIn(m_config.sensors, sensor)) {
            kept.push_back(sensor);
            continue;
        }
        leave(*entry);
        entry->isLeaving = true;
        m_leaving.push_back(std::move(entry));
    }
    std::erase(m_entries, nullptr);
    m_names.clear();
    for (const SensorConfig& sensor : std::exchange(m_beginning, {})) {
        if (!isNamed(sensor.name)) {
            m_forgotten.insert(sensor.name); // it has left, and does not begin again
        }
    }
    for (const SensorConfig& sensor : m_config.sensors) {
        m_names.push_back(sensor.name);
        if (!isIn(kept, sensor)) {
            m_beginning.push_back(sensor);
        }
    }
    sayForgotten();
    if (isOtherBroker) {
        if (isOtherPlace) {
            forgetAll(); // nobody says there any more what they do
        }
        leaveBroker();
        connect();
    }
    if (m_leaving.empty()) {
        beginWaiting();
    }
}

/// Each wish is logged once.
void clsGateway::keepJournal(GatewayConfig& config)
{
    const auto wish = [](const GatewayConfig& of) {
        return of.folder.string() + ' ' + std::to_string(of.journal_MiB) + ' ' + std::to_string(of.journal_days);
    };
    const std::string wanted = wish(config) == wish(m_config) ? std::string() : wish(config);
    if (std::exchange(m_fromNextStart, wanted) != wanted && !wanted.empty()) {
        m_parts.log(LogLevel::Warning, "another folder or size of the journal holds from the next start");
    }
    config.folder = m_config.folder;
    config.journal_MiB = m_config.journal_MiB;
    config.journal_days = m_config.journal_days;
}

void clsGateway::beginWaiting()
{
    for (const SensorConfig& sensor : std::exchange(m_beginning, {})) {
        begin(sensor);
    }
}

void clsGateway::End()
{
    m_beginning.clear();
    m_isEnding = true;
    endLines();
    endBroker();
    m_journal.Finish();
}

/// All at once: each of them takes a second.
void clsGateway::endLines()
{
    for (const auto& entry : m_entries) {
        leave(*entry);
    }
    const auto haveLeft = [this] {
        return std::ranges::all_of(m_entries, [](const auto& entry) { return entry->line->HasLeft(); });
    };
    while (!haveLeft() || !m_leaving.empty()) {
        Serve(clsTickPhase::kInterval_s);
    }
    for (const auto& entry : m_entries) {
        tellState(*entry, stateOf(*entry)); // what is retained of it must not say that it measures
    }
    m_publisher->Flush();
    const auto end = std::chrono::steady_clock::now() + kPatienceWithDisk;
    for (auto& entry : m_entries) {
        const auto rest = std::max(end - std::chrono::steady_clock::now(), std::chrono::steady_clock::duration::zero());
        entry->line->FinishWriting(std::chrono::duration_cast<std::chrono::milliseconds>(rest));
    }
}

std::string clsGateway::Status() const
{
    const auto connected =
        std::ranges::count_if(m_entries, [](const auto& entry) { return entry->line->IsConnected(); });
    return std::to_string(connected) + " of " + std::to_string(m_entries.size()) + " sensors connected, broker " +
           (m_publisher->IsConnected() ? "connected" : "not connected");
}
