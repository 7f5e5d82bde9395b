// The folder chart/ draws the measured values over time. Here: the widget with grid, scales and curve.
#pragma once

#include <QPointF>
#include <QString>
#include <QWidget>

#include <deque>

class XYChart : public QWidget {
    Q_OBJECT

public:
    explicit XYChart(QWidget* parent);

    /// Seconds of curve that are shown.
    static constexpr double kSpan_s = 60.0;

    void Reset();
    /// A point: days since 1899-12-30, value in the shown unit. Points older than the span are forgotten.
    void AddPoint(double time, double value);
    /// Scrolls to this time (days since 1899-12-30).
    void ShowTime(double time);
    void YTitle(const QString& title);
    /// What stands in place of the curve while there is none.
    void EmptyText(const QString& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Range {
        double low = 0.0, high = 1.0, step = 1.0;
    };

    Range valueRange() const;
    double xOf(double time, const QRectF& plot) const;
    void drawValueScale(QPainter& painter, const QRectF& plot, const Range& range) const;
    void drawTimeScale(QPainter& painter, const QRectF& plot) const;
    void drawCurve(QPainter& painter, const QRectF& plot, const Range& range) const;

    std::deque<QPointF> m_points; // x: days, y: value
    double m_newest = 0.0;
    QString m_yTitle;
    QString m_emptyText;
};
