#include "sensor/clsRVQ.h"

#include "port/SerialPort.h"
#include "sensor/Parameters.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr std::int32_t kMargin_ms = 500;     // added to every answer time
constexpr std::int32_t kMostDelay_ms = 2000; // a line that takes longer counts as silent
constexpr std::size_t kSentFrames = 64;      // more than an upload sends

} // namespace

clsRVQ::clsRVQ() : m_lastRate(kUsualRate) {}

clsRVQ::clsRVQ(SerialPort& port, PauseFunction pause) : clsRVQ()
{
    m_port = &port;
    m_pause = std::move(pause);
}

clsRVQ::~clsRVQ()
{
    CloseComPort();
}

void clsRVQ::OpenComPort(std::int32_t Comport, std::int32_t Rate)
{
    if (m_port == nullptr || Comport <= 0 || m_portIsOpen || PortIsOpening()) {
        return;
    }
    m_commComPort = Comport;
    m_port->sio_close(Comport);
    if (m_port->sio_open(Comport) == 0) {
        m_openingRate = Rate;
        ContinueOpening();
    }
}

void clsRVQ::ContinueOpening()
{
    if (!PortIsOpening()) {
        return;
    }
    const PortState state = m_port->State(m_commComPort);
    if (state == PortState::Opening) {
        return;
    }
    const std::int32_t rate = *std::exchange(m_openingRate, std::nullopt);
    if (state == PortState::Closed) {
        return;
    }
    m_portIsOpen = true;
    ++m_openings;
    m_frames.Forget(); // this may be another sensor
    m_lines.Forget();
    m_lastCrc_mm.reset();
    m_mismatch = Mismatch::None;
    m_unitInDoubt = false;
    m_unsent.clear();
    m_collected.clear();
    CommBaudrate(rate);
    if (m_traffic != nullptr) {
        m_traffic->Opened(rate, m_currentTime);
    }
}

void clsRVQ::CloseComPort()
{
    if (m_port != nullptr && (m_portIsOpen || PortIsOpening())) {
        m_port->sio_close(m_commComPort);
    }
    settleAll(TrafficKind::Unexplained);
    m_queue.clear(); // meant for that device
    m_collected.clear();
    m_quietUntil = 0.0;
    m_openPause.reset();
    m_openingRate.reset();
    if (std::exchange(m_portIsOpen, false)) {
        m_journal.Append(EventNoAnswer); // a wait must see this even if the port is open again by then
        if (m_traffic != nullptr) {
            m_traffic->Closed(m_currentTime);
        }
    }
}

OpenFailure clsRVQ::LastFailure() const
{
    return m_port == nullptr ? OpenFailure() : m_port->LastFailure(m_commComPort);
}

bool clsRVQ::DevicesChanged() const
{
    return m_port != nullptr && m_port->DevicesChanged(m_commComPort);
}

std::int32_t clsRVQ::CommBaudrate() const
{
    return m_port == nullptr ? 0 : m_port->sio_getbaud(m_commComPort);
}

void clsRVQ::CommBaudrate(std::int32_t rate)
{
    if (std::ranges::find(kPortRates, rate) == std::end(kPortRates)) {
        return;
    }
    m_lastRate = rate;
    if (m_traffic != nullptr) {
        m_traffic->ByteTime(byteTime());
    }
    if (PortIsOpening()) {
        m_openingRate = rate;
    } else if (m_port != nullptr) {
        m_port->sio_baud(m_commComPort, rate);
    }
}

bool clsRVQ::PortHasRate() const
{
    return m_port != nullptr && m_port->HasRate(m_commComPort);
}

std::int32_t clsRVQ::PortStatus() const
{
    return m_port == nullptr ? 0 : m_port->sio_data_status(m_commComPort);
}

std::string clsRVQ::PortStatusByName() const
{
    struct Row {
        LineError bit;
        std::string_view name;
    };
    static constexpr Row kNames[] = {{LineErrorParity, "|Parity Error"},
                                     {LineErrorFraming, "|Framing Error"},
                                     {LineErrorOverrun, "|Overrun Error"},
                                     {LineErrorOverflow, "|Overflow Error"}};
    const std::int32_t status = PortStatus();
    std::string names;
    for (const Row& row : kNames) {
        if (status > 0 && (status & row.bit) != 0) {
            names += row.name;
        }
    }
    return names.empty() ? names : names.substr(1);
}

void clsRVQ::ReadComportData()
{
    m_newInData.clear();
    if (m_port == nullptr) {
        return;
    }
    sendRest();
    sendQueue();
    if (m_queue.empty()) { // what comes before the next send is thrown away by it
        Collect(m_currentTime);
        m_newInData.swap(m_collected);
        m_inBuffer += m_newInData;
        m_lastArrival = m_newInData.empty() ? m_lastArrival : m_currentTime;
    }
    if (m_port->HasVanished(m_commComPort)) {
        CloseComPort();
    }
}

std::size_t clsRVQ::Collect(double now)
{
    const std::int32_t waiting = m_port == nullptr ? 0 : m_port->sio_iqueue(m_commComPort);
    if (waiting <= 0) {
        return 0;
    }
    const std::size_t before = m_collected.size();
    m_collected.resize(before + static_cast<std::size_t>(waiting));
    const std::int32_t taken = m_port->sio_read(m_commComPort, std::span(m_collected).subspan(before));
    const auto count = static_cast<std::size_t>(std::clamp(taken, 0, waiting));
    m_collected.resize(before + count);
    m_arrivals.Append(count, now);
    if (m_traffic != nullptr) {
        m_traffic->Received(std::string_view(m_collected).substr(before), now);
    }
    if (m_collected.size() > kMaxPending) { // nobody has read for long
        noteGivenUp(m_inBuffer.size() + m_collected.size() - kMaxPending);
        m_collected.erase(0, m_collected.size() - kMaxPending);
        m_inBuffer.clear(); // else its end would be joined to a later beginning
        m_arrivals.DropUpTo(positionOf(0));
    }
    return count;
}

