// The two lists of the serial interface, the same in every window: port numbers with the devices behind them, and
// rates.
#pragma once

#include <cstdint>

class QComboBox;

namespace modPComm {
class PortDevices;
}

/// "COM 1" to "COM 255", the device as tool tip; where it exists, bold, with the device and its maker beside it. A
/// number outside selects the first. Returns the selected number.
std::int32_t FillComPorts(QComboBox& list, const modPComm::PortDevices& devices, std::int32_t selected);

/// The rates of the sensor in bit/s; a rate that is none of them selects 9600. Returns the selected rate.
std::int32_t FillBaudrates(QComboBox& list, std::int32_t selected);
