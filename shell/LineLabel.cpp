#include "shell/LineLabel.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>

#include <utility>

LineLabel::LineLabel(QWidget* parent, Qt::TextElideMode mode) : QLabel(parent), m_mode(mode)
{
    setTextFormat(Qt::PlainText); // else every new text is searched for tags
    m_line.setTextFormat(Qt::PlainText);
    if (mode != Qt::ElideNone) {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }
}

void LineLabel::DrawGroundBy(std::function<void(QPainter&)> ground)
{
    m_ground = std::move(ground);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

/// As wide as the text with any other digits, which not every font has of one width.
QSize LineLabel::sizeHint() const
{
    const QFontMetrics metrics = fontMetrics();
    QString measured = text();
    for (QChar& character : measured) {
        if (character.isDigit() && metrics.horizontalAdvance(character) < metrics.horizontalAdvance(u'0')) {
            character = u'0';
        }
    }
    return {metrics.horizontalAdvance(measured), metrics.height()};
}

bool LineLabel::event(QEvent* event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_laidOut = {};
    }
    return QLabel::event(event);
}

/// Laying a text out costs more than drawing it, so it is done again only for another one. That of the last text stays
/// while there is none: messages come and go.
void LineLabel::layOut()
{
    const bool elides = m_mode != Qt::ElideNone;
    if (m_laidOut == text() && (m_laidOutWidth == width() || !elides)) {
        return;
    }
    m_laidOut = text();
    m_laidOutWidth = width();
    m_line.setText(m_laidOut);
    m_line.prepare({}, font());
    if (elides && m_line.size().width() > width()) {
        m_line.setText(QFontMetricsF(font()).elidedText(m_laidOut, m_mode, width()));
        m_line.prepare({}, font());
    }
}

void LineLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (m_ground) {
        m_ground(painter);
    }
    if (text().isEmpty()) {
        return;
    }
    layOut();
    const QSizeF size = m_line.size();
    const double left = alignment().testFlag(Qt::AlignRight) ? width() - size.width() : 0.0;
    painter.drawStaticText(QPointF(left, (height() - size.height()) / 2.0), m_line);
}
