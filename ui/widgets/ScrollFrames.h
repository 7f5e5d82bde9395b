// The frames of a window in an area that is scrolled where they have no room. It asks for as much room as they need.
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
};
