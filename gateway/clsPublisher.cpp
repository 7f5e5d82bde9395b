#include "gateway/clsPublisher.h"

#include "base/Days.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace {

/// New values on their way from which on the line has not much to spare.
constexpr std::size_t kBusy = clsPublisher::kMostLive / 4 * 3, kBusy_bytes = clsPublisher::kMostLive_bytes / 4 * 3;

/// Whether a value is the next one of the same recording, or both are of none.
bool follows(const GatewayValue& before, const GatewayValue& value)
{
    const bool isNext = value.run == before.run && value.sequence == before.sequence + 1;
    return before.sequence == 0 ? value.sequence == 0 : isNext;
}

} // namespace

void clsPublisher::Connected(double now)
{
    m_isConnected = true;
    m_connectedAt = now;
}

void clsPublisher::Disconnected()
{
    m_isConnected = false;
    m_out.clear();
    m_batches.clear();
    m_sent.clear();
    m_live = m_kept = {};
    m_former.clear();
    m_journal.Unsent();
}

void clsPublisher::Acknowledged(std::uint64_t token)
{
    const auto sent = m_sent.find(token);
    if (sent == m_sent.end()) {
        return;
    }
    const Sent& what = sent->second;
    if (what.sensor.empty()) {
        m_journal.EventAcknowledged(what.run, what.first);
    } else if (what.first > 0) {
        m_journal.Acknowledged(what.sensor, what.run, what.first, what.last);
    }
    Load& load = loadOf(what);
    --load.messages;
    load.bytes -= what.bytes;
    m_sent.erase(sent);
}

/// With a token, so that its acknowledgement comes back.
void clsPublisher::send(MqttMessage message, Sent what)
{
    what.bytes = message.topic.size() + message.payload.size();
    Load& load = loadOf(what);
    ++load.messages;
    load.bytes += what.bytes;
    message.token = ++m_token;
    m_sent[m_token] = std::move(what);
    m_out.push_back(std::move(message));
}

/// Messages of all kinds count: the connection has one bound for them.
bool clsPublisher::hasRoomForLive() const
{
    return m_broker.InFlight() + m_out.size() < kMostLive && m_live.bytes < kMostLive_bytes;
}

std::size_t clsPublisher::roomForKept() const
{
    const bool isBusy = m_live.messages >= kBusy || m_live.bytes >= kBusy_bytes;
    const std::size_t most = m_kept.bytes >= kMostKept_bytes ? 0 : isBusy ? kMostKeptWhileBusy : kMostKept;
    return most - std::min(m_kept.messages, most);
}

/// When too much is on its way, recorded values are left to the journal.
void clsPublisher::SendLive(const std::string& sensor, std::span<const GatewayValue> values, double now_s)
{
    for (const GatewayValue& value : values) {
        if (!m_isConnected || !hasRoomForLive()) {
            return;
        }
        if (value.sequence > 0) {
            m_journal.SentLive(sensor, value.sequence, value.sequence);
        }
        if (m_config.batch_ms == 0) {
            sendValues(sensor, {&value, 1}, false);
            continue;
        }
        Batch& batch = m_batches[sensor];
        if (!batch.values.empty() && !follows(batch.values.back(), value)) {
            sendBatch(sensor, batch);
        }
        if (batch.values.empty()) {
            batch.due_s = now_s + m_config.batch_ms / 1000.0;
        }
        batch.values.push_back(value);
        if (std::ssize(batch.values) >= m_config.batchValues) {
            sendBatch(sensor, batch);
        }
    }
}

void clsPublisher::sendBatch(const std::string& sensor, Batch& batch)
{
    if (!batch.values.empty()) {
        sendValues(sensor, batch.values, false);
        batch.values.clear();
    }
}

void clsPublisher::SendBatches()
{
    for (auto& [sensor, batch] : m_batches) {
        sendBatch(sensor, batch);
    }
}

