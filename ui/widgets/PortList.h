// The list of port numbers and the list of rates beside it, the same in every window.
#pragma once

#include <QComboBox>
#include <QString>

#include <cstdint>

namespace modPComm {
class PortDevices;
}

/// "COM 3".
QString PortName(std::int32_t port);

/// "COM 1" to "COM 255". Each time the list is opened it looks for the devices behind the numbers, so it includes one
/// that was plugged in since. Every port with a device has it as tool tip; where the device exists, the port is bold,
/// with the device and its maker beside it.
class PortList : public QComboBox {
public:
    using QComboBox::QComboBox;

    /// `devices` must outlive the list. A number out of range selects the first. Returns the selected number.
    std::int32_t Fill(const modPComm::PortDevices& devices, std::int32_t selected);
    void showPopup() override;

private:
    void describePorts();

    const modPComm::PortDevices* m_devices = nullptr;
};

/// The rates of the sensor in bit/s; any other rate selects 9600. Returns the selected rate.
std::int32_t FillBaudrates(QComboBox& list, std::int32_t selected);
