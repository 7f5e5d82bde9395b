// All ports of the program under their numbers: a number leads to a terminal or to a line over the network, by what
// stands behind it.
#pragma once

#include "port/SerialPort.h"
#include "port/clsNetPort.h"
#include "port/clsPosixPort.h"
#include "port/modPComm.h"

#include <cstdint>
#include <map>
#include <span>

class clsPorts : public SerialPort {
public:
    /// `devices` says what is behind a number and must outlive the ports.
    explicit clsPorts(const modPComm::PortDevices& devices) : m_devices(devices), m_terminals(devices), m_net(devices)
    {}

    /// Opens what stands behind the number now; until the next opening the number leads there.
    std::int32_t sio_open(std::int32_t port) override;
    std::int32_t sio_close(std::int32_t port) override { return of(port).sio_close(port); }
    std::int32_t sio_baud(std::int32_t port, std::int32_t rate) override { return of(port).sio_baud(port, rate); }
    std::int32_t sio_getbaud(std::int32_t port) override { return of(port).sio_getbaud(port); }
    std::int32_t sio_flush(std::int32_t port, std::int32_t function) override
    {
        return of(port).sio_flush(port, function);
    }
    std::int32_t sio_write(std::int32_t port, std::span<const char> bytes) override
    {
        return of(port).sio_write(port, bytes);
    }
    std::int32_t sio_iqueue(std::int32_t port) override { return of(port).sio_iqueue(port); }
    std::int32_t sio_read(std::int32_t port, std::span<char> buffer) override
    {
        return of(port).sio_read(port, buffer);
    }
    std::int32_t sio_data_status(std::int32_t port) override { return of(port).sio_data_status(port); }
    PortState State(std::int32_t port) override { return of(port).State(port); }
    OpenFailure LastFailure(std::int32_t port) const override { return of(port).LastFailure(port); }
    bool DevicesChanged(std::int32_t port) const override { return of(port).DevicesChanged(port); }
    int ArrivalHandle(std::int32_t port) const override { return of(port).ArrivalHandle(port); }
    bool HasVanished(std::int32_t port) const override { return of(port).HasVanished(port); }
    /// Of a port that was never opened: as what stands behind the number has it.
    bool HasRate(std::int32_t port) const override;
    std::int32_t Delay_ms(std::int32_t port) const override { return of(port).Delay_ms(port); }

private:
    const SerialPort& of(std::int32_t port) const;
    SerialPort& of(std::int32_t port);

    const modPComm::PortDevices& m_devices;
    clsPosixPort m_terminals;
    clsNetPort m_net;
    std::map<std::int32_t, bool> m_isNet; ///< by the last opening
};
