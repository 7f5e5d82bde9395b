// What a person may name for a port: a number as in "RVQ.ini", a device, a stable name such as an entry of
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

/// Why a text cannot name a port, English, with the name of the option or key that has it: "--port takes a number from
/// 1 to 255, not "0"". Empty when it can; a device need not exist.
std::string ProblemOf(std::string_view typed, std::string_view option);

/// The port number that leads there from now on: for a device, the one that does already, else the last one, which is
/// turned to it for this run. Throws std::invalid_argument for a text that has a problem.
std::int32_t NumberOf(std::string_view typed, modPComm::PortDevices& devices, const Places& places = {});

/// Whether it stands for a port by its number.
bool IsNumber(std::string_view typed);

/// The device of a name that is no number and no address: a path as it is, else the stable name, else below /dev.
std::string DeviceOf(std::string_view name, const Places& places = {});

} // namespace modPortName
