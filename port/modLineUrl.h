// Addresses of lines over the network: tcp://host:port carries the line's bytes as they are, rfc2217://host:port adds
// its rate and state. An IPv6 address stands in brackets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace modLineUrl {

enum class Protocol : std::uint8_t { Raw, Rfc2217 };

struct LineUrl {
    Protocol protocol = Protocol::Raw;
    std::string host; ///< a name or an address, without brackets
    std::string port; ///< 1..65535, in decimal
};

/// Whether a text in the place of a device means a line over the network, well-formed or not.
bool IsUrl(std::string_view device);

/// Empty for anything that is not such an address in full.
std::optional<LineUrl> Parse(std::string_view text);

} // namespace modLineUrl
