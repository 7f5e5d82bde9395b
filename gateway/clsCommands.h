// Commands from outside: which are carried out, and which are refused. Whatever comes is answered, but for what the
// broker has kept. A command that comes twice is carried out once.
#pragma once

#include "gateway/clsCommandRun.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

class clsCommands {
public:
    static constexpr double kMostAge_s = 60.0;    ///< of a command
    static constexpr double kMostAhead_s = 10.0;  ///< the sender's clock
    static constexpr double kRemembers_s = 600.0; ///< ids
    static constexpr std::size_t kMostIds = 10000;
    static constexpr std::size_t kMostWaiting = 8; ///< commands of one sensor that are not answered yet

    /// `now` as everywhere here: UTC, days since 1899-12-30. A command that an earlier start may have carried
    /// out is refused: one from before it, or so little behind it that the sender's clock may be ahead. `tell` is
    /// called within `Take` and within ticks of sessions.
    clsCommands(std::set<CommandKind> allowed, double now, clsCommandRun::Tell tell);
    ~clsCommands();
    clsCommands(const clsCommands&) = delete;
    clsCommands& operator=(const clsCommands&) = delete;

    /// What is allowed from now on.
    void Allow(std::set<CommandKind> allowed) { m_allowed = std::move(allowed); }
    /// Commands for this sensor go to this session, which must be taken out again before it ends. It needs places for
    /// backups and passports, else nothing is written.
    void Add(std::string_view sensor, clsSession& session);
    void Remove(std::string_view sensor);

    /// Takes a command that has come with this message. False when it is ignored: the broker had kept it. The answer
    /// for a sensor that does not exist has none: its topics must not be used. Commands without a kind, such as a
    /// rebirth, are not for here.
    bool Take(const GatewayCommand& command, const BrokerReceived& message, double now);

private:
    std::string whyNot(const GatewayCommand& command, double now) const;
    std::string whyNotNow(const GatewayCommand& command, double now) const;
    void forgetIds(double now);

    struct Seen {
        std::string id;
        double time = 0.0;
    };

    std::set<CommandKind> m_allowed;
    double m_begin;
    std::shared_ptr<clsCommandRun::Tell> m_tell; ///< holds nothing any more once the commands are gone
    std::map<std::string, std::shared_ptr<clsCommandRun>, std::less<>> m_runs;
    std::deque<Seen> m_seen; ///< in the order of their coming
    std::set<std::string, std::less<>> m_ids;
};
