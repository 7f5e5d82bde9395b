// The list of hosts in a configuration of the broker.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct BrokerHost {
    std::string name; ///< or an address, without brackets
    std::uint16_t port = 0;
    bool operator==(const BrokerHost&) const = default;
};

namespace modBrokerHosts {

/// "a", "a:1884", "::1" and "[::1]:1884", with commas between them; `port` is that of hosts without one of their own.
/// Nothing when one of them cannot be a host.
std::optional<std::vector<BrokerHost>> Read(std::string_view list, std::uint16_t port);

} // namespace modBrokerHosts
