#include "sensor/clsTraffic.h"

#include "base/Days.h"

#include <algorithm>

namespace {

constexpr double kLongestTick_s = 1.0;
constexpr std::uint64_t kLookBack = 256; // entries; no more than that wait

/// Copies bytes into a ring at a running number.
void put(std::string& ring, std::size_t at, std::string_view bytes)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const std::size_t place = (at + done) % ring.size();
        const std::size_t piece = std::min(bytes.size() - done, ring.size() - place);
        bytes.copy(ring.data() + place, piece, done);
        done += piece;
    }
}

TrafficKind kindOf(const Measurement& measurement)
{
    switch (KindOf(measurement)) {
    case MeasurementKind::NoEcho:
        return TrafficKind::NoEcho;
    case MeasurementKind::TempError:
        return TrafficKind::TempError;
    default:
        return TrafficKind::Distance;
    }
}

TrafficEntry meaningOf(const Measurement& measurement)
{
    return {.time = measurement.time,
            .value = measurement.value,
            .kind = kindOf(measurement),
            .detail = static_cast<std::uint8_t>(measurement.unit)};
}

/// What the program does has the time of its tick, and bytes may have come since then. A clock that was set is another
/// matter.
double notBeforeNewest(const clsTraffic& traffic, double now)
{
    const double newest = traffic.First() == traffic.End() ? now : traffic.At(traffic.End() - 1).time;
    return newest - now < kLongestTick_s / kSecondsPerDay ? std::max(now, newest) : now;
}

} // namespace

clsTraffic::clsTraffic() : m_entries(kMostEntries), m_received(kReceivedBytes, '\0'), m_sent(kSentBytes, '\0') {}

std::string clsTraffic::BytesOf(const TrafficEntry& entry) const
{
    const std::string& ring = IsToSensor(entry.kind) ? m_sent : m_received;
    std::string bytes;
    for (std::size_t i = 0; i < entry.length; ++i) {
        bytes += ring[(entry.at + i) % ring.size()];
    }
    return bytes;
}

std::uint64_t clsTraffic::TakeChanged()
{
    const std::uint64_t changed = std::max(m_changed, m_first);
    m_changed = m_end;
    return changed;
}

void clsTraffic::Begin(std::int64_t position)
{
    m_base = m_cursor = m_newest = position;
    m_arrivals = {};
    m_arrivals.Append(static_cast<std::size_t>(position), 0.0);
    m_arrivals.DropUpTo(position);
}

void clsTraffic::Opened(std::int32_t rate, double now)
{
    append(TrafficKind::Opened, notBeforeNewest(*this, now)).value = rate;
}

void clsTraffic::Closed(double now)
{
    append(TrafficKind::Closed, notBeforeNewest(*this, now));
}

void clsTraffic::Sent(std::string_view bytes, TrafficKind kind, Request request, double now)
{
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kMostBytes))) {
        const std::string_view piece = bytes.substr(0, kMostBytes);
        put(m_sent, m_sentBytes % kSentBytes, piece);
        TrafficEntry& entry = append(kind, notBeforeNewest(*this, now));
        entry.at = static_cast<std::uint32_t>(m_sentBytes);
        entry.length = static_cast<std::uint16_t>(piece.size());
        entry.detail = static_cast<std::uint8_t>(request);
        m_sentBytes += piece.size();
    }
    dropOverwritten(true);
}

void clsTraffic::Received(std::string_view bytes, double now)
{
    put(m_received, static_cast<std::size_t>(m_newest) % kReceivedBytes, bytes);
    m_newest += static_cast<std::int64_t>(bytes.size());
    m_arrivals.Append(bytes.size(), now);
    m_now = now;
    dropOverwritten(false);
}

