// The connection to an MQTT broker, held by a thread of its own: lookups, TLS and a network that hangs make nobody else
// wait. It is made again whenever it is lost, with growing pauses.
#pragma once

#include "gateway/BrokerLine.h"
#include "gateway/GatewayConfig.h"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

struct BrokerTiming {
    std::chrono::milliseconds firstPause{500};     ///< after a loss; each further one is twice as long
    std::chrono::milliseconds longestPause{30000}; ///< pauses vary by a quarter
    std::chrono::milliseconds answer{15000};       ///< a broker that is silent for so long while it ought to answer
    int keepAlive_s = 20;                          ///< at least 5
};

class clsBroker final : public BrokerLine {
public:
    using Warn = std::function<void(const std::string&)>;

    /// Connects after the first call of `TakeEvents`, so that will and subscriptions come before; the event handle is
    /// readable from the beginning. In the same way it connects again only after the loss was taken. `warn` is called
    /// within `TakeEvents`, in English. Throws std::system_error when the system has no thread or handle left.
    clsBroker(const BrokerConfig& config, const std::string& gateway, Warn warn = {}, const BrokerTiming& timing = {});
    /// Waits up to a second for acknowledgements of what was sent, and takes leave of the broker; two seconds at most.
    /// After `Leave` it waits for nothing.
    ~clsBroker() override;
    clsBroker(const clsBroker&) = delete;
    clsBroker& operator=(const clsBroker&) = delete;

    /// Also dropped are messages sent before `TakeEvents` has returned the present connection. If so many wait that
    /// memory is in danger, the connection is given up. Throws std::invalid_argument for what MQTT cannot carry, a
    /// topic with a wildcard, for instance.
    void Send(std::vector<MqttMessage> messages) override;
    void SetWill(MqttMessage will) override;
    void Subscribe(std::vector<std::string> filters) override;
    std::vector<BrokerEvent> TakeEvents() override;
    int EventHandle() const override;
    std::size_t InFlight() const override;
    void Leave() override;
    bool HasLeft() const override;

private:
    class Shared;
    static void run(const std::shared_ptr<Shared>& shared);

    Warn m_warn;
    std::shared_ptr<Shared> m_shared; ///< with the thread, which may outlive this object while a lookup hangs
    std::thread m_thread;
    bool m_isLeaving = false;
};
