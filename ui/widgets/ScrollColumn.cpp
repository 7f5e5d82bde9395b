#include "ui/widgets/ScrollColumn.h"

#include <QEvent>
#include <QScrollBar>

#include <algorithm>

namespace {

constexpr int kFewestLines = 16; // of text; enough for the first frame

} // namespace

ScrollColumn::ScrollColumn(QWidget* parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus); // the controls in it have the focus, and are scrolled into view
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    viewport()->setAutoFillBackground(false);
}

QSize ScrollColumn::sizeHint() const
{
    return {neededWidth(), widget()->sizeHint().height()};
}

QSize ScrollColumn::minimumSizeHint() const
{
    const int whole = widget()->minimumSizeHint().height();
    return {neededWidth(), std::min(whole, kFewestLines * fontMetrics().height())};
}

int ScrollColumn::neededWidth() const
{
    const QSize needed = widget()->minimumSizeHint();
    const bool isScrolled = height() < needed.height();
    return widget()->sizeHint().expandedTo(needed).width() + (isScrolled ? verticalScrollBar()->sizeHint().width() : 0);
}

bool ScrollColumn::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest) {
        updateGeometry();
    }
    return QScrollArea::eventFilter(watched, event);
}

void ScrollColumn::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    updateGeometry();
}
