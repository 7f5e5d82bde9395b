#include "port/clsPorts.h"

#include "port/modLineUrl.h"

std::int32_t clsPorts::sio_open(std::int32_t port)
{
    sio_close(port);
    m_isNet[port] = modLineUrl::IsUrl(m_devices.DeviceOf(port));
    return of(port).sio_open(port);
}

bool clsPorts::HasRate(std::int32_t port) const
{
    const bool isNet = !m_isNet.contains(port) && modLineUrl::IsUrl(m_devices.DeviceOf(port));
    return isNet ? m_net.HasRate(port) : of(port).HasRate(port);
}

SerialPort& clsPorts::of(std::int32_t port)
{
    const auto isNet = m_isNet.find(port);
    if (isNet != m_isNet.end() && isNet->second) {
        return m_net;
    }
    return m_terminals;
}

const SerialPort& clsPorts::of(std::int32_t port) const
{
    return const_cast<clsPorts*>(this)->of(port); // NOLINT: the overload changes nothing
}
