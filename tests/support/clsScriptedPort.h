// A serial port that a test plays: bytes to deliver, bytes sent, and every call in order.
#pragma once

#include "tests/support/PlayedLine.h"

#include <string>
#include <utility>
#include <vector>

class clsScriptedPort : public PlayedLine {
public:
    std::string Sent; ///< what was sent since the last check
    std::vector<std::string> Calls;
    std::int32_t Rate = 9600;
    std::int32_t OpenResult = 0;
    PortState Reached = PortState::Open;  ///< by an opening with the result 0: still under way, or how it ended
    bool Changed = false;                 ///< the devices are others than at the last opening
    std::size_t Room = std::string::npos; ///< bytes that the line still takes
    std::int32_t Status = 0;

    /// What was sent since the last call.
    std::string TakeSent() { return std::exchange(Sent, {}); }

    std::int32_t sio_open(std::int32_t port) override { return noted("open " + std::to_string(port), OpenResult); }
    std::int32_t sio_close(std::int32_t port) override { return noted("close " + std::to_string(port)); }
    std::int32_t sio_baud(std::int32_t, std::int32_t rate) override
    {
        Rate = rate;
        return noted("baud " + std::to_string(rate));
    }
    std::int32_t sio_getbaud(std::int32_t) override { return Rate; }
    std::int32_t sio_flush(std::int32_t, std::int32_t function) override
    {
        return noted("flush " + std::to_string(function));
    }
    std::int32_t sio_write(std::int32_t port, std::span<const char> bytes) override
    {
        const std::size_t taken = std::min(Room, bytes.size());
        Room -= Room == std::string::npos ? 0 : taken;
        return PlayedLine::sio_write(port, bytes.first(taken));
    }
    PortState State(std::int32_t) override { return Reached; }
    bool DevicesChanged(std::int32_t) const override { return Changed; }
    std::int32_t sio_data_status(std::int32_t) override { return Status; }

private:
    void sent(char command) override
    {
        noted(std::string("putch ") + command);
        Sent += command;
    }
    std::int32_t noted(const std::string& call, std::int32_t result = 0)
    {
        Calls.push_back(call);
        return result;
    }
};
