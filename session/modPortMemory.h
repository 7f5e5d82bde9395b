// Whether a port number still leads to the device that it led to when the operator connected: with another order of
// plugging in, or on another socket, it is another device.
#pragma once

#include "port/modPComm.h"
#include "port/modPortScan.h"
#include "store/modGlobals.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace modPortMemory {

/// The operator has chosen this number: what it leads to now is remembered, if anything is there and the number
/// was not set for this run only.
void Remember(std::int32_t port, const modPComm::PortDevices& devices, modGlobals::KnownDevices& known,
              const std::filesystem::path& root = modPortScan::kRoot);

/// The port has opened: the device is remembered if none was.
void Learn(std::int32_t port, const modPComm::PortDevices& devices, modGlobals::KnownDevices& known,
           const std::filesystem::path& root = modPortScan::kRoot);

/// Says in the operator's language that the number leads to another device, and where the one before is; empty when it
/// does not, or when one of the two is not known.
std::string Warning(std::int32_t port, const modPComm::PortDevices& devices, const modGlobals::KnownDevices& known,
                    std::int32_t language, const std::filesystem::path& root = modPortScan::kRoot);

} // namespace modPortMemory
