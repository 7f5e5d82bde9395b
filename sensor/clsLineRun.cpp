#include "sensor/clsLineRun.h"

#include "base/Days.h"
#include "base/Numbers.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kShortestSingleLine = 12;
constexpr std::size_t kMostWaiting = 64; // lines of 0 behind a line that waits
constexpr double kMemory_s = 3.0;        // after a longer gap a distance may lie anywhere
constexpr std::int32_t kCertain = 3;     // lines of a new shape, wherever their distances lie
constexpr double kSame = 0.35;
constexpr double kLargestPlace = 1e9;
constexpr double kNear = 0.45; // a lost or foreign digit before the point changes a number by at least half

/// Two numbers may differ by this part of the larger one. A sign that appears or disappears moves a number further.
bool isNear(double a, double b)
{
    return std::abs(a - b) < kNear * std::max(std::abs(a), std::abs(b)) || a == b;
}

/// Whether one digit more or fewer before the point brings a number near another one. The larger number has just
/// gained or lost a digit, so the length of its lines does not tell.
bool isOneDigitOff(double value, double other)
{
    const auto isSame = [&](double number) { return std::abs(number - std::abs(other)) < kSame * std::abs(other); };
    const double whole = std::floor(std::abs(value));
    if (value * other < 0.0 && isSame(std::abs(value))) {
        return true; // or a sign
    }
    for (double place = 1.0; place <= std::max(whole, 1.0) * 10.0 && place < kLargestPlace; place *= 10.0) {
        const double low = std::fmod(whole, place), high = std::floor(whole / place);
        for (int digit = 0; digit < 10; ++digit) {
            if (isSame((high * 10.0 + digit) * place + low)) {
                return true;
            }
        }
        if (isSame(std::floor(high / 10.0) * place + low)) {
            return true;
        }
    }
    return false;
}

/// The name of what a line says in place of a distance.
std::optional<std::string_view> markerIn(std::string_view bytes)
{
    if (bytes.find('E') != std::string_view::npos) {
        for (const auto& [mark, name] : {std::pair("No Echo", "No Echo"), std::pair("TempErr", "TempError")}) {
            if (Contains(bytes, mark)) {
                return name;
            }
        }
    }
    return std::nullopt;
}

/// Blanks in front of a number show that nothing of it is missing.
bool isWhole(const modReplySteps::DistanceLine& line, std::size_t size)
{
    return line.isPadded && size >= kShortestSingleLine;
}

bool isZero(std::string_view bytes)
{
    const auto line = modReplySteps::ReadDistanceLine(bytes);
    return line && line->value == 0.0;
}

} // namespace

clsLineRun::Found clsLineRun::Take(std::string_view bytes, double now, const Foreign& isForeign, clsSampleList& samples)
{
    Look look{bytes, now, isForeign, samples};
    Found& found = look.found;
    if (m_held) {
        m_held->isOfThisLook = false;
    }
    const bool hadRun = m_hasRun;
    Verdict candidate = Verdict::None;
    bool pairFound = false;
    for (;;) {
        if (takeAlike(look, hadRun)) {
            candidate = Verdict::Counts;
            pairFound = true;
        }
        const std::size_t first = bytes.find(kLineEnd, found.consumed);
        if (first == std::string_view::npos) {
            break;
        }
        const std::size_t second = bytes.find(kLineEnd, first + kLineEnd.size());
        if (second == std::string_view::npos) {
            // After a pair, the odd line stays for the next evaluation.
            if (!pairFound) {
                const bool isShort = first - found.consumed < kShortestSingleLine;
                if (!isShort || m_hasRun) {
                    candidate = lookAt(found.consumed, first, look);
                } else {
                    noteShort(found.consumed, first, look);
                }
                candidate = isShort ? Verdict::None : candidate;
                found.consumed = first + kLineEnd.size();
            }
            break;
        }
        candidate = lookAtPair(first, second, hadRun, look);
        found.consumed = second + kLineEnd.size();
        pairFound = true;
    }
    // If the candidate is damaged, the newest good line before it counts.
    if (candidate == Verdict::None || candidate == Verdict::Held || (candidate == Verdict::Damaged && !hadRun)) {
        found.newest.reset();
    }
    return std::move(found);
}

