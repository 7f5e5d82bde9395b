// When each received byte arrived. Bytes come in pieces; within a piece they are counted back at the rate of the line.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>

/// Positions count all bytes ever received: the first byte ends at 1. Times are days, local time.
class clsArrivals {
public:
    /// Bytes whose times follow from one another.
    struct Stretch {
        std::int64_t begin = 0, end = -1; ///< positions; the first one does not belong to it
        double time = 0.0;                ///< of the last byte
        double earliest = 0.0;            ///< no byte is earlier
        bool Holds(std::int64_t position) const { return begin < position && position <= end; }
        double TimeOf(std::int64_t position, double byteTime) const
        {
            return std::max(time - static_cast<double>(end - position) * byteTime, earliest);
        }
    };

    /// A piece has arrived, with its last byte at `time`.
    void Append(std::size_t count, double time);
    /// The position behind the last byte.
    std::int64_t Received() const { return m_received; }
    /// When the byte that ends at `position` arrived. `byteTime` is what a byte takes on the line, `now` is used for
    /// bytes whose arrival is not known. Ask in the order of the positions: times never run backwards, until the clock
    /// is set back.
    double TimeOf(std::int64_t position, double byteTime, double now)
    {
        return Tell(StretchOf(position, now).TimeOf(position, byteTime));
    }
    /// The same for many bytes: the stretch that holds the byte that ends at `position`. Every time that is passed on
    /// goes through `Tell`, or the last one if they are in order.
    Stretch StretchOf(std::int64_t position, double now);
    double Tell(double time) { return m_last = std::max(time, m_last); }
    /// Bytes up to `position` are finished.
    void DropUpTo(std::int64_t position);
    /// The clock was set by this many days and now shows `now`. What arrived before a clock was set back moves with it.
    /// Everything else keeps its time, because it was right then, and so does what arrived since.
    void ShiftClock(double days, double now);

private:
    struct Piece {
        std::int64_t end = 0;
        double time = 0.0;
    };
    std::deque<Piece> m_pieces;
    std::int64_t m_received = 0;
    double m_before = 0.0; ///< of the last piece dropped
    double m_last = 0.0;   ///< told last
};
