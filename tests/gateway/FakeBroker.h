// A broker that a test plays: what was sent to it, and what it has to say.
#pragma once

#include "gateway/BrokerLine.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Outlives the line to it.
struct FakeBroker {
    std::vector<MqttMessage> sent;   ///< all of them, in their order
    std::vector<BrokerEvent> events; ///< that are to come
    std::vector<MqttMessage> wills;
    std::vector<std::string> filters;
    std::size_t acknowledged = 0; ///< the first so many of `sent`
    bool isConnected = false;
    bool acknowledges = true;
    bool letsLeave = true; ///< whoever takes leave has left

    void Connect()
    {
        isConnected = true;
        acknowledged = sent.size();
        events.emplace_back(BrokerConnected());
    }
    void Disconnect(const std::string& why = "gone")
    {
        isConnected = false;
        acknowledged = sent.size();
        std::erase_if(events, [](const BrokerEvent& event) { return event.index() == 2; });
        events.emplace_back(BrokerDisconnected{why});
    }
    /// The first so many of `sent`.
    void Acknowledge(std::size_t number)
    {
        for (; acknowledged < std::min(number, sent.size()); ++acknowledged) {
            if (sent[acknowledged].token != 0) {
                events.emplace_back(BrokerAcknowledged{sent[acknowledged].token});
            }
        }
    }
    std::vector<MqttMessage> On(std::string_view topic) const
    {
        std::vector<MqttMessage> found;
        std::ranges::copy_if(sent, std::back_inserter(found),
                             [&](const MqttMessage& message) { return message.topic == topic; });
        return found;
    }
};

class clsFakeBrokerLine : public BrokerLine {
public:
    explicit clsFakeBrokerLine(FakeBroker& broker) : m_broker(broker) {}

    void Send(std::vector<MqttMessage> messages) override
    {
        if (m_broker.isConnected) {
            std::ranges::move(messages, std::back_inserter(m_broker.sent));
        }
        if (m_broker.acknowledges) {
            m_broker.Acknowledge(m_broker.sent.size());
        }
    }
    void SetWill(MqttMessage will) override { m_broker.wills.push_back(std::move(will)); }
    void Subscribe(std::vector<std::string> filters) override { m_broker.filters = std::move(filters); }
    std::vector<BrokerEvent> TakeEvents() override { return std::exchange(m_broker.events, {}); }
    int EventHandle() const override { return -1; }
    std::size_t InFlight() const override { return m_broker.sent.size() - m_broker.acknowledged; }
    void Leave() override {}
    bool HasLeft() const override { return m_broker.letsLeave; }

private:
    FakeBroker& m_broker;
};
