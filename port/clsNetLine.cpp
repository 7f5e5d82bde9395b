#include "port/clsNetLine.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::size_t kMostReceived = 65536; // the rest waits in the system, and then at the sender
constexpr std::size_t kMostOutgoing = 4096;  // commands are short: more than this waits only on a line that is stuck
constexpr int kPiecesPerLook = 32;

struct SocketOption {
    int level, name, value;
};
/// A host that has gone without a word is noticed after about 15 s, whether bytes are on their way to it or not. A
/// small buffer keeps commands from piling up in the system meanwhile.
constexpr SocketOption kSocketOptions[] = {{IPPROTO_TCP, TCP_NODELAY, 1},  {SOL_SOCKET, SO_KEEPALIVE, 1},
                                           {IPPROTO_TCP, TCP_KEEPIDLE, 5}, {IPPROTO_TCP, TCP_KEEPINTVL, 3},
                                           {IPPROTO_TCP, TCP_KEEPCNT, 3},  {IPPROTO_TCP, TCP_USER_TIMEOUT, 14000},
                                           {SOL_SOCKET, SO_SNDBUF, 4096}};

bool isTemporary(int error)
{
    return error == EAGAIN || error == EINTR;
}

/// Whether an address has been reached; -1 while that is open, else the error, 0 for none.
int connectionError(int fd)
{
    int error = 0;
    socklen_t size = sizeof error;
    sockaddr_storage peer{};
    socklen_t peerSize = sizeof peer;
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) {
        return errno;
    }
    if (error == 0 && getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerSize) != 0) {
        return errno == ENOTCONN ? -1 : errno;
    }
    return error;
}

} // namespace

clsNetLine::clsNetLine(modLineUrl::LineUrl url, clsNameLookup& lookup, double now_s)
    : m_url(std::move(url)), m_lookup(lookup), m_limit_s(now_s + kOpening_s)
{
    if (m_url.protocol == modLineUrl::Protocol::Rfc2217) {
        m_telnet.emplace();
    }
    m_lookup.Ask(m_url.host, m_url.port, now_s);
    Step(now_s);
}

clsNetLine::~clsNetLine()
{
    closeSocket();
}

PortState clsNetLine::Step(double now_s)
{
    if (m_phase == Phase::Resolving) {
        resolve(now_s);
    } else if (m_phase == Phase::Connecting) {
        followConnecting(now_s);
    }
    if (m_phase == Phase::Agreeing) {
        followAgreement();
    }
    const bool isOpening = m_phase != Phase::Open && m_phase != Phase::Ended;
    if (isOpening && now_s > m_limit_s) {
        end(m_phase == Phase::Agreeing ? OpenProblem::NoRfc2217 : OpenProblem::TimedOut);
    }
    if (m_phase == Phase::Ended) {
        return PortState::Closed;
    }
    return m_phase == Phase::Open ? PortState::Open : PortState::Opening;
}

void clsNetLine::resolve(double now_s)
{
    std::optional<HostAnswer> answer = m_lookup.Take();
    if (!answer) {
        return;
    }
    if (answer->addresses.empty()) {
        end(answer->problem, answer->reason);
        return;
    }
    m_addresses = std::move(answer->addresses);
    std::ranges::reverse(m_addresses);
    connectNext(now_s);
    followConnecting(now_s);
}

void clsNetLine::connectNext(double now_s)
{
    closeSocket();
    const HostAddress next = m_addresses.back();
    m_addresses.pop_back();
    m_phase = Phase::Connecting;
    m_addressLimit_s = m_addresses.empty() ? m_limit_s : now_s + kAddress_s;
    m_fd = socket(next.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_fd < 0) {
        endBy(errno);
        return;
    }
    for (const SocketOption& option : kSocketOptions) {
        setsockopt(m_fd, option.level, option.name, &option.value, sizeof option.value);
    }
    if (connect(m_fd, reinterpret_cast<const sockaddr*>(&next.address), next.size) != 0 && errno != EINPROGRESS) {
        endBy(errno);
    }
}

/// The next address is tried when one fails or takes too long.
void clsNetLine::followConnecting(double now_s)
{
    for (;;) {
        const int error = m_phase == Phase::Connecting ? connectionError(m_fd) : 0;
        const bool hasFailed = m_phase == Phase::Ended || error > 0 || (error < 0 && now_s > m_addressLimit_s);
        if (!hasFailed) {
            if (error == 0) {
                begin(now_s);
            }
            return;
        }
        if (m_addresses.empty()) {
            if (m_phase != Phase::Ended) {
                endBy(error > 0 ? error : ETIMEDOUT);
            }
            return;
        }
        connectNext(now_s);
    }
}

void clsNetLine::begin(double now_s)
{
    m_problem = OpenProblem::None; // that of an address before
    m_reason.clear();
    m_wasOpen = !m_telnet;
    m_phase = m_telnet ? Phase::Agreeing : Phase::Open;
    m_limit_s = now_s + kAgreeing_s;
    if (m_telnet) {
        m_telnet->Begin();
    }
}

void clsNetLine::followAgreement()
{
    takeArrived();
    m_received.clear(); // from before the line was set
    if (m_phase == Phase::Agreeing && m_telnet->Agreed() == clsTelnet::Agreement::Agreed) {
        m_phase = Phase::Open;
        m_wasOpen = true;
    }
}

