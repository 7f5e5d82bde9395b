// Assembles commands from a stream of bytes.
#include "simulator/clsCommandReader.h"

#include <string_view>

namespace simulator {

namespace {

constexpr std::string_view kLetters = "MSTGCXOP";
constexpr double kPatience_s = 2.0;
constexpr std::size_t kLongestFrame = 40;

} // namespace

std::optional<std::string> clsCommandReader::Take(char byte, double now_s)
{
    if (!m_frame.empty() && now_s - m_lastByte_s > kPatience_s) {
        m_frame.clear();
    }
    m_lastByte_s = now_s;
    if (m_frame.empty()) {
        if (byte >= '0' && byte <= '9') {
            m_frame.push_back(byte);
        } else if (kLetters.find(byte) != std::string_view::npos) {
            return std::string(1, byte);
        }
        return std::nullopt;
    }
    m_frame.push_back(byte);
    if (byte == '\r') {
        std::string complete;
        complete.swap(m_frame);
        return complete;
    }
    if (m_frame.size() > kLongestFrame) {
        m_frame.clear();
    }
    return std::nullopt;
}

} // namespace simulator
