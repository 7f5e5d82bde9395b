#include "session/clsTransfer.h"

#include "sensor/Parameters.h"

#include <algorithm>
#include <utility>

namespace {

/// Whether the parameter is sent for this configuration; does not decide on the rain filter and the echo parameters.
bool isSent(const ParameterDef& row, const ParameterSet& set)
{
    const bool serial = IsSerial(set);
    if (row.value == &ParameterSet::NodeAddress) {
        return !serial;
    }
    if (row.value == &ParameterSet::S2OnThreshold || row.value == &ParameterSet::S2OffThreshold) {
        return serial && set.AnalogOutput == 0;
    }
    return serial || (row.group != ParameterGroup::SerialOnly && row.value != &ParameterSet::OutputMode);
}

/// Copies the sensor's set and what it reports about itself; name, file and description stay.
void copySet(const clsRVQ& device, Configuration& entry)
{
    entry.Parameters = device.Parameters();
    entry.Identity = device.Identity();
}

} // namespace

std::vector<std::string_view> UploadCodes(const ParameterSet& set, const SensorIdentity& sensor)
{
    std::vector<const ParameterDef*> rows;
    for (const ParameterDef& row : ParameterTable()) {
        rows.push_back(&row);
    }
    std::ranges::sort(rows, {}, &ParameterDef::codeId);
    std::vector<std::string_view> codes;
    for (const ParameterDef* row : rows) {
        if (row->group != ParameterGroup::EchoFilter && isSent(*row, set)) {
            codes.push_back(row->code);
        }
    }
    const std::string_view rainFilter = RowOf(&ParameterSet::RainFilter).code;
    const bool chosen = !WireValue(set, rainFilter).empty();
    if (chosen && HasEchoFilter(sensor)) {
        codes.push_back(rainFilter);
    }
    return codes; // the echo parameters are never sent
}

clsTransfer::clsTransfer(clsRVQ& device, Configuration& entry, TransferView& view, modRVQComm::PumpEvents pumpEvents,
                         clsWriteKeeper* keeper)
    : m_device(device), m_entry(entry), m_view(view), m_pumpEvents(std::move(pumpEvents)), m_keeper(keeper)
{}

void clsTransfer::Download()
{
    RunToEnd(Downloading(), m_pumpEvents);
}

void clsTransfer::Upload()
{
    RunToEnd(Uploading(), m_pumpEvents);
}

void clsTransfer::StoreInSensor()
{
    RunToEnd(Storing(), m_pumpEvents);
}

void clsTransfer::SetDefaults()
{
    RunToEnd(SettingDefaults(), m_pumpEvents);
}

void clsTransfer::SendChosen(const ParameterSet& target, const std::vector<std::string>& codes)
{
    RunToEnd(SendingChosen(target, codes), m_pumpEvents);
}

void clsTransfer::UndoLast()
{
    RunToEnd(Undoing(), m_pumpEvents);
}

Operation<> clsTransfer::SendingChosen(const ParameterSet& target, const std::vector<std::string>& codes)
{
    if (!m_busy) {
        m_target = target;
        m_chosen = codes;
    }
    return running({TransferJob::Chosen});
}

Operation<> clsTransfer::Undoing()
{
    return running({TransferJob::Undo});
}

Operation<> clsTransfer::running(std::vector<TransferJob> jobs)
{
    if (m_device.Wait().Running || m_device.Wait().InTick || m_device.Wait().Ended) {
        co_return;
    }
    struct BusyScope {
        clsTransfer& transfer;
        explicit BusyScope(clsTransfer& busy) : transfer(busy)
        {
            transfer.m_busy = true;
            transfer.m_view.ShowBusy(true);
        }
        ~BusyScope()
        {
            transfer.m_busy = false;
            transfer.m_view.ShowBusy(false);
        }
    };
    const BusyScope busy(*this);
    // One wait covers everything, the questions included, so no idle poll comes between two commands.
    const modRVQComm::WaitScope wait(m_device);
    const bool measuring = m_device.CommStatus() == DialogueMeasuring;
    m_opening = m_device.Openings();
    m_isCancelled = false;
    m_reason = TextId::None;
    Operation<> waiting = modRVQComm::AwaitingOpenAnswer(m_device);
    co_await waiting;
    if (measuring && isSameSensor()) {
        modRVQComm::StopMeasurement(m_device);
    }
    bool finished = true;
    Operation<bool> beginning = beginningCircle(jobs.front());
    if (co_await beginning) {
        for (const TransferJob job : jobs) {
            Operation<bool> work = performing(job);
            finished = co_await work;
            if (!finished) {
                break;
            }
        }
    }
    Operation<> closing = closingCircle();
    co_await closing;
    if (measuring && finished && m_device.PortIsOpen() && isSameSensor() && !m_device.Wait().Ended) {
        modRVQComm::StartMeasurement(m_device);
    }
}

