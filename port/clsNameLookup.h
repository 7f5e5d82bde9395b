// Finds the addresses of a host without making anybody wait: a name that resolves slowly is asked for in a thread that
// nothing waits for.
#pragma once

#include "port/SerialPort.h"

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
    std::vector<HostAddress> addresses = {};   ///< empty: there is none
    OpenProblem problem = OpenProblem::NoHost; ///< why there are none
    std::string reason = {};                   ///< with Other: the system's message
};

class clsNameLookup {
public:
    using Resolve = std::function<HostAnswer(const std::string& host, const std::string& port)>;

    /// Asks the system; may take long, except for an address in figures.
    static HostAnswer AskSystem(const std::string& host, const std::string& port);

    explicit clsNameLookup(Resolve resolve = AskSystem) : m_resolve(std::move(resolve)) {}

    /// Asks for a host. A question for it that is still open is not asked again, so that a name server that is down
    /// costs one thread, however often the line is tried. An answer that came after the last attempt has given up
    /// serves this one, unless that was long ago. `now_s` counts from any moment.
    void Ask(const std::string& host, const std::string& port, double now_s);
    /// The answer, once; empty until it has come.
    std::optional<HostAnswer> Take();

private:
    Resolve m_resolve;
    std::string m_asked;
    double m_open_s = 0.0; ///< then the question was open
    std::future<HostAnswer> m_answer;
};
