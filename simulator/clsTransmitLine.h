// The sensor's sending side: a queue of messages that leave at the line's rate, and the faults that hit bytes on their
// way.
#pragma once

#include "simulator/Faults.h"

#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

class clsTransmitLine {
public:
    clsTransmitLine(std::int32_t bitsPerSecond, std::uint64_t seed);

    /// Bits per second; a byte takes ten of them. Messages already queued keep their pace.
    std::int32_t Rate() const { return m_rate; }
    void Rate(std::int32_t bitsPerSecond) { m_rate = bitsPerSecond; }

    /// Queues a message behind those that wait; its first byte starts at notBefore_s at the earliest. Returns whether a
    /// fault has changed its bytes. A name other than 0 is reported by TakeDue when the message has gone.
    bool Send(std::string_view bytes, double notBefore_s, const Faults& faults, std::int64_t name = 0);
    void Clear();

    /// The bytes that have been sent by now, each once. The names of the messages that have ended with them are
    /// appended to gone.
    std::string TakeDue(double now_s, std::vector<std::int64_t>& gone);
    /// When the last queued byte has been sent; in the past or 0 when nothing waits.
    double FreeAt() const { return m_free_s; }
    /// When to call TakeDue so that the last byte of each message leaves on time and no other is more than 4 ms late;
    /// infinite when none waits.
    double NextDue() const;

private:
    struct DueByte {
        double due_s;
        char byte;
    };
    struct Message {
        double end_s;
        bool isSplit;
        std::int64_t name;
        std::deque<DueByte> bytes;
    };

    void append(Message& message, char byte, bool isBurst);

    std::int32_t m_rate;
    std::mt19937_64 m_random;
    std::deque<Message> m_messages;
    double m_free_s = 0;
    double m_lastDue_s = 0;
};

} // namespace simulator