/// False when nothing more is to be sent.
Operation<bool> clsTransfer::performing(TransferJob job)
{
    if (job != TransferJob::ReadBack) {
        m_view.ShowStatusText(TextId::None);
        m_view.ShowFailed(false);
    }
    if (job == TransferJob::Store || job == TransferJob::Defaults) {
        Operation<> work = commanding(job == TransferJob::Store ? "999" : "000", job);
        co_await work;
        co_return !m_device.Wait().Ended;
    }
    if (job == TransferJob::Upload || job == TransferJob::Chosen || job == TransferJob::Undo) {
        Operation<bool> work = sendingAll();
        if (!co_await work) {
            copySet(m_device, m_entry);
            if (!m_device.Wait().Ended) {
                m_view.ShowFailure(TextId::TransferNotSent, m_reason);
            }
            co_return false;
        }
    }
    Operation<> work = readingSet(job);
    co_await work;
    co_return !m_device.Wait().Ended;
}

/// False when the sending was aborted or cancelled.
Operation<bool> clsTransfer::sendingAll()
{
    const std::vector<std::string>& codes = m_circle->Codes();
    const auto steps = static_cast<std::int32_t>(codes.size()) + 1;
    for (std::size_t next = 0; next < codes.size();) {
        if (m_isCancelled) {
            m_reason = TextId::TransferCancelled;
            co_return false;
        }
        m_view.ShowProgress({static_cast<std::int32_t>(next) + 1, steps, ParameterOfCode(codes[next])->labelId});
        Operation<FailureAnswer> sending = sendingOne(codes[next]);
        const FailureAnswer answer = co_await sending;
        switch (answer) {
        case FailureAnswer::Abort:
            co_return false;
        case FailureAnswer::Retry:
            next = 0;
            m_reason = TextId::None;
            m_circle->BeginAgain();
            break;
        case FailureAnswer::Ignore:
            ++next;
            break;
        }
    }
    m_view.ShowProgress({steps, steps, TextId::TransferReading});
    co_return true;
}

/// Sends one value until the sensor accepts it or the user gives up. Returns Ignore when the next value may follow, and
/// Retry when all values have to be sent again.
Operation<FailureAnswer> clsTransfer::sendingOne(std::string code)
{
    const bool hadSome = m_device.UnstoredChanges();
    const TextId reason = m_reason; // of a value that was ignored before
    while (!m_device.Wait().Ended && isSameSensor()) {
        m_circle->Watch();
        Operation<std::int32_t> sending = modRVQComm::SendingValueOf(m_device, m_circle->Values(), code);
        const std::int32_t verdict = co_await sending;
        m_circle->Note(code, verdict);
        if (verdict == EventAcknowledged) {
            m_reason = reason; // what has failed before, of this value, counts no more
            co_return FailureAnswer::Ignore;
        }
        const FailureAnswer answer = ask(verdict, code);
        if (answer == FailureAnswer::Abort) {
            break;
        }
        if (m_device.PortIsOpen()) {
            m_device.ResumeIdle(); // a tick has taken the silence for a lost connection
        }
        const bool hasRestarted = hadSome && !m_device.UnstoredChanges();
        if (answer == FailureAnswer::Ignore || hasRestarted) {
            co_return answer;
        }
    }
    if (!isSameSensor()) {
        m_reason = whyNothingCame();
    }
    co_return FailureAnswer::Abort;
}

