// The distances in what the sensor has sent, in its four formats: which are shown now, which wait, and which are given
// up.
#include "base/Days.h"
#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "sensor/clsRVQ.h"
#include "sensor/modReplySteps.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double kDistanceTime_ms = 3000.0; // the longest gap between two distances
constexpr double kPause_ms = 40.0;          // a tick of the loop, less the delay of a busy machine
constexpr std::string_view kTempErr = "TempErr!", kLineEnd = "\r\n";
constexpr double kVerdictMemory_ms = 10000.0; // a verdict on a frame may come this late

} // namespace

/// The answer to "G" is decoded as while measuring.
void clsRVQ::evaluateSingleValue()
{
    if (Contains(m_inBuffer, kTempErr)) {
        evaluateTempErr();
    } else {
        evaluateDistance();
    }
    if (m_newDistance) {
        forgetRequest();
    }
}

/// The error is the value, and the bytes are dropped. The complete lines around it are samples; those behind the last
/// error belong to the next evaluation, so that the last sample is the value. The beginning of another line stays: its
/// end alone would be another number.
void clsRVQ::evaluateTempErr()
{
    const std::size_t end = m_inBuffer.rfind(kTempErr) + kTempErr.size();
    beginSamples();
    if (!hasBinaryFormat()) {
        followFormat();
        const std::size_t before = m_samples.Size();
        noteLines(m_lines.TakeSamples(m_inBuffer, m_currentTime, foreignLines(), m_samples), before);
    }
    const bool isWhole = m_inBuffer.find(kLineEnd, end) != std::string::npos;
    if (hasBinaryFormat() || !isWhole) {
        m_samples.AddTempError(end);
    } else {
        std::size_t count = m_samples.Size();
        while (count > 0 && m_samples.All()[count - 1].value_mm != kMarkerTempError) {
            --count;
        }
        m_samples.Defer(count);
    }
    acceptDistance(kTempErrValue, kMarkerTempError);
    m_tempStatus = 0;
    if (hasBinaryFormat()) {
        const std::size_t open = cutTexts();
        noteSkipped(m_inBuffer.size() - open); // frames around the text
    }
    m_inBuffer.erase(0, isWhole && !hasBinaryFormat() ? m_inBuffer.rfind(kLineEnd) + kLineEnd.size() : m_inBuffer.npos);
}

void clsRVQ::evaluateDistance()
{
    if (isPending(Request::Start)) {
        setDeadline(kDistanceTime_ms);
        setRequest("m");
    }
    if (m_parameters.OutputFormat == FormatBinary) {
        takeBinaryDistance();
    } else if (m_parameters.OutputFormat == FormatBinaryCrc) {
        takeCrcDistance();
    } else {
        takeAsciiDistance();
    }
}

void clsRVQ::takeAsciiDistance()
{
    followFormat();
    beginSamples();
    const std::size_t before = m_samples.Size();
    const clsLineRun::Found found = m_lines.Take(m_inBuffer, m_currentTime, foreignLines(), m_samples);
    m_inBuffer.erase(0, found.consumed);
    m_sDistance.clear();
    noteLines(found, before);
    std::deque<Distance> distances;
    for (const auto& line : {found.held, found.newest}) {
        if (line && !m_unitInDoubt) {
            addDistance(*line, distances);
        }
    }
    acceptDistances(std::move(distances));
    m_skipped = m_samples.Size() > before ? 0 : m_skipped;
    if (!m_newDistance && m_currentTime >= m_pending.deadline) {
        // Deliberate: at the deadline itself, not after it as everywhere else.
        giveUpBytes();
        askForStepBack();
    }
}

/// While the unit is in doubt, a number is no measurement and counts as damaged.
void clsRVQ::noteLines(const clsLineRun::Found& found, std::size_t before)
{
    m_damagedReplies += found.damaged;
    if (m_unitInDoubt) {
        m_damagedReplies += m_samples.DropDistances(before);
        rejectDistances(m_samples.PositionOf(0));
    } else if (found.isNewShape && m_parameters.OutputFormat == FormatAscii) {
        m_unitInDoubt = true;
        m_damagedReplies += m_samples.DropDistances(found.newShapeAt);
        rejectDistances(found.newShapeEnd);
    }
}

