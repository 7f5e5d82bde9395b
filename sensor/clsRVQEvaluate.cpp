// The evaluation of what the sensor has sent: which reply it is, in the state of the dialogue, and what follows.
#include "base/Numbers.h"
#include "sensor/Parameters.h"
#include "sensor/clsRVQ.h"
#include "sensor/modReplySteps.h"

#include <utility>

namespace {

constexpr std::size_t kShortReply = 5;   // bytes; what is shorter waits for more until the deadline
constexpr std::size_t kLongestText = 64; // several times what a sensor says of itself

/// A text of the sensor's as windows, files and sheets get it: noise between key and line end can have any length.
std::string textOf(std::string_view bytes)
{
    return std::string(bytes.substr(0, kLongestText));
}

} // namespace

void clsRVQ::EvaluateInBuffer()
{
    EventNr = EventNone;
    NewDistance = false;
    if (!m_due.empty()) {
        tellDue();
        return;
    }
    std::string_view followUp;
    if (modReplySteps::HoldsAnnouncement(InBuffer)) {
        m_mismatch = Mismatch::None;
        UnstoredChanges = false; // a restarted sensor works with what it has stored
    }
    if (InBuffer.empty()) {
        followUp = evaluateSilence();
    } else if (CommStatus == DialogueNone) {
        followUp = evaluateWithoutDialogue();
    } else if (CommStatus == DialogueIdle) {
        followUp = evaluateIdle();
    } else {
        followUp = evaluateMeasuring();
    }
    if (!followUp.empty()) {
        sendFollowUp(followUp);
    }
    boundInBuffer();
    if (EventNr == EventNoAnswer || (EventNr >= EventTemperature && EventNr <= EventRefused)) {
        Journal.Append(EventNr);
    }
}

/// Nothing has arrived: what a passed deadline means.
std::string_view clsRVQ::evaluateSilence()
{
    if (!pastDeadline() || Wait.Asking) {
        return {};
    }
    if (LastCommand.empty()) {
        return CommStatus == DialogueNone ? "X" : "T"; // a probe, or the idle sensor's temperature
    }
    if (CommStatus == DialogueNone || LastCommand == "T") {
        reportUnanswered();
    } else if (LastCommand == "M") {
        return evaluateSilentStart();
    } else if (LastCommand == "S" && CommStatus == DialogueMeasuring) {
        return "T"; // the measurement was interrupted for the temperature
    } else if (LastCommand == "S" || LastCommand == "O" || LastCommand == "P") {
        LastCommand.clear(); // these have no answer
    } else if (LastCommand != "G") {
        reportNoAnswer();
    }
    return {};
}

std::string_view clsRVQ::evaluateSilentStart()
{
    if (CommStatus != DialogueMeasuring) {
        EventNr = EventNoAnswer;
        return "S";
    }
    if (owesNothing()) {
        LastCommand = std::string("m");
        EventNr = EventNoAnswer;
        return {};
    }
    // The start got lost on the line: said once, so that the loop leaves the measuring state.
    reportUnanswered();
    return {};
}

std::string_view clsRVQ::evaluateWithoutDialogue()
{
    if (modReplySteps::HoldsAnnouncement(InBuffer)) {
        return "C";
    }
    if (evaluateDump() || evaluateTextTemperature()) {
        return {};
    }
    return pastDeadline() ? "X" : "";
}

std::string_view clsRVQ::evaluateIdle()
{
    const bool announced = modReplySteps::HoldsAnnouncement(InBuffer);
    if (LastCommand == "G" && !announced) {
        // Before everything else: "No Echo" holds an "E", and a binary frame is shorter than other replies.
        evaluateSingleValue();
        return {};
    }
    if (InBuffer.size() <= kShortReply && !pastDeadline() && !isWholeAnswerToT()) {
        return {};
    }
    if (evaluateDump()) {
        return {};
    }
    const bool polled = LastCommand == "T";
    if (evaluateTextTemperature()) {
        // A poll answered in text by a sensor that is taken for a binary one: its format has changed behind our back,
        // and no distance would ever be understood.
        const bool misread = polled && hasBinaryFormat() && EventNr == EventTemperature && !Wait.Running;
        if (!misread || isConfirmedFormat()) {
            return {};
        }
        m_mismatch = Mismatch::Asked;
        return "C";
    }
    if (polled && hasBinaryFormat() && !announced) {
        // Before the verdicts, which no "T" gets: 69 and 79 degrees are an "E" and an "O".
        evaluateAnswerToT();
        return {};
    }
    if (Contains(InBuffer, "O")) {
        return evaluateVerdict(EventAcknowledged);
    }
    if (Contains(InBuffer, "E")) {
        return evaluateVerdict(EventRefused);
    }
    return pastDeadline() ? evaluateIdleRest() : "";
}

