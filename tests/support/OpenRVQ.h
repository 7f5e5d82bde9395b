// A dialogue that a test can put into any state: members that the program can only read are writable here.
#pragma once

#include "sensor/clsRVQ.h"

struct OpenRVQ : clsRVQ {
    using clsRVQ::clsRVQ;
    using clsRVQ::CommStatus;
    using clsRVQ::CurrentTime;
    using clsRVQ::EventNr;
    using clsRVQ::FailTime;
    using clsRVQ::Identity;
    using clsRVQ::InBuffer;
    using clsRVQ::LastCommand;
    using clsRVQ::MeasValue_mm;
    using clsRVQ::Parameters;
    using clsRVQ::ReadTempInterval;
    using clsRVQ::TempStatus;
    using clsRVQ::UnstoredChanges;
    using clsRVQ::Wait;

    ParameterSet& Parameters() { return m_parameters; }
    SensorIdentity& Identity() { return m_identity; }
    std::string& InBuffer() { return m_inBuffer; }
    std::int32_t& CommStatus() { return m_commStatus; }
    std::int32_t& EventNr() { return m_eventNr; }
    double& FailTime() { return m_pending.deadline; }
    double& CurrentTime() { return m_currentTime; }
    clsEventJournal& Journal() { return m_journal; }
    WaitState& Wait() { return m_wait; }
    std::int32_t& MeasValue_mm() { return m_measValue_mm; }
    std::int32_t& TempStatus() { return m_tempStatus; }
    std::int32_t& ReadTempInterval() { return m_readTempInterval; }
    bool& UnstoredChanges() { return m_unstoredChanges; }
    void LastCommand(std::string_view text) { setRequest(std::string(text)); }
};
