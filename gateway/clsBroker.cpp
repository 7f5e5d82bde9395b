#include "gateway/clsBroker.h"

#include "base/FileHandle.h"
#include "gateway/clsMqttConnection.h"
#include "gateway/modBrokerHosts.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <iterator>
#include <mosquitto.h>
#include <mutex>
#include <optional>
#include <random>
#include <stdexcept>
#include <sys/eventfd.h>
#include <system_error>
#include <utility>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostWaiting = 20000; // messages that are not acknowledged
constexpr std::size_t kMostWaiting_bytes = std::size_t{64} << 20;
constexpr std::size_t kMostReceived = 1000; // that nobody has taken; further ones are dropped
constexpr std::size_t kMostReceived_bytes = std::size_t{4} << 20;
constexpr std::size_t kMostWarnings = 20;
constexpr auto kLeave = 1000ms, kEnd = 2000ms, kLook = 500ms;
constexpr auto kLasting = 5s; // a connection that lasts so long is a success

FileHandle eventHandle(unsigned value)
{
    FileHandle handle(eventfd(value, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!handle.IsOpen()) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    return handle;
}

void makeReadable(const FileHandle& handle)
{
    eventfd_write(handle.Descriptor(), 1); // fails only when it is readable already
}

void check(const MqttMessage& message)
{
    const auto size = static_cast<int>(message.topic.size());
    if (mosquitto_pub_topic_check2(message.topic.data(), message.topic.size()) != MOSQ_ERR_SUCCESS ||
        mosquitto_validate_utf8(message.topic.data(), size) != MOSQ_ERR_SUCCESS ||
        message.payload.size() > kMostWaiting_bytes) {
        throw std::invalid_argument("MQTT cannot carry a message on " + message.topic);
    }
}

} // namespace

/// What both threads use.
class clsBroker::Shared {
public:
    Shared(const BrokerConfig& config, const std::string& gateway, const BrokerTiming& timing)
        : Config(config), ClientId(config.clientId.empty() ? "orvex-" + gateway : config.clientId), Times(timing)
    {}

    const BrokerConfig Config;
    const std::string ClientId;
    const BrokerTiming Times;

    // Of the main thread.

