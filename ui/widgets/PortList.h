// The list of port numbers and the list of rates beside it, the same in every window.
#pragma once

#include "port/modPortScan.h"

#include <QComboBox>

#include <cstdint>
#include <filesystem>
#include <future>
#include <map>
#include <string>
#include <vector>

class PortModel;
class PortView;
class QTimer;

namespace modPComm {
class PortDevices;
}

/// "COM 1" to "COM 255". Each time the list is opened it looks for the devices behind the numbers: what is there comes
/// first, with its maker and name, who has it open and who may use it, then the lines over the network, then the other
/// numbers. While it is open it follows devices that come and go; typing searches it. Closed, it does nothing.
class PortList : public QComboBox {
    Q_OBJECT

public:
    explicit PortList(QWidget* parent = nullptr);

    /// `devices` must outlive the list. A number out of range selects the first. Returns the selected number.
    std::int32_t Fill(const modPComm::PortDevices& devices, std::int32_t selected);
    void Localise(std::int32_t language);
    /// The selected number.
    std::int32_t Port() const;
    /// Where the file system begins in which it looks for devices.
    void LookIn(const std::filesystem::path& root) { m_root = root; }
    void showPopup() override;
    void hidePopup() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    using Users = std::map<std::string, PortUser>;

    void sort();
    void follow();
    void askForUsers();

    const modPComm::PortDevices* m_devices = nullptr;
    std::filesystem::path m_root = modPortScan::kRoot;
    std::int32_t m_language = 0;
    PortModel* m_ports;
    PortView* m_list = nullptr; ///< once it has been open
    QTimer* m_timer;
    std::vector<std::int64_t> m_seen;
    int m_looks = 0;
    std::future<Users> m_users; ///< /proc is large: reading it must not hold up a measurement
};

/// The rates of the sensor in bit/s; any other rate selects 9600. Returns the selected rate.
std::int32_t FillBaudrates(QComboBox& list, std::int32_t selected);
