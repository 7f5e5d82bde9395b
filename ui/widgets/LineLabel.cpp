#include "ui/widgets/LineLabel.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

/// Whether the text is a number or a time. Such a text is plain ASCII whose characters do not depend on their
/// neighbours, so it can be drawn character by character.
bool isFigure(const QString& text)
{
    return std::ranges::any_of(text, [](QChar c) { return c.isDigit(); }) &&
           std::ranges::all_of(text, [](QChar c) { return c >= u' ' && c <= u'~'; });
}

} // namespace

LineLabel::LineLabel(QWidget* parent, Qt::TextElideMode mode) : QLabel(parent), m_mode(mode)
{
    setTextFormat(Qt::PlainText); // otherwise every new text is searched for tags
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

void LineLabel::ShowStale(bool stale)
{
    if (std::exchange(m_stale, stale) != stale) {
        update();
    }
}

/// The width of the text with its widest digits: in some fonts digits differ in width.
QSize LineLabel::sizeHint() const
{
    const QFontMetrics metrics = fontMetrics();
    QString measured = text();
    for (QChar& character : measured) {
        if (character.isDigit() && metrics.horizontalAdvance(character) < metrics.horizontalAdvance(u'0')) {
            character = u'0';
        }
    }
    if (!isFigure(measured)) {
        return {metrics.horizontalAdvance(measured), metrics.height()};
    }
    double width = 0.0; // character by character, as when drawn
    for (const QChar character : measured) {
        width += QFontMetricsF(font()).horizontalAdvance(character);
    }
    return {static_cast<int>(std::ceil(width)), metrics.height()};
}

bool LineLabel::event(QEvent* event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        m_laidOut = {};
        m_characters.clear();
    }
    return QLabel::event(event);
}

/// Laying out a text costs more than drawing it, so it is repeated only for a different text. The layout of the last
/// text is kept while the label is empty, because messages come and go.
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
    if (m_stale) {
        painter.setPen(palette().color(QPalette::Disabled, foregroundRole()));
    }
    drawContent(painter);
}

void LineLabel::drawContent(QPainter& painter)
{
    if (m_mode == Qt::ElideNone && isFigure(text())) {
        drawFigure(painter);
    } else if (!text().isEmpty()) {
        drawLine(painter);
    }
}

void LineLabel::drawLine(QPainter& painter)
{
    layOut();
    painter.drawStaticText(cornerOf(m_line.size()), m_line);
}

/// Each text is new, but its characters are not: drawn one by one, they need no new layout.
void LineLabel::drawFigure(QPainter& painter)
{
    QSizeF size;
    for (const QChar character : text()) {
        Character& known = m_characters[character];
        if (known.width == 0.0) {
            known = {QStaticText(character), QFontMetricsF(font()).horizontalAdvance(character)};
            known.text.setTextFormat(Qt::PlainText);
            known.text.prepare({}, font());
        }
        size = {size.width() + known.width, std::max(size.height(), known.text.size().height())};
    }
    QPointF corner = cornerOf(size);
    for (const QChar character : text()) {
        const Character& known = m_characters[character];
        painter.drawStaticText(corner, known.text);
        corner.rx() += known.width;
    }
}

/// Where a line of this size begins.
QPointF LineLabel::cornerOf(const QSizeF& size) const
{
    const double left = alignment().testFlag(Qt::AlignRight) ? width() - size.width() : 0.0;
    return {left, (height() - size.height()) / 2.0};
}
