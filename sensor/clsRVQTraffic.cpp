// What the dialogue says about the traffic while somebody looks on (clsTraffic): which bytes are which reply.
#include "sensor/Parameters.h"
#include "sensor/clsRVQ.h"
#include "sensor/modReplySteps.h"

void clsRVQ::Watch(clsTraffic* traffic)
{
    m_traffic = traffic;
    m_samples.Watch(traffic);
    if (traffic == nullptr) {
        return;
    }
    traffic->Begin(m_arrivals.Received());
    traffic->ByteTime(byteTime());
    if (m_portIsOpen) {
        traffic->Opened(CommBaudrate(), m_currentTime);
    }
}

void clsRVQ::note(std::size_t begin, std::size_t end, TrafficKind kind)
{
    if (m_traffic != nullptr && begin < end) {
        m_traffic->Means(positionOf(begin), positionOf(end), kind);
    }
}

void clsRVQ::noteView(std::string_view part, TrafficKind kind)
{
    const auto begin = static_cast<std::size_t>(part.data() - m_inBuffer.data());
    note(begin, begin + part.size(), kind);
}

/// The first line with this text; its end may be missing.
void clsRVQ::noteLineWith(std::string_view text, TrafficKind kind)
{
    const std::size_t at = m_traffic == nullptr ? std::string::npos : m_inBuffer.find(text);
    if (at != std::string::npos) {
        const std::size_t before = m_inBuffer.rfind('\n', at);
        const std::size_t end = m_inBuffer.find('\n', at);
        note(before == std::string::npos ? 0 : before + 1, end == std::string::npos ? m_inBuffer.size() : end + 1,
             kind);
    }
}

void clsRVQ::noteAnnouncement()
{
    noteLineWith(" ready", TrafficKind::Announcement);
}

/// Everything in the buffer up to this byte that has no meaning yet.
void clsRVQ::settle(std::size_t end, TrafficKind kind)
{
    if (m_traffic != nullptr) {
        m_traffic->Settle(positionOf(end), kind);
    }
}

/// The same with what was received and not read yet: a command throws it away.
void clsRVQ::settleAll(TrafficKind kind)
{
    if (m_traffic != nullptr) {
        m_traffic->Settle(m_arrivals.Received(), kind);
        m_traffic->DiscardWaiting();
    }
}

void clsRVQ::rejectDistances(std::int64_t end)
{
    if (m_traffic != nullptr) {
        m_traffic->Reject(end);
    }
}

/// See modReplySteps::CutTexts.
std::size_t clsRVQ::cutTexts()
{
    if (m_traffic == nullptr) {
        return modReplySteps::CutTexts(m_inBuffer);
    }
    const std::int64_t first = positionOf(0);
    return modReplySteps::CutTexts(m_inBuffer, [&](std::size_t at, std::size_t size) {
        const std::int64_t begin = first + static_cast<std::int64_t>(at);
        m_traffic->Cut(begin, begin + static_cast<std::int64_t>(size));
    });
}
