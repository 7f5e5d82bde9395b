// The ports that are worth looking at when a sensor is searched for.
#pragma once

#include "session/clsFinder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace modPComm {
class PortDevices;
}

namespace modCandidates {

/// "COM 33 (/dev/ttyUSB0)"; the number alone where nothing stands behind it.
std::string NameOf(std::int32_t port, const modPComm::PortDevices& devices);

/// Every device that exists, those first that were plugged in, and then the lines over the network. A device with
/// several numbers comes once, with the lowest; one without a number gets a free one in `devices` for this run. The
/// program's own simulated sensor does not come. `own` is the port that this program is connected through; 0: none.
std::vector<FindCandidate> Known(modPComm::PortDevices& devices, std::int32_t own);

} // namespace modCandidates