void clsPublisher::Finish(const std::string& sensor)
{
    if (!m_isConnected) {
        return;
    }
    if (const auto batch = m_batches.find(sensor); batch != m_batches.end()) {
        sendBatch(sensor, batch->second);
        m_batches.erase(batch);
    }
    sendEvents();
}

/// They belong together: one acknowledgement is for all of them.
void clsPublisher::sendValues(const std::string& sensor, std::span<const GatewayValue> values, bool areHistorical)
{
    Say(m_format.Introduce(sensor));
    send(m_format.Values(sensor, values, areHistorical),
         {sensor, values.front().run, values.front().sequence, values.back().sequence, areHistorical});
}

void clsPublisher::Say(std::vector<MqttMessage> messages)
{
    if (m_isConnected) {
        m_out.insert(m_out.end(), std::make_move_iterator(messages.begin()), std::make_move_iterator(messages.end()));
    }
}

double clsPublisher::Due_s() const
{
    double due_s = std::numeric_limits<double>::max();
    for (const auto& [sensor, batch] : m_batches) {
        due_s = batch.values.empty() ? due_s : std::min(due_s, batch.due_s);
    }
    return due_s;
}

void clsPublisher::Fill(std::span<const std::string> sensors, double now, double now_s)
{
    constexpr double kLookEvery_s = 1.0;
    if (!m_isConnected) {
        return;
    }
    for (auto& [sensor, batch] : m_batches) {
        if (now_s >= batch.due_s) {
            sendBatch(sensor, batch);
        }
    }
    sendEvents();
    if (now_s >= m_formerDue_s) {
        m_formerDue_s = now_s + kLookEvery_s;
        followFormer(sensors, now);
    }
    const std::size_t number = sensors.size() + m_former.size();
    std::size_t withoutAny = 0;
    while (roomForKept() > 0 && withoutAny < number) {
        m_turn = (m_turn + 1) % number;
        const bool isFormer = m_turn >= sensors.size();
        withoutAny = sendKept(isFormer ? m_former[m_turn - sensors.size()] : sensors[m_turn]) ? 0 : withoutAny + 1;
    }
}

/// Values bring a sensor back to those who listen, so it has to go again.
void clsPublisher::followFormer(std::span<const std::string> sensors, double now)
{
    const auto isIn = [](const auto& names, const std::string& name) {
        return std::ranges::find(names, name) != names.end();
    };
    std::vector<std::string> former = m_journal.Holding();
    std::erase_if(former, [&](const std::string& name) { return isIn(sensors, name); });
    for (const std::string& name : m_former) {
        if (!isIn(former, name) && !isIn(sensors, name)) {
            Say(m_format.Forget(name, now));
        }
    }
    m_former = std::move(former);
}

void clsPublisher::sendEvents()
{
    constexpr double kJust = 1.0 / kSecondsPerDay; // an event that the connection itself has brought
    for (const GatewayEvent& event : m_journal.NextEvents(roomForKept())) {
        std::vector<MqttMessage> messages = m_format.Event(event, event.time < m_connectedAt - kJust);
        if (messages.empty()) {
            m_journal.EventAcknowledged(event.run, event.sequence); // this format has no word for it
            continue;
        }
        MqttMessage last = std::move(messages.back());
        messages.pop_back();
        Say(std::move(messages));
        send(std::move(last), {{}, event.run, event.sequence, event.sequence, true});
    }
}

/// A message for each stretch without a hole; between them are values that were sent as they came.
bool clsPublisher::sendKept(const std::string& sensor)
{
    const std::vector<GatewayValue> values = m_journal.Next(sensor, static_cast<std::size_t>(m_config.batchValues));
    for (auto begin = values.begin(); begin != values.end();) {
        const auto hole =
            std::adjacent_find(begin, values.end(), [](const auto& a, const auto& b) { return !follows(a, b); });
        const auto end = hole == values.end() ? hole : hole + 1;
        sendValues(sensor, {begin, end}, true);
        begin = end;
    }
    return !values.empty();
}

void clsPublisher::Flush()
{
    if (!m_out.empty()) {
        m_broker.Send(std::exchange(m_out, {}));
    }
}
