#include "session/clsHistory.h"

#include "base/Days.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace {

constexpr double kStepsPerDay = 10.0 * kMsPerDay;
constexpr std::int32_t kFirstGap = std::numeric_limits<std::int32_t>::min(); // no distance is as low
constexpr std::int32_t kGapReasons = 6;

std::int32_t valueOf(const Measurement& sample)
{
    switch (KindOf(sample)) {
    case MeasurementKind::NoEcho:
        return kMarkerNoEcho;
    case MeasurementKind::TempError:
        return kMarkerTempError;
    case MeasurementKind::Distance:
        break;
    }
    return std::max(sample.value_mm, kFirstGap + kGapReasons);
}

} // namespace

void clsHistory::Add(std::span<const Measurement> samples, std::span<const Gap> ended)
{
    auto gap = ended.begin();
    for (const Measurement& sample : samples) {
        if (gap != ended.end() && gap->to == sample.time && KindOf(sample) == MeasurementKind::Distance) {
            if (gap->reason != GapReason::NoEcho) {
                add(sample.time, kFirstGap + static_cast<std::int32_t>(gap->reason));
            }
            ++gap;
        }
        add(sample.time, valueOf(sample));
    }
}

void clsHistory::add(double time, std::int32_t value)
{
    const auto stepsOf = [&](const Block& block) { return std::round((time - block.begin) * kStepsPerDay); };
    const auto fits = [&](const Block& block) {
        const double steps = stepsOf(block);
        return block.entries.size() < kBlockEntries && steps >= block.entries.back().time &&
               steps <= std::numeric_limits<std::uint32_t>::max();
    };
    if (m_blocks.empty() || !fits(m_blocks.back())) {
        beginBlock(time);
    }
    Block& block = m_blocks.back();
    block.entries.push_back({static_cast<std::uint32_t>(stepsOf(block)), value});
    ++m_added;
}

void clsHistory::beginBlock(double time)
{
    const auto bytes = [this] { return (Size() + kBlockEntries) * kEntryBytes + m_blocks.size() * sizeof(Block); };
    while (!m_blocks.empty() && bytes() > m_mostBytes) {
        m_forgotten += static_cast<std::int64_t>(m_blocks.front().entries.size());
        m_blocks.pop_front();
    }
    m_blocks.push_back({time, m_added, {}});
}

HistoryEntry clsHistory::At(std::size_t index) const
{
    const std::int64_t number = m_forgotten + static_cast<std::int64_t>(index);
    const auto behind = std::ranges::upper_bound(m_blocks, number, {}, &Block::first);
    const auto block = static_cast<std::size_t>(std::distance(m_blocks.begin(), behind)) - 1;
    return At(block, static_cast<std::size_t>(number - m_blocks.at(block).first));
}

HistoryEntry clsHistory::At(std::size_t block, std::size_t index) const
{
    const Entry& entry = m_blocks.at(block).entries.at(index);
    HistoryEntry read{.time = m_blocks[block].begin + entry.time / kStepsPerDay};
    if (entry.value < kFirstGap + kGapReasons) {
        read.gap = static_cast<GapReason>(entry.value - kFirstGap);
    } else if (entry.value == kMarkerNoEcho || entry.value == kMarkerTempError) {
        read.kind = entry.value == kMarkerNoEcho ? MeasurementKind::NoEcho : MeasurementKind::TempError;
    } else {
        read.value_mm = entry.value;
    }
    return read;
}
