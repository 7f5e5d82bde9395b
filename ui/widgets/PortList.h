// The list of port numbers, and that of the rates beside it: the same in every window.
#pragma once

#include <QComboBox>

#include <cstdint>

namespace modPComm {
class PortDevices;
}

/// "COM 1" to "COM 255". Each time it is opened it looks for the devices behind the numbers, so that one that has been
/// plugged in since is there: a device as tool tip; where it exists, bold, with the device and its maker beside it.
class PortList : public QComboBox {
public:
    using QComboBox::QComboBox;

    /// `devices` has to outlive the list. A number outside selects the first. Returns the selected number.
    std::int32_t Fill(const modPComm::PortDevices& devices, std::int32_t selected);
    void showPopup() override;

private:
    void describePorts();

    const modPComm::PortDevices* m_devices = nullptr;
};

/// The rates of the sensor in bit/s; a rate that is none of them selects 9600. Returns the selected rate.
std::int32_t FillBaudrates(QComboBox& list, std::int32_t selected);
