// What a session does to the dialogue with the sensor, one operation for each reason.
#include "sensor/Parameters.h"
#include "sensor/clsRVQ.h"

#include <stdexcept>

void clsRVQ::ShiftClock(double days)
{
    m_pending.deadline += days;
    m_readTempTime += days;
    m_lastArrival += days;
    m_arrivals.ShiftClock(days, m_currentTime + days);
    if (m_traffic != nullptr) {
        m_traffic->ShiftClock(days, m_currentTime + days);
    }
    m_quietUntil += days;
    m_lines.ShiftClock(days);
    for (SentFrame& frame : m_sentFrames) {
        frame.time += days;
    }
}

void clsRVQ::StartMeasurement()
{
    SendCommand(Request::Start);
    m_commStatus = DialogueMeasuring;
}

void clsRVQ::StopMeasurement()
{
    SendCommand(Request::Stop);
    m_commStatus = DialogueIdle;
}

void clsRVQ::InterruptForTemperature()
{
    SendCommand(Request::Stop);
    m_readTempTime = m_currentTime + m_readTempInterval / kMsPerDay;
}

void clsRVQ::SwitchLaser(bool on)
{
    SendCommand(on ? Request::LaserOn : Request::LaserOff);
    m_identity.HWPointer = on ? "on" : "off";
}

void clsRVQ::AssumeParameter(std::int32_t ParameterSet::*parameter, std::int32_t value)
{
    m_parameters.*parameter = value;
}

std::int32_t clsRVQ::TakeVerdict(const ParameterSet& values, std::string_view code, std::int32_t event)
{
    const bool verdict = event == EventNoAnswer || event == EventAcknowledged;
    m_eventNr = verdict ? event : static_cast<std::int32_t>(EventRefused);
    if (event == EventAcknowledged) {
        if (const ParameterDef* row = ParameterOfCode(code)) {
            m_parameters.*row->value = values.*row->value;
        }
        m_unstoredChanges = code != "999";
    }
    return m_eventNr;
}

void clsRVQ::StartAfterVerdict(std::int32_t verdict)
{
    StartMeasurement();
    m_eventNr = verdict;
}

void clsRVQ::StepBack()
{
    if (m_commStatus != DialogueNone) {
        m_commStatus = m_commStatus == DialogueMeasuring ? DialogueIdle : DialogueNone;
    }
}

void clsRVQ::EndSingleOutput(bool found)
{
    m_commStatus = found ? DialogueIdle : DialogueNone;
}

void clsRVQ::ForgetDialogue()
{
    m_commStatus = DialogueNone;
    settle(m_inBuffer.size(), TrafficKind::Unexplained);
    m_inBuffer.clear();
    forgetRequest();
    m_pending.deadline = m_currentTime;
}

void clsRVQ::BeginWait()
{
    if (m_wait.Running || m_wait.InTick) {
        throw std::logic_error("a wait for the sensor must not start inside a wait or a tick");
    }
    m_wait.Running = true;
}

void clsRVQ::EndWaits()
{
    m_wait.Ended = true;
    CloseComPort();
}
