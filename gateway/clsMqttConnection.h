// One connection to an MQTT broker, from its making to its end. One thread uses it and may wait in it for the lookup of
// a name and, for a bounded time, for TCP. A further connection is a further object, so nothing of an earlier one is
// sent again.
#pragma once

#include "gateway/BrokerLine.h"
#include "gateway/GatewayConfig.h"

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

struct mosquitto;
struct mosquitto_message;
struct ssl_ctx_st;
struct ssl_st;

class clsMqttConnection {
public:
    /// A message with a larger payload is not for us.
    static constexpr std::size_t kLargestPayload = 64 * 1024;

    clsMqttConnection(const BrokerConfig& config, std::string clientId, int keepAlive_s);
    ~clsMqttConnection();
    clsMqttConnection(const clsMqttConnection&) = delete;
    clsMqttConnection& operator=(const clsMqttConnection&) = delete;

    /// Looks the name up, connects, and begins the rest, which `Serve` goes on with. A host that is silent gets `most`.
    /// False: see `Why`.
    bool Open(const std::optional<MqttMessage>& will, std::chrono::milliseconds most);
    /// Waits until the network has something, or `wake`, an eventfd, is readable; at most so long. Reads and writes
    /// what is possible. False: the connection has ended, see `Why`. While a few messages go out now and then, what
    /// comes meanwhile may wait for the next one, some hundredths of a second at most.
    bool Serve(int wake, std::chrono::milliseconds most);
    /// Whether the broker has accepted the gateway.
    bool IsUp() const { return m_isUp; }

    /// Both return at once; false: the connection has ended, see `Why`.
    bool Publish(const std::vector<MqttMessage>& messages);
    bool Subscribe(const std::vector<std::string>& filters);
    /// Says good-bye, so that the broker does not publish the will.
    void Close();

    /// English, one line.
    const std::string& Why() const { return m_why; }

    struct Acknowledged {
        std::uint64_t token = 0;
        std::size_t bytes = 0;
    };
    /// What `Serve` has brought since they were last cleared; they are the caller's to take.
    std::vector<Acknowledged> acknowledged;
    std::vector<BrokerReceived> received;
    std::vector<std::string> warnings;

private:
    struct Callbacks;

    bool prepare(const std::optional<MqttMessage>& will);
    bool prepareUser();
    bool prepareTls();
    bool wantsWrite() const;
    bool isBusy();
    bool mayAwaitNext() const;
    bool fail(std::string why);
    bool failSystem(int systemError);
    bool failCode(int code, int systemError);
    std::string tlsReason() const;

    BrokerConfig m_config;
    std::string m_clientId;
    int m_keepAlive_s;
    mosquitto* m_mosquitto = nullptr;
    bool m_isByAddress = false;               ///< the host has no name
    std::shared_ptr<ssl_ctx_st> m_tlsContext; ///< our own, so that it is certain what is verified
    std::shared_ptr<ssl_st> m_tls; ///< outlives its use by the library: it says why a certificate was not accepted
    bool m_isUp = false;
    std::string m_why, m_refusal;
    std::string m_said; ///< what the library has complained about
    std::unordered_map<int, Acknowledged> m_sent;
    std::chrono::steady_clock::time_point m_lastCare;
    std::array<std::chrono::steady_clock::time_point, 4> m_turns{}; ///< the last ones
    std::size_t m_turn = 0;
};
