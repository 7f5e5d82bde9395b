#include "ui/widgets/FocusMark.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QWidget>

void PaintFocus(QPainter& painter, const QWidget& widget, const QRect& area, const QColor& ground)
{
    QStyleOptionFocusRect focus;
    focus.initFrom(&widget);
    focus.rect = area;
    focus.backgroundColor = ground;
    widget.style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, &widget);
}
