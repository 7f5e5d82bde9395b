// A label of one line of plain text, left or right as aligned, that measures and draws it itself: for texts that change
// all the time. A bare label lays out a paragraph for each, or a whole document if it can have the focus.
#pragma once

#include <QLabel>
#include <QStaticText>

class LineLabel : public QLabel {
    Q_OBJECT

public:
    /// With a mode a long text does not widen the window: dots stand for what has no room; the tool tip is the owner's
    /// business.
    explicit LineLabel(QWidget* parent, Qt::TextElideMode mode = Qt::ElideNone);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void layOut();

    Qt::TextElideMode m_mode;
    QStaticText m_line;
    QString m_laidOut;
    int m_laidOutWidth = 0;
};