clsLineRun::Found clsLineRun::TakeSamples(std::string_view bytes, double now, const Foreign& isForeign,
                                          clsSampleList& samples)
{
    Look look{bytes, now, isForeign, samples};
    std::size_t start = 0;
    for (std::size_t end = bytes.find(kLineEnd); end != std::string_view::npos; end = bytes.find(kLineEnd, start)) {
        const std::string_view line = bytes.substr(start, end - start);
        if (m_hasRun || isZero(line)) {
            lookAt(start, end, look);
        } else if (!takeMarker(line, end + kLineEnd.size(), look)) {
            const std::size_t next = end + kLineEnd.size();
            noteFirst({line, look.samples.TimeOf(next), look.samples.PositionOf(next)}, look.samples.Size(), look);
        }
        start = end + kLineEnd.size();
    }
    return std::move(look.found);
}

std::size_t clsLineRun::UsualSize() const
{
    return (m_hasRun ? m_shape.length : kShortestSingleLine) + kLineEnd.size();
}

/// Several lines without their ends are one.
std::int32_t clsLineRun::repliesIn(std::size_t line) const
{
    const std::size_t size = UsualSize();
    return static_cast<std::int32_t>(std::max<std::size_t>((line + kLineEnd.size() + size / 2) / size, 1));
}

/// The fast path for the usual case: pairs of lines like the last one. Padded lines that begin a look without a run
/// need no look of their own, because their second lines would say the same.
bool clsLineRun::takeAlike(Look& look, bool hadRun)
{
    const std::size_t size = m_form.Size();
    const bool isSure = hadRun || (m_shape.isPadded && size >= kShortestSingleLine + kLineEnd.size());
    if (!m_hasRun || m_held || !m_waiting.empty() || size == 0 || !isSure) {
        return false;
    }
    const std::size_t start = look.found.consumed;
    const auto fits = [&](const clsLineForm::Number& number, double before) {
        return number.hasValue && (m_shape.isPadded || isNear(number.value, before));
    };
    const char* line = look.bytes.data() + start;
    clsLineForm::Number last;
    while (look.bytes.size() - look.found.consumed >= 2 * size) {
        const clsLineForm::Number one = m_form.Read(line), two = m_form.Read(line + size);
        if (!fits(one, m_lastValue) || !fits(two, one.value)) {
            break;
        }
        look.found.damaged +=
            2 - look.samples.AddLines(one.value, two.value, m_shape.unitIndex, look.found.consumed, size);
        m_lastValue = two.value;
        last = two;
        look.found.consumed += 2 * size;
        line += 2 * size;
    }
    if (look.found.consumed == start) {
        return false;
    }
    m_isFirst = false;
    m_lastTime = look.now;
    m_shape.hasBlank = last.blanks > 0;
    m_shape.isPadded = m_shape.isPadded || (!m_variesInLength && last.blanks > 1);
    look.found.newest = Line{std::string(Trimmed({line - size, size})), last.value};
    return true;
}

clsLineRun::Verdict clsLineRun::lookAtPair(std::size_t first, std::size_t second, bool hadRun, Look& look)
{
    const std::size_t start = std::exchange(look.found.consumed, first + kLineEnd.size());
    const std::string_view line = look.bytes.substr(start, first - start);
    if (hadRun || isZero(line)) {
        lookAt(start, first, look);
        return lookAt(look.found.consumed, second, look);
    }
    // Not a candidate and perhaps half a line, so no run begins with it: the second one tells whether it is a sample.
    const auto read = modReplySteps::ReadDistanceLine(line);
    if (!holdsSample() && (read || markerIn(line))) {
        settle(read ? shapeOf(*read, line) : m_shape, read ? read->value : 0.0, look);
    }
    const bool isFirst = std::exchange(m_isFirst, false);
    const std::size_t before = look.samples.Size();
    const Passed passed{line, look.samples.TimeOf(look.found.consumed), look.samples.PositionOf(look.found.consumed)};
    const Verdict verdict = lookAt(look.found.consumed, second, look);
    m_isFirst = isFirst;
    noteFirst(passed, before, look);
    return verdict;
}

