// Which address of a host takes connections. The library that speaks to the broker would wait for minutes for one that
// drops packets, such as a machine that is off, and never come to the next.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace modReach {

struct Answer {
    std::string address; ///< a number; empty: see `lookupError` and `systemError`
    int lookupError = 0; ///< of getaddrinfo; 0: the host was found
    int systemError = 0; ///< of the last address
};

/// Connects to one address after another and closes the connection at once. Each has its share of `most`, which does
/// not bound the lookup of the name.
Answer Try(const std::string& host, std::uint16_t port, std::chrono::milliseconds most);

} // namespace modReach
