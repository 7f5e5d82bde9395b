#include "gateway/clsRefusals.h"

#include <string>
#include <utility>

std::optional<clsRefusals::Details> clsRefusals::Take(const CommandAnswer& answer, double now_s)
{
    if (answer.sensor.empty()) {
        return std::nullopt;
    }
    if (now_s - m_begin_s >= kWithin_s) {
        m_begin_s = now_s;
        m_told = 0;
    }
    if (m_told >= kMost) {
        ++m_leftOut;
        return std::nullopt;
    }
    ++m_told;
    Details details{{"id", answer.id}, {"reason", answer.text}};
    if (const std::int64_t leftOut = std::exchange(m_leftOut, 0); leftOut > 0) {
        details.emplace_back("leftOut", std::to_string(leftOut));
    }
    return details;
}