/// A binary temperature is shorter than other replies, so it waits for the deadline. Not while a command waits for it:
/// then a pause ends it.
bool clsRVQ::isWholeAnswerToT() const
{
    const bool isAwaited = Wait.Running && LastCommand == "T" && hasBinaryFormat() && hasPaused();
    if (!isAwaited) {
        return false;
    }
    const bool withCrc = Parameters.OutputFormat == FormatBinaryCrc;
    const auto reply = modReplySteps::StepBinaryTemperature(InBuffer, withCrc);
    return reply.consumed == InBuffer.size() && !reply.crcError && (reply.status == 0 || reply.status == 1);
}

/// An "O" or an "E" has come. It may be the head of a dump, so the bytes stay until the deadline.
std::string_view clsRVQ::evaluateVerdict(std::int32_t event)
{
    if (!pastDeadline()) {
        EventNr = event;
        return {};
    }
    if (LastCommand == "S") {
        return "C";
    }
    if (modReplySteps::HoldsAnnouncement(InBuffer)) {
        return evaluateIdleRest();
    }
    if (LastCommand == "C") {
        reportUnanswered();
        return {};
    }
    EventNr = event;
    return dropUnasked();
}

/// Bytes that are no reply, and the deadline has passed.
std::string_view clsRVQ::evaluateIdleRest()
{
    if (LastCommand == "S") {
        return "C";
    }
    if (!LastCommand.empty() || modReplySteps::HoldsAnnouncement(InBuffer)) {
        // The bytes stay: an announcement among them is understood as soon as the loop has fallen back to no dialogue.
        reportNoAnswer();
        return {};
    }
    // Noise that nobody asked for. A few bytes of it are not worth a word.
    EventNr = InBuffer.size() > kShortReply ? EventNoAnswer : EventNone;
    return dropUnasked();
}

/// Drops bytes that are done with, and the command. Where nobody has asked and it happens again, a sensor measures that
/// should be idle: the idle poll must not wait for a silence that never comes.
std::string_view clsRVQ::dropUnasked()
{
    const bool streaming = LastCommand.empty() && m_reported;
    m_reported = true;
    LastCommand.clear();
    InBuffer.clear();
    return streaming ? "T" : "";
}

std::string_view clsRVQ::evaluateMeasuring()
{
    if (LastCommand == "T") {
        evaluateAnswerToT();
        return {};
    }
    if (LastCommand == "S") {
        InBuffer.clear(); // still in flight after the stop
        return evaluateSilence();
    }
    if (const std::size_t at = InBuffer.find("RVQ ready"); at != std::string::npos) {
        // The sensor has restarted. Distances before the announcement would hide it from the idle state.
        InBuffer.erase(0, at);
        CommStatus = DialogueIdle;
        return {};
    }
    // Only a whole reply counts: the three bytes may be noise, or part of a binary distance.
    if (Contains(InBuffer, "C, ") && takeTextTemperature()) {
        return {};
    }
    const bool saidBefore = LastCommand.empty();
    if (Contains(InBuffer, "TempErr!")) {
        evaluateTempErr();
    } else {
        evaluateDistance();
    }
    // A loop that takes no step back (a temperature error) would hear it for ever: ask, as silence would.
    return EventNr == EventNoAnswer && saidBefore && !owesNothing() ? "T" : "";
}

/// True when a dump has begun, be it complete or not.
bool clsRVQ::evaluateDump()
{
    const modReplySteps::DumpSpan dump = modReplySteps::FindDump(InBuffer);
    if (!dump.begun) {
        return false;
    }
    if (!dump.text.empty()) {
        readDump(dump.text);
        CommStatus = DialogueIdle;
        EventNr = EventConfiguration;
        LastCommand.clear();
        InBuffer.clear();
    } else if (pastDeadline()) {
        reportUnanswered();
    }
    return true;
}

/// True when a temperature in text has begun, be it complete or not.
bool clsRVQ::evaluateTextTemperature()
{
    if (!Contains(InBuffer, " C,")) {
        return false;
    }
    if (!takeTextTemperature() && pastDeadline()) {
        reportUnanswered();
    }
    return true;
}

bool clsRVQ::takeTextTemperature()
{
    const modReplySteps::TextTemperature reply = modReplySteps::FindTextTemperature(InBuffer);
    if (reply.consumed == 0) {
        return false;
    }
    sTemperature = textOf(reply.text);
    TempStatus = Contains(sTemperature, "NOK") ? 0 : 1;
    InBuffer.erase(0, reply.consumed);
    acceptTemperature();
    return true;
}

