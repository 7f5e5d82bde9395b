#include "sensor/clsFrameStep.h"

#include "sensor/modReplySteps.h"

#include <algorithm>
#include <utility>

using namespace modFramePhases;
using modReplySteps::DecodeFrame;
using modReplySteps::FrameWord;
using modReplySteps::kFrameSize;

namespace {

constexpr std::size_t kWindow = 64; // bytes that a decision looks at, and the most that are held
constexpr std::size_t kNearby = 32; // bytes that it looks at first
constexpr std::size_t kSlide = 16;  // bytes given up where such a window holds nothing
constexpr std::int32_t kMostLooks = 9;
constexpr std::size_t kCertain = 3; // agreeing frames needed to leave a step in which all words are frames

} // namespace

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
        if (IsMarker(word) ? m_past.IsCertainMarker() : IsDistance(word) && m_past.IsNearLast(word)) {
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
    if (m_past.newer.frames == 0 || !m_pending.empty()) {
        return at;
    }
    const std::string_view bytes = look.bytes;
    const std::size_t first = at;
    std::int32_t frames = m_past.newer.frames;
    Range all = m_past.newer.range, wide = m_past.newer.wide;
    std::int64_t last = m_past.last;
    std::optional<Range> full;
    for (; at + kFrameSize <= bytes.size(); at += kFrameSize) {
        const std::uint32_t word = FrameWord(bytes, at);
        const std::int64_t value = DecodeFrame(word);
        if (!IsPlainDistance(word) || value < wide.lower || value > wide.upper || !IsNear(value, last)) {
            break;
        }
        if (frames++ == kBlock) {
            full = all;
            all = {value, value};
            wide = Widened(all);
            frames = 1;
        }
        all.lower = std::min(all.lower, value);
        all.upper = std::max(all.upper, value);
        last = value;
    }
    if (const std::size_t taken = (at - first) / kFrameSize; taken > 0) {
        look.samples.AddFrames(bytes, first, taken, kFrameSize);
        look.found.newest_mm = static_cast<std::int32_t>(last);
        m_past.RememberRun(taken, full, {frames, all, Widened(all)}, last);
        m_voids = {};
    }
    return at;
}

/// A frame that looks like a shifted one, too, but what is around it shows that it is none. Nothing that is shifted by
/// one damage has four bytes of 0 in front of a frame.
bool clsFrameStep::isVoidInStep(std::string_view bytes, std::size_t at) const
{
    const std::uint32_t word = FrameWord(bytes, at);
    if (m_past.IsPassedOver(word)) {
        return true;
    }
    const std::size_t next = at + kFrameSize;
    return word == 0 && next + kFrameSize <= bytes.size() && IsDistance(FrameWord(bytes, next)) &&
           m_past.IsNearLast(FrameWord(bytes, next));
}

/// The newest frame of each look counts.
void clsFrameStep::accept(std::size_t at, Look& look)
{
    const std::uint32_t word = FrameWord(look.bytes, at);
    if (!IsVoid(word) || (m_past.isKnown && (word == 0 || m_past.IsPassedOver(word)))) {
        look.samples.AddFrames(look.bytes, at, 1, kFrameSize);
    }
    if (IsVoid(word)) {
        return;
    }
    m_voids = {};
    m_past.Remember(word);
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
        phases[offset] = PhaseOf(rest, offset, m_past);
    }
    const bool anyFits = std::ranges::any_of(phases, [](const Phase& phase) { return phase.fitting > 0; });
    if (!anyFits && IsVoid(FrameWord(rest, 0)) && phases[0].isReadable && passesOver(FrameWord(rest, 0))) {
        return Verdict::Accept;
    }
    if (!m_past.isKnown) {
        return judgeWithoutPast(rest, paused, move);
    }
    if (paused) {
        return judgeComplete(rest, phases, move);
    }
    const bool goesOn = phases[0].isReadable && IsDistance(FrameWord(rest, 0));
    if (goesOn && phases[0].isPossible && phases[0].markers > 0) {
        return Verdict::Accept; // tested on all four bytes: nothing that is shifted looks like this
    }
    if (const auto offset = BestFitting(phases)) {
        const std::size_t enough = *offset == 0 || goesOn ? kFew : 1;
        const bool isSure = phases[*offset].fitting >= enough || (*offset == 0 && !CanBeDamaged(rest, phases, m_past));
        if (isSure) {
            return moveTo(*offset, phases[*offset].fitting, rest, phases, move);
        }
    }
    if (goesOn && !IsExplained(rest, phases, m_past)) {
        return Verdict::Accept;
    }
    const auto offset = anyFits ? std::nullopt : Closest(phases);
    if (offset && (!goesOn || *offset == 0 || phases[*offset].agreeing.frames >= kCertain)) {
        const Phase& phase = phases[*offset];
        const std::size_t first = (phase.agreeing.frames < kFew ? phase.longest : phase.agreeing).first;
        if (*offset == 0 && first == 0) {
            return Verdict::Accept;
        }
        m_past.Forget(); // the distance has changed together with the damage
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
    if (offset == 0 && phase.isReadable && IsDistance(FrameWord(rest, 0))) {
        return Verdict::Accept;
    }
    move = rest.size();
    return Verdict::Move;
}

/// Nothing is known about the sensor's distances: the first frame counts unless it cannot be a distance.
clsFrameStep::Verdict clsFrameStep::judgeWithoutPast(std::string_view rest, bool paused, std::size_t& move) const
{
    if (IsDistance(FrameWord(rest, 0))) {
        return Verdict::Accept;
    }
    std::size_t possible = 0;
    for (std::size_t offset = 1; offset < kFrameSize && offset + kFrameSize <= rest.size(); ++offset) {
        const bool isOut = paused && offset != rest.size() % kFrameSize;
        if (!isOut && PhaseOf(rest, offset, m_past).isPossible) {
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

/// A distance that stands still with 0 as its lowest byte keeps producing such words; out of step, noise moves them
/// far.
bool clsFrameStep::passesOver(std::uint32_t word)
{
    m_voids.Include(DecodeFrame(word));
    return m_voids.upper - m_voids.lower < kNoise_mm;
}
