#include "ui/widgets/BarLayout.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>

void LayOutBar(QFrame& bar, QWidget& words, QPushButton& back, QToolButton& dismiss)
{
    bar.setFrameShape(QFrame::StyledPanel);
    bar.setAutoFillBackground(true);
    bar.setBackgroundRole(QPalette::AlternateBase);
    bar.setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    back.setAutoDefault(false);
    dismiss.setAutoRaise(true);
    dismiss.setText(QStringLiteral("✕"));
    auto* row = new QHBoxLayout(&bar);
    const int gap = bar.fontMetrics().height() / 4;
    row->setContentsMargins(2 * gap, gap, gap, gap);
    row->addWidget(&words, 1);
    row->addWidget(&back);
    row->addWidget(&dismiss);
    bar.hide();
}
