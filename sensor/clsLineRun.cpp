#include "sensor/clsLineRun.h"

#include "base/Days.h"
#include "base/Numbers.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kShortestSingleLine = 12;
constexpr double kMemory_s = 3.0;    // after a longer gap a distance may lie anywhere
constexpr std::int32_t kCertain = 3; // lines of a new shape, wherever their distances lie
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

} // namespace

clsLineRun::Found clsLineRun::Take(std::string_view bytes, double now, const Foreign& isForeign)
{
    Found found;
    if (m_held) {
        m_held->isOfThisLook = false;
    }
    const bool hadRun = m_hasRun;
    Verdict candidate = Verdict::None;
    bool pairFound = false;
    for (;;) {
        const std::size_t first = bytes.find(kLineEnd, found.consumed);
        if (first == std::string_view::npos) {
            break;
        }
        const std::size_t start = first + kLineEnd.size();
        const std::size_t second = bytes.find(kLineEnd, start);
        const std::string_view line = bytes.substr(found.consumed, first - found.consumed);
        if (second == std::string_view::npos) {
            // After a pair, the odd line stays for the next evaluation.
            if (!pairFound) {
                const bool isShort = line.size() < kShortestSingleLine;
                if (!isShort || m_hasRun) {
                    candidate = look(line, now, isForeign, found);
                } else {
                    noteShort(line, now);
                }
                candidate = isShort ? Verdict::None : candidate;
                found.consumed = start;
            }
            break;
        }
        if (hadRun) {
            look(line, now, isForeign, found); // not a candidate and perhaps half a line, so no run begins with it
        }
        candidate = look(bytes.substr(start, second - start), now, isForeign, found);
        found.consumed = second + kLineEnd.size();
        pairFound = true;
    }
    // If the candidate is damaged, the newest good line before it counts.
    if (candidate == Verdict::None || candidate == Verdict::Held || (candidate == Verdict::Damaged && !hadRun)) {
        found.newest.reset();
    }
    return found;
}

/// A single short line does not count, and the first one may be half a line. But two that are alike make a run, with
/// which damaged lines are compared.
void clsLineRun::noteShort(std::string_view bytes, double now)
{
    const auto line = modReplySteps::ReadDistanceLine(bytes);
    Shape shape = line ? shapeOf(*line, bytes) : Shape{};
    if (line && m_short && isAlike(*m_short, shape)) {
        m_hasRun = true;
        m_lastValue = line->value;
        m_lastTime = now;
        m_shape = shape;
    }
    m_short = line ? std::optional(std::move(shape)) : std::nullopt;
}

clsLineRun::Shape clsLineRun::shapeOf(const modReplySteps::DistanceLine& line, std::string_view bytes)
{
    return {line.decimals, std::string(line.unit), bytes.size(), line.isPadded, bytes.starts_with(' '), line.hasZeros};
}

clsLineRun::Verdict clsLineRun::look(std::string_view bytes, double now, const Foreign& isForeign, Found& found)
{
    const bool mayBeMarker = bytes.find('E') != std::string_view::npos;
    for (const auto& [mark, name] : {std::pair("No Echo", "No Echo"), std::pair("TempErr", "TempError")}) {
        if (mayBeMarker && Contains(bytes, mark)) {
            dropHeld(found);
            found.newest = Line{name, 0.0};
            return Verdict::Counts;
        }
    }
    const std::string_view text = Trimmed(bytes);
    if (text.empty()) {
        return Verdict::None;
    }
    const auto line = modReplySteps::ReadDistanceLine(bytes);
    const Shape shape = line ? shapeOf(*line, bytes) : Shape{};
    // A verdict may be a bare number, and a distance may equal the number of a command.
    const bool isOfRun = line && m_hasRun && isAlike(m_shape, shape);
    if (!isOfRun && isForeign(bytes)) {
        return Verdict::Damaged; // no distance is lost
    }
    if (!line) {
        ++found.damaged;
        return Verdict::Damaged;
    }
    if (line->value == 0.0) {
        return Verdict::None;
    }
    return judge({.line = {std::string(text), line->value}, .shape = shape}, now, found);
}

clsLineRun::Verdict clsLineRun::judge(Seen seen, double now, Found& found)
{
    if (!m_hasRun) {
        return count(std::move(seen), now, found);
    }
    seen.isOtherShape = !isAlike(m_shape, seen.shape);
    if (!seen.isOtherShape && !isOutlier(seen, now)) {
        if (m_held && !m_held->isOtherShape && isNear(m_held->line.value, seen.line.value)) {
            releaseHeld(found);
        }
        dropHeld(found);
        return count(std::move(seen), now, found);
    }
    if (m_held && m_held->isOtherShape == seen.isOtherShape && confirms(seen, *m_held)) {
        releaseHeld(found);
        found.isNewShape = found.isNewShape || seen.isOtherShape;
        // If lines of one unit and as many decimals change their length, they are not padded after all.
        m_variesInLength = m_shape.decimals == seen.shape.decimals && m_shape.unit == seen.shape.unit;
        m_shape.isPadded = false;
        return count(std::move(seen), now, found);
    }
    if (m_held && isAlike(m_held->shape, seen.shape)) {
        seen.repeated = m_held->repeated + 1;
    }
    dropHeld(found);
    m_held = std::move(seen);
    return Verdict::Held;
}

clsLineRun::Verdict clsLineRun::count(Seen seen, double now, Found& found)
{
    m_variesInLength = m_variesInLength || (m_hasRun && m_shape.length != seen.shape.length);
    const bool isPadded = m_hasRun && m_shape.isPadded;
    const bool hadZeros = m_hasRun && m_shape.hasZeros;
    m_shape = std::move(seen.shape);
    m_shape.hasZeros = m_shape.hasZeros || hadZeros;
    m_shape.isPadded = !m_variesInLength && (isPadded || m_shape.isPadded);
    m_hasRun = true;
    m_lastValue = seen.line.value;
    m_lastTime = now;
    found.newest = std::move(seen.line);
    return Verdict::Counts;
}

/// Only the newest line of a look counts, so the held line is reported separately only if it is from an earlier look.
void clsLineRun::releaseHeld(Found& found)
{
    if (!m_held->isOfThisLook && !m_held->isStale) {
        found.held = std::move(m_held->line);
    }
    m_held.reset();
}

void clsLineRun::dropHeld(Found& found)
{
    found.damaged += m_held ? 1 : 0;
    m_held.reset();
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