/// An entry goes when its bytes are no longer there, and what is older with it. Each direction has bytes of its own, so
/// one may have lost them although an older entry of the other has not.
void clsTraffic::dropOverwritten(bool isSent)
{
    const std::uint64_t newest = isSent ? m_sentBytes : static_cast<std::uint64_t>(m_newest);
    const std::size_t kept = isSent ? kSentBytes : kReceivedBytes;
    std::uint64_t& oldest = isSent ? m_oldestSent : m_oldestReceived;
    for (oldest = std::max(oldest, m_first); oldest < m_end; ++oldest) {
        const TrafficEntry& entry = At(oldest);
        if (isSent ? !IsToSensor(entry.kind) : !IsFromSensor(entry.kind)) {
            continue;
        }
        if (static_cast<std::uint32_t>(newest) - entry.at <= kept) {
            break;
        }
        m_first = oldest + 1;
    }
}

TrafficEntry& clsTraffic::append(TrafficKind kind, double time)
{
    TrafficEntry& entry = m_entries[m_end % kMostEntries];
    entry = {.time = time, .kind = kind};
    ++m_end;
    m_first = std::max(m_first, m_end - std::min<std::uint64_t>(m_end, kMostEntries));
    return entry;
}

void clsTraffic::Means(std::int64_t begin, std::int64_t end, TrafficKind kind)
{
    tell(withoutCuts({begin, end}), {.kind = kind});
}

void clsTraffic::Replies(std::int64_t begin, std::size_t size, std::span<const Measurement> measurements)
{
    if (size == 0) {
        tell({lineBegin(begin), begin}, meaningOf(measurements.front()));
        return;
    }
    for (const Measurement& measurement : measurements) {
        const std::int64_t end = begin + static_cast<std::int64_t>(size);
        tell(m_cuts.empty() ? Range{begin, end} : withoutCuts({begin, end}), meaningOf(measurement));
        begin = end;
    }
}

void clsTraffic::tell(Range range, const TrafficEntry& meaning)
{
    range.end = std::min(range.end, m_newest);
    if (range.end > m_cursor) {
        fillGap(range.begin, m_between);
        const std::int64_t begin = m_cursor;
        const auto length = static_cast<std::size_t>(range.end - begin);
        const bool hasValue = meaning.kind == TrafficKind::Distance;
        if (length <= kMostBytes && (hasValue || meaning.time != 0.0)) {
            TrafficEntry& entry = append(meaning.kind, meaning.time);
            entry.value = meaning.value;
            entry.detail = meaning.detail;
            entry.at = static_cast<std::uint32_t>(begin);
            entry.length = static_cast<std::uint16_t>(length);
            m_cursor = range.end;
        } else {
            appendBytes(begin, range.end, meaning.kind);
        }
        range.end = begin;
    }
    if (range.begin < range.end) {
        change(range, meaning);
    }
}

void clsTraffic::Settle(std::int64_t end, TrafficKind kind)
{
    if (end > m_cursor) {
        fillGap(withoutCuts({end, end}).begin, kind);
        std::erase_if(m_cuts, [this](const Range& cut) { return cut.end <= m_cursor; });
    }
}

/// A text that was cut out of the bytes is none of the kind.
void clsTraffic::fillGap(std::int64_t end, TrafficKind kind)
{
    for (const Range& cut : m_cuts) {
        if (cut.begin < end && cut.end > m_cursor) {
            appendBytes(m_cursor, std::max(cut.begin, m_cursor), kind);
            appendBytes(m_cursor, std::min(cut.end, end), TrafficKind::Unexplained);
        }
    }
    appendBytes(m_cursor, end, kind);
}

