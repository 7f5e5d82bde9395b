#include "ui/main/ValueLabel.h"

#include "ui/widgets/FocusMark.h"

#include <QKeyEvent>
#include <QPainter>

ValueLabel::ValueLabel(QWidget* parent) : LineLabel(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

void ValueLabel::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) {
        emit clicked();
    }
}

void ValueLabel::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        emit clicked();
    } else {
        LineLabel::keyPressEvent(event);
    }
}

void ValueLabel::paintEvent(QPaintEvent* event)
{
    LineLabel::paintEvent(event);
    if (hasFocus()) {
        QPainter painter(this);
        PaintFocus(painter, *this, rect(), palette().color(backgroundRole()));
    }
}
