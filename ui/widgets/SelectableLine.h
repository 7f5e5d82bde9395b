// A label with one line of plain text that can be selected and copied. A long text does not widen the window: dots
// replace what has no room, and the tool tip holds the whole text.
#pragma once

#include <QLabel>

class SelectableLine : public QLabel {
    Q_OBJECT

public:
    explicit SelectableLine(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool isCut() const;
};