    void Send(std::vector<MqttMessage> messages)
    {
        std::for_each(messages.begin(), messages.end(), check);
        const std::lock_guard lock(m_mutex);
        if (!m_accepts || messages.empty()) {
            return;
        }
        const bool wasEmpty = m_outbox.empty();
        for (const MqttMessage& message : messages) {
            m_waiting_bytes += message.topic.size() + message.payload.size();
        }
        m_waiting += messages.size();
        if (m_waiting > kMostWaiting || m_waiting_bytes > kMostWaiting_bytes) {
            m_isOverfull = true;
            m_accepts = false;
        }
        m_outbox.insert(m_outbox.end(), std::make_move_iterator(messages.begin()),
                        std::make_move_iterator(messages.end()));
        if (wasEmpty) {
            makeReadable(m_wake);
        }
    }
    void SetWill(MqttMessage will)
    {
        const std::lock_guard lock(m_mutex);
        m_will = std::move(will);
    }
    void Subscribe(std::vector<std::string> filters)
    {
        const std::lock_guard lock(m_mutex);
        m_filters = filters;
        m_newFilters = std::move(filters);
        makeReadable(m_wake);
    }
    std::vector<BrokerEvent> Take(std::vector<std::string>& warnings)
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_isReady, false)) {
            eventfd_t ignored = 0;
            eventfd_read(m_ready.Descriptor(), &ignored);
        }
        warnings.swap(m_warnings);
        m_received = m_received_bytes = 0;
        if (!std::exchange(m_isTaken, true)) {
            m_turn.notify_all();
        }
        // The caller sends nothing new before it has learnt that all it sent before is forgotten.
        m_accepts = m_isUp && !m_isOverfull;
        return std::exchange(m_events, {});
    }
    int EventHandle() const { return m_ready.Descriptor(); }
    std::size_t InFlight() const
    {
        const std::lock_guard lock(m_mutex);
        return m_waiting;
    }
    void Stop()
    {
        const std::lock_guard lock(m_mutex);
        m_stops = true;
        m_turn.notify_all();
        makeReadable(m_wake);
    }
    bool WaitForEnd(Clock::duration patience)
    {
        std::unique_lock lock(m_mutex);
        return m_turn.wait_for(lock, patience, [this] { return m_hasEnded; });
    }

    // Of the broker's thread.

    /// Waits until the caller knows of the last loss, and then for a pause. False: it is to end.
    bool WaitForTurn(Clock::duration pause)
    {
        std::unique_lock lock(m_mutex);
        m_turn.wait(lock, [this] { return m_isTaken || m_stops; });
        m_turn.wait_for(lock, pause, [this] { return m_stops; });
        return !m_stops;
    }
    std::optional<MqttMessage> Will() const
    {
        const std::lock_guard lock(m_mutex);
        return m_will;
    }
    void Connected()
    {
        const std::lock_guard lock(m_mutex);
        m_isUp = true;
        m_newFilters = m_filters;
        add(BrokerConnected{});
    }
    void Disconnected(const std::string& why)
    {
        const std::lock_guard lock(m_mutex);
        m_isUp = m_accepts = m_isOverfull = m_isTaken = false;
        m_waiting = m_waiting_bytes = 0;
        m_outbox.clear();
        add(BrokerDisconnected{why});
    }
    void Ended()
    {
        const std::lock_guard lock(m_mutex);
        m_hasEnded = true;
        m_turn.notify_all();
    }
    struct Work {
        std::vector<MqttMessage> messages;
        std::vector<std::string> filters;
        bool isOverfull = false, stops = false;
        std::size_t waiting = 0;
    };
    /// Hands over what the connection has brought and returns what it is to send.
    Work Exchange(clsMqttConnection& connection)
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& [token, bytes] : connection.acknowledged) {
            --m_waiting;
            m_waiting_bytes -= bytes;
            if (token != 0) { // wakes nobody: it comes with each value, and what waits for it looks by itself
                m_events.emplace_back(BrokerAcknowledged{token});
            }
        }
        for (BrokerReceived& message : connection.received) {
            m_received_bytes += message.topic.size() + message.payload.size();
            if (++m_received > kMostReceived || m_received_bytes > kMostReceived_bytes) {
                warn("commands come too fast; some are left out");
                continue;
            }
            add(std::move(message));
        }
        for (std::string& warning : connection.warnings) {
            warn(std::move(warning));
        }
        connection.acknowledged.clear();
        connection.received.clear();
        connection.warnings.clear();
        return {std::exchange(m_outbox, {}), std::exchange(m_newFilters, {}), m_isOverfull, m_stops, m_waiting};
    }
    int WakeHandle() const { return m_wake.Descriptor(); }

private:
    template <class Event>
    void add(Event event)
    {
        callCaller();
        m_events.emplace_back(std::move(event));
    }
    void callCaller()
    {
        m_isReady = true;
        makeReadable(m_ready);
    }
    void warn(std::string text)
    {
        if (m_warnings.size() < kMostWarnings) {
            m_warnings.push_back(std::move(text));
            callCaller();
        }
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_turn;
    FileHandle m_wake = eventHandle(0), m_ready = eventHandle(1);
    std::optional<MqttMessage> m_will;
    std::vector<std::string> m_filters, m_newFilters;
    std::vector<MqttMessage> m_outbox;
    std::size_t m_waiting = 0, m_waiting_bytes = 0; ///< in the outbox and on their way
    std::vector<BrokerEvent> m_events;
    std::vector<std::string> m_warnings;
    std::size_t m_received = 0, m_received_bytes = 0; ///< since the last `Take`
    bool m_isTaken = false, m_isUp = false, m_accepts = false, m_isOverfull = false, m_stops = false;
    bool m_hasEnded = false, m_isReady = true; ///< there is something to be taken
};

