// The chart as it stands on the screen, kept from frame to frame: ground and texts are drawn when they change, the
// curve into the pixels where it moves on.
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
    /// The content has to outlast the frame.
    explicit ChartFrame(const ChartContent& content) : m_content(content) {}

    /// The next Prepare draws ground and texts anew, as it does for another size or ratio.
    void Discard() { m_isStale = true; }
    void Prepare(const QFont& font, const QPalette& palette, const QSize& size, double ratio);
    /// Takes the last curve out and draws the present one; needs Prepare. The read pointer of the series stands on its
    /// oldest point. Whether there may be anything of it to see: of dots, this is not known here.
    bool Compose(const clsChartData& series);
    void Paint(QPainter& painter) const;
    /// A dot where the curve grows.
    void PaintNewest(QPainter& painter, const ChartPoint& newest) const;
    /// A text in the middle of the plot.
    void PaintNote(QPainter& painter, const QString& text) const;

    /// What a new value changes, unless the time axis moves along; empty before the first frame. Units.
    QRect CurveArea() const;
    const ChartColors& Colors() const { return m_colors; }

private:
    QPixmap newestDot(double ratio) const;

    const ChartContent& m_content;
    bool m_isStale = true;
    std::optional<ChartLayout> m_layout;
    ChartColors m_colors;
    std::vector<ChartLayout::Tick> m_timeTicks;
    QImage m_picture; ///< grid and scales, and the curve while it is drawn on them
    QPixmap m_newest; ///< the dot where the curve grows
    clsCurveColumns m_columns;
    clsCurvePainter m_curvePainter;
};
