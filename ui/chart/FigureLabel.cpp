#include "ui/chart/FigureLabel.h"

#include "ui/widgets/FocusMark.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QPainter>

FigureLabel::FigureLabel(QWidget* parent) : LineLabel(parent)
{
    setFocusPolicy(Qt::ClickFocus);
    setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setContextMenuPolicy(Qt::ActionsContextMenu);
}

/// Ctrl+C is the window's, too; while a number has the focus it is the number's.
bool FigureLabel::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->matches(QKeySequence::Copy)) {
            QApplication::clipboard()->setText(text());
            return true;
        }
        const bool isBack = key->key() == Qt::Key_Left || key->key() == Qt::Key_Up;
        if (key->modifiers() == Qt::NoModifier &&
            (isBack || key->key() == Qt::Key_Right || key->key() == Qt::Key_Down)) {
            emit left(isBack ? -1 : 1);
            return true;
        }
    }
    if (event->type() == QEvent::FocusIn) {
        emit focused();
    }
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        update();
    }
    return LineLabel::event(event);
}

void FigureLabel::paintEvent(QPaintEvent* event)
{
    LineLabel::paintEvent(event);
    if (hasFocus()) {
        QPainter painter(this);
        PaintFocus(painter, *this, rect(), palette().color(backgroundRole()));
    }
}
