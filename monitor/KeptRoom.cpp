#include "monitor/KeptRoom.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>

#include <utility>

KeptRoom::KeptRoom(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void KeptRoom::Hold(QLabel& label)
{
    m_label = &label;
    setSizePolicy(label.sizePolicy());
}

QSize KeptRoom::sizeHint() const
{
    return m_label->sizeHint().expandedTo(m_label->minimumSize()).expandedTo(m_room);
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
    case QEvent::Move:
    case QEvent::Resize:
        m_ground = {};
        break;
    case QEvent::LayoutRequest:
        keepUp();
        break;
    default:
        break;
    }
    return QWidget::event(event);
}

/// The label's text is another one. Measuring costs more than drawing, so only a longer one than any before is
/// measured.
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

void KeptRoom::paintEvent(QPaintEvent*)
{
    if (m_ground.devicePixelRatio() != devicePixelRatio() || m_ground.isNull()) {
        m_ground = QPixmap(size() * devicePixelRatio());
        m_ground.setDevicePixelRatio(devicePixelRatio());
        parentWidget()->render(&m_ground, {}, geometry(), DrawWindowBackground);
    }
    QPainter(this).drawPixmap(0, 0, m_ground);
}

void KeptRoom::resizeEvent(QResizeEvent*)
{
    m_label->resize(size());
}
