// The hands of an operator on a chart: mouse, wheel, touch pad and the keys that only the chart has. The menu's keys
// are the window's; the right mouse button is the pop-up menu's.
#pragma once

#include <QObject>
#include <QPointF>

class ChartPanel;
class QKeyEvent;
class QMouseEvent;
class QRubberBand;
class QWheelEvent;

class ChartHands : public QObject {
    Q_OBJECT

public:
    /// Watches the chart, which owns it.
    explicit ChartHands(ChartPanel& chart);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Grip { None, Pressed, Moving, Rectangle, Cursor };

    bool handle(QEvent& event);
    bool press(const QMouseEvent& event);
    void move(const QMouseEvent& event);
    void release();
    void drag(const QPointF& to);
    void point(const QPointF& at);
    bool turn(const QWheelEvent& event);
    bool key(const QKeyEvent& event);
    void drop();

    ChartPanel& m_chart;
    QRubberBand* m_band;
    Grip m_grip = Grip::None;
    int m_cursor = 0;                    ///< that is dragged
    QPointF m_from;                      ///< where the button was pressed
    QPointF m_at;                        ///< where the pointer was last
    double m_place = 0.0, m_value = 0.0; ///< grasped by the pointer
};
