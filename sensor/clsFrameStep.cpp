#include "sensor/clsFrameStep.h"

#include "sensor/modReplySteps.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

using modReplySteps::DecodeFrame;
using modReplySteps::FrameWord;
using modReplySteps::IsFrame;
using modReplySteps::kFrameSize;

namespace {

constexpr std::size_t kWindow = 64;        // bytes that a decision looks at, and the most that are held
constexpr std::size_t kNearby = 32;        // bytes that it looks at first
constexpr std::size_t kSlide = 16;         // bytes given up where such a window holds nothing
constexpr std::int32_t kBlock = 8;         // distances
constexpr std::int32_t kMarkerMemory = 16; // frames
constexpr std::int32_t kMostLooks = 9;
constexpr std::size_t kCertain = 3; // agreeing frames needed to leave a step in which all words are frames
constexpr std::size_t kMany = 5;    // frames whose range counts, however far apart they lie
constexpr std::size_t kFew = 2;     // agreeing frames needed where nothing else is known
constexpr std::int64_t kLikeMarker_mm = 512;
constexpr std::int64_t kReach_mm = 250; // between two agreeing frames
constexpr std::int64_t kLeastStep_mm = 100, kStepPart = 50;
constexpr std::int64_t kLeastMargin_mm = 30;
constexpr std::int64_t kCloser = 8;     // times closer, to be clear
constexpr std::int64_t kNoise_mm = 200; // the least that noise causes out of step

/// A word that would be a distance if its lowest byte were not 0.
bool isVoid(std::uint32_t word)
{
    return word >> 24U == 0 && (word & 0xFFU) == 0;
}

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

bool isMarker(std::uint32_t word)
{
    return word == 0x7FFFFFFFU || word == 0x7FFFFFF0U;
}

/// Two of its bytes identify a marker, but it has only these two values.
bool isDistance(std::uint32_t word)
{
    return IsFrame(word) && (word >> 24U != 0x7FU || isMarker(word));
}

/// A distance that is no marker.
bool isPlainDistance(std::uint32_t word)
{
    return word < 0x1000000U ? (word & 0xFFU) != 0 : word >= 0xFFE20000U;
}

/// How far a distance may move from one frame to the next. Below 0 the frames look like markers out of step.
bool isNear(std::int64_t value, std::int64_t before)
{
    const std::int64_t step = std::abs(value - before);
    return (value < 0) == (before < 0) && (step <= kLeastStep_mm || step * kStepPart <= std::abs(before));
}

} // namespace

void clsFrameStep::Range::Include(std::int64_t value)
{
    if (IsEmpty()) {
        lower = upper = value;
    } else {
        lower = std::min(lower, value);
        upper = std::max(upper, value);
    }
}

/// The margin never crosses 0.
clsFrameStep::Range clsFrameStep::widened(const Range& range)
{
    const std::int64_t margin = std::max(kLeastMargin_mm, (range.upper - range.lower) / 3);
    return {range.lower > 0 ? std::max(range.lower - margin, range.lower * 3 / 4) : range.lower - margin,
            range.upper < 0 ? std::min(range.upper + margin, range.upper * 3 / 4) : range.upper + margin};
}

void clsFrameStep::Block::Include(std::int64_t value)
{
    ++frames;
    range.Include(value);
    wide = widened(range);
}

void clsFrameStep::Restart()
{
    m_pending.clear();
    m_looksHeld = 0;
}

void clsFrameStep::Forget()
{
    *this = {};
}

clsFrameStep::Found clsFrameStep::Take(std::string_view bytes, bool paused, clsSampleList& samples)
{
    Look look{bytes, samples};
    Found& found = look.found;
    for (;;) {
        found.consumed = takeFitting(found.consumed, look);
        const std::size_t left = bytes.size() - found.consumed;
        if (left == 0 || (left < kFrameSize && !paused)) {
            break;
        }
        const bool isEnd = left <= kWindow;
        std::size_t move = left;
        const Verdict verdict =
            left < kFrameSize ? Verdict::Move : judgeNearby(bytes.substr(found.consumed), paused, move);
        if (verdict == Verdict::Accept) {
            accept(found.consumed, look);
            found.consumed += kFrameSize;
            release(found.consumed, look);
        } else if (verdict == Verdict::Hold && isEnd) {
            break;
        } else {
            // More bytes are there than a decision needs and none was reached, so some are given up.
            const std::size_t lost = verdict == Verdict::Move ? move : kSlide;
            found.consumed += lost;
            release(bytes.size(), look);
            found.damaged += static_cast<std::int32_t>(std::max<std::size_t>((lost + kFrameSize / 2) / kFrameSize, 1));
            m_isHolding = false;
        }
        m_looksHeld = 0;
    }
    hold(found.consumed, bytes.size(), found);
    if (!m_pending.empty()) {
        samples.Defer(look.reported);
    }
    return std::move(found);
}

