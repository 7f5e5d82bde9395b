// The evaluation of what the sensor has sent: which reply it is in the present state of the dialogue, and what follows.
// It goes down the table in clsRVQ.h line by line.
#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "sensor/clsRVQ.h"
#include "sensor/modReplySteps.h"

#include <utility>

namespace {

constexpr std::size_t kShortReply = 5;   // bytes; up to this length the evaluation waits until the deadline
constexpr std::size_t kLongestText = 64; // several times the length of what a sensor says about itself

/// A text of the sensor, cut to a length that can be shown and stored: noise before the line end can have any length.
std::string textOf(std::string_view bytes)
{
    return std::string(bytes.substr(0, kLongestText));
}

} // namespace

void clsRVQ::EvaluateInBuffer()
{
    m_eventNr = EventNone;
    m_newDistance = false;
    m_samples.Clear();
    if (!m_due.empty()) {
        tellDue();
        return;
    }
    m_samples.Renew();
    Request followUp = Request::None;
    if (modReplySteps::HoldsAnnouncement(m_inBuffer)) {
        m_mismatch = Mismatch::None;
        m_unstoredChanges = false; // a restarted sensor works with what it has stored
        noteAnnouncement();
    }
    if (m_inBuffer.empty()) {
        followUp = evaluateSilence();
    } else if (m_commStatus == DialogueNone) {
        followUp = evaluateWithoutDialogue();
    } else if (m_commStatus == DialogueIdle) {
        followUp = evaluateIdle();
    } else {
        followUp = evaluateMeasuring();
    }
    if (followUp != Request::None) {
        sendFollowUp(followUp);
    }
    boundInBuffer();
    settle(0, TrafficKind::Unexplained);
    if (m_eventNr == EventNoAnswer || (m_eventNr >= EventTemperature && m_eventNr <= EventRefused)) {
        m_journal.Append(m_eventNr);
    }
}

/// Nothing has arrived: `kRequests` says what a passed deadline means.
Request clsRVQ::evaluateSilence()
{
    if (!pastDeadline() || m_wait.Asking) {
        return Request::None;
    }
    switch (RowOf(m_pending.request).silence[static_cast<std::size_t>(m_commStatus)]) {
    case Silence::Probe:
        return Request::Probe;
    case Silence::Poll:
        return Request::Temperature;
    case Silence::GiveUp:
        giveUpRequest();
        break;
    case Silence::StepBack:
        askForStepBack();
        break;
    case Silence::Done:
        forgetRequest();
        break;
    case Silence::Leave:
        break;
    case Silence::Stop:
        m_eventNr = EventNoAnswer;
        return Request::Stop;
    case Silence::LostStart:
        giveUpStart();
        break;
    }
    return Request::None;
}

/// The start was lost on the line. It is reported once, so that the loop leaves the measuring state. A sensor with
/// single output sends whenever it likes, so its measurement goes on.
void clsRVQ::giveUpStart()
{
    if (owesNothing()) {
        setRequest("m");
        m_eventNr = EventNoAnswer;
    } else {
        giveUpRequest();
    }
}

Request clsRVQ::evaluateWithoutDialogue()
{
    if (modReplySteps::HoldsAnnouncement(m_inBuffer)) {
        return Request::Configuration;
    }
    if (evaluateDump() || evaluateTextTemperature()) {
        return Request::None;
    }
    return pastDeadline() ? Request::Probe : Request::None;
}

