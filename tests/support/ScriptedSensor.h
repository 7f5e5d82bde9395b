// A device on a scripted port, with a clock that the test sets.
#pragma once

#include "sensor/Crc16.h"
#include "tests/support/OpenRVQ.h"
#include "tests/support/clsScriptedPort.h"

#include <string>
#include <string_view>
#include <vector>

using namespace std::string_literals;

/// The bytes, followed by their checksum, low byte first.
inline std::string WithCrc(std::string frame)
{
    const std::uint16_t crc = Crc16(frame, 0xFFFFFFFF);
    frame += static_cast<char>(crc & 0xFF);
    frame += static_cast<char>(crc >> 8);
    return frame;
}

struct ScriptedSensor {
    static constexpr double kStart = 46000.5; // a day at noon

    clsScriptedPort port;
    std::vector<std::int32_t> pauses;
    OpenRVQ device{port, [this](std::int32_t ms) { pauses.push_back(ms); }};

    ScriptedSensor()
    {
        device.OpenComPort(1, 9600);
        At(0);
        port.Calls.clear();
    }

    /// Sets the device's clock to this many milliseconds after the start.
    void At(double ms) { device.CurrentTime() = kStart + ms / kMsPerDay; }

    /// Puts the dialogue into a state with a deadline 2000 ms after the start.
    void Expect(std::int32_t commStatus, std::string_view lastCommand)
    {
        device.CommStatus() = commStatus;
        device.LastCommand(lastCommand);
        device.FailTime() = kStart + 2000 / kMsPerDay;
    }

    /// Lets bytes arrive and evaluates; returns the event.
    std::int32_t Arrive(std::string_view bytes)
    {
        port.Arriving += bytes;
        device.ReadComportData();
        device.EvaluateInBuffer();
        return device.EventNr();
    }
};
