#include "port/clsNameLookup.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <memory>
#include <netdb.h>
#include <system_error>
#include <thread>
#include <utility>

namespace {

constexpr double kKept_s = 60.0; // an answer that nobody has taken

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
        if (error == EAI_AGAIN || error == EAI_FAIL) {
            answer.problem = OpenProblem::NameUnresolved;
        } else if (error != EAI_NONAME && error != EAI_NODATA && error != EAI_ADDRFAMILY) {
            answer.problem = OpenProblem::Other;
            answer.reason = error == EAI_SYSTEM ? std::generic_category().message(errno) : gai_strerror(error);
        }
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

void clsNameLookup::Ask(const std::string& host, const std::string& port, double now_s)
{
    using namespace std::chrono_literals;
    std::string asked = host + ' ' + port;
    if (m_answer.valid() && m_asked == asked) { // not taken yet
        const bool isOpen = m_answer.wait_for(0s) != std::future_status::ready;
        if (isOpen || now_s - m_open_s <= kKept_s) {
            m_open_s = isOpen ? now_s : m_open_s;
            return;
        }
    }
    m_asked = std::move(asked);
    m_open_s = now_s;
    if (HostAnswer known = ask(host, port, AI_NUMERICHOST); !known.addresses.empty()) {
        std::promise<HostAnswer> promise;
        promise.set_value(std::move(known));
        m_answer = promise.get_future();
        return;
    }
    // The thread owns all that it uses: it may outlive the line and even end with the program. What is thrown in it
    // goes into the answer.
    std::packaged_task<HostAnswer()> task([resolve = m_resolve, host, port] { return resolve(host, port); });
    m_answer = task.get_future();
    try {
        std::thread(std::move(task)).detach();
    } catch (const std::system_error&) {
        std::promise<HostAnswer> promise;
        promise.set_value({.problem = OpenProblem::NameUnresolved});
        m_answer = promise.get_future();
    }
}

std::optional<HostAnswer> clsNameLookup::Take()
{
    using namespace std::chrono_literals;
    if (!m_answer.valid() || m_answer.wait_for(0s) != std::future_status::ready) {
        return std::nullopt;
    }
    try {
        return m_answer.get();
    } catch (const std::exception& problem) { // the lookup has failed in the thread
        return HostAnswer{.problem = OpenProblem::Other, .reason = problem.what()};
    }
}