/// Bytes that are not taken now keep their place in the system. A server that does not read its answers is not read, so
/// that they do not pile up here.
void clsNetLine::takeArrived()
{
    std::array<char, 4096> piece{};
    const auto hasRoom = [&] { return m_received.size() < kMostReceived && outgoing().size() <= kMostOutgoing; };
    for (int pieces = 0; m_fd >= 0 && hasRoom() && pieces < kPiecesPerLook; ++pieces) {
        const ssize_t count = recv(m_fd, piece.data(), std::min(piece.size(), kMostReceived - m_received.size()), 0);
        if (count > 0 && m_telnet) {
            m_telnet->Receive({piece.data(), static_cast<std::size_t>(count)}, m_received);
        } else if (count > 0) {
            m_received.append(piece.data(), static_cast<std::size_t>(count));
        } else if (count < 0 && isTemporary(errno)) {
            break;
        } else {
            end(OpenProblem::ConnectionLost);
        }
    }
    if (m_fd >= 0 && m_telnet && m_telnet->Agreed() == clsTelnet::Agreement::Refused) {
        end(OpenProblem::NoRfc2217);
    }
    sendOutgoing();
}

void clsNetLine::sendOutgoing()
{
    std::string& waiting = outgoing();
    while (m_fd >= 0 && !waiting.empty()) {
        const ssize_t count = send(m_fd, waiting.data(), waiting.size(), MSG_NOSIGNAL);
        if (count < 0 && isTemporary(errno)) {
            return;
        }
        if (count < 0) {
            end(OpenProblem::ConnectionLost);
            return;
        }
        waiting.erase(0, static_cast<std::size_t>(count));
    }
}

std::int32_t clsNetLine::Waiting()
{
    takeArrived();
    return m_received.empty() && m_phase != Phase::Open ? -1 : static_cast<std::int32_t>(m_received.size());
}

std::int32_t clsNetLine::Read(std::span<char> buffer)
{
    if (m_received.empty() && Waiting() < 0) {
        return -1;
    }
    const std::size_t count = std::min(buffer.size(), m_received.size());
    std::copy_n(m_received.begin(), count, buffer.begin());
    m_received.erase(0, count);
    return static_cast<std::int32_t>(count);
}

std::int32_t clsNetLine::Write(std::span<const char> bytes)
{
    sendOutgoing();
    if (m_phase != Phase::Open) {
        return -1;
    }
    // An escaped byte takes two.
    const std::size_t room = outgoing().empty() ? kMostOutgoing : 0;
    const std::span<const char> taken = bytes.first(std::min(bytes.size(), room));
    if (m_telnet) {
        m_telnet->Send(taken);
    } else {
        m_outgoing.append(taken.data(), taken.size());
    }
    sendOutgoing();
    return m_phase == Phase::Open ? static_cast<std::int32_t>(taken.size()) : -1;
}

void clsNetLine::DiscardReceived()
{
    takeArrived();
    m_received.clear();
    if (m_telnet && m_phase == Phase::Open && m_telnet->Outgoing().empty()) {
        m_telnet->Purge();
    }
}

bool clsNetLine::SetRate(std::int32_t rate)
{
    if (m_phase != Phase::Open || std::ranges::find(kPortRates, rate) == std::end(kPortRates)) {
        return false;
    }
    m_rate = rate;
    if (m_telnet) {
        m_telnet->SetRate(rate);
        sendOutgoing();
    }
    return true;
}

std::int32_t clsNetLine::Rate() const
{
    if (m_phase != Phase::Open) {
        return -1;
    }
    return m_telnet ? m_telnet->Rate() : m_rate;
}

std::int32_t clsNetLine::TakeLineErrors()
{
    return m_telnet ? m_telnet->TakeLineErrors() : 0;
}

std::int32_t clsNetLine::RoundTrip_ms() const
{
    tcp_info info{};
    socklen_t size = sizeof info;
    if (m_phase != Phase::Open || getsockopt(m_fd, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) {
        return 0;
    }
    return static_cast<std::int32_t>(info.tcpi_rtt / 1000);
}

void clsNetLine::end(OpenProblem problem, std::string reason)
{
    m_phase = Phase::Ended;
    m_problem = problem;
    m_reason = std::move(reason);
    closeSocket();
}

void clsNetLine::endBy(int error)
{
    switch (error) {
    case ECONNREFUSED:
        end(OpenProblem::Refused);
        break;
    case ETIMEDOUT:
        end(OpenProblem::TimedOut);
        break;
    case EHOSTUNREACH:
    case ENETUNREACH:
    case EHOSTDOWN:
    case ENETDOWN:
        end(OpenProblem::NoRoute);
        break;
    default:
        end(OpenProblem::Other, std::generic_category().message(error));
    }
}

void clsNetLine::closeSocket()
{
    const int fd = std::exchange(m_fd, -1);
    if (fd < 0) {
        return;
    }
    // Bytes that are left unread would make the system cut the connection before the last command has gone out.
    std::array<char, 4096> left{};
    shutdown(fd, SHUT_WR);
    for (int pieces = 0; pieces < kPiecesPerLook && recv(fd, left.data(), left.size(), 0) > 0; ++pieces) {
    }
    close(fd);
}