int clsRVQ::ArrivalHandle() const
{
    return m_port == nullptr ? -1 : m_port->ArrivalHandle(m_commComPort);
}

void clsRVQ::SendCommand(std::string_view Command)
{
    const std::int32_t wait_ms = AnswerTime_ms(Command, effectiveRate());
    // The caller may have handed in a view of LastCommand itself.
    std::string command(Command);
    settleAll(TrafficKind::Discarded);
    const bool isByHand = std::exchange(m_nextIsByHand, false);
    m_queue.push_back({command, isByHand});
    sendQueue();
    m_eventNr = EventNone;
    if (command.size() > 3 && command.back() == '\r') {
        noteSentFrame(command.substr(0, command.size() - 1));
    }
    setRequest(std::move(command));
    if (isByHand && isPending(Request::Parameter)) {
        m_pending.request = Request::ByHand;
    }
    // What has come or waits belongs to what the command ends: it is neither passed on nor a loss.
    m_inBuffer.clear();
    m_frames.Restart();
    m_lines.Restart();
    m_samples.ForgetDeferred();
    m_outOfStep = false;
    m_skipped = 0;
    m_due.clear();
    m_reported = false;
    // Deliberate: counted from the stored time, so the pause after a stop is part of the answer time.
    setDeadline(wait_ms + kMargin_ms);
}

void clsRVQ::setRequest(std::string text)
{
    m_pending.request = RequestOf(text);
    m_pending.text = std::move(text);
}

/// The deadline stays: it is when the next poll is due.
void clsRVQ::forgetRequest()
{
    setRequest({});
}

/// What is sent for a while after a stop is lost on the sensor, so it waits until that time is over.
void clsRVQ::sendQueue()
{
    while (!m_queue.empty() && m_currentTime >= m_quietUntil) {
        const auto [command, isByHand] = std::move(m_queue.front());
        m_queue.pop_front();
        if (m_port == nullptr || !m_portIsOpen) {
            continue;
        }
        m_port->sio_flush(m_commComPort, 0);
        settleAll(TrafficKind::Discarded);
        m_collected.clear();
        sendBytes(command, isByHand);
        if (RequestOf(command) == Request::Stop) {
            pauseAfterStop();
        }
    }
}

/// A stop that an operator sends comes between two ticks, later than `CurrentTime` by up to a tick. Its pause counts
/// from the next tick then, so that it is never too short.
void clsRVQ::pauseAfterStop()
{
    const std::int32_t pause_ms = StopPause_ms(effectiveRate());
    if (m_pause) {
        m_pause(pause_ms);
    } else if (m_wait.InTick) {
        m_quietUntil = m_currentTime + pause_ms / kMsPerDay;
    } else {
        m_quietUntil = std::numeric_limits<double>::infinity();
        m_openPause = pause_ms / kMsPerDay;
    }
}

void clsRVQ::CurrentTime(double now)
{
    m_currentTime = now;
    if (const auto pause = std::exchange(m_openPause, std::nullopt)) {
        m_quietUntil = now + *pause;
    }
}

/// Half a frame and the next command would be another frame to the sensor. So what has begun is finished first, and
/// what cannot begin is not kept: a start that is sent late might follow its own stop.
void clsRVQ::sendBytes(std::string_view bytes, bool isByHand)
{
    sendRest();
    if (!m_unsent.empty()) {
        return;
    }
    const std::int32_t taken = m_port->sio_write(m_commComPort, bytes);
    if (taken > 0) {
        m_unsent = bytes.substr(std::min(bytes.size(), static_cast<std::size_t>(taken)));
        if (m_traffic != nullptr) {
            m_traffic->Sent(bytes.substr(0, bytes.size() - m_unsent.size()),
                            isByHand ? TrafficKind::SentByHand : TrafficKind::Sent, RequestOf(bytes), m_currentTime);
        }
    }
}

void clsRVQ::sendRest()
{
    if (m_unsent.empty()) {
        return;
    }
    const std::int32_t taken = m_port->sio_write(m_commComPort, m_unsent);
    if (m_traffic != nullptr && taken > 0) {
        const std::string_view sent = std::string_view(m_unsent).substr(0, static_cast<std::size_t>(taken));
        m_traffic->Sent(sent, TrafficKind::SentRest, Request::None, m_currentTime);
    }
    m_unsent.erase(0, taken < 0 ? m_unsent.size() : static_cast<std::size_t>(taken));
}

/// Kept because a verdict may come late, when nothing waits for it any more.
void clsRVQ::noteSentFrame(std::string text)
{
    m_sentFrames.push_back({std::move(text), m_currentTime});
    if (m_sentFrames.size() > kSentFrames) {
        m_sentFrames.pop_front();
    }
}

std::int32_t clsRVQ::effectiveRate() const
{
    const std::int32_t rate = CommBaudrate();
    return rate > 0 ? rate : m_lastRate;
}

/// The round trip of the line, up to a bound.
double clsRVQ::Delay_ms() const
{
    return m_port == nullptr ? 0.0 : std::clamp(m_port->Delay_ms(m_commComPort), 0, kMostDelay_ms);
}

void clsRVQ::setDeadline(double wait_ms)
{
    m_pending.deadline = m_currentTime + (wait_ms + Delay_ms()) / kMsPerDay;
}
