#include "ui/widgets/KeptRoom.h"

#include "ui/widgets/LineLabel.h"

#include <QEvent>
#include <QPainter>

#include <cmath>
#include <utility>

void KeptRoom::Hold(LineLabel& label)
{
    m_label = &label;
    setSizePolicy(label.sizePolicy());
    label.DrawGroundBy([this](QPainter& painter) {
        keepUp();
        drawGround(painter);
    });
}

QSize KeptRoom::sizeHint() const
{
    return m_label->sizeHint().expandedTo(minimumSize()).expandedTo(m_room);
}

QSize KeptRoom::minimumSizeHint() const
{
    return sizeHint();
}

bool KeptRoom::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::StyleChange:
        m_room = {};
        m_length = 0;
        [[fallthrough]];
    case QEvent::PaletteChange:
    case QEvent::EnabledChange:
    case QEvent::WindowActivate:
    case QEvent::WindowDeactivate:
    case QEvent::Move:
    case QEvent::Resize:
        m_ground = {};
        break;
    default:
        break;
    }
    return QWidget::event(event);
}

/// Called when the label may have a new text. Measuring costs more than drawing, so only a text longer than all before
/// is measured.
void KeptRoom::keepUp()
{
    if (m_label->text().size() <= m_length) {
        return;
    }
    m_length = m_label->text().size();
    if (std::exchange(m_room, sizeHint()) != m_room) {
        updateGeometry();
    }
}

/// A layout may give this its new size before the parent has it: the parent's frame is then still in the wrong place.
void KeptRoom::drawGround(QPainter& painter)
{
    const double scale = devicePixelRatio();
    const QSize parent = parentWidget()->size();
    if (m_ground.isNull() || m_ground.devicePixelRatio() != scale || m_groundParent != parent) {
        m_groundParent = parent;
        m_ground = QPixmap(static_cast<int>(std::ceil(width() * scale)), static_cast<int>(std::ceil(height() * scale)));
        m_ground.setDevicePixelRatio(scale);
        m_ground.fill(palette().color(QPalette::Window)); // at a fractional scale a last row may be left out
        parentWidget()->render(&m_ground, {}, geometry(), DrawWindowBackground);
    }
    painter.drawPixmap(0, 0, m_ground);
}

/// A label of fixed size does not ask for a new size with each text.
void KeptRoom::resizeEvent(QResizeEvent*)
{
    m_label->setFixedSize(size());
}
