#include "ui/widgets/ScrollFrames.h"

#include <QEvent>

#include <algorithm>

namespace {

constexpr int kFewestLines = 8;    // of text
constexpr int kFewestColumns = 48; // characters

} // namespace

ScrollFrames::ScrollFrames(QWidget* parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus); // the controls in it have the focus, and are scrolled into view
    setWidgetResizable(true);
    viewport()->setAutoFillBackground(false);
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
