#include "session/clsWriteCircle.h"

#include "sensor/Fields.h"
#include "sensor/modRVQComm.h"
#include "session/clsWriteKeeper.h"

#include <algorithm>

namespace {

constexpr int kReadings = 4;   // answered or not
constexpr int kDumps = 3;      // of which two in succession have to be the same
constexpr int kTimeOuts = 2;   // after which a sensor that has sent nothing at all is not asked again
constexpr int kLateSteps = 20; // in which a dump comes that was given up

/// The value that a frame carries: a list sends its default for a value that it does not hold.
std::int32_t sentValue(const ParameterDef& row, std::int32_t value)
{
    const bool isListed = value >= 0 && static_cast<std::size_t>(value) < row.wireTexts.size();
    return row.wireTexts.empty() || isListed ? value : row.defaultValue;
}

bool isPlanned(const std::vector<std::string>& codes, std::string_view code)
{
    return std::ranges::find(codes, code) != codes.end();
}

} // namespace

clsWriteCircle::clsWriteCircle(clsRVQ& device, WriteKind kind)
    : m_device(device), m_sensor(device.Identity()), m_opening(device.Openings()),
      m_wasUnstored(device.UnstoredChanges()), m_holdsUnstored(m_wasUnstored)
{
    m_report.kind = kind;
    m_report.before = m_fresh = device.Parameters();
    m_report.serialNo = m_sensor.SerialNo;
}

Operation<bool> clsWriteCircle::ReadingBefore()
{
    const std::int32_t dialogue = m_device.CommStatus();
    Operation<std::optional<Dump>> work = reading(m_report.before);
    const std::optional<Dump> dump = co_await work;
    if (!dump) {
        if (dialogue == DialogueIdle && m_device.PortIsOpen() && m_device.Openings() == m_opening) {
            m_device.ResumeIdle(); // a tick has taken the silence for a lost connection
        }
        co_return false;
    }
    m_report.isSameSensor = m_sensor.SerialNo.empty() || dump->serialNo == m_sensor.SerialNo;
    if (m_report.isSameSensor) {
        m_fresh = dump->set;
        // What is to be stored is what the operator knows of. A sensor that has lost it must not store without a word.
        m_report.before = m_report.kind == WriteKind::Store && !m_sensor.SerialNo.empty() ? m_report.before : m_fresh;
        m_report.serialNo = dump->serialNo;
        m_sensor = m_device.Identity();
        Watch();
        m_wasUnstored = m_holdsUnstored;
    }
    co_return true;
}

Operation<bool> clsWriteCircle::ReadingAfter()
{
    m_isReadBackTried = true;
    Watch();
    Operation<std::optional<Dump>> work = reading(expectedAfter());
    const std::optional<Dump> dump = co_await work;
    if (!m_hasSeenOther) {
        Watch();
    }
    m_report.isReadBack = dump.has_value();
    if (dump) {
        // A sensor that does not say its number is the same one as long as the port has stayed open.
        m_report.isSameSensor =
            m_sensor.SerialNo.empty() ? m_device.Openings() == m_opening : dump->serialNo == m_sensor.SerialNo;
        m_report.after = dump->set;
        m_isReadBack = dump->hasValue;
    }
    co_return m_report.isReadBack;
}

Operation<std::optional<clsWriteCircle::Dump>> clsWriteCircle::reading(std::optional<ParameterSet> expected)
{
    std::optional<Dump> last;
    int timeOuts = 0;
    bool isSilent = false;
    m_isHeard = false;
    m_hasSeenOther = false;
    int dumps = 0;
    for (int i = 0; i < kReadings && dumps < kDumps && !isSilent && m_device.PortIsOpen() && !m_device.Wait().Ended;
         ++i) {
        m_device.ForgetEvents();
        m_device.SendCommand(Request::Configuration);
        Operation<bool> waiting = awaitingDump();
        if (!co_await waiting) {
            isSilent = !m_isHeard && ++timeOuts == kTimeOuts;
            continue;
        }
        ++dumps;
        const Dump dump = takeDump();
        m_hasSeenOther = m_hasSeenOther || dump.serialNo != m_sensor.SerialNo;
        if (isAsExpected(dump, expected) || last == dump) {
            co_return dump;
        }
        m_isContradictory = last.has_value();
        last = dump;
    }
    co_return std::nullopt;
}

/// Waits beyond the deadline too: an answer that comes late would be taken for the answer to the next command.
Operation<bool> clsWriteCircle::awaitingDump()
{
    const modRVQComm::AskingScope silenceIsNoFailure(m_device);
    for (int late = 0; late < kLateSteps;) {
        while (const auto event = m_device.TakeEvent()) {
            if (*event == EventConfiguration) {
                co_return true;
            }
        }
        if (!m_device.PortIsOpen() || m_device.Wait().Ended) {
            co_return false;
        }
        late += m_device.CurrentTime() > m_device.FailTime() ? 1 : 0;
        co_await NextStep{};
        m_isHeard = m_isHeard || !m_device.NewInData().empty();
    }
    co_return false;
}

