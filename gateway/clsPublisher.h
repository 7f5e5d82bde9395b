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
    /// So much may be on its way before new values are left to the journal. It is enough for 4000 values a second and a
    /// broker that acknowledges after a second.
    static constexpr std::size_t kMostLive = 4000, kMostLive_bytes = std::size_t{16} << 20;
    /// Events and kept values have a share of their own, so that they come however many new values there are. It is
    /// small while the line is busy with new ones.
    static constexpr std::size_t kMostKept = 200, kMostKeptWhileBusy = 20, kMostKept_bytes = std::size_t{8} << 20;

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
    /// Sensors that are not among `sensors` any longer have theirs sent too, and are forgotten once the broker has
    /// them.
    void Fill(std::span<const std::string> sensors, double now, double now_s);
    /// Sends batches whether they are due or not.
    void SendBatches();
    /// Nothing more comes of a sensor: sends its batch, and events as room permits.
    void Finish(const std::string& sensor);
    /// A batch is due then; far in the future when there is none.
    double Due_s() const;
    /// Hands everything over to the broker's line. Call it at the end of a pass.
    void Flush();

private:
    struct Batch {
        std::vector<GatewayValue> values;
        double due_s = 0.0;
    };
    /// What an acknowledgement is for.
    struct Sent {
        std::string sensor;                        ///< empty: an event
        std::int64_t run = 0, first = 0, last = 0; ///< numbers of 0: values that were not recorded
        bool isKept = false;                       ///< an event, or values of the journal
        std::size_t bytes = 0;
    };
    /// Of values and events: what is not acknowledged.
    struct Load {
        std::size_t messages = 0, bytes = 0;
    };

    void sendBatch(const std::string& sensor, Batch& batch);
    void sendValues(const std::string& sensor, std::span<const GatewayValue> values, bool areHistorical);
    void sendEvents();
    bool sendKept(const std::string& sensor);
    void send(MqttMessage message, Sent what);
    Load& loadOf(const Sent& what) { return what.isKept ? m_kept : m_live; }
    bool hasRoomForLive() const;
    std::size_t roomForKept() const;
    void followFormer(std::span<const std::string> sensors, double now);

    BrokerLine& m_broker;
    MessageFormat& m_format;
    clsJournal& m_journal;
    BrokerConfig m_config;
    bool m_isConnected = false;
    double m_connectedAt = 0.0;
    std::map<std::string, Batch> m_batches; ///< by sensor
    std::vector<MqttMessage> m_out;
    std::unordered_map<std::uint64_t, Sent> m_sent; ///< by token
    Load m_live, m_kept;                            ///< of what is in `m_sent`
    std::uint64_t m_token = 0;
    std::size_t m_turn = 0;            ///< the sensor whose kept values come next
    std::vector<std::string> m_former; ///< sensors with kept values that the configuration no longer has
    double m_formerDue_s = 0.0;
};
