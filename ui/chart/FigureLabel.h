// A number with its unit and nothing else, for a table of numbers: it can be chosen by mouse or arrow keys and copied
// by Ctrl+C or its menu.
#pragma once

#include "ui/widgets/LineLabel.h"

class FigureLabel : public LineLabel {
    Q_OBJECT

public:
    explicit FigureLabel(QWidget* parent);

signals:
    /// An arrow key leads to the number before (-1) or after it (1).
    void left(int by);
    void focused();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};