clsWriteCircle::Dump clsWriteCircle::takeDump() const
{
    Dump dump{m_device.Identity().SerialNo, m_device.Parameters(), {}};
    for (const ParameterDef& row : ParameterTable()) {
        dump.hasValue[row] = m_device.IsInDump(row);
        if (!dump.hasValue[row]) {
            dump.set.*row.value = m_fresh.*row.value; // the device may have a value that was only sent
        }
    }
    return dump;
}

bool clsWriteCircle::isAsExpected(const Dump& dump, const std::optional<ParameterSet>& expected) const
{
    return expected && dump.serialNo == m_sensor.SerialNo &&
           std::ranges::all_of(ParameterTable(), [&](const ParameterDef& row) {
               const bool isReported = row.value != &ParameterSet::NodeAddress && IsReported(row, *expected, m_sensor);
               return dump.hasValue[row] ? dump.set.*row.value == expected.value().*row.value : !isReported;
           });
}

/// Empty when the program does not know: the factory defaults are the sensor's own.
std::optional<ParameterSet> clsWriteCircle::expectedAfter() const
{
    if (verdictOf("000") == EventAcknowledged) {
        return std::nullopt;
    }
    ParameterSet expected = m_fresh;
    for (const auto& [code, verdict] : m_verdicts) {
        if (const ParameterDef* row = ParameterOfCode(code); row != nullptr && verdict == EventAcknowledged) {
            expected.*row->value = sentValue(*row, m_values.*row->value);
        }
    }
    return expected;
}

void clsWriteCircle::Plan(const ParameterSet& values, std::vector<std::string> codes)
{
    m_values = values;
    m_codes = std::move(codes);
}

bool clsWriteCircle::BackUp(clsWriteKeeper& keeper)
{
    Configuration before;
    before.Parameters = m_fresh;
    before.Identity = m_sensor;
    const double now = m_device.CurrentTime();
    const auto file = m_report.kind == WriteKind::Single ? keeper.BackUpFirst(before, now, m_report.noBackup)
                                                         : keeper.BackUp(before, now, m_report.noBackup);
    m_report.backup = file.value_or(std::filesystem::path());
    return !m_report.noBackup;
}

/// An announcement makes the device forget that something is not stored.
void clsWriteCircle::Watch()
{
    m_hasRestarted = m_hasRestarted || (m_holdsUnstored && !m_device.UnstoredChanges());
    m_holdsUnstored = m_device.UnstoredChanges();
    m_mayReach = m_device.PortIsOpen();
}

void clsWriteCircle::Note(std::string_view code, std::int32_t verdict)
{
    if (verdict == EventNoAnswer && !m_mayReach) {
        return; // it was not even sent
    }
    m_isSent = true;
    if (verdict == EventAcknowledged) {
        m_holdsUnstored = m_device.UnstoredChanges(); // also right after "999"
    } else {
        Watch();
    }
    std::erase_if(m_verdicts, [&](const auto& noted) { return noted.first == code; });
    m_verdicts.emplace_back(code, verdict);
}

/// EventNone for a frame that was not sent.
std::int32_t clsWriteCircle::verdictOf(std::string_view code) const
{
    const auto noted = std::ranges::find(m_verdicts, code, &std::pair<std::string, std::int32_t>::first);
    return noted == m_verdicts.end() ? static_cast<std::int32_t>(EventNone) : noted->second;
}

std::size_t clsWriteCircle::Acknowledged() const
{
    return static_cast<std::size_t>(
        std::ranges::count(m_verdicts, EventAcknowledged, &std::pair<std::string, std::int32_t>::second));
}

WriteReport clsWriteCircle::Report(TextId reason, bool isCancelled)
{
    m_report.time = m_device.CurrentTime();
    m_report.frames = m_codes.size();
    m_report.isCancelled = isCancelled;
    if (!m_report.isSameSensor) {
        m_report.isReadBack = false; // it was, but says nothing about the sensor that was written to
    }
    fillValues();
    m_report.hasRestarted = m_report.isSameSensor && hasLostValues();
    m_report.sent = countSent();
    m_report.result = resultOf();
    m_report.reason = m_report.result == WriteResult::Failed ? reason : TextId::None;
    const bool isUntouched =
        m_report.isReadBack && m_report.after == m_report.before && !m_wasUnstored && !hasSet(ValueOutcome::Unknown);
    m_report.isUnstored = m_report.isSameSensor && m_holdsUnstored && !m_report.hasRestarted && !isUntouched;
    return m_report;
}

void clsWriteCircle::fillValues()
{
    std::vector<const ParameterDef*> rows;
    for (const ParameterDef& row : ParameterTable()) {
        rows.push_back(&row);
    }
    std::ranges::sort(rows, {}, &ParameterDef::codeId);
    m_report.values.clear();
    for (const ParameterDef* row : rows) {
        const ValueReport value = valueReport(*row);
        const bool isNamed = value.outcome == ValueOutcome::Refused || value.outcome == ValueOutcome::Unanswered ||
                             value.outcome == ValueOutcome::Rounded || value.outcome == ValueOutcome::Unasked ||
                             value.outcome == ValueOutcome::Unknown;
        if (value.wanted != value.before || isNamed) {
            m_report.values.push_back(value);
        }
    }
}

