// Every byte gets its time when its message is queued, so sending only has to look at the clock.
#include "simulator/clsTransmitLine.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace simulator {

namespace {

constexpr double kBitsPerByte = 10; // start bit, eight data bits, stop bit
constexpr double kBurst_s = 0.2;
constexpr double kShortestGap_s = 0.003;
constexpr double kLongestGap_s = 0.010;
constexpr double kLateness_s = 0.004; // so that a streaming sensor does not wake its thread for every byte

} // namespace

clsTransmitLine::clsTransmitLine(std::int32_t bitsPerSecond, std::uint64_t seed) : m_rate(bitsPerSecond), m_random(seed)
{}

bool clsTransmitLine::Send(std::string_view bytes, double notBefore_s, const Faults& faults, std::int64_t name)
{
    m_free_s = std::max(m_free_s, notBefore_s);
    Message message{m_free_s, Happens(faults.split, m_random), name, {}};
    bool isDamaged = false;
    const bool isBurst = Happens(faults.burst, m_random);
    std::uniform_real_distribution<double> gap_s(kShortestGap_s, kLongestGap_s);
    for (const char byte : bytes) {
        if (Happens(faults.garbage, m_random)) {
            append(message, static_cast<char>(m_random() & 0xFF), isBurst);
            isDamaged = true;
        }
        if (Happens(faults.lost, m_random)) {
            isDamaged = true;
            m_free_s += kBitsPerByte / m_rate;
            continue;
        }
        append(message, byte, isBurst);
        if (message.isSplit) {
            m_free_s += gap_s(m_random);
        }
    }
    message.end_s = message.bytes.empty() ? std::max(m_free_s, m_lastDue_s) : message.bytes.back().due_s;
    m_messages.push_back(std::move(message));
    return isDamaged;
}

void clsTransmitLine::Clear()
{
    m_messages.clear();
    m_free_s = 0;
    m_lastDue_s = 0;
}

std::string clsTransmitLine::TakeDue(double now_s, std::vector<std::int64_t>& gone)
{
    std::string due;
    while (!m_messages.empty()) {
        auto& bytes = m_messages.front().bytes;
        while (!bytes.empty() && bytes.front().due_s <= now_s) {
            due.push_back(bytes.front().byte);
            bytes.pop_front();
        }
        if (!bytes.empty() || m_messages.front().end_s > now_s) { // a message that is lost as a whole takes its time
            break;
        }
        if (m_messages.front().name != 0) {
            gone.push_back(m_messages.front().name);
        }
        m_messages.pop_front();
    }
    return due;
}

double clsTransmitLine::NextDue() const
{
    if (m_messages.empty()) {
        return std::numeric_limits<double>::infinity();
    }
    const Message& message = m_messages.front();
    const double next_s = message.bytes.empty() ? message.end_s : message.bytes.front().due_s;
    return message.isSplit ? next_s : std::min(message.end_s, next_s + kLateness_s);
}

void clsTransmitLine::append(Message& message, char byte, bool isBurst)
{
    m_free_s += kBitsPerByte / m_rate;
    const double due_s = isBurst ? std::ceil(m_free_s / kBurst_s) * kBurst_s : m_free_s;
    m_lastDue_s = std::max(m_lastDue_s, due_s); // a byte never overtakes one that is held back
    message.bytes.push_back({m_lastDue_s, byte});
}

} // namespace simulator
