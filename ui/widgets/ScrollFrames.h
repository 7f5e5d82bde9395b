// The frames of a window in an area that is scrolled where they have no room. It asks for as much room as they need.
// The control with the focus stays in sight when the area becomes smaller, and comes into sight when a key moves the
// focus.
#pragma once

#include <QScrollArea>

class ScrollFrames : public QScrollArea {
    Q_OBJECT

public:
    explicit ScrollFrames(QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void followFocus(const QWidget* old, const QWidget* now);
    void reveal(const QWidget& control);
};