namespace {

/// The configuration with one of the hosts that it names, by the number of the attempt.
BrokerConfig withHost(BrokerConfig config, std::size_t attempt)
{
    if (const auto hosts = modBrokerHosts::Read(config.host, config.port)) { // else it is not found
        const BrokerHost& host = (*hosts)[attempt % hosts->size()];
        config.host = host.name;
        config.port = host.port;
    }
    return config;
}

/// Holds a connection as long as it lasts and returns why it has ended.
template <class Shared>
std::string hold(Shared& shared, std::size_t attempt, Clock::time_point& upSince)
{
    clsMqttConnection connection(withHost(shared.Config, attempt), shared.ClientId, shared.Times.keepAlive_s);
    if (!connection.Open(shared.Will(), shared.Times.answer)) {
        return connection.Why();
    }
    auto lastAnswer = Clock::now();
    std::optional<Clock::time_point> leaving;
    std::size_t waiting = 0;
    while (connection.Serve(shared.WakeHandle(), kLook)) {
        const auto now = Clock::now();
        if (connection.IsUp() && upSince == Clock::time_point{}) {
            upSince = lastAnswer = now;
            shared.Connected();
        }
        if (!connection.acknowledged.empty() || (connection.IsUp() && waiting == 0)) {
            lastAnswer = now;
        } else if (now - lastAnswer > shared.Times.answer) {
            return connection.IsUp() ? "the broker does not acknowledge any more" : "the broker does not answer";
        }
        auto work = shared.Exchange(connection);
        waiting = work.waiting;
        if (work.isOverfull) {
            return "the broker is too slow: too many messages wait";
        }
        if (connection.IsUp() && !(connection.Subscribe(work.filters) && connection.Publish(work.messages))) {
            return connection.Why();
        }
        if (work.stops) {
            leaving = leaving.value_or(now);
            if (!connection.IsUp() || waiting == 0 || now - *leaving > kLeave) {
                connection.Close();
                return "the gateway ends";
            }
        }
    }
    return connection.Why();
}

} // namespace

clsBroker::clsBroker(const BrokerConfig& config, const std::string& gateway, Warn warn, const BrokerTiming& timing)
    : m_warn(std::move(warn)), m_shared(std::make_shared<Shared>(config, gateway, timing)),
      m_thread([shared = m_shared] { run(shared); })
{}

clsBroker::~clsBroker()
{
    m_shared->Stop();
    if (m_shared->WaitForEnd(m_isLeaving ? Clock::duration::zero() : kEnd)) {
        m_thread.join();
    } else {
        m_thread.detach(); // in a lookup or a connect that hangs; it owns all that it uses
    }
}

void clsBroker::Send(std::vector<MqttMessage> messages)
{
    m_shared->Send(std::move(messages));
}

void clsBroker::SetWill(MqttMessage will)
{
    m_shared->SetWill(std::move(will));
}

void clsBroker::Subscribe(std::vector<std::string> filters)
{
    m_shared->Subscribe(std::move(filters));
}

std::vector<BrokerEvent> clsBroker::TakeEvents()
{
    std::vector<std::string> warnings;
    auto events = m_shared->Take(warnings);
    for (const std::string& warning : warnings) {
        if (m_warn) {
            m_warn(warning);
        }
    }
    return events;
}

int clsBroker::EventHandle() const
{
    return m_shared->EventHandle();
}

std::size_t clsBroker::InFlight() const
{
    return m_shared->InFlight();
}

void clsBroker::Leave()
{
    m_isLeaving = true;
    m_shared->Stop();
}

bool clsBroker::HasLeft() const
{
    return m_shared->WaitForEnd(Clock::duration::zero());
}

void clsBroker::run(const std::shared_ptr<Shared>& shared)
{
    sigset_t all; // signals are the main thread's; a write to a connection that has gone is an error here, no signal
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    std::minstd_rand random{std::random_device{}()};
    std::uniform_real_distribution<double> share(0.75, 1.25); // so that gateways do not come all at once
    std::chrono::milliseconds pause = shared->Times.firstPause;
    Clock::duration next{0};
    for (std::size_t attempt = 0; shared->WaitForTurn(next); ++attempt) {
        Clock::time_point upSince{};
        const std::string why = hold(*shared, attempt, upSince);
        if (upSince != Clock::time_point{} && Clock::now() - upSince > kLasting) {
            pause = shared->Times.firstPause;
        }
        shared->Disconnected(why);
        next = std::chrono::duration_cast<Clock::duration>(pause * share(random));
        pause = std::min(2 * pause, shared->Times.longestPause);
    }
    shared->Ended();
}