/// Lines become entries of their own, and so does what is longer than an entry.
void clsTraffic::appendBytes(std::int64_t begin, std::int64_t end, TrafficKind kind)
{
    end = std::min(end, m_newest);
    begin = std::max({begin, m_base, m_newest - static_cast<std::int64_t>(kReceivedBytes)});
    while (begin < end) {
        std::int64_t next = begin;
        while (next < end && next - begin < static_cast<std::int64_t>(kMostBytes) && byteAt(next++) != '\n') {
        }
        const double time = m_arrivals.StretchOf(next, m_now).TimeOf(next, m_byteTime);
        if (!extend(next, kind, time)) {
            TrafficEntry& entry = append(kind, time);
            entry.at = static_cast<std::uint32_t>(begin);
            entry.length = static_cast<std::uint16_t>(next - begin);
        }
        begin = m_cursor = next;
    }
    m_cursor = std::max(m_cursor, end);
}

/// Bytes that come one by one, as damage does, become one entry; a line end closes it.
bool clsTraffic::extend(std::int64_t end, TrafficKind kind, double time)
{
    if (m_first == m_end || kind < TrafficKind::Waiting) {
        return false;
    }
    TrafficEntry& entry = m_entries[(m_end - 1) % kMostEntries];
    const auto length = static_cast<std::uint32_t>(end) - entry.at;
    const bool goesOn = entry.kind == kind && entry.at + entry.length == static_cast<std::uint32_t>(m_cursor);
    if (!goesOn || length > kMostBytes || byteAt(m_cursor - 1) == '\n') {
        return false;
    }
    entry.length = static_cast<std::uint16_t>(length);
    entry.time = time;
    m_changed = std::min(m_changed, m_end - 1);
    return true;
}

/// Told anew: from the newest entry back to the beginning of the range.
void clsTraffic::change(Range range, const TrafficEntry& meaning)
{
    std::int64_t end = m_cursor;
    for (std::uint64_t number = m_end; number-- > m_first && end > range.begin;) {
        TrafficEntry& entry = m_entries[number % kMostEntries];
        if (!IsFromSensor(entry.kind)) {
            continue;
        }
        const std::int64_t begin = end - entry.length;
        if (begin < range.end && entry.kind != meaning.kind) {
            entry.kind = meaning.kind;
            entry.value = meaning.value;
            entry.detail = meaning.detail;
            m_changed = std::min(m_changed, number);
        }
        end = begin;
    }
}

void clsTraffic::Reject(std::int64_t end)
{
    std::int64_t at = m_cursor;
    for (std::uint64_t number = m_end; number-- > m_first && at >= end;) {
        TrafficEntry& entry = m_entries[number % kMostEntries];
        if (entry.kind == TrafficKind::Distance) {
            entry.kind = TrafficKind::Damaged;
            m_changed = std::min(m_changed, number);
        }
        at -= IsFromSensor(entry.kind) ? entry.length : 0;
    }
}

void clsTraffic::DiscardWaiting()
{
    const std::uint64_t oldest = m_end - std::min(m_end - m_first, kLookBack);
    for (std::uint64_t number = m_end; number-- > oldest;) {
        TrafficEntry& entry = m_entries[number % kMostEntries];
        if (entry.kind == TrafficKind::Waiting) {
            entry.kind = TrafficKind::Discarded;
            m_changed = std::min(m_changed, number);
        }
    }
}

/// Where the bytes really are: positions count back from the newest byte, and in front of a text that was cut out they
/// are later by its length.
clsTraffic::Range clsTraffic::withoutCuts(Range range) const
{
    for (std::size_t i = m_cuts.size(); i-- > 0;) {
        const Range& cut = m_cuts[i];
        range.begin -= range.begin < cut.end ? cut.end - cut.begin : 0;
        range.end -= range.end <= cut.end ? cut.end - cut.begin : 0;
    }
    return range;
}

std::int64_t clsTraffic::lineBegin(std::int64_t end) const
{
    const std::int64_t oldest = std::max(m_base, end - static_cast<std::int64_t>(kMostBytes));
    std::int64_t begin = end;
    while (begin > oldest && (byteAt(begin - 1) == '\n' || byteAt(begin - 1) == '\r')) {
        --begin;
    }
    while (begin > oldest && byteAt(begin - 1) != '\n') {
        --begin;
    }
    return begin;
}
