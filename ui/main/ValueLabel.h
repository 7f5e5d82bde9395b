// A label that can be clicked, also with the keyboard.
#pragma once

#include "ui/widgets/LineLabel.h"

class ValueLabel : public LineLabel {
    Q_OBJECT

public:
    explicit ValueLabel(QWidget* parent);

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};
