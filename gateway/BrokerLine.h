// The connection to a broker as the rest of the gateway sees it: messages go in, and what has become of them comes
// back. Nothing here waits for the network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

struct MqttMessage {
    std::string topic;   ///< UTF-8
    std::string payload; ///< bytes
    bool retain = false;
    std::uint64_t token = 0; ///< comes back with the acknowledgement; 0: nobody waits for it
};

/// The connection stands; messages that were sent before are forgotten.
struct BrokerConnected {};
/// It does not stand any longer, or could not be made. What was not acknowledged is to be sent again.
struct BrokerDisconnected {
    std::string why; ///< English, for the log
};
/// The broker has taken the message with this token.
struct BrokerAcknowledged {
    std::uint64_t token = 0;
};
/// A message on a topic that was subscribed to.
struct BrokerReceived {
    std::string topic;
    std::string payload;
    bool isRetained = false;
};
using BrokerEvent = std::variant<BrokerConnected, BrokerDisconnected, BrokerAcknowledged, BrokerReceived>;

class BrokerLine {
public:
    virtual ~BrokerLine() = default;

    /// Sends with QoS 1, in this order. While there is no connection messages are dropped without a word: the caller
    /// knows from the events.
    virtual void Send(std::vector<MqttMessage> messages) = 0;
    /// What the broker publishes in this gateway's name when it vanishes; holds from the next connection on. Called
    /// within the handling of events or before the first connection.
    virtual void SetWill(MqttMessage will) = 0;
    /// Subscribes to topics, also after every new connection.
    virtual void Subscribe(std::vector<std::string> filters) = 0;
    /// What has happened since the last call, in its order.
    virtual std::vector<BrokerEvent> TakeEvents() = 0;
    /// Becomes readable when there are events other than acknowledgements, which wait for the next look; -1 if there is
    /// no such thing.
    virtual int EventHandle() const = 0;
    /// Messages that are not acknowledged yet. The caller keeps this within bounds.
    virtual std::size_t InFlight() const = 0;
    /// Ends the connection when the broker has taken what was sent, after a moment in any case, and returns at once.
    /// Nothing else may be called from then on but whether it has ended.
    virtual void Leave() = 0;
    virtual bool HasLeft() const = 0;
};
