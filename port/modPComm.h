// Finds the device behind a port number.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace modPComm {

inline constexpr std::int32_t kPortCount = 255;

/// The device of a port by its number alone: 1..32 /dev/ttyS0..31, 33..64 /dev/ttyUSB0..31, 65..96 /dev/ttyACM0..31;
/// empty for any other.
std::string UsualDevice(std::int32_t port);

/// The devices of port numbers: as set for this run, else as named in the settings file, else the usual device.
class PortDevices {
public:
    /// Returns the settings' value of a key such as "COM7"; empty when there is none.
    using Configured = std::function<std::string(std::string_view key)>;

    void Use(Configured configured);
    /// Sets the device of a port for this run.
    void Override(std::int32_t port, std::string device);
    /// The same for a simulated sensor of the program's own.
    void Simulate(std::int32_t port, const std::string& device);
    std::string DeviceOf(std::int32_t port) const;
    /// Whether the device was set for this run.
    bool IsOverridden(std::int32_t port) const { return m_overrides.contains(port); }
    /// Whether the port leads to the simulated sensor.
    bool IsSimulated(std::int32_t port) const;

private:
    Configured m_configured;
    std::map<std::int32_t, std::string> m_overrides;
    std::string m_simulated;
};

} // namespace modPComm
