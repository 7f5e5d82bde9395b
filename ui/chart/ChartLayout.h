// Where the parts of a chart lie: the plot, the divisions of its scales, and the column and row of a time and a value.
// Sizes of texts are in units of the painter; what has to lie on pixels is in pixels of the picture.
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

    /// For a picture of `size` units and `ratio` pixels a unit. The content has to outlast the layout; ticks of the
    /// time axis follow it, everything else stays as it was here.
    ChartLayout(const ChartContent& content, const QFont& font, const QSize& size, double ratio);

    const QSize& Size() const { return m_size; } ///< units
    QSize Pixels() const { return m_pixels; }
    double Ratio() const { return m_ratio; }
    const QRect& Plot() const { return m_plot; } ///< pixels
    QRectF PlotArea() const;                     ///< the same in units
    const QFont& Font() const { return m_font; }
    QFont FontOf(const clsLabel& label) const;
    double Line() const { return m_line; } ///< the height of a line of text, units

    /// The width of a line of the grid, in pixels.
    int Hairline() const;
    /// A column of the plot as the direction of the time axis has it.
    int Mirrored(int column) const { return m_content.xReversed ? m_plot.width() - 1 - column : column; }

    /// The times of the plot's columns; FineWindow has the columns that a line is reduced to.
    TimeWindow Window() const;
    TimeWindow FineWindow() const;
    RowScale Rows() const;

    /// Divisions of the value scale. Without limits they have no labels.
    std::vector<Tick> ValueTicks() const;
    /// The seconds before the right end; empty when the axis shows times of day.
    std::vector<Tick> IntervalTicks() const;
    /// The round times of day within the span; empty when the axis shows seconds or no time was shown yet.
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
