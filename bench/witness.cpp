// A plugin that the environment loads into any Qt program, so that the program and the bare windows are watched in the
// same way, from outside. It prints a line when the first window has been painted, and clicks a button if it is told
// to. QT_QPA_GENERIC_PLUGINS=orvexwitness[:BUTTON]
#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QGenericPlugin>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <ctime>

namespace {

constexpr int kLook_ms = 50;

class Witness : public QObject {
    Q_OBJECT

public:
    explicit Witness(const QString& button) : m_button(button) { qApp->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && watched->isWidgetType() && static_cast<QWidget*>(watched)->isWindow()) {
            qApp->removeEventFilter(this);
            // By the time of this event the window's children are painted and everything is handed to the display.
            QMetaObject::invokeMethod(
                this, [this, window = static_cast<QWidget*>(watched)] { tell(*window); }, Qt::QueuedConnection);
        }
        return false;
    }

private:
    void tell(const QWidget& window)
    {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        std::printf("painted %lld.%09ld %d %d\n", static_cast<long long>(now.tv_sec), now.tv_nsec, window.width(),
                    window.height());
        std::fflush(stdout);
        if (!m_button.isEmpty()) {
            auto* look = new QTimer(this);
            connect(look, &QTimer::timeout, this, [this, look] { click(*look); });
            look->start(kLook_ms);
        }
    }

    /// Clicks once, as soon as the button can be clicked.
    void click(QTimer& look)
    {
        for (const QWidget* window : QApplication::topLevelWidgets()) {
            auto* button = window->findChild<QAbstractButton*>(m_button);
            if (button != nullptr && button->isEnabled()) {
                look.stop();
                button->click();
            }
        }
    }

    QString m_button;
};

class WitnessPlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "witness.json")

public:
    QObject* create(const QString&, const QString& button) override { return new Witness(button); }
};

} // namespace

#include "witness.moc"
