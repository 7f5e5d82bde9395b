#include "ui/main/ValueLabel.h"

#include <QKeyEvent>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

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
        QStylePainter painter(this);
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.backgroundColor = palette().color(backgroundRole());
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }
}