void clsRVQ::evaluateAnswerToT()
{
    const bool inText = hasBinaryFormat() && modReplySteps::FindTextTemperature(InBuffer).consumed > 0;
    if (CommStatus == DialogueMeasuring && inText && !isConfirmedFormat()) {
        CommStatus = DialogueIdle; // not the format that we know: the idle state understands it and asks
        return;
    }
    if (hasBinaryFormat() && !inText) {
        takeBinaryTemperature();
    } else {
        takeTextTemperature();
    }
    if (EventNr != EventTemperature && pastDeadline()) {
        reportUnanswered();
    }
}

void clsRVQ::takeBinaryTemperature()
{
    const auto reply = modReplySteps::StepBinaryTemperature(InBuffer, Parameters.OutputFormat == FormatBinaryCrc);
    InBuffer.erase(0, reply.consumed);
    if (reply.crcError) {
        EventNr = EventCrcError;
        ++DamagedReplies;
    } else if (reply.consumed > 0) {
        TempStatus = reply.status;
        sTemperature = modReplySteps::TemperatureText(reply.celsius, reply.status != 0);
        acceptTemperature();
    }
}

void clsRVQ::readDump(std::string_view dump)
{
    using modReplySteps::DumpValue;
    const std::int32_t format = Parameters.OutputFormat;
    Identity.DeviceType = textOf(DumpValue(dump, "Type:"));
    Identity.Attenuator = textOf(DumpValue(dump, "Attenuator:"));
    const std::string serialNo = textOf(DumpValue(dump, "Serial-No:"));
    UnstoredChanges = UnstoredChanges && serialNo == Identity.SerialNo;
    Identity.SerialNo = serialNo;
    Identity.SWVersion = textOf(DumpValue(dump, "Version:"));
    Identity.SWBuild = textOf(DumpValue(dump, "Build:"));
    Identity.SWDate = textOf(DumpValue(dump, "Date:"));
    Identity.HWPointer = textOf(DumpValue(dump, "Pointer:"));
    sTemperature = textOf(DumpValue(dump, "Temperature:"));
    if (Contains(sTemperature, "OK")) {
        TempStatus = Contains(sTemperature, "NOK") ? 0 : 1;
    }
    for (const ParameterDef& row : ParameterTable()) {
        if (row.group == ParameterGroup::EchoFilter && !HasEchoFilter(Identity)) {
            continue;
        }
        std::string key = std::string(row.code) + ":";
        // Deliberate: some sensors write the code of the echo check with a blank in it.
        if (row.value == &ParameterSet::EchoCheck && !Contains(dump, key)) {
            key = "3 06:";
        }
        if (const auto value = WholeNumber(DumpValue(dump, key))) {
            Parameters.*row.value = *value;
        }
    }
    if (Identity.DeviceType == kSerialType) {
        Parameters.NodeAddress = -1;
    }
    UnitInDoubt = false;
    const bool isSame = m_mismatch != Mismatch::None && Parameters.OutputFormat == format;
    m_mismatch = isSame ? Mismatch::Confirmed : Mismatch::None;
}

void clsRVQ::acceptTemperature()
{
    EventNr = EventTemperature;
    if (LastCommand == "T") {
        LastCommand.clear(); // answered: it must not time out later
    }
}

/// No answer. The first report leaves everything as it is, for the loop's step back. A loop that takes none (a sensor
/// with single output, a temperature error) would hear it for ever, so a second report lets go. Deliberate: not while
/// a sensor with single output measures; it sends when it likes and must not be polled.
void clsRVQ::reportNoAnswer()
{
    if (m_reported && !owesNothing()) {
        reportUnanswered();
    }
    EventNr = EventNoAnswer;
    m_reported = true;
}

/// No answer, said once: nothing of the command or of what came instead is left.
void clsRVQ::reportUnanswered()
{
    EventNr = EventNoAnswer;
    LastCommand.clear();
    InBuffer.clear();
}

void clsRVQ::sendFollowUp(std::string_view command)
{
    if (!Wait.Running) {
        const std::int32_t event = EventNr;
        SendCommand(command);
        EventNr = event; // a send clears it, yet an unanswered start is to be told
    } else if (pastDeadline()) {
        // Somebody waits for an answer of his own, so nothing may go out; and none will come any more.
        reportUnanswered();
    }
}

void clsRVQ::boundInBuffer()
{
    if (InBuffer.size() > kMaxPending) {
        InBuffer.erase(0, InBuffer.size() - kMaxPending);
    }
}