/// Takes frames as long as they continue the ones before.
std::size_t clsFrameStep::takeFitting(std::size_t at, Look& look)
{
    const std::string_view bytes = look.bytes;
    for (at = takeRun(at, look); at + kFrameSize <= bytes.size(); at = takeRun(at + kFrameSize, look)) {
        const std::uint32_t word = FrameWord(bytes, at);
        if (isMarker(word) ? isCertainMarker() : isDistance(word) && isNearLast(word)) {
            accept(at, look);
        } else if (isVoidInStep(bytes, at)) {
            look.samples.AddFrames(bytes, at, 1, kFrameSize);
        } else {
            break;
        }
        if (!m_pending.empty()) {
            release(at + kFrameSize, look);
        }
    }
    return at;
}

/// The fast path for the usual case: frames among the last ones. A block that is full makes room for the next one. What
/// a block holds is widened at its end only: what lies within the narrower limits would lie within the wider ones.
std::size_t clsFrameStep::takeRun(std::size_t at, Look& look)
{
    if (m_newer.frames == 0 || !m_pending.empty()) {
        return at;
    }
    const std::string_view bytes = look.bytes;
    const std::size_t first = at;
    std::int32_t frames = m_newer.frames;
    Range all = m_newer.range, wide = m_newer.wide;
    std::int64_t last = m_last;
    std::optional<Range> full;
    for (; at + kFrameSize <= bytes.size(); at += kFrameSize) {
        const std::uint32_t word = FrameWord(bytes, at);
        const std::int64_t value = DecodeFrame(word);
        if (!isPlainDistance(word) || value < wide.lower || value > wide.upper || !isNear(value, last)) {
            break;
        }
        if (frames++ == kBlock) {
            full = all;
            all = {value, value};
            wide = widened(all);
            frames = 1;
        }
        all.lower = std::min(all.lower, value);
        all.upper = std::max(all.upper, value);
        last = value;
    }
    if (const std::size_t taken = (at - first) / kFrameSize; taken > 0) {
        look.samples.AddFrames(bytes, first, taken, kFrameSize);
        if (full) {
            m_older = {kBlock, *full, widened(*full)};
        }
        m_newer = {frames, all, widened(all)};
        m_last = last;
        m_sinceMarker += static_cast<std::int32_t>(std::min<std::size_t>(taken, kMarkerMemory));
        m_sinceMarker = std::min(m_sinceMarker, kMarkerMemory);
        m_voids = {};
        look.found.newest_mm = static_cast<std::int32_t>(last);
    }
    return at;
}

/// A frame that looks like a shifted one, too, but what is around it shows that it is none. Nothing that is shifted by
/// one damage has four bytes of 0 in front of a frame.
bool clsFrameStep::isVoidInStep(std::string_view bytes, std::size_t at) const
{
    const std::uint32_t word = FrameWord(bytes, at);
    if (isPassedOver(word)) {
        return true;
    }
    const std::size_t next = at + kFrameSize;
    return word == 0 && next + kFrameSize <= bytes.size() && isDistance(FrameWord(bytes, next)) &&
           isNearLast(FrameWord(bytes, next));
}

/// The newest frame of each look counts.
void clsFrameStep::accept(std::size_t at, Look& look)
{
    const std::uint32_t word = FrameWord(look.bytes, at);
    if (!isVoid(word) || (m_hasPast && (word == 0 || isPassedOver(word)))) {
        look.samples.AddFrames(look.bytes, at, 1, kFrameSize);
    }
    if (isVoid(word)) {
        return;
    }
    m_voids = {};
    remember(word);
    (m_pending.empty() ? look.found.newest_mm : m_pending.front().newest_mm) = DecodeFrame(word);
}

/// Everything before byte `at` is decided: reports the looks that ended there.
void clsFrameStep::release(std::size_t at, Look& look)
{
    auto ended = m_pending.begin();
    for (; ended != m_pending.end() && ended->end * kFrameSize <= at; ++ended) {
        if (ended->newest_mm) {
            look.found.held_mm.push_back(*ended->newest_mm);
        }
        look.reported = look.samples.Size();
    }
    m_pending.erase(m_pending.begin(), ended);
}

