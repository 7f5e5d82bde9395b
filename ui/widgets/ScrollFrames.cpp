#include "ui/widgets/ScrollFrames.h"

#include <QApplication>
#include <QResizeEvent>

#include <algorithm>

namespace {

constexpr int kFewestLines = 8;    // of text
constexpr int kFewestColumns = 48; // characters

/// While a button of the mouse is pressed, nothing moves under it.
bool isPressed()
{
    return QApplication::mouseButtons() != Qt::NoButton;
}

} // namespace

ScrollFrames::ScrollFrames(QWidget* parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus); // the controls in it have the focus, and are scrolled into view
    setWidgetResizable(true);
    viewport()->setAutoFillBackground(false);
    connect(qApp, &QApplication::focusChanged, this, &ScrollFrames::followFocus);
}

QSize ScrollFrames::sizeHint() const
{
    const QSize whole = widget()->sizeHint().expandedTo(widget()->minimumSizeHint());
    return whole + QSize(2, 2) * frameWidth();
}

QSize ScrollFrames::minimumSizeHint() const
{
    const int columns = kFewestColumns * fontMetrics().averageCharWidth();
    return {std::min(widget()->minimumSizeHint().width(), columns),
            std::min(widget()->minimumSizeHint().height(), kFewestLines * fontMetrics().height())};
}

bool ScrollFrames::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest) {
        updateGeometry();
    }
    return QScrollArea::eventFilter(watched, event);
}

void ScrollFrames::resizeEvent(QResizeEvent* event)
{
    const QWidget* focus = QApplication::focusWidget();
    const bool isOurs = focus != nullptr && widget()->isAncestorOf(focus);
    const QRect seen(QPoint(), event->oldSize());
    const bool wasSeen = isOurs && seen.contains(QRect(focus->mapTo(viewport(), QPoint()), focus->size()));
    QScrollArea::resizeEvent(event);
    if (wasSeen && !isPressed()) {
        reveal(*focus);
    }
}

/// Qt does so for the tab key within the area only, not for a mnemonic or from outside. When the focus comes back from
/// another window, or to a control that was disabled, the frames stay where the user has scrolled them.
void ScrollFrames::followFocus(const QWidget* old, const QWidget* now)
{
    const bool isMoved = old != nullptr && now != nullptr && old->window() == now->window();
    if (isMoved && widget()->isAncestorOf(now) && !isPressed()) {
        reveal(*now);
    }
}

/// Qt itself would be content with the text cursor of a box.
void ScrollFrames::reveal(const QWidget& control)
{
    const QPoint centre = control.mapTo(widget(), control.rect().center());
    ensureVisible(centre.x(), centre.y(), 0, control.height() / 2 + fontMetrics().height());
}