Request clsRVQ::evaluateIdle()
{
    const bool announced = modReplySteps::HoldsAnnouncement(m_inBuffer);
    if (isPending(Request::Single) && !announced) {
        // Before all other replies: "No Echo" contains an "E", and a binary frame is shorter than they are.
        evaluateSingleValue();
        return Request::None;
    }
    if (m_inBuffer.size() <= kShortReply && !pastDeadline() && !isWholeAnswerToT()) {
        return Request::None;
    }
    if (evaluateDump()) {
        return Request::None;
    }
    const bool polled = isPending(Request::Temperature);
    if (evaluateTextTemperature()) {
        // The sensor is taken for a binary one but has answered a poll in text: its format has changed behind our back,
        // and no distance would ever be understood.
        const bool misread = polled && hasBinaryFormat() && m_eventNr == EventTemperature && !m_wait.Running;
        if (!misread || isConfirmedFormat()) {
            return Request::None;
        }
        m_mismatch = Mismatch::Asked;
        return Request::Configuration;
    }
    if (polled && hasBinaryFormat() && !announced) {
        // Before the verdicts, which never answer a "T": as bytes, 69 and 79 degrees are "E" and "O".
        evaluateAnswerToT();
        return Request::None;
    }
    if (Contains(m_inBuffer, "O")) {
        return evaluateVerdict(EventAcknowledged);
    }
    if (Contains(m_inBuffer, "E")) {
        return evaluateVerdict(EventRefused);
    }
    return pastDeadline() ? evaluateUnreadable() : Request::None;
}

/// A binary temperature is shorter than other replies, so it normally waits for the deadline. When a command waits for
/// it, a pause is enough.
bool clsRVQ::isWholeAnswerToT() const
{
    const bool isAwaited = m_wait.Running && isPending(Request::Temperature) && hasBinaryFormat() && hasPaused();
    if (!isAwaited) {
        return false;
    }
    const bool withCrc = m_parameters.OutputFormat == FormatBinaryCrc;
    const auto reply = modReplySteps::StepBinaryTemperature(m_inBuffer, withCrc);
    return reply.consumed == m_inBuffer.size() && !reply.crcError && (reply.status == 0 || reply.status == 1);
}

/// An "O" or an "E" has come. It may be the start of a dump, so the bytes stay until the deadline.
Request clsRVQ::evaluateVerdict(std::int32_t event)
{
    noteLineWith(event == EventAcknowledged ? "O" : "E",
                 event == EventAcknowledged ? TrafficKind::Acknowledged : TrafficKind::Refused);
    if (!pastDeadline()) {
        m_eventNr = event;
        return Request::None;
    }
    if (isPending(Request::Stop)) {
        return Request::Configuration;
    }
    if (modReplySteps::HoldsAnnouncement(m_inBuffer)) {
        return evaluateUnreadable();
    }
    if (isPending(Request::Configuration)) {
        giveUpRequest();
        return Request::None;
    }
    m_eventNr = event;
    return returnToPolling();
}

/// The bytes are no reply and the deadline has passed: a request may be unanswered, or the sensor may have restarted.
Request clsRVQ::evaluateUnreadable()
{
    if (isPending(Request::Stop)) {
        return Request::Configuration;
    }
    if (isPending(Request::ByHand) && !modReplySteps::HoldsAnnouncement(m_inBuffer)) {
        return returnToPolling(); // whatever it is, it is shown; the operator knows what it means
    }
    if (!isPending(Request::None) || modReplySteps::HoldsAnnouncement(m_inBuffer)) {
        // The bytes stay: once the loop has fallen back to no dialogue, an announcement among them is understood.
        askForStepBack();
        return Request::None;
    }
    // Noise that no request has caused. A few bytes of it are not worth reporting.
    m_eventNr = m_inBuffer.size() > kShortReply ? EventNoAnswer : EventNone;
    return returnToPolling();
}

/// Discards request and bytes, so that the idle poll can follow. If it happens again without a request, the sensor
/// measures although it should be idle: then the poll must not wait for a silence that never comes.
Request clsRVQ::returnToPolling()
{
    const bool streaming = isPending(Request::None) && m_reported;
    m_reported = true;
    forgetRequest();
    m_inBuffer.clear();
    return streaming ? Request::Temperature : Request::None;
}

