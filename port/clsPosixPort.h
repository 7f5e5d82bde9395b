// Serial ports as POSIX terminals: raw, 8 data bits, no parity, 1 stop bit, no flow control, never blocking.
#pragma once

#include "port/SerialPort.h"
#include "port/modPComm.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

class clsPosixPort : public SerialPort {
public:
    /// `devices` says which device is behind a number and must outlive the port.
    explicit clsPosixPort(const modPComm::PortDevices& devices) : m_devices(devices) {}
    ~clsPosixPort() override;
    clsPosixPort(const clsPosixPort&) = delete;
    clsPosixPort& operator=(const clsPosixPort&) = delete;

    /// Opens the device for this program alone, at once, and drops bytes that came before. -1 on failure, see
    /// `LastFailure`; a device that another program has locked stays untouched.
    std::int32_t sio_open(std::int32_t port) override;
    std::int32_t sio_close(std::int32_t port) override;
    std::int32_t sio_baud(std::int32_t port, std::int32_t rate) override;
    std::int32_t sio_getbaud(std::int32_t port) override;
    std::int32_t sio_flush(std::int32_t port, std::int32_t function) override;
    std::int32_t sio_write(std::int32_t port, std::span<const char> bytes) override;
    std::int32_t sio_iqueue(std::int32_t port) override;
    std::int32_t sio_read(std::int32_t port, std::span<char> buffer) override;
    std::int32_t sio_data_status(std::int32_t port) override;
    PortState State(std::int32_t port) override;
    OpenFailure LastFailure(std::int32_t port) const override;
    /// Whether devices have come or gone, or a different device is now behind the port. Looks at the file system a few
    /// times and opens no device.
    bool DevicesChanged(std::int32_t port) const override;
    int ArrivalHandle(std::int32_t port) const override { return descriptor(port); }
    bool HasVanished(std::int32_t port) const override;

private:
    struct LineErrors {
        std::int32_t parity = 0, framing = 0, overrun = 0, overflow = 0;
    };
    struct Line {
        int fd = -1; ///< -1: vanished
        LineErrors seen;
        std::uint32_t emptyLooks = 0; ///< how often no bytes were waiting
    };

    /// What can be seen of the devices without opening one: times and numbers, to be compared.
    using Sight = std::vector<std::int64_t>;
    struct Attempt {
        Sight before;
        OpenFailure failure;
    };

    static Sight sightOf(const std::string& device);
    int descriptor(std::int32_t port) const;
    void noteFault(std::int32_t port);
    OpenFailure openDevice(std::int32_t port, const std::string& device);

    const modPComm::PortDevices& m_devices;
    std::map<std::int32_t, Line> m_lines;
    std::map<std::int32_t, Attempt> m_attempts; ///< the last one for each port
};
