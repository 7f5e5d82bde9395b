#include "ui/widgets/InputGuards.h"

#include <QApplication>
#include <QComboBox>
#include <QEvent>

namespace {

class WheelFilter : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Wheel && !static_cast<QWidget*>(watched)->hasFocus()) {
            event->ignore();
            return true;
        }
        return false;
    }
};

} // namespace

void KeepWheelFromLists(QWidget& window)
{
    auto* filter = new WheelFilter(&window);
    for (QComboBox* list : window.findChildren<QComboBox*>()) {
        list->setFocusPolicy(Qt::StrongFocus); // otherwise the wheel would give it the focus
        list->installEventFilter(filter);
    }
}

InputBlock::InputBlock(QWidget& blocked, QWidget& front) : m_blocked(blocked), m_front(front)
{
    qApp->installEventFilter(this);
}

bool InputBlock::eventFilter(QObject* watched, QEvent* event)
{
    const auto* widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || widget->window() != &m_blocked) {
        return false;
    }
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        m_front.raise();
        m_front.activateWindow();
        return true;
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
        return true;
    case QEvent::ShortcutOverride:
        event->accept(); // otherwise shortcuts and menu items outside the controls would still act
        return true;
    default:
        return false;
    }
}
