#include "port/modPComm.h"

#include <iterator>
#include <utility>

namespace modPComm {

std::string UsualDevice(std::int32_t port)
{
    constexpr std::int32_t kPerKind = 32;
    constexpr std::string_view kKinds[] = {"/dev/ttyS", "/dev/ttyUSB", "/dev/ttyACM"};
    if (port < 1 || port > kPerKind * static_cast<std::int32_t>(std::size(kKinds))) {
        return {};
    }
    return std::string(kKinds[(port - 1) / kPerKind]) + std::to_string((port - 1) % kPerKind);
}

void PortDevices::Use(Configured configured)
{
    m_configured = std::move(configured);
}

void PortDevices::Override(std::int32_t port, std::string device)
{
    m_overrides[port] = std::move(device);
}

void PortDevices::Simulate(std::int32_t port, const std::string& device)
{
    m_simulated = device;
    Override(port, device);
}

bool PortDevices::IsSimulated(std::int32_t port) const
{
    return !m_simulated.empty() && DeviceOf(port) == m_simulated;
}

std::string PortDevices::DeviceOf(std::int32_t port) const
{
    if (const auto found = m_overrides.find(port); found != m_overrides.end()) {
        return found->second;
    }
    std::string device = m_configured ? m_configured("COM" + std::to_string(port)) : std::string();
    return device.empty() ? UsualDevice(port) : device;
}

} // namespace modPComm
