// A column of frames as wide as they need. Where the window is too low for all of them, it can be scrolled.
#pragma once

#include <QScrollArea>

class ScrollColumn : public QScrollArea {
    Q_OBJECT

public:
    explicit ScrollColumn(QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    int neededWidth() const;
};
