// Where the parts of a chart lie: the plot, the divisions of its scales, and the column and row of a time and a value.
// Text sizes are in units of the painter; what must lie on pixels is in pixels of the picture.
#pragma once

#include "plot/clsCurvePainter.h"
#include "plot/modChartCommon.h"
#include "session/clsHistoryCurve.h"
#include "ui/chart/ChartContent.h"

#include <QFont>
#include <QRect>
#include <QSize>
#include <QString>

#include <array>
#include <vector>

class ChartLayout {
public:
    /// A division: its column or row in the plot (pixels, columns not yet mirrored) and its label. A label that has no
    /// room is empty.
    struct Tick {
        int position = 0;
        QString text;
        QString below{}; ///< in a line of its own below the labels of the time axis, from `belowLeft` on, units
        double belowLeft = 0.0;
        bool operator==(const Tick&) const = default;
    };

    /// For a picture of `size` units with `ratio` pixels per unit, with room for value labels of at least
    /// `leastLabels` units. The content must outlive the layout. Only the time axis follows later changes of the
    /// content by itself.
    ChartLayout(const ChartContent& content, const QFont& font, const QSize& size, double ratio,
                double leastLabels = 0.0);

    /// Takes up the present limits of the value axis. Returns the width that the labels need.
    double Rescale();
    /// The room for value labels, units.
    double LabelRoom() const { return m_labelRoom; }

    const QSize& Size() const { return m_size; } ///< units
    QSize Pixels() const { return m_pixels; }
    double Ratio() const { return m_ratio; }
    const QRect& Plot() const { return m_plot; } ///< pixels
    QRectF PlotArea() const;                     ///< in units
    QRectF BadgeLine() const;                    ///< the room for the badge's box, above everything; units
    const QFont& Font() const { return m_font; }
    QFont FontOf(const clsLabel& label) const;
    double Line() const { return m_line; } ///< the height of a line of text, units

    /// The width of a line of the grid, in pixels.
    int Hairline() const;
    /// A column of the plot, counted in the direction of the time axis.
    int Mirrored(int column) const { return m_content.xReversed ? m_plot.width() - 1 - column : column; }

    /// The times of the plot's columns. FineWindow has the finer columns to which a line is reduced.
    TimeWindow Window() const;
    TimeWindow FineWindow() const;
    RowScale Rows() const;

    /// The same columns of the history, while a stretch of it is shown.
    clsHistoryCurve::View HistoryView() const;
    /// Where a place on the time axis, or a time while the axis has no places, and a value lie; units.
    double XOf(double place) const;
    double PlaceAt(double x) const;
    double YOf(double value) const;
    double ValueAt(double y) const;

    /// Divisions of the value scale; without limits they have no labels.
    std::vector<Tick> ValueTicks() const;
    /// The time before the right end: seconds, and beyond a few minutes as a clock shows them; empty while the axis
    /// shows times.
    std::vector<Tick> IntervalTicks() const;
    /// How the labels of the intervals are to be read; empty: they are seconds.
    QString IntervalFormat() const;
    /// The round times within the span; empty while the axis shows intervals, and before a time is shown.
    std::vector<Tick> TimeTicks() const;
    /// Where the clock was set: its column and by how much.
    std::vector<Tick> ClockChanges() const;
    /// The lowest and highest value of the value scale.
    std::array<double, 2> ValueEnds() const { return {m_valueAxis.minimum, m_valueAxis.maximum}; }
    /// A value with as many decimals as the value scale has.
    QString ValueText(double value) const;

private:
    void placePlot();
    void computeValueAxis(int height);
    double computeLabels() const;
    double widthOf(const QString& text) const;
    double begin() const;
    const clsTimeLine& times() const;
    double intervalSpan_s() const;
    std::vector<Tick> timesOfDay() const;
    std::vector<Tick> timesOfAnySpan() const;
    void makeRoom(std::vector<Tick>& ticks) const;

    const ChartContent& m_content;
    QFont m_font;
    QSize m_size, m_pixels;
    double m_ratio;
    double m_line;
    double m_labelRoom = 0.0;
    QRect m_plot;
    modChartCommon::Axis m_valueAxis;
};
