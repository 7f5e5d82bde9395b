// A serial line played by a test: the test puts in what arrives, a derived class gets what is sent, and the cable can
// be pulled.
#pragma once

#include "port/SerialPort.h"

#include <algorithm>
#include <string>

class PlayedLine : public SerialPort {
public:
    std::string Arriving;  ///< what the next read finds
    bool Pulled = false;   ///< the device is gone: it vanishes, and cannot be opened until it is back
    bool Vanished = false; ///< the device was gone, and the port has not been opened since

    std::int32_t sio_open(std::int32_t) override
    {
        Vanished = Pulled;
        return Pulled ? -1 : 0;
    }
    std::int32_t sio_close(std::int32_t) override { return 0; }
    std::int32_t sio_baud(std::int32_t, std::int32_t) override { return 0; }
    std::int32_t sio_getbaud(std::int32_t) override { return 38400; }
    std::int32_t sio_flush(std::int32_t, std::int32_t) override
    {
        Arriving.clear();
        dropped();
        return 0;
    }
    std::int32_t sio_write(std::int32_t, std::span<const char> bytes) override
    {
        std::ranges::for_each(bytes, [this](char byte) { sent(byte); });
        return static_cast<std::int32_t>(bytes.size());
    }
    std::int32_t sio_iqueue(std::int32_t) override
    {
        arrive();
        Vanished = Vanished || Pulled;
        return Vanished ? -1 : static_cast<std::int32_t>(Arriving.size());
    }
    std::int32_t sio_read(std::int32_t, std::span<char> buffer) override
    {
        const std::size_t count = Arriving.copy(buffer.data(), buffer.size());
        Arriving.erase(0, count);
        wasRead();
        return static_cast<std::int32_t>(count);
    }
    std::int32_t sio_data_status(std::int32_t) override { return 0; }
    PortState State(std::int32_t) override { return Vanished ? PortState::Closed : PortState::Open; }
    bool HasVanished(std::int32_t) const override { return Vanished; }

private:
    virtual void sent(char command) = 0;
    virtual void arrive() {}  ///< before the waiting bytes are counted
    virtual void dropped() {} ///< the waiting bytes have been discarded
    virtual void wasRead() {}
};
