// Where the parts of a chart lie: the plot, the divisions of its scales, and the column and row of a time and a value.
// Text sizes are in units of the painter; what must lie on pixels is in pixels of the picture.
#pragma once

#include "plot/clsCurvePainter.h"
#include "plot/modChartCommon.h"
#include "ui/chart/ChartContent.h"

#include <QFont>
#include <QRect>
#include <QSize>
#include <QString>

#include <vector>

class ChartLayout {
public:
    /// A division: its column or row in the plot (pixels, columns not yet mirrored) and its label.
    struct Tick {
        int position = 0;
        QString text;
    };

    /// For a picture of `size` units with `ratio` pixels per unit. The content must outlive the layout. Only the ticks
    /// of the time axis follow later changes of the content.
    ChartLayout(const ChartContent& content, const QFont& font, const QSize& size, double ratio);

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

    /// Divisions of the value scale; without limits they have no labels.
    std::vector<Tick> ValueTicks() const;
    /// The seconds before the right end; empty while the axis shows times of day.
    std::vector<Tick> IntervalTicks() const;
    /// The round times of day within the span; empty while the axis shows seconds, and before a time is shown.
    std::vector<Tick> TimeTicks() const;

private:
    void placePlot();
    void computeValueAxis(int height);
    double widthOf(const QString& text) const;

    const ChartContent& m_content;
    QFont m_font;
    QSize m_size, m_pixels;
    double m_ratio;
    double m_line;
    QRect m_plot;
    modChartCommon::Axis m_valueAxis;
};