/// Held looks are counted from the first held byte.
void clsFrameStep::hold(std::size_t at, std::size_t end, Found& found)
{
    for (Pending& look : m_pending) {
        look.end -= at / kFrameSize;
    }
    if (m_isHolding) {
        m_pending.push_back({(end - at) / kFrameSize, std::exchange(found.newest_mm, std::nullopt)});
    }
    m_isHolding = false;
}

/// Few bytes are looked at first: more of them may hold another damage, and what lies between the two would be lost.
clsFrameStep::Verdict clsFrameStep::judgeNearby(std::string_view rest, bool paused, std::size_t& move)
{
    if (rest.size() > kNearby) {
        const std::int32_t looks = m_looksHeld;
        move = kNearby;
        const Verdict verdict = judge(rest.substr(0, kNearby), false, move);
        if (verdict != Verdict::Hold) {
            return verdict;
        }
        m_isHolding = false;
        m_looksHeld = looks;
    }
    move = std::min(rest.size(), kWindow);
    return judge(rest.substr(0, kWindow), paused && rest.size() <= kWindow, move);
}

/// Judges the first word of `rest`, which is no frame or lies away from those before it. With Move, `move` is the
/// number of bytes to give up.
clsFrameStep::Verdict clsFrameStep::judge(std::string_view rest, bool paused, std::size_t& move)
{
    Phases phases;
    for (std::size_t offset = 0; offset < phases.size(); ++offset) {
        phases[offset] = phaseOf(rest, offset);
    }
    const bool anyFits = std::ranges::any_of(phases, [](const Phase& phase) { return phase.fitting > 0; });
    if (!anyFits && isVoid(FrameWord(rest, 0)) && phases[0].isReadable && passesOver(FrameWord(rest, 0))) {
        return Verdict::Accept;
    }
    if (!m_hasPast) {
        return judgeWithoutPast(rest, paused, move);
    }
    if (paused) {
        return judgeComplete(rest, phases, move);
    }
    const bool goesOn = phases[0].isReadable && isDistance(FrameWord(rest, 0));
    if (goesOn && phases[0].isPossible && phases[0].markers > 0) {
        return Verdict::Accept; // tested on all four bytes: nothing that is shifted looks like this
    }
    if (const auto offset = bestFitting(phases)) {
        const std::size_t enough = *offset == 0 || goesOn ? kFew : 1;
        const bool isSure = phases[*offset].fitting >= enough || (*offset == 0 && !canBeDamaged(rest, phases));
        if (isSure) {
            return moveTo(*offset, phases[*offset].fitting, rest, phases, move);
        }
    }
    if (goesOn && !isExplained(rest, phases)) {
        return Verdict::Accept;
    }
    const auto offset = anyFits ? std::nullopt : closest(phases);
    if (offset && (!goesOn || *offset == 0 || phases[*offset].agreeing.frames >= kCertain)) {
        const Phase& phase = phases[*offset];
        const std::size_t first = (phase.agreeing.frames < kFew ? phase.longest : phase.agreeing).first;
        if (*offset == 0 && first == 0) {
            return Verdict::Accept;
        }
        forgetPast(); // the distance has changed together with the damage
        return moveTo(*offset, phase.words - first, rest, phases, move);
    }
    if (!goesOn) {
        return Verdict::Hold;
    }
    if (++m_looksHeld > kMostLooks) {
        const auto most = std::ranges::max_element(phases, {}, &Phase::distances);
        move = static_cast<std::size_t>(most - phases.begin());
        return move == 0 ? Verdict::Accept : Verdict::Move;
    }
    m_isHolding = true;
    return Verdict::Hold;
}

/// Accept, or the bytes to give up before the last `words` frames of one way of cutting. The damage lies in the first
/// frame that does not continue the ones before; a frame that overlaps it is damaged too.
clsFrameStep::Verdict clsFrameStep::moveTo(std::size_t offset, std::size_t words, std::string_view rest,
                                           const Phases& phases, std::size_t& move)
{
    move = offset + (phases[offset].words - words) * kFrameSize;
    if (offset == 0) {
        return move == 0 || phases[0].isPossible ? Verdict::Accept : Verdict::Move;
    }
    constexpr std::array<std::size_t, kFrameSize> kDamaged{0, 5, 6, 3}; // bytes, by how far the step has moved
    const std::size_t before = phases[0].isReadable ? phases[0].leading : phases[0].readable;
    const std::size_t clean = before * kFrameSize + kDamaged[offset];
    while (move < clean) {
        move += kFrameSize;
    }
    return move <= rest.size() ? Verdict::Move : Verdict::Hold;
}

