// What the operator may type for a port: a number as in "RVQ.ini", a device, a stable name such as an entry of
// /dev/serial/by-id, or the address of a line over the network.
#pragma once

#include "port/modPComm.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace modPortName {

/// The folders of stable names, in the order in which they are looked through, and the one of all devices.
struct Places {
    std::filesystem::path byId = "/dev/serial/by-id", byPath = "/dev/serial/by-path", devices = "/dev";
};

/// The port number that leads there from now on: for a device, the one that does already, else the last one, which is
/// turned to it for this run. A device need not exist. Throws UsageError for a number outside 1..255, for an address
/// that is none, and for nothing.
std::int32_t NumberOf(std::string_view typed, modPComm::PortDevices& devices, const Places& places = {});

/// The device of a name that is no number and no address: a path as it is, else the stable name, else below /dev.
std::string DeviceOf(std::string_view name, const Places& places = {});

} // namespace modPortName
