// Holds a label whose text changes all the time. It keeps the room that the label has needed once and a picture of what
// lies behind the label, so a new text of the same length only redraws the label. A bare label would have the whole
// window laid out anew and its frame painted, twenty times a second.
#pragma once

#include <QPixmap>
#include <QSize>
#include <QWidget>

class LineLabel;
class QPainter;

class KeptRoom : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    /// Takes over the label, which must be a child, and its size policy.
    void Hold(LineLabel& label);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void keepUp();
    void drawGround(QPainter& painter);

    LineLabel* m_label = nullptr;
    qsizetype m_length = 0; ///< of the longest text measured so far
    QSize m_room;
    QPixmap m_ground;
    QSize m_groundParent; ///< the parent's size in that picture
};