/// Every frame that was sent is complete, so the last one ends where the bytes end.
clsFrameStep::Verdict clsFrameStep::judgeComplete(std::string_view rest, const Phases& phases, std::size_t& move)
{
    const std::size_t offset = rest.size() % kFrameSize;
    const Phase& phase = phases[offset];
    if (phase.fitting > 0) {
        const Verdict verdict = moveTo(offset, phase.fitting, rest, phases, move);
        if (verdict != Verdict::Hold) {
            return verdict;
        }
    }
    if (offset == 0 && phase.isReadable && isDistance(FrameWord(rest, 0))) {
        return Verdict::Accept;
    }
    move = rest.size();
    return Verdict::Move;
}

/// Nothing is known about the sensor's distances: the first frame counts unless it cannot be a distance.
clsFrameStep::Verdict clsFrameStep::judgeWithoutPast(std::string_view rest, bool paused, std::size_t& move) const
{
    if (isDistance(FrameWord(rest, 0))) {
        return Verdict::Accept;
    }
    std::size_t possible = 0;
    for (std::size_t offset = 1; offset < kFrameSize && offset + kFrameSize <= rest.size(); ++offset) {
        const bool isOut = paused && offset != rest.size() % kFrameSize;
        if (!isOut && phaseOf(rest, offset).isPossible) {
            ++possible;
            move = offset;
        }
    }
    if (possible == 0) {
        // Only bytes that can still start a frame are kept.
        move = paused ? rest.size() : rest.size() - (kFrameSize - 1);
    }
    return possible <= 1 ? Verdict::Move : Verdict::Hold;
}

/// The way of cutting whose last words lie near the earlier ones, if there is one.
std::optional<std::size_t> clsFrameStep::bestFitting(const Phases& phases)
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

/// The way of cutting whose words lie closest together: out of step, the noise of the lowest byte moves to a higher
/// one. Empty while that is not clear.
std::optional<std::size_t> clsFrameStep::closest(const Phases& phases)
{
    if (std::ranges::any_of(phases, [](const Phase& phase) { return phase.words < kFew; })) {
        return std::nullopt;
    }
    const auto found = closest(phases, &Phase::agreeing, kFew, true);
    return found ? found : closest(phases, &Phase::longest, kMany, false); // distances may also jump all the time
}

std::optional<std::size_t> clsFrameStep::closest(const Phases& phases, Run Phase::*run, std::size_t least,
                                                 bool lengthCounts)
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

clsFrameStep::Phase clsFrameStep::phaseOf(std::string_view rest, std::size_t offset) const
{
    Phase phase;
    for (std::size_t at = offset; at + kFrameSize <= rest.size(); at += kFrameSize) {
        const std::uint32_t word = FrameWord(rest, at);
        const bool isReadable = isDistance(word) || isVoid(word);
        const std::int64_t value = DecodeFrame(word);
        const bool goesOn = phase.fitting > 0 && isReadable && isNear(value, phase.newest);
        phase.fitting = goesOn || isPassedOver(word) || fits(word) ? phase.fitting + 1 : 0;
        phase.readable += phase.isReadable && isReadable ? 1 : 0;
        phase.leading += phase.leading == phase.words && phase.fitting > 0 ? 1 : 0;
        ++phase.words;
        phase.isPossible = phase.isPossible && isDistance(word);
        phase.isReadable = phase.isReadable && isReadable;
        phase.distances += isDistance(word) ? 1 : 0;
        phase.markers += isMarker(word) ? 1 : 0;
        if (!isVoid(word) && !isFlat(word)) {
            followRun(phase, isReadable && !isMarker(word), value);
        }
        phase.newest = value;
    }
    return phase;
}

