// Decides what goes to the broker, and when: new values first, what the journal has kept as room permits, and never
// more on its way than can be lost without harm.
#pragma once

#include "gateway/GatewayMessages.h"
#include "gateway/clsJournal.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class clsPublisher {
public:
    /// So many messages may be on their way before new values are left to the journal, and before kept ones wait.
    static constexpr std::size_t kMostLive = 500, kMostKept = 200;

    /// All must outlive the publisher.
    clsPublisher(BrokerLine& broker, MessageFormat& format, clsJournal& journal, const BrokerConfig& config)
        : m_broker(broker), m_format(format), m_journal(journal), m_config(config)
    {}

    bool IsConnected() const { return m_isConnected; }
    /// `now` are days, UTC.
    void Connected(double now);
    /// What was not acknowledged is to be sent again.
    void Disconnected();
    void Acknowledged(std::uint64_t token);

    /// New values of a sensor, in their order; `now_s` is for the time of batches.
    void SendLive(const std::string& sensor, std::span<const GatewayValue> values, double now_s);
    /// Anything that nobody waits for: states, answers. Dropped without a connection.
    void Say(std::vector<MqttMessage> messages);
    /// Sends batches that are complete or due, then events, then values that were kept, a bit of each sensor in turn.
    void Fill(std::span<const std::string> sensors, double now_s);
    /// A batch is due then; far in the future when there is none.
    double Due_s() const;
    /// Hands everything over to the broker's line. Call it at the end of a pass.
    void Flush();
    /// What was handed over and is not acknowledged.
    std::size_t OnTheWay() const { return m_broker.InFlight() + m_out.size(); }

private:
    struct Batch {
        std::vector<GatewayValue> values;
        double due_s = 0.0;
    };
    /// What an acknowledgement is for.
    struct Sent {
        std::string sensor; ///< empty: an event
        std::int64_t run = 0, first = 0, last = 0;
    };

    void sendBatch(const std::string& sensor, Batch& batch);
    void sendValues(const std::string& sensor, std::span<const GatewayValue> values, bool areHistorical);
    void sendEvents();
    bool sendKept(const std::string& sensor);
    std::size_t roomForKept() const { return kMostKept - std::min(OnTheWay(), kMostKept); }

    BrokerLine& m_broker;
    MessageFormat& m_format;
    clsJournal& m_journal;
    BrokerConfig m_config;
    bool m_isConnected = false;
    double m_connectedAt = 0.0;
    std::map<std::string, Batch> m_batches; ///< by sensor
    std::vector<MqttMessage> m_out;
    std::unordered_map<std::uint64_t, Sent> m_sent; ///< by token
    std::uint64_t m_token = 0;
    std::size_t m_turn = 0; ///< the sensor whose kept values come next
};
