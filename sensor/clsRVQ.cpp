#include "sensor/clsRVQ.h"

#include "base/Numbers.h"
#include "port/SerialPort.h"
#include "sensor/Parameters.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::int32_t kDumpBits = 5000000; // divided by the rate: milliseconds that a dump may take
constexpr std::int32_t kStopBits = 170000;  // divided by the rate: milliseconds of pause after a stop
constexpr std::int32_t kMargin_ms = 500;    // on top of every answer time
constexpr std::size_t kSentFrames = 64;     // more than an upload sends

std::int32_t millisecondsAtRate(std::int32_t bits, std::int32_t rate)
{
    return RoundHalfToEven(static_cast<double>(bits) / rate).value_or(0);
}

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
    if (m_port == nullptr || Comport <= 0 || PortIsOpen || PortIsOpening()) {
        return;
    }
    CommComPort = Comport;
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
    const PortState state = m_port->State(CommComPort);
    if (state == PortState::Opening) {
        return;
    }
    const std::int32_t rate = *std::exchange(m_openingRate, std::nullopt);
    if (state == PortState::Closed) {
        return;
    }
    PortIsOpen = true;
    ++Openings;
    m_frames.Forget(); // whatever is there now
    m_lines.Forget();
    m_lastCrc_mm.reset();
    m_mismatch = Mismatch::None;
    UnitInDoubt = false;
    m_unsent.clear();
    CommBaudrate(rate);
}

void clsRVQ::CloseComPort()
{
    if (m_port != nullptr && (PortIsOpen || PortIsOpening())) {
        m_port->sio_close(CommComPort);
    }
    m_openingRate.reset();
    if (std::exchange(PortIsOpen, false)) {
        Journal.Append(EventNoAnswer); // who waits must hear of it, even if the port is open again by then
    }
}

OpenFailure clsRVQ::LastFailure() const
{
    return m_port == nullptr ? OpenFailure() : m_port->LastFailure(CommComPort);
}

bool clsRVQ::DevicesChanged() const
{
    return m_port != nullptr && m_port->DevicesChanged(CommComPort);
}

std::int32_t clsRVQ::CommBaudrate() const
{
    return m_port == nullptr ? 0 : m_port->sio_getbaud(CommComPort);
}

void clsRVQ::CommBaudrate(std::int32_t rate)
{
    if (std::ranges::find(kPortRates, rate) == std::end(kPortRates)) {
        return;
    }
    m_lastRate = rate;
    if (PortIsOpening()) {
        m_openingRate = rate;
    } else if (m_port != nullptr) {
        m_port->sio_baud(CommComPort, rate);
    }
}

std::int32_t clsRVQ::PortStatus() const
{
    return m_port == nullptr ? 0 : m_port->sio_data_status(CommComPort);
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
    NewInData.clear();
    if (m_port == nullptr) {
        return;
    }
    sendRest();
    const std::int32_t waiting = m_port->sio_iqueue(CommComPort);
    if (waiting > 0) {
        NewInData.resize(static_cast<std::size_t>(waiting));
        const std::int32_t count = m_port->sio_read(CommComPort, NewInData);
        NewInData.resize(static_cast<std::size_t>(std::clamp(count, 0, waiting)));
        InBuffer += NewInData;
        m_lastArrival = CurrentTime;
    }
    if (m_port->HasVanished(CommComPort)) {
        CloseComPort();
    }
}

void clsRVQ::SendCommand(std::string_view Command)
{
    const std::int32_t wait_ms = answerTime_ms(Command);
    // The caller may have handed in a view of LastCommand itself.
    std::string command(Command);
    if (m_port != nullptr && PortIsOpen) {
        m_port->sio_flush(CommComPort, 0);
        sendBytes(command);
        if (command == "S" && m_pause) {
            m_pause(millisecondsAtRate(kStopBits, effectiveRate()));
        }
    }
    EventNr = EventNone;
    if (command.size() > 3 && command.back() == '\r') {
        noteSentFrame(command.substr(0, command.size() - 1));
    }
    LastCommand = std::move(command);
    InBuffer.clear();
    m_frames.Restart();
    m_lines.Restart();
    m_outOfStep = false;
    m_due.clear();
    m_reported = false;
    // Deliberate: counted from the stored time, so the pause after a stop is part of the answer time.
    FailTime = CurrentTime + (wait_ms + kMargin_ms) / kMsPerDay;
}

void clsRVQ::ShiftClock(double days)
{
    FailTime += days;
    ReadTempTime += days;
    m_lastArrival += days;
    m_lines.ShiftClock(days);
    for (SentFrame& frame : m_sentFrames) {
        frame.time += days;
    }
}

/// Half a frame and the next command would be another frame to the sensor. What has begun is therefore ended first, and
/// what cannot begin is not kept: sent late, a start might come after its stop.
void clsRVQ::sendBytes(std::string_view bytes)
{
    sendRest();
    if (!m_unsent.empty()) {
        return;
    }
    const std::int32_t taken = m_port->sio_write(CommComPort, bytes);
    if (taken > 0) {
        m_unsent = bytes.substr(std::min(bytes.size(), static_cast<std::size_t>(taken)));
    }
}

void clsRVQ::sendRest()
{
    if (m_unsent.empty()) {
        return;
    }
    const std::int32_t taken = m_port->sio_write(CommComPort, m_unsent);
    m_unsent.erase(0, taken < 0 ? m_unsent.size() : static_cast<std::size_t>(taken));
}

/// A verdict may come late, when nobody waits for it any more.
void clsRVQ::noteSentFrame(std::string text)
{
    m_sentFrames.push_back({std::move(text), CurrentTime});
    if (m_sentFrames.size() > kSentFrames) {
        m_sentFrames.pop_front();
    }
}

std::int32_t clsRVQ::effectiveRate() const
{
    const std::int32_t rate = CommBaudrate();
    return rate > 0 ? rate : m_lastRate;
}

std::int32_t clsRVQ::answerTime_ms(std::string_view command) const
{
    if (command == "S") {
        return 1500;
    }
    if (command == "T") {
        return 1000;
    }
    if (command == "M") {
        return 3000;
    }
    if (command == "C") {
        return millisecondsAtRate(kDumpBits, effectiveRate());
    }
    // Deliberate: looked for anywhere in the frame, so "701 1000" gets the long time too, as storing and defaults do.
    if (command.find("000") != std::string_view::npos || command.find("999") != std::string_view::npos) {
        return 3000;
    }
    return 1500;
}
