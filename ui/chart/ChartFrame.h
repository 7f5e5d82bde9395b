// The chart on the screen, kept from frame to frame: ground and texts are drawn when they change, the curve only in the
// pixels where it moves.
#pragma once

#include "plot/clsCurveColumns.h"
#include "plot/clsCurvePainter.h"
#include "ui/chart/ChartDrawing.h"
#include "ui/chart/ChartLayout.h"

#include <QImage>
#include <QPixmap>
#include <QRect>

#include <optional>
#include <vector>

class QPainter;
class QPalette;
class clsChartData;

class ChartFrame {
public:
    /// The content must outlive the frame.
    explicit ChartFrame(const ChartContent& content) : m_content(content) {}

    /// Makes the next Prepare draw ground and texts anew, as another size or ratio does.
    void Discard() { m_isStale = true; }
    void Prepare(const QFont& font, const QPalette& palette, const QSize& size, double ratio);
    /// Removes the last curve and draws the present one; call Prepare before. The read pointer of the series must stand
    /// on its oldest point. Returns whether any of the curve may be visible; dots are not checked and always count
    /// as visible.
    bool Compose(const clsChartData& series);
    void Paint(QPainter& painter) const;
    /// Draws a dot where the curve grows.
    void PaintNewest(QPainter& painter, const ChartPoint& newest) const;
    /// Draws a text in the middle of the plot.
    void PaintNote(QPainter& painter, const QString& text) const;

    /// The area that a new value changes unless the time axis moves too; empty before the first frame. Units.
    QRect CurveArea() const;
    /// The plot, and the values that lie at a height in it; units.
    QRectF PlotArea() const { return m_layout ? m_layout->PlotArea() : QRectF(); }
    double ValueAt(double y) const;
    double YOf(double value) const;
    /// What lies over the curve.
    void PaintOverlay(QPainter& painter) const;
    const ChartColors& Colors() const { return m_colors; }

private:
    QPixmap newestDot(double ratio) const;

    const ChartContent& m_content;
    bool m_isStale = true;
    std::optional<ChartLayout> m_layout;
    ChartColors m_colors;
    std::vector<ChartLayout::Tick> m_timeTicks;
    QImage m_picture; ///< grid and scales; the curve is drawn on them and removed again
    QPixmap m_newest; ///< the dot where the curve grows
    clsCurveColumns m_columns;
    clsCurvePainter m_curvePainter;
};
