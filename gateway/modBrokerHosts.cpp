#include "gateway/modBrokerHosts.h"

#include "base/Numbers.h"

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>

namespace {

/// The part behind a "%" names an interface of this machine.
bool isIpv6(std::string_view text)
{
    in6_addr ignored{};
    return inet_pton(AF_INET6, std::string(text.substr(0, text.find('%'))).c_str(), &ignored) == 1;
}

bool isName(std::string_view text)
{
    constexpr std::size_t kLongest = 253;
    const auto isUsual = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
               c == '.';
    };
    return !text.empty() && text.size() <= kLongest && text.front() != '.' && text.find("..") == text.npos &&
           std::ranges::all_of(text, isUsual);
}

std::optional<BrokerHost> readHost(std::string_view text, std::uint16_t port)
{
    if (isIpv6(text)) {
        return BrokerHost{std::string(text), port};
    }
    const bool isInBrackets = text.starts_with('[');
    const std::size_t end = isInBrackets ? text.find(']') : text.find(':');
    const std::string_view name = text.substr(isInBrackets ? 1 : 0, end - (isInBrackets ? 1 : 0));
    if (isInBrackets ? end == text.npos || !isIpv6(name) : !isName(name)) {
        return std::nullopt;
    }
    text.remove_prefix(std::min(end + (isInBrackets ? 1 : 0), text.size()));
    if (text.empty()) {
        return BrokerHost{std::string(name), port};
    }
    const auto own = text.front() == ':' ? WholeNumber(text.substr(1)) : std::nullopt;
    if (!own || *own < 1 || *own > 65535) {
        return std::nullopt;
    }
    return BrokerHost{std::string(name), static_cast<std::uint16_t>(*own)};
}

} // namespace

namespace modBrokerHosts {

std::optional<std::vector<BrokerHost>> Read(std::string_view list, std::uint16_t port)
{
    std::vector<BrokerHost> hosts;
    for (bool isLast = false; !isLast;) {
        const std::size_t end = list.find(',');
        isLast = end == list.npos;
        auto host = readHost(Trimmed(list.substr(0, end)), port);
        if (!host) {
            return std::nullopt;
        }
        hosts.push_back(std::move(*host));
        list.remove_prefix(isLast ? list.size() : end + 1);
    }
    return hosts;
}

} // namespace modBrokerHosts