/// A single short line does not count, and the first one may be half a line. But two that are alike make a run, with
/// which damaged lines are compared.
void clsLineRun::noteShort(std::size_t start, std::size_t lineEnd, Look& look)
{
    const std::string_view bytes = look.bytes.substr(start, lineEnd - start);
    const auto line = modReplySteps::ReadDistanceLine(bytes);
    const Shape shape = line ? shapeOf(*line, bytes) : Shape{};
    const bool isAlikeBoth = line && m_short && isAlike(*m_short, shape);
    const std::size_t end = lineEnd + kLineEnd.size();
    if (line && line->value == 0.0) {
        lookAt(start, lineEnd, look);
    } else if (line && !look.isForeign(bytes)) {
        const bool isFirst = std::exchange(m_isFirst, false);
        settle(shape, line->value, look);
        wait({line->value, shape, look.samples.TimeOf(end), isFirst, look.samples.PositionOf(end)}, look);
        if (isAlikeBoth) {
            m_waiting.back().isFirst = false;
            settle(shape, line->value, look);
        }
    } else if (!line && !takeMarker(bytes, end, look)) {
        noteFirst({bytes, 0.0, look.samples.PositionOf(end)}, look.samples.Size(), look);
    }
    if (isAlikeBoth) {
        m_hasRun = true;
        m_lastValue = line->value;
        m_lastTime = look.now;
        m_shape = shape;
    }
    m_short = line ? std::optional(shape) : std::nullopt;
}

clsLineRun::Shape clsLineRun::shapeOf(const modReplySteps::DistanceLine& line, std::string_view bytes)
{
    return {line.decimals, std::string(line.unit), line.unitIndex, bytes.size(),
            line.isPadded, bytes.starts_with(' '), line.hasZeros};
}

/// What becomes of a line with which no run begins. The first one of all may be a part of a line: it is no loss.
void clsLineRun::noteFirst(const Passed& line, std::size_t at, Look& look)
{
    const bool isFirst = std::exchange(m_isFirst, false);
    if (Trimmed(line.bytes).empty()) {
        return;
    }
    if (look.isForeign(line.bytes)) {
        look.samples.Tell(line.position, TrafficKind::LateAnswer);
    } else if (!takeFirst(line, at, look) && !isFirst) {
        look.found.damaged += repliesIn(line.bytes.size());
        look.samples.Tell(line.position, TrafficKind::Damaged);
    }
}

/// The next line decides.
void clsLineRun::wait(Waiting line, Look& look)
{
    look.samples.Tell(line.position, TrafficKind::Waiting);
    m_waiting.push_back(std::move(line));
}

/// The sample of a line in front of another one, if it is whole or the two are alike. It goes in front of that one's.
bool clsLineRun::takeFirst(const Passed& passed, std::size_t at, Look& look)
{
    const auto& [bytes, time, position] = passed;
    const auto line = modReplySteps::ReadDistanceLine(bytes);
    std::optional<Measurement> sample;
    if (markerIn(bytes)) {
        sample = look.samples.MeasurementOf(0.0, std::nullopt, time);
    } else if (line && (m_hasRun ? isAlike(m_shape, shapeOf(*line, bytes)) &&
                                       (m_shape.isPadded || isNear(line->value, m_lastValue))
                                 : isWhole(*line, bytes.size()))) {
        sample = look.samples.MeasurementOf(line->value, line->unitIndex, time);
    }
    if (sample) {
        look.samples.Insert(at, *sample);
        look.samples.Tell(position, *sample);
    }
    return sample.has_value();
}

/// Looks at the line from `start` to `lineEnd`.
clsLineRun::Verdict clsLineRun::lookAt(std::size_t start, std::size_t lineEnd, Look& look)
{
    const std::string_view bytes = look.bytes.substr(start, lineEnd - start);
    const std::size_t end = lineEnd + kLineEnd.size();
    const bool isFirst = std::exchange(m_isFirst, false);
    if (takeMarker(bytes, end, look)) {
        return Verdict::Counts;
    }
    const std::string_view text = Trimmed(bytes);
    if (text.empty()) {
        return Verdict::None;
    }
    const auto line = modReplySteps::ReadDistanceLine(bytes);
    const Shape shape = line ? shapeOf(*line, bytes) : Shape{};
    // A verdict may be a bare number, and a distance may equal the number of a command.
    const bool isOfRun = line && m_hasRun && isAlike(m_shape, shape);
    if (!isOfRun && look.isForeign(bytes)) {
        look.samples.Tell(look.samples.PositionOf(end), TrafficKind::LateAnswer);
        return Verdict::Damaged; // no distance is lost
    }
    if (!line) {
        look.found.damaged += repliesIn(bytes.size());
        look.samples.Tell(look.samples.PositionOf(end), TrafficKind::Damaged);
        return Verdict::Damaged;
    }
    if (line->value == 0.0) {
        takeZero(text, shape, end, isFirst, look);
        return Verdict::None;
    }
    const double time = look.samples.TimeOf(end);
    const Verdict verdict = judge({.line = {std::string(text), line->value},
                                   .shape = shape,
                                   .time = time,
                                   .position = look.samples.PositionOf(end)},
                                  look);
    if (verdict == Verdict::Counts) {
        m_form.Learn(bytes, *line);
    }
    return verdict;
}

