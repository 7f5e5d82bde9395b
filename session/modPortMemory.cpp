#include "session/modPortMemory.h"

#include "port/modLineUrl.h"
#include "texts/modFunctions.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace modPortMemory {

namespace {

/// What stands behind a number now.
struct Behind {
    std::vector<std::string> names; ///< the stable one first; empty: nothing
    std::string inWords;
};

Behind behind(std::int32_t port, const modPComm::PortDevices& devices, const std::filesystem::path& root)
{
    const std::string address = devices.DeviceOf(port);
    if (modLineUrl::IsUrl(address)) {
        return {{address}, address};
    }
    const auto device = modPortScan::DeviceAt(address, root);
    return device ? Behind{device->names, modPortScan::InWords(*device)} : Behind();
}

bool hasName(const Behind& found, const std::string& name)
{
    return std::ranges::find(found.names, name) != found.names.end();
}

std::string portName(std::int32_t port)
{
    return "COM " + std::to_string(port);
}

} // namespace

void Remember(std::int32_t port, const modPComm::PortDevices& devices, modGlobals::KnownDevices& known,
              const std::filesystem::path& root)
{
    if (devices.IsOverridden(port)) {
        return;
    }
    const Behind now = behind(port, devices, root);
    // Every name would do; the one that is kept already stays.
    if (!now.names.empty() && !hasName(now, known.Of(port))) {
        known.Remember(port, now.names.front());
    }
}

void Learn(std::int32_t port, const modPComm::PortDevices& devices, modGlobals::KnownDevices& known,
           const std::filesystem::path& root)
{
    if (known.Of(port).empty()) {
        Remember(port, devices, known, root);
    }
}

std::string Warning(std::int32_t port, const modPComm::PortDevices& devices, const modGlobals::KnownDevices& known,
                    std::int32_t language, const std::filesystem::path& root)
{
    const std::string before = known.Of(port);
    if (before.empty() || devices.IsOverridden(port)) {
        return {};
    }
    const Behind now = behind(port, devices, root);
    if (now.names.empty() || hasName(now, before)) {
        return {};
    }
    const auto text = [&](TextId id, std::initializer_list<std::string_view> parts) {
        return modFunctions::Filled(modFunctions::GetText(id, language), parts);
    };
    const auto moved = modPortScan::DeviceAt(before, root);
    const std::string was = moved ? modPortScan::InWords(*moved) : modPortScan::InWords(before);
    for (std::int32_t other = 1; moved && other <= modPComm::kPortCount; ++other) {
        if (other != port && hasName(behind(other, devices, root), before)) {
            return text(TextId::PortOtherDeviceMoved, {portName(port), now.inWords, was, portName(other)});
        }
    }
    return text(TextId::PortOtherDevice, {portName(port), now.inWords, was});
}

} // namespace modPortMemory
