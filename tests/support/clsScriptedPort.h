// A serial port that a test plays: bytes to deliver, bytes sent, and every call in order.
#pragma once

#include "device/SerialPort.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

class clsScriptedPort : public SerialPort {
public:
    std::string Arriving; ///< what the next read finds
    std::string Sent;     ///< what was sent since the last look
    std::vector<std::string> Calls;
    std::int32_t Rate = 9600;
    std::int32_t OpenResult = 0;
    std::int32_t Status = 0;
    bool Vanished = false;

    /// What was sent since the last call.
    std::string TakeSent() { return std::exchange(Sent, {}); }

    std::int32_t sio_open(std::int32_t port) override
    {
        Calls.push_back("open " + std::to_string(port));
        return OpenResult;
    }
    std::int32_t sio_close(std::int32_t port) override
    {
        Calls.push_back("close " + std::to_string(port));
        return 0;
    }
    std::int32_t sio_baud(std::int32_t, std::int32_t rate) override
    {
        Calls.push_back("baud " + std::to_string(rate));
        Rate = rate;
        return 0;
    }
    std::int32_t sio_getbaud(std::int32_t) override { return Rate; }
    std::int32_t sio_flush(std::int32_t, std::int32_t function) override
    {
        Calls.push_back("flush " + std::to_string(function));
        return 0;
    }
    std::int32_t sio_putch(std::int32_t, std::uint8_t byte) override
    {
        Calls.push_back(std::string("putch ") + static_cast<char>(byte));
        Sent += static_cast<char>(byte);
        return 0;
    }
    std::int32_t sio_iqueue(std::int32_t) override { return static_cast<std::int32_t>(Arriving.size()); }
    std::int32_t sio_read(std::int32_t, std::span<char> buffer) override
    {
        const std::size_t count = std::min(buffer.size(), Arriving.size());
        std::copy_n(Arriving.begin(), count, buffer.begin());
        Arriving.erase(0, count);
        return static_cast<std::int32_t>(count);
    }
    std::int32_t sio_data_status(std::int32_t) override { return Status; }
    bool HasVanished(std::int32_t) const override { return Vanished; }
};
