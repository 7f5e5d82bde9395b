// The statistics of a stretch of a history: closed blocks have their sums, so only the two at its ends are gone
// through.
#include "session/clsHistory.h"

#include <cmath>

namespace {

/// Sums and where their times begin.
struct Part {
    EntrySums sums;
    std::int64_t distances = 0, begin = 0;
};

void fillMoments(const std::vector<Part>& parts, const auto& wholeParts, Statistics& found)
{
    Int128 x = 0, t = 0;
    const auto addUp = [&](const EntrySums& sums, std::int64_t distances, std::int64_t begin) {
        x += sums.x;
        t += sums.t + static_cast<Int128>(begin) * distances;
    };
    const auto forAll = [&](const auto& what) {
        for (const Part& part : parts) {
            what(part.sums, part.distances, part.begin);
        }
        wholeParts(what);
    };
    forAll(addUp);
    const Int128 count = found.valid;
    // About whole numbers near the means everything stays exact; what is left of the means is less than one.
    const auto nearX = static_cast<std::int64_t>(x / count), nearT = static_cast<std::int64_t>(t / count);
    const long double n = static_cast<long double>(found.valid);
    const long double restX = static_cast<long double>(x - nearX * count) / n;
    const long double restT = static_cast<long double>(t - nearT * count) / n;
    long double xx = -restX * restX * n, tt = -restT * restT * n, xt = -restX * restT * n;
    forAll([&](const EntrySums& sums, std::int64_t distances, std::int64_t begin) {
        const EntrySums moved = sums.Moved(begin - nearT, nearX, distances);
        xx += static_cast<long double>(moved.xx);
        tt += static_cast<long double>(moved.tt);
        xt += static_cast<long double>(moved.xt);
    });
    constexpr long double kTicksPerMinute = 600000.0L;
    found.mean = static_cast<double>(static_cast<long double>(nearX) + restX);
    found.deviation = found.valid > 1 ? static_cast<double>(std::sqrt(std::max(xx, 0.0L) / (n - 1))) : 0.0;
    found.hasDrift = tt > 0.0L;
    found.drift_perMinute = tt > 0.0L ? static_cast<double>(xt / tt * kTicksPerMinute) : 0.0;
}

/// The entries of a block that count, from `begin` to before `end`; of what is kept in nodes only, whole nodes.
struct Share {
    std::size_t begin = 0, end = 0;
};

Share shareOf(const clsEntryLevels& levels, std::size_t begin, std::size_t end)
{
    constexpr std::size_t kNode = clsEntryLevels::kNode;
    if (!levels.HasEntries()) {
        end = end == levels.Size() ? end : end / kNode * kNode;
        begin = std::min((begin + kNode - 1) / kNode * kNode, end);
    }
    return {begin, end};
}

} // namespace

Statistics clsHistory::StatisticsOf(const PlaceRange& range) const
{
    Statistics found;
    const Position first = find(firstTickAt(range.begin)), behind = find(firstTickBehind(range.end));
    if (indexOf(first) >= indexOf(behind)) {
        return found;
    }
    const auto isWhole = [&](std::size_t block) {
        return m_blocks[block].isClosed && (block > first.block || first.index == 0) && block < behind.block;
    };
    std::vector<Part> parts;
    EntrySummary all; // minimum and maximum
    const auto count = [&](const EntrySummary& run) {
        found.values += run.Entries() - run.gaps;
        found.valid += run.distances;
        all.minimum = std::min(all.minimum, run.minimum);
        all.maximum = std::max(all.maximum, run.maximum);
    };
    std::int64_t from = 0, to = 0;
    const std::size_t endOfBlocks = behind.index > 0 ? behind.block + 1 : behind.block;
    for (std::size_t i = first.block; i < endOfBlocks; ++i) {
        const Block& block = m_blocks[i];
        if (isWhole(i)) {
            from = i == first.block ? block.begin : from;
            to = lastOf(block);
            count(block.whole);
            continue;
        }
        const clsEntryLevels& levels = levelsOf(block, true);
        const auto [begin, end] =
            shareOf(levels, i == first.block ? first.index : 0, i == behind.block ? behind.index : levels.Size());
        const EntrySummary run = levels.SummaryOf(begin, end);
        count(run);
        parts.push_back({levels.SumsOf(begin, end), run.distances, block.begin});
        from = i == first.block ? block.begin + levels.TimeOf(std::min(begin, levels.Size() - 1)) : from;
        to = end == levels.Size() ? lastOf(block) : block.begin + levels.TimeOf(std::max(end, std::size_t{1}) - 1);
        found.isThinned = found.isThinned || block.isThinned || !levels.HasEntries();
    }
    if (found.valid > 0) {
        found.minimum = all.minimum;
        found.maximum = all.maximum;
        const auto wholeParts = [&](const auto& what) {
            for (std::size_t i = first.block; i < behind.block; ++i) {
                if (isWhole(i)) {
                    what(m_blocks[i].sums, m_blocks[i].whole.distances, m_blocks[i].begin);
                }
            }
        };
        fillMoments(parts, wholeParts, found);
    }
    const double seconds = static_cast<double>(to - from) / kTicksPerDay * kSecondsPerDay;
    found.rate_perSecond = seconds > 0.0 ? static_cast<double>(found.values - 1) / seconds : 0.0;
    return found;
}
