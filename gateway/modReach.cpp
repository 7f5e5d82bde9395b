#include "gateway/modReach.h"

#include "base/FileHandle.h"

#include <array>
#include <cerrno>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

/// 0 when the address takes a connection.
int errorOf(const addrinfo& address, std::chrono::milliseconds most)
{
    const FileHandle socket(::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.IsOpen()) {
        return errno;
    }
    if (connect(socket.Descriptor(), address.ai_addr, address.ai_addrlen) == 0) {
        return 0;
    }
    if (errno != EINPROGRESS) {
        return errno;
    }
    pollfd handle{socket.Descriptor(), POLLOUT, 0};
    if (poll(&handle, 1, static_cast<int>(most.count())) <= 0) {
        return ETIMEDOUT;
    }
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(socket.Descriptor(), SOL_SOCKET, SO_ERROR, &error, &size);
    return error;
}

std::string textOf(const addrinfo& address)
{
    std::array<char, NI_MAXHOST> text{};
    getnameinfo(address.ai_addr, address.ai_addrlen, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST);
    return text.data();
}

} // namespace

namespace modReach {

Answer Try(const std::string& host, std::uint16_t port, std::chrono::milliseconds most)
{
    addrinfo hints{}, *list = nullptr;
    hints.ai_flags = AI_ADDRCONFIG | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    Answer answer;
    answer.lookupError = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list);
    if (answer.lookupError != 0) {
        return answer;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> guard(list, freeaddrinfo);
    int count = 0;
    for (const addrinfo* address = list; address != nullptr; address = address->ai_next) {
        ++count;
    }
    for (const addrinfo* address = list; address != nullptr; address = address->ai_next) {
        answer.systemError = errorOf(*address, most / count);
        if (answer.systemError == 0) {
            answer.address = textOf(*address);
            break;
        }
    }
    return answer;
}

} // namespace modReach