/// A line of 0 is not a value that is shown, but a reply: no echo. Behind a line that waits, it waits too, so that the
/// samples stay in order; but not for ever, as a sensor may go on sending 0.
void clsLineRun::takeZero(std::string_view text, Shape shape, std::size_t end, bool isFirst, Look& look)
{
    const std::int64_t position = look.samples.PositionOf(end);
    if (!text.substr(text.find_first_not_of("+-")).starts_with('0')) {
        ++look.found.damaged;
        look.samples.Tell(position, TrafficKind::Damaged);
        return;
    }
    const double time = look.samples.TimeOf(end);
    if (holdsSample() && m_waiting.size() < kMostWaiting) {
        wait({0.0, std::move(shape), time, false, position}, look);
        return;
    }
    if (holdsSample()) {
        m_held->isGivenUp = true;
        ++look.found.damaged;
        look.samples.Tell(m_held->position, TrafficKind::Damaged);
    }
    const bool isKnown = m_hasRun ? isAlike(m_shape, shape) : shape.isPadded && shape.length >= kShortestSingleLine;
    if (settle(shape, 0.0, look)) {
        m_zeros = shape;
    }
    if (isKnown || (m_zeros && isAlike(*m_zeros, shape))) {
        look.samples.Add(0.0, 0, end);
    } else {
        wait({0.0, std::move(shape), time, isFirst, position}, look);
    }
}

bool clsLineRun::Waiting::IsLike(double next) const
{
    return isNear(value, next) || (value == 0.0 && !isFirst);
}

/// Decides about the lines that wait: a line of this shape has come. Returns whether the last of them becomes a sample.
bool clsLineRun::settle(const Shape& shape, double value, Look& look)
{
    bool isSample = false;
    for (const Waiting& line : m_waiting) {
        const bool isAccepted = line.IsLike(value) && isAlike(shape, line.shape);
        const bool isNumber = line.value != 0.0;
        const auto sample =
            look.samples.MeasurementOf(line.value, isNumber ? line.shape.unitIndex : std::nullopt, line.time);
        isSample = isAccepted && sample;
        if (isSample) {
            look.samples.Add(*sample);
            look.samples.Tell(line.position, *sample);
        } else if (!line.isFirst) {
            ++look.found.damaged;
            look.samples.Tell(line.position, TrafficKind::Damaged);
        } else {
            look.samples.Tell(line.position, TrafficKind::Unexplained);
        }
    }
    m_waiting.clear();
    return isSample;
}

/// Takes a line that stands for a missing distance.
bool clsLineRun::takeMarker(std::string_view bytes, std::size_t end, Look& look)
{
    const std::optional<std::string_view> name = markerIn(bytes);
    if (!name) {
        return false;
    }
    dropHeld(look);
    settle(m_shape, 0.0, look);
    look.found.newest = Line{std::string(*name), 0.0};
    if (Contains(bytes, "TempErr!")) {
        look.samples.AddTempError(end);
    } else {
        look.samples.Add(0.0, 0, end);
    }
    return true;
}

