// The mark of the focus, for widgets whose style draws none.
#pragma once

class QColor;
class QPainter;
class QRect;
class QWidget;

/// Draws the style's frame of the focus around an area of a widget; `ground` is what it lies on.
void PaintFocus(QPainter& painter, const QWidget& widget, const QRect& area, const QColor& ground);
