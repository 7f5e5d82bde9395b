// One connection to a line over the network, from the question for its host to its end. Nothing waits: each call takes
// what is there, and the caller says what time it is.
#pragma once

#include "port/SerialPort.h"
#include "port/clsNameLookup.h"
#include "port/clsTelnet.h"
#include "port/modLineUrl.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

class clsNetLine {
public:
    static constexpr double kOpening_s = 10.0; ///< the host has answered by then
    static constexpr double kAddress_s = 3.0;  ///< one of its addresses, if there are more
    static constexpr double kAgreeing_s = 5.0; ///< the server has said that it knows RFC 2217
    static constexpr double kAtOnce_s = 2.0;   ///< a connection that ends earlier was not wanted
    /// A second brings at most so many bytes, nearly 3 times the fastest serial line. What a stall of the network has
    /// held back may come in one piece, up to the second figure.
    static constexpr std::size_t kMostBytesPerSecond = 32768, kMostAtOnce = 262144;

    /// Begins the connection. `lookup` must outlive it; `now_s` counts from any moment.
    clsNetLine(modLineUrl::LineUrl url, clsNameLookup& lookup, double now_s);
    ~clsNetLine();
    clsNetLine(const clsNetLine&) = delete;
    clsNetLine& operator=(const clsNetLine&) = delete;

    /// Takes the opening a step further.
    PortState Step(double now_s);
    /// What has ended the opening or the connection, or is wrong with it.
    OpenProblem Problem() const { return m_problem; }
    const std::string& Reason() const { return m_reason; } ///< see `OpenFailure`

    /// Takes in what has arrived, as far as it may, and returns how many bytes of the line wait; less than 0 when none
    /// do and the connection has ended.
    std::int32_t Waiting(double now_s);
    std::int32_t Read(std::span<char> buffer);
    /// Returns how many bytes were taken; less than 0 when the connection has ended.
    std::int32_t Write(std::span<const char> bytes);
    void DiscardReceived(double now_s);
    bool SetRate(std::int32_t rate);
    std::int32_t Rate() const;
    std::int32_t TakeLineErrors();
    /// An open connection has ended, and all that it brought has been read.
    bool HasVanished() const { return m_wasOpen && m_phase == Phase::Ended && m_received.empty(); }
    /// -1 also while nothing is taken in: the socket would be readable all the time.
    int Descriptor() const { return m_allowance > 0 ? m_fd : -1; }
    /// The round trip as the system measures it, in milliseconds.
    std::int32_t RoundTrip_ms() const;

private:
    enum class Phase : std::uint8_t { Resolving, Connecting, Agreeing, Open, Ended };

    void resolve(double now_s);
    void connectNext(double now_s);
    void followConnecting(double now_s);
    void begin(double now_s);
    void followAgreement();
    void allow(double now_s);
    void takeArrived();
    std::size_t room();
    void endByPeer();
    void sendOutgoing();
    void end(OpenProblem problem, std::string reason = {});
    void endBy(int error);
    void closeSocket();
    std::string& outgoing() { return m_telnet ? m_telnet->Outgoing() : m_outgoing; }

    modLineUrl::LineUrl m_url;
    clsNameLookup& m_lookup;
    Phase m_phase = Phase::Resolving;
    double m_limit_s, m_addressLimit_s = 0.0, m_begun_s = 0.0, m_now_s;
    double m_allowed_s;                    // when the allowance was last raised
    std::size_t m_allowance = kMostAtOnce; // bytes
    std::vector<HostAddress> m_addresses;  // not tried yet, the next one last
    int m_fd = -1;
    bool m_wasOpen = false;
    OpenProblem m_problem = OpenProblem::None;
    std::string m_reason;
    std::optional<clsTelnet> m_telnet; // with RFC 2217
    std::string m_outgoing;            // without
    std::string m_received;
    std::string m_beginning; // the first bytes of the connection, as far as they are kept
    std::int32_t m_rate = 0;
};
