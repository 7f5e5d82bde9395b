// What goes over the line, in both directions, and what the dialogue has made of each piece: a ring of fixed size that
// the dialogue fills while somebody looks on. It interprets nothing by itself, and nothing in it is text before it is
// asked for.
#pragma once

#include "sensor/Measurement.h"
#include "sensor/Request.h"
#include "sensor/clsArrivals.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What a piece of the traffic is. The order is that of `TextId::TrafficKinds`.
enum class TrafficKind : std::uint8_t {
    // Of the line itself, without bytes.
    Opened, ///< `value` is the rate
    Closed,
    // To the sensor.
    Sent,
    SentByHand,
    SentRest, ///< what a full line has not taken before
    // From the sensor.
    Distance,
    NoEcho,
    TempError,
    Temperature,
    Configuration,
    Announcement,
    Acknowledged,
    Refused,
    LateAnswer,  ///< to a frame, among distances
    Waiting,     ///< a distance that later ones confirm or not
    Damaged,     ///< given up: it is not as the replies around it
    DamagedCrc,  ///< the checksum is wrong
    Discarded,   ///< a command of our own has made it worthless
    Unexplained, ///< no reply
};
inline constexpr std::size_t kTrafficKinds = static_cast<std::size_t>(TrafficKind::Unexplained) + 1;

constexpr bool IsOfLine(TrafficKind kind)
{
    return kind <= TrafficKind::Closed;
}
constexpr bool IsToSensor(TrafficKind kind)
{
    return kind == TrafficKind::Sent || kind == TrafficKind::SentByHand || kind == TrafficKind::SentRest;
}
constexpr bool IsFromSensor(TrafficKind kind)
{
    return kind >= TrafficKind::Distance;
}

struct TrafficEntry {
    double time = 0.0;        ///< of the last byte, days since 1899-12-30, local time
    double value = 0.0;       ///< of a distance, in its unit
    std::uint32_t at = 0;     ///< where its bytes begin among those of its direction
    std::uint16_t length = 0; ///< bytes
    TrafficKind kind = TrafficKind::Unexplained;
    std::uint8_t detail = 0; ///< of a distance: the index of its unit; of what was sent: its `Request`
};

class clsTraffic {
public:
    static constexpr std::size_t kMostEntries = 100000;
    static constexpr std::size_t kReceivedBytes = std::size_t{1} << 22; ///< 41 for each entry
    static constexpr std::size_t kSentBytes = std::size_t{1} << 20;
    /// What a full ring takes; allocated at once.
    static constexpr std::size_t kMemory = kMostEntries * sizeof(TrafficEntry) + kReceivedBytes + kSentBytes;
    static constexpr std::size_t kMostBytes = 64; ///< of an entry; more become several

    clsTraffic();

    /// Entries have consecutive numbers, the first one 0. Those from `First` up to `End` are there.
    std::uint64_t First() const { return m_first; }
    std::uint64_t End() const { return m_end; }
    /// Only for a number from `First` up to `End`.
    const TrafficEntry& At(std::uint64_t number) const { return m_entries[number % kMostEntries]; }
    std::string BytesOf(const TrafficEntry& entry) const;
    /// The first entry whose meaning has changed since the last call; `End` when there is none.
    std::uint64_t TakeChanged();

    // What the dialogue tells. Positions count the received bytes, as in `clsArrivals`; a range begins behind the first
    // one.
    /// The next byte is the one behind `position`; what was received before is not known.
    void Begin(std::int64_t position);
    void Opened(std::int32_t rate, double now);
    void Closed(double now);
    void Sent(std::string_view bytes, TrafficKind kind, Request request, double now);
    void Received(std::string_view bytes, double now);
    /// These bytes are of this kind. What lies between the last ones that were told and these is of the kind that
    /// `Between` has set. What was told before is told anew, as far as it is in the range.
    void Means(std::int64_t begin, std::int64_t end, TrafficKind kind);
    /// The line that ends at `end` is of this kind.
    void LineMeans(std::int64_t end, TrafficKind kind) { Means(lineBegin(end), end, kind); }
    /// So many replies of `size` bytes that begin at `begin` are these measurements. A size of 0: the line that ends at
    /// `begin` is the measurement.
    void Replies(std::int64_t begin, std::size_t size, std::span<const Measurement> measurements);
    /// Everything up to `end` that was not told yet is of this kind.
    void Settle(std::int64_t end, TrafficKind kind);
    void Between(TrafficKind kind) { m_between = kind; }
    /// A text was cut out of the bytes, which moves the positions of those in front of it.
    void Cut(std::int64_t begin, std::int64_t end) { m_cuts.push_back(withoutCuts({begin, end})); }
    /// Distances whose lines end at `end` or later do not count.
    void Reject(std::int64_t end);
    /// A command ends what waits.
    void DiscardWaiting();
    void ByteTime(double days) { m_byteTime = days; }
    void ShiftClock(double days, double now) { m_arrivals.ShiftClock(days, now); }

private:
    struct Range {
        std::int64_t begin, end;
    };
    TrafficEntry& append(TrafficKind kind, double time);
    void appendBytes(std::int64_t begin, std::int64_t end, TrafficKind kind);
    bool extend(std::int64_t end, TrafficKind kind, double time);
    void tell(Range range, const TrafficEntry& meaning);
    void change(Range range, const TrafficEntry& meaning);
    void fillGap(std::int64_t end, TrafficKind kind);
    Range withoutCuts(Range range) const;
    std::int64_t lineBegin(std::int64_t end) const;
    char byteAt(std::int64_t position) const { return m_received[static_cast<std::size_t>(position) % kReceivedBytes]; }
    void dropOverwritten(bool isSent);

    std::vector<TrafficEntry> m_entries;
    std::string m_received, m_sent;
    std::uint64_t m_first = 0, m_end = 0;
    std::uint64_t m_changed = 0;
    std::uint64_t m_sentBytes = 0;
    std::uint64_t m_oldestSent = 0, m_oldestReceived = 0; ///< where each direction was looked through up to
    std::int64_t m_base = 0;                              ///< where the known bytes begin
    std::int64_t m_cursor = 0;                            ///< up to which they were told
    std::int64_t m_newest = 0;                            ///< where they end
    std::vector<Range> m_cuts;
    TrafficKind m_between = TrafficKind::Unexplained;
    clsArrivals m_arrivals;
    double m_now = 0.0, m_byteTime = 0.0;
};
