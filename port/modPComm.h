// Which device stands behind a port number.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace modPComm {

inline constexpr std::int32_t kPortCount = 255;

/// The device of a port by its number alone: 1..32 /dev/ttyS0..31, 33..64 /dev/ttyUSB0..31, 65..96 /dev/ttyACM0..31;
/// empty for any other.
std::string UsualDevice(std::int32_t port);

/// Port numbers to device paths: what was set for this run, else what the settings file names, else the usual device.
class PortDevices {
public:
    /// Asked for a key "COM7" of the settings; an empty answer means that there is none.
    using Configured = std::function<std::string(std::string_view key)>;

    void Use(Configured configured);
    /// Puts a device on a port for this run.
    void Override(std::int32_t port, std::string device);
    std::string DeviceOf(std::int32_t port) const;

private:
    Configured m_configured;
    std::map<std::int32_t, std::string> m_overrides;
};

/// Who made what is plugged in behind a device, and what it is, as it names itself (UTF-8), "FTDI FT232R USB UART" for
/// instance; empty when the system does not know. `system`: where the kernel shows its devices.
std::string MakerOf(const std::filesystem::path& device, const std::filesystem::path& system = "/sys");

} // namespace modPComm
