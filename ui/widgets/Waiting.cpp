#include "ui/widgets/Waiting.h"

#include <QApplication>
#include <QPointer>
#include <QPushButton>

void PumpEvents()
{
    QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void Press(QPushButton& button, const std::function<void()>& act)
{
    struct Pressed {
        QPushButton& button;
        QPointer<QWidget> instead;
        QMetaObject::Connection moves;

        explicit Pressed(QPushButton& pressed) : button(pressed)
        {
            if (button.hasFocus()) {
                moves = QObject::connect(qApp, &QApplication::focusChanged, &button, [this](QWidget*, QWidget* now) {
                    instead = now;
                    QObject::disconnect(moves);
                });
            }
            button.setDown(true);
        }
        ~Pressed()
        {
            QObject::disconnect(moves);
            button.setDown(false);
            if (instead != nullptr && QApplication::focusWidget() == instead && button.isEnabled()) {
                button.setFocus();
            }
        }
    } const pressed(button);
    act();
}
