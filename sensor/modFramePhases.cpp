#include "sensor/modFramePhases.h"

#include <algorithm>
#include <string>
#include <utility>

using modReplySteps::DecodeFrame;
using modReplySteps::FrameWord;
using modReplySteps::kFrameSize;

namespace modFramePhases {

namespace {

constexpr std::size_t kMany = 5; // frames whose range counts, however far apart they lie
constexpr std::int64_t kLikeMarker_mm = 512;
constexpr std::int64_t kReach_mm = 250; // between two agreeing frames
constexpr std::int64_t kLeastMargin_mm = 30;
constexpr std::int64_t kCloser = 8; // times closer, to be clear

/// Consists of the bytes of a marker or a sign: in any step such words lie near each other.
bool isFlat(std::uint32_t word)
{
    for (int i = 0; i < 4; ++i, word >>= 8U) {
        const std::uint32_t byte = word & 0xFFU;
        if (byte != 0x00 && byte != 0x7F && byte != 0xFF) {
            return false;
        }
    }
    return true;
}

/// Frames in a row that agree with each other; the longest row counts.
void followRun(Phase& phase, bool isFrame, std::int64_t value)
{
    Run& run = phase.present;
    Run& tail = phase.tail;
    if (!isFrame) {
        run = tail = {};
        return;
    }
    if (tail.frames++ == 0) {
        tail.first = phase.words - 1;
    }
    tail.level.Include(value);
    if (tail.frames > phase.longest.frames) {
        phase.longest = tail;
    }
    if (run.frames == 0 || std::abs(value - run.last) > kReach_mm) {
        run = {.first = phase.words - 1};
    }
    ++run.frames;
    run.last = value;
    run.level.Include(value);
    if (run.frames >= phase.agreeing.frames) {
        phase.agreeing = run;
    }
}

std::optional<std::size_t> closest(const Phases& phases, Run Phase::*run, std::size_t least, bool lengthCounts)
{
    const auto isCloser = [lengthCounts](const Run& one, const Run& other) {
        if (lengthCounts && (one.frames >= other.frames + kFew || other.frames >= one.frames + kFew)) {
            return one.frames > other.frames;
        }
        const std::int64_t otherWidth = other.level.upper - other.level.lower;
        return otherWidth >= kNoise_mm && (one.level.upper - one.level.lower) * kCloser < otherWidth;
    };
    std::optional<std::size_t> found;
    for (std::size_t offset = 0; offset < phases.size(); ++offset) {
        const Run& one = phases[offset].*run;
        if (one.frames < least || (found && isCloser(phases[*found].*run, one))) {
            continue;
        }
        if (found && !isCloser(one, phases[*found].*run)) {
            return std::nullopt;
        }
        found = offset;
    }
    return found;
}

/// Whether `word`, which damage may have turned into `rest`, lies much nearer to the last distance than `first` does.
bool isNearer(std::uint32_t word, std::uint32_t first, const Past& past)
{
    if (IsMarker(word)) {
        return true; // a missing echo may come at any time
    }
    const bool isReadable = IsVoid(word) || IsDistance(word);
    return isReadable && past.newer.frames > 0 &&
           std::abs(DecodeFrame(word) - past.last) * kCloser < std::abs(DecodeFrame(first) - past.last);
}

/// Whether `rest` can be a frame that has lost a byte, followed by others.
bool canHaveLost(std::string_view rest, const Past& past)
{
    constexpr std::size_t kLeft = kFrameSize - 1;
    for (std::size_t lost = 0; lost < kFrameSize; ++lost) {
        std::string frame(rest.substr(0, kLeft));
        frame.insert(lost, 1, '\0');
        for (int byte = 0; byte < 256; ++byte) {
            frame[lost] = static_cast<char>(byte);
            const std::uint32_t word = FrameWord(frame, 0);
            if (word != FrameWord(rest, 0) && isNearer(word, FrameWord(rest, 0), past)) {
                return true;
            }
        }
    }
    return false;
}

/// Whether `rest` can be a frame with a foreign byte before or inside it; its end may still be missing.
bool canHaveGained(std::string_view rest, const Past& past)
{
    for (std::size_t gained = 0; gained < kFrameSize; ++gained) {
        std::string frame(rest.substr(0, kFrameSize + 1));
        frame.erase(gained, 1);
        for (const char end : {'\0', '\x7F', '\xFF'}) {
            const std::string whole = frame.size() == kFrameSize ? frame : frame + end;
            if (isNearer(FrameWord(whole, 0), FrameWord(rest, 0), past)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

void Range::Include(std::int64_t value)
{
    if (IsEmpty()) {
        lower = upper = value;
    } else {
        lower = std::min(lower, value);
        upper = std::max(upper, value);
    }
}

/// The margin never crosses 0.
Range Widened(const Range& range)
{
    const std::int64_t margin = std::max(kLeastMargin_mm, (range.upper - range.lower) / 3);
    return {range.lower > 0 ? std::max(range.lower - margin, range.lower * 3 / 4) : range.lower - margin,
            range.upper < 0 ? std::min(range.upper + margin, range.upper * 3 / 4) : range.upper + margin};
}

void Block::Include(std::int64_t value)
{
    ++frames;
    range.Include(value);
    wide = Widened(range);
}

bool Past::IsCertainMarker() const
{
    return sinceMarker < kMarkerMemory || newer.frames == 0 || last < -kLikeMarker_mm || last >= 0;
}

bool Past::IsInRange(std::uint32_t word) const
{
    if (IsMarker(word)) {
        return sinceMarker < kMarkerMemory;
    }
    const std::int64_t value = DecodeFrame(word);
    return older.Holds(value) || newer.Holds(value);
}

bool Past::Fits(std::uint32_t word) const
{
    return IsDistance(word) && (IsInRange(word) || IsNearLast(word));
}

bool Past::IsPassedOver(std::uint32_t word) const
{
    return IsVoid(word) && (IsInRange(word) || IsNearLast(word));
}

void Past::Remember(std::uint32_t word)
{
    sinceMarker = IsMarker(word) ? 0 : isKnown ? std::min(sinceMarker + 1, kMarkerMemory) : kMarkerMemory;
    isKnown = true;
    if (IsMarker(word)) {
        return;
    }
    const std::int64_t before = std::exchange(last, DecodeFrame(word));
    if (!newer.Holds(last) && older.Holds(last)) {
        std::swap(older, newer); // back at the earlier place
    } else if (newer.frames == kBlock || (newer.frames > 0 && !newer.Holds(last) && !IsNear(last, before))) {
        older = std::exchange(newer, {});
    }
    newer.Include(last);
}

void Past::RememberRun(std::size_t frames, const std::optional<Range>& full, const Block& open, std::int64_t newest)
{
    if (full) {
        older = {kBlock, *full, Widened(*full)};
    }
    newer = open;
    last = newest;
    sinceMarker += static_cast<std::int32_t>(std::min<std::size_t>(frames, kMarkerMemory));
    sinceMarker = std::min(sinceMarker, kMarkerMemory);
}

Phase PhaseOf(std::string_view rest, std::size_t offset, const Past& past)
{
    Phase phase;
    for (std::size_t at = offset; at + kFrameSize <= rest.size(); at += kFrameSize) {
        const std::uint32_t word = FrameWord(rest, at);
        const bool isReadable = IsDistance(word) || IsVoid(word);
        const std::int64_t value = DecodeFrame(word);
        const bool goesOn = phase.fitting > 0 && isReadable && IsNear(value, phase.newest);
        phase.fitting = goesOn || past.IsPassedOver(word) || past.Fits(word) ? phase.fitting + 1 : 0;
        phase.readable += phase.isReadable && isReadable ? 1 : 0;
        phase.leading += phase.leading == phase.words && phase.fitting > 0 ? 1 : 0;
        ++phase.words;
        phase.isPossible = phase.isPossible && IsDistance(word);
        phase.isReadable = phase.isReadable && isReadable;
        phase.distances += IsDistance(word) ? 1 : 0;
        phase.markers += IsMarker(word) ? 1 : 0;
        if (!IsVoid(word) && !isFlat(word)) {
            followRun(phase, isReadable && !IsMarker(word), value);
        }
        phase.newest = value;
    }
    return phase;
}

std::optional<std::size_t> BestFitting(const Phases& phases)
{
    std::size_t best = 0, second = 0, found = 0;
    for (std::size_t offset = 0; offset < phases.size(); ++offset) {
        const Phase& phase = phases[offset];
        const std::size_t score = phase.fitting > 0 ? phase.fitting + phase.markers : 0;
        if (score > best) {
            second = std::exchange(best, score);
            found = offset;
        } else {
            second = std::max(second, score);
        }
    }
    return best > second ? std::optional(found) : std::nullopt;
}

std::optional<std::size_t> Closest(const Phases& phases)
{
    if (std::ranges::any_of(phases, [](const Phase& phase) { return phase.words < kFew; })) {
        return std::nullopt;
    }
    const auto found = closest(phases, &Phase::agreeing, kFew, true);
    return found ? found : closest(phases, &Phase::longest, kMany, false); // distances may also jump all the time
}

bool CanBeDamaged(std::string_view rest, const Phases& phases, const Past& past)
{
    const bool mayHaveGained = rest.size() <= kFrameSize || PhaseOf(rest, kFrameSize + 1, past).isReadable;
    return (phases[3].isReadable && canHaveLost(rest, past)) || (mayHaveGained && canHaveGained(rest, past));
}

bool IsExplained(std::string_view rest, const Phases& phases, const Past& past)
{
    const bool canBeShifted = std::any_of(phases.begin() + 1, phases.end(), [](const Phase& phase) {
        return phase.fitting > 0 || (phase.words > 0 && phase.isPossible);
    });
    return canBeShifted || CanBeDamaged(rest, phases, past);
}

} // namespace modFramePhases
