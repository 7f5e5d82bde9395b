#include "ui/widgets/SelectableLine.h"

#include "ui/widgets/QtText.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace {

constexpr int kShownCharacters = 24;

} // namespace

SelectableLine::SelectableLine(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
}

QSize SelectableLine::sizeHint() const
{
    const int most = kShownCharacters * fontMetrics().averageCharWidth();
    return {std::min(QLabel::sizeHint().width(), most), QLabel::sizeHint().height()};
}

QSize SelectableLine::minimumSizeHint() const
{
    return sizeHint();
}

bool SelectableLine::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        setToolTip(isCut() ? PlainToolTip(text()) : QString());
    }
    return QLabel::event(event);
}

void SelectableLine::paintEvent(QPaintEvent* event)
{
    if (!isCut()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(), isEnabled(), shown,
                          foregroundRole());
}

bool SelectableLine::isCut() const
{
    return fontMetrics().horizontalAdvance(text()) > contentsRect().width();
}
