#include "port/clsNameLookup.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <system_error>
#include <thread>
#include <utility>

namespace {

/// With `flags` AI_NUMERICHOST it answers at once.
HostAnswer ask(const std::string& host, const std::string& port, int flags)
{
    addrinfo wanted{};
    wanted.ai_flags = flags | AI_NUMERICSERV;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    HostAnswer answer;
    const int error = getaddrinfo(host.c_str(), port.c_str(), &wanted, &found);
    if (error != 0) {
        const bool isUnknown = error == EAI_NONAME || error == EAI_NODATA || error == EAI_ADDRFAMILY;
        answer.reason = isUnknown             ? std::string()
                        : error == EAI_SYSTEM ? std::generic_category().message(errno)
                                              : gai_strerror(error);
        return answer;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, freeaddrinfo);
    for (const addrinfo* one = found; one != nullptr; one = one->ai_next) {
        HostAddress address;
        std::memcpy(&address.address, one->ai_addr, one->ai_addrlen);
        address.size = one->ai_addrlen;
        answer.addresses.push_back(address);
    }
    return answer;
}

} // namespace

HostAnswer clsNameLookup::AskSystem(const std::string& host, const std::string& port)
{
    return ask(host, port, 0);
}

void clsNameLookup::Ask(const std::string& host, const std::string& port)
{
    using namespace std::chrono_literals;
    std::string asked = host + ' ' + port;
    if (m_answer.valid() && m_asked == asked && m_answer.wait_for(0s) != std::future_status::ready) {
        return;
    }
    m_asked = std::move(asked);
    std::promise<HostAnswer> promise;
    m_answer = promise.get_future();
    if (HostAnswer known = ask(host, port, AI_NUMERICHOST); !known.addresses.empty()) {
        promise.set_value(std::move(known));
        return;
    }
    // The thread owns all that it uses: it may outlive the line and even end with the program.
    std::thread([resolve = m_resolve, host, port, promise = std::move(promise)]() mutable {
        promise.set_value(resolve(host, port));
    }).detach();
}

std::optional<HostAnswer> clsNameLookup::Take()
{
    using namespace std::chrono_literals;
    if (!m_answer.valid() || m_answer.wait_for(0s) != std::future_status::ready) {
        return std::nullopt;
    }
    return m_answer.get();
}
