// Cuts the bytes that reach the sensor into commands: single letters and parameter frames. It does not know what a
// frame means.
#pragma once

#include <optional>
#include <string>

namespace simulator {

class clsCommandReader {
public:
    /// Takes one received byte. Returns the command that it completes: a letter, or a frame with its carriage return.
    /// A digit begins a frame, which then swallows letters too. A frame that waits for its next byte for more than 2 s,
    /// or that grows beyond any sensible length, is forgotten. Other bytes are ignored.
    std::optional<std::string> Take(char byte, double now_s);

    void Reset() { m_frame.clear(); }

private:
    std::string m_frame;
    double m_lastByte_s = 0;
};

} // namespace simulator