FailureAnswer clsTransfer::ask(std::int32_t verdict, const std::string& code)
{
    if (m_device.Wait().Ended) {
        return FailureAnswer::Abort;
    }
    const modRVQComm::AskingScope asking(m_device);
    m_reason = verdict == EventNoAnswer ? whyNothingCame() : TextId::TransferInvalidCode;
    const ParameterDef* row = ParameterOfCode(code);
    return m_view.AskAboutFailure(verdict == EventNoAnswer ? TextId::TransferNoResponse : TextId::TransferInvalidCode,
                                  {.row = row,
                                   .value = m_circle->Values().*row->value,
                                   .isRefused = verdict != EventNoAnswer,
                                   .sent = m_circle->Acknowledged(),
                                   .total = m_circle->Codes().size()});
}

/// The port is closed, or it was closed and may now have another sensor behind it, or the sensor is silent.
TextId clsTransfer::whyNothingCame() const
{
    if (!m_device.PortIsOpen()) {
        return TextId::StatusPortNotOpen;
    }
    return isSameSensor() ? TextId::TransferNoResponse : TextId::StatusNoConnection;
}

/// Values meant for one sensor must not go to another that was plugged in meanwhile.
bool clsTransfer::isSameSensor() const
{
    return m_device.Openings() == m_opening;
}

Operation<> clsTransfer::readingSet(TransferJob job)
{
    if (m_device.Wait().Ended) {
        co_return;
    }
    const bool isSent = job != TransferJob::Download && job != TransferJob::ReadBack;
    if (!isSent) {
        m_view.ShowProgress({0, 0, TextId::TransferReading});
    }
    Operation<bool> reading = readingDump(job);
    if (!co_await reading) {
        if (isSent) {
            copySet(m_device, m_entry);
        }
        if (job == TransferJob::ReadBack && !m_isTaken) {
            m_view.ShowFailed(true); // the front end already says that the command has failed
        } else if (!m_device.Wait().Ended) {
            m_view.ShowFailure(job == TransferJob::Download ? TextId::TransferNotRead : TextId::TransferNotReadBack,
                               whyNotReadBack());
        }
        if (job == TransferJob::Download) {
            m_view.FillFromDeviceEntry();
        }
        co_return;
    }
    copySet(m_device, m_entry);
    switch (job) {
    case TransferJob::Chosen:
        m_view.ShowStatusText(TextId::TransferChosenSent);
        break;
    case TransferJob::Undo:
        m_view.ShowStatusText(TextId::TransferUndone);
        break;
    case TransferJob::ReadBack: // the command has said what it has done
        m_view.SelectDeviceEntry();
        break;
    default:
        m_view.SelectDeviceEntry();
        m_view.ShowStatusText(job == TransferJob::Download ? TextId::TransferDownloaded : TextId::TransferUploaded);
    }
}

/// True when the sensor's set has been read. With a keeper, what a write has left is read until it is beyond doubt.
Operation<bool> clsTransfer::readingDump(TransferJob job)
{
    if (m_keeper != nullptr && job != TransferJob::Download) {
        Operation<bool> reading = m_circle->ReadingAfter();
        co_return co_await reading;
    }
    m_device.ForgetEvents();
    m_device.SendCommand(Request::Configuration);
    Operation<std::int32_t> waiting = modRVQComm::AwaitingEvent(m_device, {EventConfiguration});
    co_return co_await waiting == EventConfiguration;
}

Operation<> clsTransfer::commanding(std::string code, TransferJob job)
{
    const bool store = job == TransferJob::Store;
    m_view.ShowProgress({0, 0, store ? TextId::TransferStoring : TextId::TransferSettingDefaults});
    m_isTaken = false;
    if (isSameSensor()) {
        m_circle->Watch();
        Operation<std::int32_t> sending = modRVQComm::SendingValueOf(m_device, m_entry.Parameters, code);
        const std::int32_t verdict = co_await sending;
        m_circle->Note(code, verdict);
        m_isTaken = verdict == EventAcknowledged;
        if (!m_isTaken) {
            m_reason = verdict == EventNoAnswer ? whyNothingCame() : TextId::TransferInvalidCode;
        }
    }
    m_view.ShowFailed(!m_isTaken);
    if (m_isTaken) {
        m_view.ShowStatusText(store ? TextId::TransferStored : TextId::TransferDefaultsSet);
    } else {
        m_view.ShowStatusText(store ? TextId::TransferStoreFailed : TextId::TransferDefaultsFailed);
    }
}
