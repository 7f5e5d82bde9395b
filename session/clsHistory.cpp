#include "session/clsHistory.h"

#include "base/Days.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace {

constexpr double kStepsPerDay = 10.0 * kMsPerDay;
constexpr std::int32_t kGapReasons = 6;

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min() + kGapReasons;

std::int32_t valueOf(const Measurement& sample)
{
    switch (KindOf(sample)) {
    case MeasurementKind::NoEcho:
        return sample.value_mm == 0 ? 0 : kMarkerNoEcho;
    case MeasurementKind::TempError:
        return kMarkerTempError;
    case MeasurementKind::Distance:
        break;
    }
    return std::max(sample.value_mm, kLowest);
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
    m_times.Add(time);
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
    m_blocks.push_back({time, m_times.PlaceOf(time), m_added, {}});
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
    HistoryEntry read{.time = m_blocks[block].begin + entry.time / kStepsPerDay,
                      .place = m_blocks[block].place + entry.time / kStepsPerDay};
    if (entry.value < kFirstGap + kGapReasons) {
        read.gap = static_cast<GapReason>(entry.value - kFirstGap);
    } else {
        read.value_mm = entry.value;
        read.kind = entry.value == kMarkerTempError                    ? MeasurementKind::TempError
                    : entry.value == kMarkerNoEcho || entry.value == 0 ? MeasurementKind::NoEcho
                                                                       : MeasurementKind::Distance;
    }
    return read;
}

PlaceRange clsHistory::Range() const
{
    return IsEmpty() ? PlaceRange() : PlaceRange{At(0).place, At(Size() - 1).place};
}

std::size_t clsHistory::IndexAt(double place) const
{
    std::size_t low = 0, high = Size();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        (At(middle).place < place ? low : high) = At(middle).place < place ? middle + 1 : middle;
    }
    return low;
}

std::size_t clsHistory::CountIn(const PlaceRange& range) const
{
    std::size_t last = IndexAt(range.end);
    while (last < Size() && At(last).place <= range.end) {
        ++last;
    }
    return last - std::min(last, IndexAt(range.begin));
}

std::optional<std::size_t> clsHistory::NearestDistance(double place) const
{
    const auto isDistance = [this](std::size_t index) {
        const HistoryEntry entry = At(index);
        return !entry.gap && entry.kind == MeasurementKind::Distance;
    };
    std::size_t after = IndexAt(place);
    std::size_t before = after;
    while (after < Size() && !isDistance(after)) {
        ++after;
    }
    while (before > 0 && !isDistance(before - 1)) {
        --before;
    }
    if (before == 0 || (after < Size() && At(after).place - place < place - At(before - 1).place)) {
        return after < Size() ? std::optional(after) : std::nullopt;
    }
    return before - 1;
}

ValueSummary clsHistory::summaryOf(std::size_t first, std::size_t behind, bool showZero) const
{
    ValueSummary found;
    const auto isDrawn = [&](const HistoryEntry& entry) {
        return !entry.gap && (entry.kind == MeasurementKind::Distance || (entry.value_mm == 0 && showZero));
    };
    bool isBroken = first == 0 || !isDrawn(At(first - 1));
    for (std::size_t i = first; i < behind; ++i) {
        const HistoryEntry entry = At(i);
        if (!isDrawn(entry)) {
            ++(entry.gap ? found.gaps : entry.kind == MeasurementKind::NoEcho ? found.noEcho : found.tempError);
            isBroken = true;
            continue;
        }
        if (found.valid++ == 0) {
            found.minimum = found.maximum = found.first = entry.value_mm;
            found.joinsBefore = !isBroken;
        } else {
            found.isWhole = found.isWhole && !isBroken;
        }
        found.minimum = std::min(found.minimum, entry.value_mm);
        found.maximum = std::max(found.maximum, entry.value_mm);
        found.last = entry.value_mm;
        isBroken = false;
    }
    return found;
}

std::vector<ValueSummary> clsHistory::Columns(const TimeWindow& window, bool showZero) const
{
    std::vector<ValueSummary> columns;
    Columns(window, showZero, columns);
    return columns;
}

void clsHistory::Columns(const TimeWindow& window, bool showZero, std::vector<ValueSummary>& columns) const
{
    columns.clear();
    std::size_t first = IndexAt(window.first / window.perDay);
    for (std::int32_t i = 1; i <= window.columns; ++i) {
        const std::size_t behind = IndexAt((window.first + i) / window.perDay);
        columns.push_back(summaryOf(first, behind, showZero));
        first = behind;
    }
}

Statistics clsHistory::StatisticsOf(const PlaceRange& range) const
{
    const std::size_t first = IndexAt(range.begin);
    const std::size_t behind = first + CountIn(range);
    Statistics found;
    double sum = 0.0, sumOfTimes = 0.0;
    for (std::size_t i = first; i < behind; ++i) {
        const HistoryEntry entry = At(i);
        found.values += entry.gap ? 0 : 1;
        if (!entry.gap && entry.kind == MeasurementKind::Distance) {
            const double value = entry.value_mm;
            found.minimum = found.valid == 0 ? value : std::min(found.minimum, value);
            found.maximum = found.valid == 0 ? value : std::max(found.maximum, value);
            sum += value;
            sumOfTimes += entry.place - range.begin;
            ++found.valid;
        }
    }
    if (found.valid > 0) {
        const auto count = static_cast<double>(found.valid);
        found.mean = sum / count;
        double squares = 0.0, timeSquares = 0.0, products = 0.0;
        for (std::size_t i = first; i < behind; ++i) {
            const HistoryEntry entry = At(i);
            if (!entry.gap && entry.kind == MeasurementKind::Distance) {
                const double value = entry.value_mm - found.mean;
                const double time = entry.place - range.begin - sumOfTimes / count;
                squares += value * value;
                timeSquares += time * time;
                products += value * time;
            }
        }
        found.deviation = found.valid > 1 ? std::sqrt(squares / (count - 1.0)) : 0.0;
        found.drift_perMinute = timeSquares > 0.0 ? products / timeSquares / (kSecondsPerDay / 60.0) : 0.0;
    }
    if (behind > first + 1) {
        const double seconds = (At(behind - 1).place - At(first).place) * kSecondsPerDay;
        found.rate_perSecond = seconds > 0.0 ? static_cast<double>(found.values - 1) / seconds : 0.0;
    }
    return found;
}

std::vector<HistoryGap> clsHistory::GapsIn(const PlaceRange& range, double shortest) const
{
    std::vector<HistoryGap> gaps;
    std::optional<double> from;
    GapReason reason = GapReason::NoEcho;
    for (std::size_t i = 0; i < Size(); ++i) {
        const HistoryEntry entry = At(i);
        if (entry.gap) {
            reason = *entry.gap;
        } else if (entry.kind == MeasurementKind::Distance) {
            const bool isGap = from && (reason != GapReason::NoEcho || (i > 0 && At(i - 1).kind != entry.kind));
            if (isGap && entry.place - *from >= shortest && *from <= range.end && entry.place >= range.begin) {
                gaps.push_back({{*from, entry.place}, reason});
            }
            from = entry.place;
            reason = GapReason::NoEcho;
        }
    }
    return gaps;
}

std::optional<HistoryGap> clsHistory::GapAt(double place) const
{
    const auto gaps = GapsIn({place, place}, 0.0);
    return gaps.empty() ? std::nullopt : std::optional(gaps.front());
}