void clsRVQ::takeBinaryDistance()
{
    followFormat();
    const std::size_t open = cutTexts(); // a late verdict or any other text is not a distance
    const bool paused = hasPaused();
    if (paused && open > 0) {
        if (m_traffic != nullptr) {
            m_traffic->Cut(positionOf(m_inBuffer.size() - open), positionOf(m_inBuffer.size()));
        }
        m_inBuffer.resize(m_inBuffer.size() - open);
    }
    const std::string_view frames = std::string_view(m_inBuffer).substr(0, m_inBuffer.size() - (paused ? 0 : open));
    beginSamples();
    const std::size_t before = m_samples.Total();
    const clsFrameStep::Found found = m_frames.Take(frames, paused, m_samples);
    m_inBuffer.erase(0, found.consumed);
    settle(0, TrafficKind::Damaged);
    // A frame whose lowest byte is 0 keeps the step, but is no sample unless it continues a row. It cannot begin one:
    // bytes of 0 look alike in every step, and a line without a sensor sends them, too. So it counts as damaged.
    const auto taken = static_cast<std::int64_t>(found.consumed / modReplySteps::kFrameSize);
    const auto sampled = static_cast<std::int64_t>(m_samples.Total() - before);
    m_damagedReplies += std::max<std::int64_t>(found.damaged, taken - sampled);
    std::deque<Distance> distances;
    for (const std::int32_t held_mm : found.held_mm) {
        addDistance(held_mm, distances);
    }
    if (found.newest_mm) {
        addDistance(*found.newest_mm, distances);
    }
    acceptDistances(std::move(distances));
    m_skipped = m_newDistance ? 0 : m_skipped;
    if (!m_newDistance && pastDeadline() && !owesNothing()) {
        giveUpRequest();
    }
}

/// Nothing has come for a whole tick, so everything that was sent is there. A network may part what the line has sent
/// in one piece, by about its delay.
bool clsRVQ::hasPaused() const
{
    return m_newInData.empty() && m_currentTime - m_lastArrival >= (kPause_ms + Delay_ms()) / kMsPerDay;
}

/// Lines in another unit or format have another shape, so the memory of earlier ones is dropped.
void clsRVQ::followFormat()
{
    if (m_format != m_parameters.OutputFormat || m_unit != m_parameters.DistanceUnit) {
        m_format = m_parameters.OutputFormat;
        m_unit = m_parameters.DistanceUnit;
        m_lines.Forget();
        m_frames.Forget();
        m_lastCrc_mm.reset();
    }
}

clsLineRun::Foreign clsRVQ::foreignLines() const
{
    return [this](std::string_view line) { return isVerdict(line); };
}

/// Whether a line answers one of the frames sent lately: it names the code together with "O" or "E", or repeats the
/// code or the frame.
bool clsRVQ::isVerdict(std::string_view line) const
{
    const std::string_view text = Trimmed(line);
    const bool hasLetter = Contains(text, "O") || Contains(text, "E");
    return std::ranges::any_of(m_sentFrames, [&](const SentFrame& frame) {
        const std::string_view code = std::string_view(frame.text).substr(0, 3);
        const bool isLate = m_currentTime - frame.time <= kVerdictMemory_ms / kMsPerDay;
        return isLate && (text == code || text == frame.text || (hasLetter && Contains(text, code)));
    });
}

void clsRVQ::addDistance(std::int32_t value_mm, std::deque<Distance>& distances) const
{
    distances.push_back({{}, value_mm / UnitOf(m_parameters.DistanceUnit).millimetres, value_mm, {}});
}

void clsRVQ::addDistance(const clsLineRun::Line& line, std::deque<Distance>& distances) const
{
    // A number beyond 32 bits of millimetres is noise.
    const auto read = modReplySteps::ReadDistanceLine(line.text);
    const std::optional<std::int32_t> unit = read ? read->unitIndex : std::nullopt;
    if (const auto value_mm =
            RoundHalfToEven(line.value * UnitOf(unit.value_or(m_parameters.DistanceUnit)).millimetres)) {
        distances.push_back({line.text, line.value, *value_mm, unit});
    }
}

/// The oldest is reported now; the others are due.
void clsRVQ::acceptDistances(std::deque<Distance> distances)
{
    if (!distances.empty()) {
        m_due = std::move(distances);
        tellDue();
    }
}

void clsRVQ::tellDue()
{
    const Distance distance = std::move(m_due.front());
    m_due.pop_front();
    m_sDistance = distance.text;
    // A sensor whose settings have changed says so in its lines first.
    m_unit = m_parameters.DistanceUnit = distance.unit.value_or(m_parameters.DistanceUnit);
    acceptDistance(distance.value, distance.value_mm);
}

void clsRVQ::takeCrcDistance()
{
    followFormat();
    beginSamples();
    const modReplySteps::CrcDistances found = modReplySteps::FindCrcDistances(m_inBuffer);
    if (!found.newest_mm && pastDeadline() && !owesNothing()) {
        // Bytes without any good frame are given up; otherwise they are skipped up to the good frame behind the damage.
        const std::size_t good = modReplySteps::FirstCrcFrame(m_inBuffer);
        if (good == std::string::npos) {
            giveUpRequest();
        } else {
            m_inBuffer.erase(0, good);
            settle(0, TrafficKind::DamagedCrc);
            reportCrcError(good);
        }
        return;
    }
    if (m_outOfStep && found.newest_mm) {
        const auto inStep = modReplySteps::IsCrcFrameInStep(m_inBuffer, m_lastCrc_mm);
        if (!inStep && !hasPaused()) {
            return; // the next frame will tell
        }
        if (!inStep.value_or(false)) {
            m_inBuffer.erase(0, 1);
            settle(0, TrafficKind::DamagedCrc);
            reportCrcError(1);
            return;
        }
    }
    takeCrcFrames(0, found.consumed / modReplySteps::kCrcFrameSize);
    m_inBuffer.erase(0, found.consumed);
    settle(0, TrafficKind::DamagedCrc);
    if (found.newest_mm) {
        acceptCrcDistance(*found.newest_mm);
    }
    if (found.crcError) {
        reportCrcError(1);
    }
}

