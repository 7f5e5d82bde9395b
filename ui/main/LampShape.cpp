#include "ui/main/LampShape.h"

#include <QFontMetrics>
#include <QPainter>

LampShape::LampShape(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void LampShape::FillColor(const QColor& color)
{
    if (color != m_color) {
        m_color = color;
        update();
    }
}

QSize LampShape::sizeHint() const
{
    const int side = fontMetrics().height();
    return {side, side};
}

void LampShape::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::WindowText), 1.0));
    painter.setBrush(m_color);
    painter.drawEllipse(QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5));
}