Request clsRVQ::evaluateMeasuring()
{
    if (isPending(Request::Temperature)) {
        evaluateAnswerToT();
        return Request::None;
    }
    if (isPending(Request::Stop)) {
        settle(m_inBuffer.size(), TrafficKind::Discarded);
        m_inBuffer.clear(); // still in flight after the stop, which nobody wants any more: no loss
        return evaluateSilence();
    }
    if (const std::size_t at = m_inBuffer.find("RVQ ready"); at != std::string::npos) {
        // The sensor has restarted. The idle state would not see the announcement behind distances.
        noteGivenUp(at);
        m_inBuffer.erase(0, at);
        m_commStatus = DialogueIdle;
        return Request::None;
    }
    // Only a whole reply counts: the three bytes may also be noise or part of a binary distance.
    if (Contains(m_inBuffer, "C, ") && takeTextTemperature()) {
        return Request::None;
    }
    const bool saidBefore = isPending(Request::None);
    if (Contains(m_inBuffer, "TempErr!")) {
        evaluateTempErr();
    } else {
        evaluateDistance();
    }
    // A loop that takes no step back (temperature error) would get this for ever: ask, as after silence.
    return m_eventNr == EventNoAnswer && saidBefore && !owesNothing() ? Request::Temperature : Request::None;
}

/// True when a dump has begun, complete or not.
bool clsRVQ::evaluateDump()
{
    const modReplySteps::DumpSpan dump = modReplySteps::FindDump(m_inBuffer);
    if (!dump.begun) {
        return false;
    }
    if (!dump.text.empty()) {
        const std::string_view all(m_inBuffer);
        noteView(all.substr(static_cast<std::size_t>(dump.text.data() - all.data())), TrafficKind::Configuration);
        readDump(dump.text);
        m_commStatus = DialogueIdle;
        m_eventNr = EventConfiguration;
        forgetRequest();
        m_inBuffer.clear();
    } else if (pastDeadline() && !m_wait.Asking) {
        giveUpRequest();
    }
    return true;
}

/// True when a temperature in text has begun, complete or not.
bool clsRVQ::evaluateTextTemperature()
{
    if (!Contains(m_inBuffer, " C,")) {
        return false;
    }
    if (!takeTextTemperature() && pastDeadline()) {
        giveUpRequest();
    }
    return true;
}

bool clsRVQ::takeTextTemperature()
{
    const modReplySteps::TextTemperature reply = modReplySteps::FindTextTemperature(m_inBuffer);
    if (reply.consumed == 0) {
        return false;
    }
    settle(static_cast<std::size_t>(reply.text.data() - m_inBuffer.data()), TrafficKind::Discarded);
    note(0, reply.consumed, TrafficKind::Temperature);
    m_sTemperature = textOf(reply.text);
    m_tempStatus = Contains(m_sTemperature, "NOK") ? 0 : 1;
    m_inBuffer.erase(0, reply.consumed);
    acceptTemperature();
    return true;
}

void clsRVQ::evaluateAnswerToT()
{
    const bool inText = hasBinaryFormat() && modReplySteps::FindTextTemperature(m_inBuffer).consumed > 0;
    if (m_commStatus == DialogueMeasuring && inText && !isConfirmedFormat()) {
        m_commStatus = DialogueIdle; // not the known format: the idle state understands it and asks
        return;
    }
    if (hasBinaryFormat() && !inText) {
        takeBinaryTemperature();
    } else {
        takeTextTemperature();
    }
    if (m_eventNr != EventTemperature && pastDeadline()) {
        giveUpRequest();
    }
}

void clsRVQ::takeBinaryTemperature()
{
    const auto reply = modReplySteps::StepBinaryTemperature(m_inBuffer, m_parameters.OutputFormat == FormatBinaryCrc);
    note(0, reply.consumed, reply.crcError ? TrafficKind::DamagedCrc : TrafficKind::Temperature);
    m_inBuffer.erase(0, reply.consumed);
    if (reply.crcError) {
        m_eventNr = EventCrcError;
        ++m_damagedReplies;
    } else if (reply.consumed > 0) {
        m_tempStatus = reply.status;
        m_sTemperature = modReplySteps::TemperatureText(reply.celsius, reply.status != 0);
        acceptTemperature();
    }
}