ValueReport clsWriteCircle::valueReport(const ParameterDef& row) const
{
    ValueReport value{.row = &row, .before = m_report.before.*row.value, .wanted = m_report.before.*row.value};
    if (m_report.isReadBack && m_isReadBack[row]) {
        value.readBack = m_report.after.*row.value;
    }
    if (isPlanned(m_codes, row.code)) {
        value.wanted = sentValue(row, m_values.*row.value);
        value.outcome = outcomeOf(value);
        return value;
    }
    if (value.readBack == value.before || !value.readBack) {
        value.outcome = ValueOutcome::Taken; // as it was
    } else if (areDefaultsTaken()) {
        value.wanted = *value.readBack;
        value.outcome = ValueOutcome::Taken;
    } else {
        value.outcome = ValueOutcome::Unasked;
    }
    return value;
}

ValueOutcome clsWriteCircle::outcomeOf(const ValueReport& value) const
{
    const std::int32_t verdict = verdictOf(value.row->code);
    const bool isAsBefore = value.readBack == value.before;
    if (verdict == EventNone) {
        return isAsBefore || !value.readBack ? ValueOutcome::NotSent : ValueOutcome::Unasked;
    }
    if (value.readBack == value.wanted && (verdict == EventAcknowledged || !isAsBefore)) {
        return ValueOutcome::Taken;
    }
    if (verdict != EventAcknowledged) {
        return verdict == EventRefused ? ValueOutcome::Refused : ValueOutcome::Unanswered;
    }
    if (!value.readBack) {
        return ValueOutcome::Unknown;
    }
    return isAsBefore ? ValueOutcome::Ignored : ValueOutcome::Rounded;
}

bool clsWriteCircle::hasSet(ValueOutcome outcome) const
{
    return std::ranges::any_of(m_report.values, [&](const ValueReport& value) { return value.outcome == outcome; });
}

/// An announcement says so, unless the values show that nothing was lost. Without one nothing proves it: values that
/// are as before may just as well have been ignored.
bool clsWriteCircle::hasLostValues() const
{
    if (!m_hasRestarted || !m_report.isReadBack) {
        return m_hasRestarted;
    }
    const bool hasKept = hasSet(ValueOutcome::Taken), hasIgnored = hasSet(ValueOutcome::Ignored);
    const bool hasOther = hasSet(ValueOutcome::Unasked) || hasSet(ValueOutcome::Rounded);
    const bool isNoProof = m_report.kind == WriteKind::Defaults && m_wasUnstored; // it may be what was stored
    return hasIgnored || hasOther || isNoProof || (!hasKept && m_report.kind != WriteKind::Store);
}

/// Whether values that have changed are the factory defaults; the acknowledgement may have been lost. After a restart
/// they may be what the sensor had stored.
bool clsWriteCircle::areDefaultsTaken() const
{
    const std::int32_t verdict = verdictOf("000");
    return verdict == EventAcknowledged ? !(m_hasRestarted && m_wasUnstored)
                                        : verdict == EventNoAnswer && !m_wasUnstored;
}

/// Whether all was usual before, so that factory defaults had nothing to change.
bool clsWriteCircle::isAtDefaults() const
{
    return std::ranges::all_of(ParameterTable(), [this](const ParameterDef& row) {
        return !m_isReadBack[row] || m_report.before.*row.value == row.missingKeyValue.value_or(row.defaultValue);
    });
}

std::size_t clsWriteCircle::countSent() const
{
    if (areDefaultsTaken() && !m_report.values.empty()) {
        return m_codes.size();
    }
    return static_cast<std::size_t>(std::ranges::count_if(m_codes, [this](const std::string& code) {
        const auto value =
            std::ranges::find_if(m_report.values, [&](const ValueReport& v) { return v.row->code == code; });
        const bool isTaken = value != m_report.values.end() && value->outcome == ValueOutcome::Taken;
        return isTaken || verdictOf(code) == EventAcknowledged;
    }));
}

WriteResult clsWriteCircle::resultOf() const
{
    if (!m_report.isSameSensor || !m_report.isReadBack || m_report.isCancelled || m_report.sent < m_report.frames) {
        return WriteResult::Failed;
    }
    const bool isAsWanted = std::ranges::all_of(
        m_report.values, [](const ValueReport& value) { return value.outcome == ValueOutcome::Taken; });
    const bool isInEffect = m_report.kind != WriteKind::Defaults ||
                            (!m_report.hasRestarted && (!m_report.values.empty() || isAtDefaults()));
    return isAsWanted && isInEffect ? WriteResult::Verified : WriteResult::Differs;
}
