#include "ui/widgets/PortWatch.h"

#include "base/modAPI.h"
#include "session/clsSession.h"
#include "ui/widgets/Guarded.h"

#include <QSocketNotifier>

PortWatch::PortWatch(clsSession& session, QObject* parent) : QObject(parent), m_session(session) {}

PortWatch::~PortWatch() = default;

void PortWatch::Follow()
{
    const int handle = m_session.Device().ArrivalHandle();
    if (m_notifier && m_notifier->socket() != handle) {
        m_notifier.reset();
    }
    if (handle < 0) {
        return;
    }
    if (!m_notifier) {
        m_notifier = std::make_unique<QSocketNotifier>(handle, QSocketNotifier::Read);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] { Guarded([this] { collect(); }); });
    }
    m_notifier->setEnabled(true);
}

void PortWatch::Stop()
{
    m_notifier.reset();
}

/// A line that has hung up is readable for ever but brings nothing, and a port that has vanished is closed by the look
/// at it. Either has to wait for the next tick.
void PortWatch::collect()
{
    if (m_session.Collect(modAPI::LocalTime()) == 0) {
        m_notifier->setEnabled(false);
    }
}
