// The connection lamp: a filled circle.
#pragma once

#include <QColor>
#include <QWidget>

class LampShape : public QWidget {
    Q_OBJECT

public:
    explicit LampShape(QWidget* parent);

    void FillColor(const QColor& color);
    QColor FillColor() const { return m_color; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color = Qt::red;
};
