#include "session/modCandidates.h"

#include "port/modLineUrl.h"
#include "port/modPComm.h"
#include "port/modPortScan.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

namespace modCandidates {

namespace {

enum class Kind : std::uint8_t { PluggedIn, Device, Network, None };

/// Looks at the name alone and at what the system says about it; nothing is opened.
Kind kindOf(const std::string& device)
{
    if (modLineUrl::IsUrl(device)) {
        return modLineUrl::Parse(device) ? Kind::Network : Kind::None;
    }
    const auto there = modPortScan::DeviceAt(device);
    if (!there) {
        return Kind::None;
    }
    return there->position.starts_with("usb") ? Kind::PluggedIn : Kind::Device;
}

/// The same for all names of a device.
std::string identityOf(const std::string& device, Kind kind)
{
    std::error_code error;
    const auto node = std::filesystem::canonical(device, error);
    return kind == Kind::Network || error ? device : node.string();
}

/// A number without a device; 0 when there is none. The last number is not given: it stands for a device that was
/// named.
std::int32_t freeNumber(const modPComm::PortDevices& devices)
{
    std::int32_t port = modPComm::kPortCount - 1;
    while (port > 0 && !devices.DeviceOf(port).empty()) {
        --port;
    }
    return port;
}

} // namespace

std::string NameOf(std::int32_t port, const modPComm::PortDevices& devices)
{
    const std::string device = devices.DeviceOf(port);
    return "COM " + std::to_string(port) + (device.empty() ? std::string() : " (" + device + ")");
}

std::vector<FindCandidate> Known(modPComm::PortDevices& devices, std::int32_t own)
{
    std::vector<std::pair<Kind, FindCandidate>> found;
    std::set<std::string> seen;
    const auto add = [&](std::int32_t port) {
        const std::string device = devices.DeviceOf(port);
        const Kind kind = kindOf(device);
        if (kind != Kind::None && !devices.IsSimulated(port) && seen.insert(identityOf(device, kind)).second) {
            found.emplace_back(kind, FindCandidate{port, NameOf(port, devices), port == own, device});
        }
    };
    if (own > 0) {
        add(own); // before another number of the same device
    }
    for (std::int32_t port = 1; port <= modPComm::kPortCount; ++port) {
        add(port);
    }
    for (const modPortScan::Device& device : modPortScan::Scan()) {
        const Kind kind = kindOf(device.device);
        const std::int32_t port = freeNumber(devices);
        if (kind != Kind::None && port > 0 && seen.insert(identityOf(device.device, kind)).second) {
            devices.Override(port, device.device);
            found.emplace_back(kind, FindCandidate{port, device.device, false, device.device, false});
        }
    }
    std::ranges::stable_sort(found, [](const auto& one, const auto& other) {
        return std::pair(one.first, one.second.port) < std::pair(other.first, other.second.port);
    });
    std::vector<FindCandidate> candidates;
    candidates.reserve(found.size());
    for (auto& [kind, candidate] : found) {
        candidates.push_back(std::move(candidate));
    }
    return candidates;
}

} // namespace modCandidates
