// The place of a label whose text changes all the time. It keeps the room that the label has needed once, and a picture
// of what lies behind the label: a new text of the same length is only drawn, where a bare label has the whole window
// laid out anew and its frame painted, twenty times a second.
#pragma once

#include <QPixmap>
#include <QSize>
#include <QWidget>

class QLabel;

class KeptRoom : public QWidget {
    Q_OBJECT

public:
    explicit KeptRoom(QWidget* parent);

    /// Takes the label, which must be a child, and its size policy.
    void Hold(QLabel& label);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void keepUp();

    QLabel* m_label = nullptr;
    qsizetype m_length = 0; ///< of the longest text measured
    QSize m_room;
    QPixmap m_ground;
};
