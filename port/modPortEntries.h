// The port numbers as a person looks for them: what is there comes first, then the lines over the network, then the
// other numbers.
#pragma once

#include "port/modPComm.h"
#include "port/modPortScan.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace modPortEntries {

enum class PortPart : std::uint8_t { Present, Network, Other };

struct PortEntry {
    std::int32_t port = 0; ///< 0: no number leads to this device
    PortPart part = PortPart::Other;
    std::string address;        ///< what the number is set to, to be shown (`PlainText`); empty: nothing
    modPortScan::Device device; ///< of the part Present
};

/// All 255 numbers. Devices to which none leads follow those to which one does.
std::vector<PortEntry> Entries(const modPComm::PortDevices& devices,
                               const std::filesystem::path& root = modPortScan::kRoot);

/// How well an entry fits what somebody has typed.
enum class Fit : std::uint8_t {
    None,
    Words,        ///< maker, product, serial number, position or a name has each word
    NumberBegins, ///< "3" and "com 3" for COM 33
    Number,
};
Fit FitOf(const PortEntry& entry, std::string_view typed);

} // namespace modPortEntries
