// A label that shortens a text without room by dots; its tool tip is the owner's business.
#pragma once

#include <QLabel>
#include <QPainter>
#include <QStyle>

class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(QWidget* parent, Qt::TextElideMode mode = Qt::ElideRight) : QLabel(parent), m_mode(mode)
    {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // a long text must not widen the window
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        const QRect area = contentsRect();
        style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(),
                              fontMetrics().elidedText(text(), m_mode, area.width()), foregroundRole());
    }

private:
    Qt::TextElideMode m_mode;
};
