#include "shell/LineLabel.h"

#include <QFontMetricsF>
#include <QPainter>

LineLabel::LineLabel(QWidget* parent, Qt::TextElideMode mode) : QLabel(parent), m_mode(mode)
{
    setTextFormat(Qt::PlainText); // else every new text is searched for tags
    if (mode != Qt::ElideNone) {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }
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

void LineLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QFontMetricsF metrics(font());
    QString shown = text();
    double needed = metrics.horizontalAdvance(shown);
    if (needed > width() && m_mode != Qt::ElideNone) {
        shown = metrics.elidedText(shown, m_mode, width());
        needed = metrics.horizontalAdvance(shown);
    }
    const double left = alignment().testFlag(Qt::AlignRight) ? width() - needed : 0.0;
    painter.drawText(QPointF(left, (height() + metrics.ascent() - metrics.descent()) / 2.0), shown);
}
