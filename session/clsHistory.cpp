#include "session/clsHistory.h"

#include "session/clsGapFinder.h"

#include <utility>

namespace {

constexpr std::size_t kFirstEntries = 64; // of a block, which may be the only ones of a stretch

std::int32_t valueOf(const Measurement& sample, MeasurementKind kind)
{
    switch (kind) {
    case MeasurementKind::NoEcho:
        return sample.value_mm == 0 ? 0 : kMarkerNoEcho;
    case MeasurementKind::TempError:
        return kMarkerTempError;
    case MeasurementKind::Distance:
        break;
    }
    return sample.value_mm;
}

} // namespace

clsHistory::clsHistory(std::size_t mostBytes)
    : m_keeps(mostBytes > 0), m_mostBytes(std::max(mostBytes, kLeastBytes)),
      m_mostReadAgain(std::clamp<std::size_t>(m_mostBytes / 8 / clsEntryLevels::BytesFor(kBlockEntries), 2, 32))
{}

void clsHistory::Add(std::span<const Measurement> samples, std::span<const Gap> ended)
{
    if (!m_keeps) {
        return;
    }
    for (const Measurement& sample : samples) {
        const MeasurementKind kind = KindOf(sample);
        const std::span<const Gap> before = TakeEndedBy(sample, ended);
        for (const Gap& gap : before) {
            const bool isSeen = m_open != nullptr && KindOf(m_open->Entries().back()) != EntryKind::Distance;
            if (gap.reason != GapReason::NoEcho || !isSeen) {
                AddGap(gap.reason);
            }
        }
        if (IsClockSetIn(before)) {
            add(sample.time, valueOf(sample, kind), true);
        } else {
            AddPlayed(sample.time, valueOf(sample, kind));
        }
    }
}

void clsHistory::ReadFrom(RecordingSource source)
{
    m_source = std::move(source);
    closeBlock();
}

void clsHistory::AddGap(GapReason reason)
{
    m_pending = reason;
    m_room = 0;
}

void clsHistory::EndLoading()
{
    closeBlock();
    m_source.where = nullptr;
}

std::size_t clsHistory::Bytes() const
{
    std::size_t bytes = m_closedBytes + m_times.Bytes();
    if (m_open != nullptr) {
        bytes += bytesOf(m_blocks.back());
    }
    for (const ReadAgain& read : m_readAgain) {
        bytes += sizeof(ReadAgain) + read.levels.Bytes();
    }
    return bytes;
}

/// Whatever is not simply the next entry of the last block.
void clsHistory::add(double time, std::int32_t value, bool clockSet)
{
    const std::int64_t settings = m_times.ClockSettings();
    m_times.Add(time, clockSet || m_pending == GapReason::ClockChanged);
    if (!m_pending && settings != m_times.ClockSettings()) {
        m_pending = GapReason::ClockChanged; // nothing is joined across it
    }
    const std::int64_t shift = TicksOf(m_times.Shift());
    std::int64_t place = std::min(TicksOf(m_times.LastTime()) + shift, TicksOf(clsTimeLine::kMostPlace));
    if (!m_blocks.empty()) {
        place = std::max(place, lastOf(m_blocks.back()));
    }
    const std::size_t needed = m_pending ? 2 : 1;
    const bool fits = m_open != nullptr && m_blocks.back().shift == shift && m_open->Size() + needed <= kBlockEntries &&
                      place - m_blocks.back().begin <= std::numeric_limits<std::uint32_t>::max();
    if (!fits) {
        beginBlock(place, shift);
    }
    if (m_open->Room() < needed) {
        grow(std::min(m_open->Size() * 4, kBlockEntries));
    }
    m_lastOffset = place - m_blocks.back().begin;
    const auto offset = static_cast<std::uint32_t>(m_lastOffset);
    if (m_pending) {
        m_open->Push({offset, PackedGap(*std::exchange(m_pending, std::nullopt))});
    }
    m_open->Push({offset, std::max(value, kLowestValue)});
    m_room = m_open->Room();
}

void clsHistory::beginBlock(std::int64_t place, std::int64_t shift)
{
    closeBlock();
    // Where one block was filled, the next one will probably be, too.
    const bool isFull = !m_blocks.empty() && m_blocks.back().levels.Size() + 1 >= kBlockEntries;
    const std::size_t entries = isFull ? kBlockEntries : kFirstEntries;
    makeRoom(clsEntryLevels::BytesFor(entries) + bytesOf({}));
    const std::int64_t first = added();
    Block& block = m_blocks.emplace_back();
    block.begin = place;
    block.shift = shift;
    block.first = first;
    block.levels.Reserve(entries);
    if (m_source.where) {
        block.position = m_source.where();
    }
    m_open = &block.levels;
    m_openBegin = place - shift;
}

void clsHistory::grow(std::size_t entries)
{
    makeRoom(clsEntryLevels::BytesFor(entries));
    m_open->Reserve(entries);
}

void clsHistory::closeBlock()
{
    if (std::exchange(m_open, nullptr) == nullptr) {
        return;
    }
    Block& block = m_blocks.back();
    block.last = static_cast<std::uint32_t>(m_lastOffset);
    block.levels.Finish();
    block.whole = block.levels.SummaryOf(0, block.levels.Size());
    block.sums = block.levels.SumsOf(0, block.levels.Size());
    block.isClosed = true;
    m_closedBytes += bytesOf(block);
    m_room = 0;
}

HistoryEntry clsHistory::At(std::size_t index) const
{
    const Position position = positionOf(index);
    return At(position.block, position.index);
}

HistoryEntry clsHistory::At(std::size_t block, std::size_t index) const
{
    const Block& in = m_blocks.at(block);
    const clsEntryLevels* levels = entriesOf(in);
    const std::int64_t place = in.begin + (levels == nullptr ? in.levels : *levels).TimeOf(index);
    HistoryEntry read{.time = static_cast<double>(place - in.shift) / kTicksPerDay,
                      .place = static_cast<double>(place) / kTicksPerDay};
    if (levels == nullptr) {
        read.isKnown = false;
        read.kind = MeasurementKind::NoEcho;
        read.value_mm = kMarkerNoEcho;
        return read;
    }
    const PackedEntry& entry = levels->Entries()[index];
    const EntryKind kind = KindOf(entry);
    if (kind == EntryKind::Gap) {
        read.gap = static_cast<GapReason>(entry.value - kFirstGap);
        return read;
    }
    read.value_mm = entry.value;
    read.kind = kind == EntryKind::Distance    ? MeasurementKind::Distance
                : kind == EntryKind::TempError ? MeasurementKind::TempError
                                               : MeasurementKind::NoEcho;
    return read;
}
