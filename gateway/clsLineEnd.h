// How much of the line of text that a sensor has begun is still to come, so that it need not be looked at for each
// piece that a driver passes on.
#pragma once

#include <cstddef>
#include <span>

class clsLineEnd {
public:
    /// The next bytes of the line, in their order.
    void Came(std::span<const char> bytes)
    {
        for (const char byte : bytes) {
            ++m_size;
            if (byte == '\n') {
                m_isUsual = m_size == m_usual;
                m_usual = m_size;
                m_size = 0;
            }
        }
    }
    /// Whether the last byte ended a line.
    bool IsReached() const { return m_size == 0; }
    /// So many bytes are missing if this line is as long as the two before it; 0: not known, or none has begun.
    std::size_t Missing() const { return m_isUsual && m_size > 0 && m_size < m_usual ? m_usual - m_size : 0; }

private:
    std::size_t m_size = 0, m_usual = 0;
    bool m_isUsual = false;
};
