// The chart on the screen, kept from frame to frame: ground and texts are drawn when they change, the curve only in the
// pixels where it moves.
#pragma once

#include "plot/clsCurveColumns.h"
#include "plot/clsCurvePainter.h"
#include "plot/clsCurveSweep.h"
#include "session/clsHistoryCurve.h"
#include "ui/chart/ChartDrawing.h"
#include "ui/chart/ChartLayout.h"

#include <QHash>
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
    /// Once after each `Compose`, which may leave the last step of the drawing to it.
    void Paint(QPainter& painter);
    /// Draws a dot where the curve grows; `newest` is at its place on the time axis.
    void PaintNewest(QPainter& painter, const ChartPoint& newest) const;
    /// Draws a text in the middle of the plot.
    void PaintNote(QPainter& painter, const QString& text) const;

    /// The area that a new value changes unless the time axis moves too; empty before the first frame. Units.
    QRect CurveArea() const;
    /// The plot, and the values that lie at a height in it; units.
    QRectF PlotArea() const { return m_layout ? m_layout->PlotArea() : QRectF(); }
    const std::optional<ChartLayout>& Layout() const { return m_layout; }
    /// What it draws of the history.
    clsHistoryCurve& HistoryCurve() { return m_historyCurve; }
    /// What lies over the curve.
    void PaintOverlay(QPainter& painter) const;
    const ChartColors& Colors() const { return m_colors; }

private:
    /// What the drawn scales depend on, apart from what discards everything.
    struct Scaling {
        modChartCommon::ValueRange limits;
        bool exact = false;
        double intervalSpan_ms = 0.0; ///< 0 while the axis shows times
        bool operator==(const Scaling&) const = default;
    };
    /// What everything but the scales and the curve depends on.
    struct Ground {
        QRect plot;
        QFont font;
        QSize size;
        double ratio = 1.0;
        ChartColors colors;
        clsLabel header, xCaption, yCaption;
        QString seriesLabel, badge, intervalFormat;
        bool xReversed = false, intervals = false, hasHistory = false;
        bool ofHistory = false; ///< the curve is
        bool operator==(const Ground&) const = default;
    };
    /// What the drawn stretch of the history depends on.
    struct Composed {
        clsHistoryCurve::View view;
        RowScale rows;
        /// What has come to the history since does not matter while the stretch lies before it.
        std::optional<std::uint64_t> version{};
        std::int64_t forgotten = 0;
        std::optional<double> thinnedBefore{};
        bool operator==(const Composed&) const = default;
    };

    QPixmap newestDot(double ratio) const;
    Raster raster();
    ChartDrawing drawing() const { return {m_content, *m_layout, m_colors}; }
    Ground groundOf(const ChartLayout& layout, const ChartColors& colors) const;
    Scaling scaling() const;
    bool hasWatermark() const;
    void drawAnew(const QFont& font, const QPalette& palette, const QSize& size, double ratio);
    void drawAll();
    void drawScales();
    bool rescale();
    void drawTimeLabels(const std::vector<ChartLayout::Tick>& ticks);
    const QImage& labelOf(const QString& text);
    void put(const QRect& box, const QString& text);
    void fill(const QRect& pixels, const QColor& color);
    void drawUprights(const Raster& raster);
    CurvePen curvePen() const;
    void eraseCurve();
    bool composeHistory(const Raster& raster);
    bool isSwept() const;
    void paintSwept(QPainter& painter);
    PlotGround plotGround() const;

    const ChartContent& m_content;
    bool m_isStale = true;
    std::optional<ChartLayout> m_layout;
    ChartColors m_colors;
    Ground m_ground;
    Scaling m_scaling;
    std::vector<ChartLayout::Tick> m_valueTicks, m_intervalTicks; ///< as they are drawn
    std::vector<ChartLayout::Tick> m_timeTicks, m_labelledTicks;
    QHash<QString, QImage> m_labels; ///< pictures of the labels, on the background
    QImage m_picture;                ///< grid and scales; the curve is drawn on them and removed again
    QPixmap m_newest;                ///< the dot where the curve grows
    clsCurveColumns m_columns;
    clsCurvePainter m_curvePainter;
    clsCurveSweep m_sweep; ///< of what it has drawn, the other one knows nothing
    clsHistoryCurve m_historyCurve;
    std::optional<Composed> m_composed;
    bool m_hasCurve = false;
    bool m_isSweeping = false; ///< the curve of the history is not drawn yet
};
