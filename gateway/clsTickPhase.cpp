#include "gateway/clsTickPhase.h"

#include <algorithm>

void clsTickPhase::Arrived(double now_s, bool endsLine)
{
    m_complete_s = now_s + (endsLine ? 0.0 : m_speaksInLines ? kPauseInLine_s : kPause_s);
    m_isInLine = !endsLine;
    m_speaksInLines = m_speaksInLines || endsLine;
}

double clsTickPhase::Due_s() const
{
    const auto owing = [this](double ticks) { return m_owedAt_s + (ticks - m_owed) * kInterval_s; };
    const double atLatest_s = owing(1.0);
    if (!m_complete_s) {
        return atLatest_s;
    }
    const double earliest_s = std::min(owing(-kEarly), m_lastTick_s + kFastest_s);
    return std::min(std::max(*m_complete_s, earliest_s), atLatest_s);
}

void clsTickPhase::Ticked(double now_s)
{
    const double owed = m_owed + (now_s - m_owedAt_s) / kInterval_s;
    m_owed = std::clamp(owed, -kEarly, kMostOwed) - 1.0;
    m_owedAt_s = m_lastTick_s = now_s;
    m_complete_s.reset();
    m_speaksInLines = m_speaksInLines && !m_isInLine;
}