void clsRVQ::readDump(std::string_view dump)
{
    using modReplySteps::DumpValue;
    const std::int32_t format = m_parameters.OutputFormat;
    m_identity.DeviceType = textOf(DumpValue(dump, "Type:"));
    m_identity.Attenuator = textOf(DumpValue(dump, "Attenuator:"));
    const std::string serialNo = textOf(DumpValue(dump, "Serial-No:"));
    m_unstoredChanges = m_unstoredChanges && serialNo == m_identity.SerialNo;
    m_identity.SerialNo = serialNo;
    m_identity.SWVersion = textOf(DumpValue(dump, "Version:"));
    m_identity.SWBuild = textOf(DumpValue(dump, "Build:"));
    m_identity.SWDate = textOf(DumpValue(dump, "Date:"));
    m_identity.HWPointer = textOf(DumpValue(dump, "Pointer:"));
    m_sTemperature = textOf(DumpValue(dump, "Temperature:"));
    if (Contains(m_sTemperature, "OK")) {
        m_tempStatus = Contains(m_sTemperature, "NOK") ? 0 : 1;
    }
    for (const ParameterDef& row : ParameterTable()) {
        m_inDump[row] = false;
        if (row.group == ParameterGroup::EchoFilter && !HasEchoFilter(m_identity)) {
            continue;
        }
        std::string key = std::string(row.code) + ":";
        // Deliberate: some sensors write a blank inside the code of the echo check.
        if (row.value == &ParameterSet::EchoCheck && !Contains(dump, key)) {
            key = "3 06:";
        }
        if (const auto value = WholeNumber(DumpValue(dump, key))) {
            m_parameters.*row.value = *value;
            m_inDump[row] = true;
        }
    }
    if (m_identity.DeviceType == kSerialType) {
        m_parameters.NodeAddress = -1;
    }
    m_unitInDoubt = false;
    const bool isSame = m_mismatch != Mismatch::None && m_parameters.OutputFormat == format;
    m_mismatch = isSame ? Mismatch::Confirmed : Mismatch::None;
}

void clsRVQ::acceptTemperature()
{
    m_eventNr = EventTemperature;
    if (isPending(Request::Temperature)) {
        forgetRequest(); // answered, so it must not time out later
    }
}

/// Reports no answer and leaves everything for the loop's step back. A loop that takes none (a sensor with single
/// output, a temperature error) would get the report for ever, so the second one gives up. Deliberate: not while a
/// sensor with single output measures; it sends whenever it likes and must not be polled.
void clsRVQ::askForStepBack()
{
    if (m_reported && !owesNothing()) {
        giveUpRequest();
    }
    m_eventNr = EventNoAnswer;
    m_reported = true;
}

/// No answer has come and none will. Reported once, since neither the request nor the bytes that came remain.
void clsRVQ::giveUpRequest()
{
    m_eventNr = EventNoAnswer;
    giveUpBytes();
    forgetRequest();
}

/// The last step of an evaluation, so that nothing it has found is lost by the send.
void clsRVQ::sendFollowUp(Request request)
{
    if (!m_wait.Running) {
        const std::int32_t event = m_eventNr;
        settle(m_inBuffer.size(), TrafficKind::Unexplained);
        SendCommand(request);
        m_eventNr = event; // a send clears it, but an unanswered start has to be reported
    } else if (pastDeadline()) {
        // A wait for another answer runs, so nothing may be sent; that answer will not come any more.
        giveUpRequest();
    }
}

void clsRVQ::boundInBuffer()
{
    if (m_inBuffer.size() > kMaxPending) {
        noteGivenUp(m_inBuffer.size() - kMaxPending);
        m_inBuffer.erase(0, m_inBuffer.size() - kMaxPending);
    }
    m_arrivals.DropUpTo(positionOf(0));
}
