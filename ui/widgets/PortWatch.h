// Takes bytes out of a session's port as soon as they arrive, so that they keep the time of their arrival. What they
// mean is left to the next tick.
#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;
class clsSession;

class PortWatch : public QObject {
    Q_OBJECT

public:
    /// `session` must outlive this object.
    explicit PortWatch(clsSession& session, QObject* parent);
    ~PortWatch() override;

    /// Watches the port that is open now, if one is. Call it after every tick: a port that was opened again has another
    /// descriptor.
    void Follow();
    /// Watches nothing until the next `Follow`. Call it before the port is closed outside a tick, because another file
    /// may get its descriptor.
    void Stop();

private:
    void collect();

    clsSession& m_session;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
