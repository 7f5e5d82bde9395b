#include "port/clsNetPort.h"

#include "port/modLineUrl.h"

std::int32_t clsNetPort::sio_open(std::int32_t port)
{
    sio_close(port);
    Place& place = m_places[port];
    place.tried = m_devices.DeviceOf(port);
    auto url = modLineUrl::Parse(place.tried);
    if (!url) {
        place.failure = {OpenProblem::NoAddress, place.tried, {}, {}};
        return -1;
    }
    if (!place.lookup) {
        place.lookup = std::make_unique<clsNameLookup>(m_resolve);
    }
    place.line = std::make_unique<clsNetLine>(std::move(*url), *place.lookup, m_clock_s());
    return 0;
}

std::int32_t clsNetPort::sio_close(std::int32_t port)
{
    if (const auto place = m_places.find(port); place != m_places.end()) {
        place->second.line.reset();
    }
    return 0;
}

std::int32_t clsNetPort::sio_baud(std::int32_t port, std::int32_t rate)
{
    clsNetLine* line = lineOf(port);
    return line != nullptr && line->SetRate(rate) ? 0 : -1;
}

std::int32_t clsNetPort::sio_getbaud(std::int32_t port)
{
    const clsNetLine* line = lineOf(port);
    return line == nullptr ? -1 : line->Rate();
}

std::int32_t clsNetPort::sio_flush(std::int32_t port, std::int32_t function)
{
    clsNetLine* line = lineOf(port);
    if (line == nullptr || function != 0) {
        return -1;
    }
    line->DiscardReceived(m_clock_s());
    return 0;
}

std::int32_t clsNetPort::sio_write(std::int32_t port, std::span<const char> bytes)
{
    clsNetLine* line = lineOf(port);
    const std::int32_t taken = line == nullptr ? -1 : line->Write(bytes);
    noteProblem(port);
    return taken;
}

std::int32_t clsNetPort::sio_iqueue(std::int32_t port)
{
    clsNetLine* line = lineOf(port);
    const std::int32_t waiting = line == nullptr ? -1 : line->Waiting(m_clock_s());
    noteProblem(port);
    return waiting;
}

std::int32_t clsNetPort::sio_read(std::int32_t port, std::span<char> buffer)
{
    clsNetLine* line = lineOf(port);
    const std::int32_t count = line == nullptr ? -1 : line->Read(buffer);
    noteProblem(port);
    return count;
}

std::int32_t clsNetPort::sio_data_status(std::int32_t port)
{
    clsNetLine* line = lineOf(port);
    return line == nullptr ? 0 : line->TakeLineErrors();
}

PortState clsNetPort::State(std::int32_t port)
{
    clsNetLine* line = lineOf(port);
    if (line == nullptr) {
        return PortState::Closed;
    }
    const PortState state = line->Step(m_clock_s());
    if (state == PortState::Open) {
        m_places.at(port).failure = {};
    }
    noteProblem(port);
    return state;
}

OpenFailure clsNetPort::LastFailure(std::int32_t port) const
{
    const auto place = m_places.find(port);
    return place == m_places.end() ? OpenFailure() : place->second.failure;
}

bool clsNetPort::DevicesChanged(std::int32_t port) const
{
    const auto place = m_places.find(port);
    return place != m_places.end() && m_devices.DeviceOf(port) != place->second.tried;
}

int clsNetPort::ArrivalHandle(std::int32_t port) const
{
    const clsNetLine* line = lineOf(port);
    return line == nullptr ? -1 : line->Descriptor();
}

bool clsNetPort::HasVanished(std::int32_t port) const
{
    const clsNetLine* line = lineOf(port);
    return line != nullptr && line->HasVanished();
}

bool clsNetPort::HasRate(std::int32_t port) const
{
    const auto url = modLineUrl::Parse(m_devices.DeviceOf(port));
    return url && url->protocol == modLineUrl::Protocol::Rfc2217;
}

std::int32_t clsNetPort::Delay_ms(std::int32_t port) const
{
    const clsNetLine* line = lineOf(port);
    return line == nullptr ? 0 : line->RoundTrip_ms();
}

clsNetLine* clsNetPort::lineOf(std::int32_t port) const
{
    const auto place = m_places.find(port);
    return place == m_places.end() ? nullptr : place->second.line.get();
}

/// The reason outlives the line.
void clsNetPort::noteProblem(std::int32_t port)
{
    const clsNetLine* line = lineOf(port);
    if (line == nullptr) {
        return;
    }
    Place& place = m_places.at(port);
    if (line->Problem() != OpenProblem::None || place.failure.problem == OpenProblem::TooMuch) {
        place.failure = {line->Problem(), place.tried, {}, line->Reason()};
    }
}
