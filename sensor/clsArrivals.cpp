#include "sensor/clsArrivals.h"

#include <algorithm>

void clsArrivals::Append(std::size_t count, double time)
{
    m_received += static_cast<std::int64_t>(count);
    if (count > 0) {
        m_pieces.push_back({m_received, time});
    }
}

clsArrivals::Stretch clsArrivals::StretchOf(std::int64_t position, double now)
{
    DropUpTo(position - 1);
    const Piece piece = m_pieces.empty() ? Piece{m_received, now} : m_pieces.front();
    return {position - 1, piece.end, piece.time, std::max(m_before, m_last)};
}

void clsArrivals::DropUpTo(std::int64_t position)
{
    while (!m_pieces.empty() && m_pieces.front().end <= position) {
        m_before = m_pieces.front().time;
        m_pieces.pop_front();
    }
}

void clsArrivals::ShiftClock(double days, double now)
{
    double latest = now;
    for (auto piece = m_pieces.rbegin(); piece != m_pieces.rend(); ++piece) {
        if (piece->time > latest) {
            piece->time = std::min(piece->time + days, latest);
        }
        latest = piece->time;
    }
    for (double* before : {&m_before, &m_last}) {
        *before = *before > now ? 0.0 : *before;
    }
}
