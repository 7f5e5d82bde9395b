// A label whose text takes as many lines as its width needs. A bare label makes its window believe that the text always
// needs the height of its narrowest shape.
#pragma once

#include <QLabel>

class WrappedLabel : public QLabel {
public:
    explicit WrappedLabel(QWidget* parent);

    bool hasHeightForWidth() const override { return false; }
    QSize sizeHint() const override { return {0, heightForWidth(width())}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;
};
