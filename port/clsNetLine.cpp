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
constexpr double kAllowing_s = 0.05;      // a pause in reading lasts so long, or it would end at every byte
constexpr std::size_t kLongestWord = 200; // bytes of a server that does not want the connection

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
    : m_url(std::move(url)), m_lookup(lookup), m_limit_s(now_s + kOpening_s), m_now_s(now_s), m_allowed_s(now_s)
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
    allow(now_s);
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
    m_begun_s = now_s;
    m_limit_s = now_s + kAgreeing_s;
    if (m_telnet) {
        m_telnet->Begin();
    }
}

void clsNetLine::followAgreement()
{
    takeArrived();
    if (m_phase == Phase::Agreeing && m_telnet->Agreed() == clsTelnet::Agreement::Agreed) {
        m_phase = Phase::Open;
        m_wasOpen = true;
    }
}

/// Nobody is kept busy by a server that sends as fast as the network goes. Whoever sends that much is told of it until
/// half of what may come at once is allowed again.
void clsNetLine::allow(double now_s)
{
    m_now_s = now_s;
    if (now_s - m_allowed_s >= kAllowing_s) {
        const double raised = static_cast<double>(m_allowance) + (now_s - m_allowed_s) * kMostBytesPerSecond;
        m_allowance = static_cast<std::size_t>(std::min(raised, double{kMostAtOnce}));
        m_allowed_s = now_s;
    }
    if (m_problem == OpenProblem::TooMuch && m_allowance > kMostAtOnce / 2) {
        m_problem = OpenProblem::None;
    }
}

/// How many bytes may be taken in. The others keep their place in the system, and then at the sender. A server that
/// does not read its answers is not read, so that they do not pile up here.
std::size_t clsNetLine::room()
{
    return outgoing().size() > kMostOutgoing ? 0 : std::min(kMostReceived - m_received.size(), m_allowance);
}

void clsNetLine::takeArrived()
{
    std::array<char, 4096> piece{};
    for (int pieces = 0; m_fd >= 0 && room() > 0 && pieces < kPiecesPerLook; ++pieces) {
        const ssize_t count = recv(m_fd, piece.data(), std::min(piece.size(), room()), 0);
        if (count < 0 && isTemporary(errno)) {
            break;
        }
        if (count <= 0) {
            endByPeer();
            break;
        }
        const std::size_t before = m_received.size();
        const std::string_view bytes(piece.data(), static_cast<std::size_t>(count));
        if (m_telnet) {
            m_telnet->Receive(bytes, m_received);
        } else {
            m_received += bytes;
        }
        m_allowance -= bytes.size();
        if (m_beginning.size() <= kLongestWord) {
            m_beginning.append(m_received, before, kLongestWord + 1);
        }
        if (m_phase == Phase::Agreeing) {
            m_received.clear(); // from before the line was set
        }
    }
    if (m_phase == Phase::Open && m_allowance == 0) {
        m_problem = OpenProblem::TooMuch;
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
            endByPeer();
            return;
        }
        waiting.erase(0, static_cast<std::size_t>(count));
    }
}

std::int32_t clsNetLine::Waiting(double now_s)
{
    allow(now_s);
    takeArrived();
    return m_received.empty() && m_phase != Phase::Open ? -1 : static_cast<std::int32_t>(m_received.size());
}

std::int32_t clsNetLine::Read(std::span<char> buffer)
{
    if (m_received.empty() && Waiting(m_now_s) < 0) {
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

void clsNetLine::DiscardReceived(double now_s)
{
    allow(now_s);
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

/// A server whose line is in use says so in a few words and closes.
void clsNetLine::endByPeer()
{
    const bool isAtOnce = m_now_s <= m_begun_s + kAtOnce_s && m_beginning.size() <= kLongestWord;
    end(isAtOnce ? OpenProblem::ClosedAtOnce : OpenProblem::ConnectionLost, isAtOnce ? m_beginning : std::string());
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
