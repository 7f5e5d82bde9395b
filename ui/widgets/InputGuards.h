// Blocks input where it would do harm.
#pragma once

#include <QObject>

class QWidget;

/// The mouse wheel scrolls past lists without the focus: turning it over a list must not change a setting.
void KeepWheelFromLists(QWidget& window);

/// While it lives, a window takes no mouse and no keys. Unlike behind a modal window, the window's frame can still
/// close it.
class InputBlock : public QObject {
    Q_OBJECT

public:
    /// A click in the blocked window brings `front` to the front.
    InputBlock(QWidget& blocked, QWidget& front);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget& m_blocked;
    QWidget& m_front;
};
