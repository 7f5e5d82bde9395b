// Keeps input away from where it would do harm.
#pragma once

#include <QObject>

class QWidget;

/// The mouse wheel scrolls past lists that have not the focus: turning it over one must not change a setting.
void KeepWheelFromLists(QWidget& window);

/// For as long as it lives, a window takes no mouse and no keys; unlike behind a modal window its frame still closes
/// it.
class InputBlock : public QObject {
    Q_OBJECT

public:
    /// What is done to the blocked window brings `front` to the front.
    InputBlock(QWidget& blocked, QWidget& front);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget& m_blocked;
    QWidget& m_front;
};
