// Lines over the network as serial ports: a device that is an address such as tcp://host:port or rfc2217://host:port.
// A raw line has the rate that its server has been set to; what is set here only says how long answers take.
#pragma once

#include "base/modAPI.h"
#include "port/SerialPort.h"
#include "port/clsNameLookup.h"
#include "port/clsNetLine.h"
#include "port/modPComm.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>

class clsNetPort : public SerialPort {
public:
    /// `devices` says which address is behind a number and must outlive the port; `clock_s` counts from any moment.
    explicit clsNetPort(const modPComm::PortDevices& devices, clsNameLookup::Resolve resolve = clsNameLookup::AskSystem,
                        std::function<double()> clock_s = modAPI::UpTime_s)
        : m_devices(devices), m_resolve(std::move(resolve)), m_clock_s(std::move(clock_s))
    {}

    /// Begins to open the line; -1 only when the address is none. It takes 15 s at most.
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
    /// Whether the port has another address now.
    bool DevicesChanged(std::int32_t port) const override;
    int ArrivalHandle(std::int32_t port) const override;
    bool HasVanished(std::int32_t port) const override;
    bool HasRate(std::int32_t port) const override;
    std::int32_t Delay_ms(std::int32_t port) const override;

private:
    struct Place {
        std::unique_ptr<clsNameLookup> lookup; ///< outlives the line: an open question is not asked again
        std::unique_ptr<clsNetLine> line;
        std::string tried;
        OpenFailure failure;
    };

    clsNetLine* lineOf(std::int32_t port) const;
    void noteProblem(std::int32_t port);

    const modPComm::PortDevices& m_devices;
    clsNameLookup::Resolve m_resolve;
    std::function<double()> m_clock_s;
    std::map<std::int32_t, Place> m_places;
};
