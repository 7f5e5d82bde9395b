// A server on the loopback interface that does what a test tells it, in the test's own thread. Nothing waits for long.
#pragma once

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

class clsLoopbackServer {
public:
    explicit clsLoopbackServer(int family = AF_INET) : m_listener(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        sockaddr_in6 address6{};
        address6.sin6_family = AF_INET6;
        address6.sin6_addr = in6addr_loopback;
        socklen_t size = family == AF_INET ? sizeof address : sizeof address6;
        auto* any = family == AF_INET ? reinterpret_cast<sockaddr*>(&address) : reinterpret_cast<sockaddr*>(&address6);
        if (bind(m_listener, any, size) != 0 || listen(m_listener, 4) != 0 ||
            getsockname(m_listener, any, &size) != 0) {
            throw std::runtime_error("no loopback server");
        }
        m_port = ntohs(family == AF_INET ? address.sin_port : address6.sin6_port);
    }
    ~clsLoopbackServer()
    {
        HangUp();
        close(m_listener);
    }
    clsLoopbackServer(const clsLoopbackServer&) = delete;
    clsLoopbackServer& operator=(const clsLoopbackServer&) = delete;

    std::string Port() const { return std::to_string(m_port); }
    void Accept()
    {
        await(m_listener);
        m_line = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    }
    void Say(std::string_view bytes)
    {
        if (send(m_line, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
            throw std::runtime_error("the server cannot send");
        }
    }
    /// Sends as much as goes without waiting.
    std::size_t SayWhatGoes(std::string_view bytes)
    {
        const ssize_t count = send(m_line, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        return count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    /// Waits until so many bytes have come.
    std::string Hear(std::size_t count)
    {
        std::string heard;
        std::array<char, 4096> piece{};
        while (heard.size() < count) {
            await(m_line);
            const ssize_t got = recv(m_line, piece.data(), piece.size(), 0);
            if (got <= 0) {
                break;
            }
            heard.append(piece.data(), static_cast<std::size_t>(got));
        }
        return heard;
    }
    void HangUp()
    {
        if (m_line >= 0) {
            close(std::exchange(m_line, -1));
        }
    }
    /// Ends the connection without order, as a server that is switched off and on does.
    void Reset()
    {
        const linger none{1, 0};
        setsockopt(m_line, SOL_SOCKET, SO_LINGER, &none, sizeof none);
        HangUp();
    }

private:
    static void await(int fd)
    {
        pollfd arrival{fd, POLLIN, 0};
        if (poll(&arrival, 1, 20000) != 1) {
            throw std::runtime_error("nothing comes to the server");
        }
    }

    int m_listener;
    int m_line = -1;
    std::uint16_t m_port = 0;
};
