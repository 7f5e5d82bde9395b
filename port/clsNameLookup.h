// Finds the addresses of a host without making anybody wait: a name that resolves slowly is asked for in a thread that
// nothing waits for.
#pragma once

#include <functional>
#include <future>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <vector>

struct HostAddress {
    sockaddr_storage address{};
    socklen_t size = 0;
};

struct HostAnswer {
    std::vector<HostAddress> addresses; ///< empty: there is none
    std::string reason;                 ///< the system's message, if the answer is not that the host does not exist
};

class clsNameLookup {
public:
    using Resolve = std::function<HostAnswer(const std::string& host, const std::string& port)>;

    /// Asks the system; may take long, except for an address in figures.
    static HostAnswer AskSystem(const std::string& host, const std::string& port);

    explicit clsNameLookup(Resolve resolve = AskSystem) : m_resolve(std::move(resolve)) {}

    /// Asks for a host. A question for it that is still open is not asked again, so that a name server that is down
    /// costs one thread, however often the line is tried.
    void Ask(const std::string& host, const std::string& port);
    /// The answer, once; empty until it has come.
    std::optional<HostAnswer> Take();

private:
    Resolve m_resolve;
    std::string m_asked;
    std::future<HostAnswer> m_answer;
};
