// What goes around a write to the sensor: reading before, backup, reading back, report.
#include "sensor/modCompare.h"
#include "session/clsTransfer.h"
#include "session/clsWriteKeeper.h"

#include <algorithm>

namespace {

WriteKind kindOf(TransferJob job)
{
    switch (job) {
    case TransferJob::Store:
        return WriteKind::Store;
    case TransferJob::Defaults:
        return WriteKind::Defaults;
    case TransferJob::Undo:
        return WriteKind::Undo;
    default:
        return WriteKind::Send;
    }
}

/// The codes that have a value to send, in the order of an upload, each once.
std::vector<std::string> inOrder(const std::vector<std::string>& codes, const ParameterSet& values)
{
    std::vector<const ParameterDef*> rows;
    for (const std::string& code : codes) {
        const ParameterDef* row = ParameterOfCode(code);
        if (row != nullptr && !WireValue(values, code).empty() && std::ranges::find(rows, row) == rows.end()) {
            rows.push_back(row);
        }
    }
    return CodesInOrder(std::move(rows));
}

} // namespace

/// False when nothing is to be sent.
Operation<bool> clsTransfer::beginningCircle(TransferJob job)
{
    m_circle.reset();
    if (job == TransferJob::Download) {
        co_return true;
    }
    const bool isUndoable = m_keeper != nullptr && m_keeper->Undoable(m_device.Identity().SerialNo) != nullptr;
    if ((job == TransferJob::Undo && !isUndoable) ||
        (job == TransferJob::Chosen && inOrder(m_chosen, m_target).empty())) {
        co_return false;
    }
    m_circle.emplace(m_device, kindOf(job));
    if (m_keeper != nullptr) {
        m_view.ShowStatusText(TextId::None);
        m_view.ShowFailed(false);
        m_view.ShowProgress({0, 0, TextId::TransferReading});
        Operation<bool> reading = m_circle->ReadingBefore();
        co_await reading; // if it fails, the write says so in its own words
    }
    co_return !m_device.Wait().Ended && isPlanned(job) && mayWrite();
}

/// False when there is nothing to undo any more.
bool clsTransfer::isPlanned(TransferJob job)
{
    switch (job) {
    case TransferJob::Store:
        m_circle->Plan(m_circle->Before(), {"999"});
        break;
    case TransferJob::Defaults:
        m_circle->Plan(m_circle->Before(), {"000"});
        break;
    case TransferJob::Chosen:
        m_circle->Plan(m_target, inOrder(m_chosen, m_target));
        break;
    case TransferJob::Undo:
        if (const WriteReport* undone = m_keeper->Undoable(m_circle->SerialNo())) {
            m_circle->Plan(undone->before, CodesThatLead(m_circle->Before(), undone->before, m_device.Identity()));
        }
        if (m_circle->Codes().empty()) {
            m_keeper->ForgetUndo(m_circle->SerialNo());
            return false;
        }
        break;
    default: {
        const std::vector<std::string_view> codes = UploadCodes(m_entry.Parameters, m_device.Identity());
        m_circle->Plan(m_entry.Parameters, {codes.begin(), codes.end()});
    }
    }
    return true;
}

/// Asks when there is no backup. False when nothing may be sent.
bool clsTransfer::mayWrite()
{
    if (m_keeper == nullptr) {
        return true;
    }
    if (!m_circle->IsSameSensor()) {
        m_reason = TextId::TransferOtherSensor;
    } else if (!m_circle->BackUp(*m_keeper)) {
        const modRVQComm::AskingScope asking(m_device);
        const bool isAllowed = m_view.MayWriteWithoutBackup(m_keeper->Kept().backups, m_circle->NoBackup());
        m_reason = isAllowed ? TextId::None : TextId::TransferNoBackup;
    }
    if (m_reason != TextId::None && !m_device.Wait().Ended) {
        m_view.ShowFailure(TextId::TransferNothingSent, m_reason);
    }
    return m_reason == TextId::None && !m_device.Wait().Ended;
}

/// Reads back what has not been read back yet, and reports.
Operation<> clsTransfer::closingCircle()
{
    if (!m_circle || m_keeper == nullptr) {
        co_return;
    }
    if (!m_circle->IsSent() && !m_device.Wait().Ended) { // what the window wanted to send is not in the sensor
        m_entry.Parameters = m_device.Parameters();
        m_entry.Identity = m_device.Identity();
    }
    const bool isTouched = m_circle->IsSent() || m_circle->Codes().empty(); // with no codes, nothing had to be undone
    if (isTouched && !m_circle->IsReadBackTried() && m_circle->IsSameSensor() && !m_device.Wait().Ended) {
        m_view.ShowProgress({0, 0, TextId::TransferReading});
        Operation<bool> reading = m_circle->ReadingAfter();
        if (co_await reading && m_circle->IsSameSensor()) {
            m_entry.Parameters = m_device.Parameters();
            m_entry.Identity = m_device.Identity();
        }
    }
    const bool isCancelled = m_reason == TextId::TransferCancelled;
    WriteReport report = m_circle->Report(m_reason != TextId::None ? m_reason : whyNotReadBack(), isCancelled);
    if (m_circle->IsSent()) {
        report = m_keeper->Note(report, m_circle->Port());
    }
    if (!m_device.Wait().Ended) {
        m_view.ShowReport(report);
    }
}

TextId clsTransfer::whyNotReadBack() const
{
    const bool isContradictory = m_circle && m_circle->IsContradictory();
    return isContradictory ? TextId::TransferContradictory : whyNothingCame();
}