/// Frames in a row that agree with each other; the longest row counts.
void clsFrameStep::followRun(Phase& phase, bool isDistance, std::int64_t value)
{
    Run& run = phase.present;
    Run& tail = phase.tail;
    if (!isDistance) {
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

/// A missing echo may come at any time. Distances just below 0 look like a marker when out of step, so only among them
/// do the earlier frames count.
bool clsFrameStep::isCertainMarker() const
{
    return m_sinceMarker < kMarkerMemory || m_newer.frames == 0 || m_last < -kLikeMarker_mm || m_last >= 0;
}

bool clsFrameStep::isInRange(std::uint32_t word) const
{
    if (isMarker(word)) {
        return m_sinceMarker < kMarkerMemory;
    }
    const std::int64_t value = DecodeFrame(word);
    return m_older.Holds(value) || m_newer.Holds(value);
}

/// A frame whose distance lies near the last ones.
bool clsFrameStep::fits(std::uint32_t word) const
{
    return isDistance(word) && (isInRange(word) || isNearLast(word));
}

bool clsFrameStep::isNearLast(std::uint32_t word) const
{
    return m_newer.frames > 0 && !isMarker(word) && isNear(DecodeFrame(word), m_last);
}

/// In step, but it looks like a shifted frame, too: only this frame is lost, and the step is kept.
bool clsFrameStep::isPassedOver(std::uint32_t word) const
{
    return isVoid(word) && (isInRange(word) || isNearLast(word));
}

/// Whether `word`, which damage may have turned into `rest`, lies much nearer to the last distance than `first` does.
bool clsFrameStep::isNearer(std::uint32_t word, std::uint32_t first) const
{
    if (isMarker(word)) {
        return true; // a missing echo may come at any time
    }
    const bool isReadable = isVoid(word) || isDistance(word);
    return isReadable && m_newer.frames > 0 &&
           std::abs(DecodeFrame(word) - m_last) * kCloser < std::abs(DecodeFrame(first) - m_last);
}

/// Whether `rest` can be a frame that has lost a byte, followed by others.
bool clsFrameStep::canHaveLost(std::string_view rest) const
{
    constexpr std::size_t kLeft = kFrameSize - 1;
    for (std::size_t lost = 0; lost < kFrameSize; ++lost) {
        std::string frame(rest.substr(0, kLeft));
        frame.insert(lost, 1, '\0');
        for (int byte = 0; byte < 256; ++byte) {
            frame[lost] = static_cast<char>(byte);
            const std::uint32_t word = FrameWord(frame, 0);
            if (word != FrameWord(rest, 0) && isNearer(word, FrameWord(rest, 0))) {
                return true;
            }
        }
    }
    return false;
}

/// Whether `rest` can be a frame with a foreign byte before or inside it; its end may still be missing.
bool clsFrameStep::canHaveGained(std::string_view rest) const
{
    for (std::size_t gained = 0; gained < kFrameSize; ++gained) {
        std::string frame(rest.substr(0, kFrameSize + 1));
        frame.erase(gained, 1);
        for (const char end : {'\0', '\x7F', '\xFF'}) {
            const std::string whole = frame.size() == kFrameSize ? frame : frame + end;
            if (isNearer(FrameWord(whole, 0), FrameWord(rest, 0))) {
                return true;
            }
        }
    }
    return false;
}

/// Whether a lost or foreign byte in the first frame would also produce these bytes.
bool clsFrameStep::canBeDamaged(std::string_view rest, const Phases& phases) const
{
    const bool mayHaveGained = rest.size() <= kFrameSize || phaseOf(rest, kFrameSize + 1).isReadable;
    return (phases[3].isReadable && canHaveLost(rest)) || (mayHaveGained && canHaveGained(rest));
}

/// Whether damage in the first frame or before it would also produce these bytes.
bool clsFrameStep::isExplained(std::string_view rest, const Phases& phases) const
{
    const bool canBeShifted = std::any_of(phases.begin() + 1, phases.end(), [](const Phase& phase) {
        return phase.fitting > 0 || (phase.words > 0 && phase.isPossible);
    });
    return canBeShifted || canBeDamaged(rest, phases);
}

/// A distance that stands still with 0 as its lowest byte keeps producing such words; out of step, noise moves them
/// far.
bool clsFrameStep::passesOver(std::uint32_t word)
{
    m_voids.Include(DecodeFrame(word));
    return m_voids.upper - m_voids.lower < kNoise_mm;
}

void clsFrameStep::forgetPast()
{
    m_older = m_newer = {};
}

void clsFrameStep::remember(std::uint32_t word)
{
    m_sinceMarker = isMarker(word) ? 0 : m_hasPast ? std::min(m_sinceMarker + 1, kMarkerMemory) : kMarkerMemory;
    m_hasPast = true;
    if (isMarker(word)) {
        return;
    }
    const std::int64_t before = std::exchange(m_last, DecodeFrame(word));
    if (!m_newer.Holds(m_last) && m_older.Holds(m_last)) {
        std::swap(m_older, m_newer); // back at the earlier place
    } else if (m_newer.frames == kBlock || (m_newer.frames > 0 && !m_newer.Holds(m_last) && !isNear(m_last, before))) {
        m_older = std::exchange(m_newer, {});
    }
    m_newer.Include(m_last);
}