clsLineRun::Verdict clsLineRun::judge(Seen seen, Look& look)
{
    if (!m_hasRun) {
        return count(std::move(seen), look);
    }
    seen.isOtherShape = !isAlike(m_shape, seen.shape);
    if (!seen.isOtherShape && !isOutlier(seen, look.now)) {
        if (m_held && !m_held->isOtherShape && isNear(m_held->line.value, seen.line.value)) {
            releaseHeld(look);
        }
        dropHeld(look);
        return count(std::move(seen), look);
    }
    if (m_held && m_held->isOtherShape == seen.isOtherShape && confirms(seen, *m_held)) {
        if (seen.isOtherShape && !look.found.isNewShape) {
            look.found.isNewShape = true;
            look.found.newShapeAt = look.samples.Size();
            look.found.newShapeEnd = m_held->position;
        }
        releaseHeld(look);
        // If lines of one unit and as many decimals change their length, they are not padded after all.
        m_variesInLength = m_shape.decimals == seen.shape.decimals && m_shape.unit == seen.shape.unit;
        m_shape.isPadded = false;
        return count(std::move(seen), look);
    }
    if (m_held && isAlike(m_held->shape, seen.shape)) {
        seen.repeated = m_held->repeated + 1;
    }
    dropHeld(look);
    settle(seen.shape, seen.line.value, look);
    look.samples.Tell(seen.position, TrafficKind::Waiting);
    m_held = std::move(seen);
    return Verdict::Held;
}

clsLineRun::Verdict clsLineRun::count(Seen seen, Look& look)
{
    m_variesInLength = m_variesInLength || (m_hasRun && m_shape.length != seen.shape.length);
    const bool isPadded = m_hasRun && m_shape.isPadded;
    const bool hadZeros = m_hasRun && m_shape.hasZeros;
    settle(seen.shape, seen.line.value, look);
    addSample(seen, look);
    m_shape = std::move(seen.shape);
    m_shape.hasZeros = m_shape.hasZeros || hadZeros;
    m_shape.isPadded = !m_variesInLength && (isPadded || m_shape.isPadded);
    m_hasRun = true;
    m_lastValue = seen.line.value;
    m_lastTime = look.now;
    look.found.newest = std::move(seen.line);
    return Verdict::Counts;
}

void clsLineRun::addSample(const Seen& seen, Look& look)
{
    if (const auto sample = look.samples.MeasurementOf(seen.line.value, seen.shape.unitIndex, seen.time)) {
        look.samples.Add(*sample);
        look.samples.Tell(seen.position, *sample);
    } else {
        ++look.found.damaged; // noise
        look.samples.Tell(seen.position, TrafficKind::Damaged);
    }
}

/// Only the newest line of a look counts, so the held line is reported separately only if it is from an earlier look.
void clsLineRun::releaseHeld(Look& look)
{
    if (holdsSample()) {
        addSample(*m_held, look);
    } else {
        look.found.damaged += m_held->isGivenUp ? 0 : 1;
        look.samples.Tell(m_held->position, TrafficKind::Damaged);
    }
    settle(m_held->shape, m_held->line.value, look);
    if (!m_held->isStale && !m_held->isOfThisLook) {
        look.found.held = std::move(m_held->line);
    }
    m_held.reset();
}

void clsLineRun::dropHeld(Look& look)
{
    if (m_held) {
        look.found.damaged += m_held->isGivenUp ? 0 : 1;
        look.samples.Tell(m_held->position, TrafficKind::Damaged);
        m_held.reset();
        settle(m_shape, 0.0, look);
    }
}

bool clsLineRun::isAlike(const Shape& run, const Shape& shape) const
{
    const bool lengthCounts = !m_variesInLength && (run.isPadded || shape.isPadded);
    return run.decimals == shape.decimals && run.unit == shape.unit && (!shape.hasZeros || run.hasZeros) &&
           (!lengthCounts || run.length == shape.length);
}

/// Whether a line of the same new shape or length confirms the held one.
bool clsLineRun::confirms(const Seen& seen, const Seen& held) const
{
    if (!seen.isOtherShape) {
        return isNear(seen.line.value, held.line.value) ||
               (seen.shape.length == held.shape.length && !isNear(seen.line.value, m_lastValue));
    }
    return isAlike(held.shape, seen.shape) &&
           (isNear(seen.line.value, held.line.value) || held.repeated + 1 >= kCertain);
}

bool clsLineRun::isOutlier(const Seen& seen, double now) const
{
    const double value = seen.line.value;
    return !m_shape.isPadded && !isNear(value, m_lastValue) && (now - m_lastTime) * kSecondsPerDay < kMemory_s &&
           (seen.shape.length != m_shape.length || (!seen.shape.hasBlank && isOneDigitOff(value, m_lastValue)));
}