void clsRVQ::takeCrcFrames(std::size_t at, std::size_t count)
{
    m_samples.AddFrames(m_inBuffer, at, count, modReplySteps::kCrcFrameSize);
    m_skipped = count > 0 ? 0 : m_skipped;
}

void clsRVQ::acceptCrcDistance(std::int32_t value_mm)
{
    m_outOfStep = false;
    m_lastCrc_mm = value_mm;
    acceptDistance(value_mm / UnitOf(m_parameters.DistanceUnit).millimetres, value_mm);
}

void clsRVQ::reportCrcError(std::size_t skipped)
{
    m_eventNr = EventCrcError;
    m_outOfStep = true;
    noteSkipped(skipped);
}

/// Counts bytes that were no reply as the replies that they would have been: at least one, because a damaged reply may
/// be some bytes longer or shorter than it was.
void clsRVQ::noteSkipped(std::size_t bytes)
{
    const std::size_t size = replySize();
    const auto lost = [&](std::size_t skipped) {
        return skipped == 0 ? 0 : static_cast<std::int64_t>(std::max<std::size_t>((skipped + size / 2) / size, 1));
    };
    m_damagedReplies += std::max<std::int64_t>(lost(m_skipped + bytes) - lost(m_skipped), 0);
    m_skipped += bytes;
}

std::size_t clsRVQ::replySize() const
{
    if (!hasBinaryFormat()) {
        return m_lines.UsualSize();
    }
    return m_parameters.OutputFormat == FormatBinaryCrc ? modReplySteps::kCrcFrameSize : modReplySteps::kFrameSize;
}

/// Whether what comes is a measurement. What comes otherwise is discarded without being counted: answers that are not
/// understood and, behind a stop or any other command of our own, measurements that this command has made worthless.
bool clsRVQ::expectsDistances() const
{
    const bool isMeasuring =
        m_commStatus == DialogueMeasuring && !isPending(Request::Stop) && !isPending(Request::Temperature);
    return isMeasuring || (m_commStatus == DialogueIdle && isPending(Request::Single));
}

/// Such bytes will not become a reply any more.
void clsRVQ::noteGivenUp(std::size_t bytes)
{
    settle(bytes, lostKind());
    if (expectsDistances()) {
        noteSkipped(bytes);
    }
}

void clsRVQ::giveUpBytes()
{
    noteGivenUp(m_inBuffer.size());
    m_inBuffer.clear();
}

void clsRVQ::EvaluateBehindDamage()
{
    if (isPending(Request::Temperature)) {
        const std::size_t good = modReplySteps::FirstCrcTemperature(m_inBuffer);
        if (good != std::string::npos) {
            settle(good, TrafficKind::DamagedCrc);
            m_inBuffer.erase(0, good);
            takeBinaryTemperature();
            m_journal.Append(m_eventNr);
        }
        return;
    }
    const modReplySteps::CrcDistances found = modReplySteps::FindCrcDistancesInDamage(m_inBuffer, m_lastCrc_mm);
    beginSamples();
    std::size_t end = 0;
    for (const std::size_t start : found.starts) {
        noteSkipped(start - end);
        takeCrcFrames(start, 1);
        end = start + modReplySteps::kCrcFrameSize;
    }
    noteSkipped(found.consumed - end);
    m_inBuffer.erase(0, found.consumed);
    settle(0, TrafficKind::DamagedCrc);
    if (found.newest_mm) {
        acceptCrcDistance(*found.newest_mm);
        m_outOfStep = found.crcError;
        m_eventNr = EventCrcError;
        if (isPending(Request::Single)) {
            forgetRequest();
        }
    }
}

/// Where the byte in front of which `index` stands ends among all that were received. Bytes leave the buffer at its
/// front.
std::int64_t clsRVQ::positionOf(std::size_t index) const
{
    const auto collected = static_cast<std::int64_t>(m_collected.size());
    return m_arrivals.Received() - collected - static_cast<std::int64_t>(m_inBuffer.size() - index);
}

/// Samples of the bytes in the buffer follow.
void clsRVQ::beginSamples()
{
    if (m_traffic != nullptr) {
        m_traffic->Between(m_parameters.OutputFormat == FormatBinaryCrc ? TrafficKind::DamagedCrc
                           : hasBinaryFormat()                          ? TrafficKind::Damaged
                                                                        : TrafficKind::Unexplained);
    }
    m_samples.LookAt({.position = positionOf(0),
                      .byteTime = byteTime(),
                      .now = m_currentTime,
                      .unit = m_parameters.DistanceUnit,
                      .format = m_parameters.OutputFormat});
}

void clsRVQ::acceptDistance(double value, std::int32_t value_mm)
{
    m_measValue = value;
    m_measValue_mm = value_mm;
    m_eventNr = EventDistance;
    m_newDistance = true;
    setDeadline(kDistanceTime_ms);
}
