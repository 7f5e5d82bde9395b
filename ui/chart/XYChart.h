// The chart of the main window: grid, scales and the curve of one series over time. Grid and scales stay in a picture
// until an axis, the size or the colours change; the curve is reduced to the pixel columns before it is drawn.
#pragma once

#include "plot/clsChartData.h"
#include "plot/clsCurveColumns.h"
#include "plot/clsCurvePainter.h"
#include "plot/modChartCommon.h"
#include "ui/chart/clsLabel.h"
#include "ui/chart/modChartGlobals.h"

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QRect>
#include <QString>
#include <QWidget>

#include <array>
#include <optional>
#include <vector>

class QPainter;

class XYChart : public QWidget {
    Q_OBJECT

public:
    using Watermarks = std::array<clsLabel, modChartGlobals::kWatermarkCount>;

    explicit XYChart(QWidget* parent);

    /// The points that are drawn; after a change of one's own call Redraw. A new chart has room for its x range at one
    /// point in 50 ms.
    clsChartData& Series() { return m_series; }
    const clsChartData& Series() const { return m_series; }
    /// Discards all points and makes room for maximumIndex + 1; throws as the series does.
    void InitChartData(std::int32_t maximumIndex);
    /// Discards all points and keeps the room.
    void Reset();
    /// Adds a point (days since 1899-12-30, value in the shown unit) and shows its time as the current one.
    void AddPoint(double time, double value);
    /// What comes after `time` is not joined to what was before.
    void AddGap(double time);
    /// Draws anew with the next paint event, scales included.
    void Redraw();

    /// Makes `time` the current one: the time axis scrolls to end there, unless its span is held.
    void ShowTime(double time);
    /// The time shown last, 0 before the first.
    double CurrentTime() const { return m_currentTime; }
    /// The time at the left end of the axis; 0 before a time was shown or set. Setting it lasts until the next
    /// ShowTime, or while the span is held.
    double TimeBegin() const { return m_begin.value_or(0.0); }
    void TimeBegin(double time);
    /// Where the divisions of the axis are counted from when it shows times of day: midnight of day 0 unless set. Any
    /// midnight gives the same divisions as long as a day is a multiple of them.
    double TimeOrigin() const { return m_timeOrigin; }
    void TimeOrigin(double time);
    /// The span of the time axis, 1 ms at least.
    std::int32_t XRange_ms() const { return m_xRange_ms; }
    void XRange_ms(std::int32_t range_ms);
    /// The time axis keeps its span instead of following the current time. After Reset the span begins at the next time
    /// that is shown.
    bool HoldSpan() const { return m_holdSpan; }
    void HoldSpan(bool hold);
    /// Whether the time axis shows times of day; otherwise it shows seconds before its right end.
    bool TimeScale() const { return m_timeScale; }
    void TimeScale(bool timeOfDay) { change(m_timeScale, timeOfDay); }
    bool XReversed() const { return m_xReversed; }
    void XReversed(bool reversed) { change(m_xReversed, reversed); }

    /// With automatic scaling the limits are moved out to round values, and until YLimits gives some, they follow the
    /// shown values by themselves. Otherwise the axis has exactly the given limits.
    bool AutoScale() const { return m_autoScale; }
    void AutoScale(bool automatic) { change(m_autoScale, automatic); }
    /// The value axis; equal limits, or one without a place on a scale, are ignored.
    void YLimits(double minimum, double maximum);
    double YMinimum() const { return m_limits.lower; }
    double YMaximum() const { return m_limits.upper; }
    bool YReversed() const { return m_yReversed; }
    void YReversed(bool reversed) { change(m_yReversed, reversed); }
    /// The lowest and highest value within the span of the time axis; empty when it shows none.
    std::optional<std::array<double, 2>> ShownValues();

    /// Lines between the points; otherwise dots.
    bool ConnectPoints() const { return m_connectPoints; }
    void ConnectPoints(bool connect) { change(m_connectPoints, connect); }
    /// Whether points with the value 0 are drawn; otherwise they are gaps.
    bool ShowZeroValues() const { return m_showZero; }
    void ShowZeroValues(bool show) { change(m_showZero, show); }

    /// Colours, 0xBBGGRR. One that was never set gives way to the palette's where that is dark.
    std::int32_t BackColor() const { return m_backColor.value_or(modChartGlobals::kBackColor); }
    void BackColor(std::int32_t color) { change(m_backColor, std::optional(color)); }
    std::int32_t GridColor() const { return m_gridColor.value_or(modChartGlobals::kGridColor); }
    void GridColor(std::int32_t color) { change(m_gridColor, std::optional(color)); }
    std::int32_t ScaleColor() const { return m_scaleColor.value_or(modChartGlobals::kScaleColor); }
    void ScaleColor(std::int32_t color) { change(m_scaleColor, std::optional(color)); }

    /// Texts. An empty one is not drawn and takes no room; a black one takes the colour of the scales.
    const clsLabel& Header() const { return m_header; }
    void Header(const clsLabel& label) { change(m_header, label); }
    const Watermarks& Watermark() const { return m_watermark; }
    void Watermark(const Watermarks& labels) { change(m_watermark, labels); }
    /// The caption of the time axis stands below seconds only: times of day explain themselves.
    const clsLabel& XCaption() const { return m_xCaption; }
    void XCaption(const clsLabel& label) { change(m_xCaption, label); }
    void XTitle(const QString& text) { change(m_xCaption.Text, text.toStdString()); }
    const clsLabel& YCaption() const { return m_yCaption; }
    void YCaption(const clsLabel& label) { change(m_yCaption, label); }
    void YTitle(const QString& text) { change(m_yCaption.Text, text.toStdString()); }
    const QString& SeriesLabel() const { return m_seriesLabel; }
    void SeriesLabel(const QString& text) { change(m_seriesLabel, text); }
    /// What stands in the middle while no point is shown.
    void EmptyText(const QString& text) { change(m_emptyText, text); }

    /// A division of a scale.
    struct Tick {
        double share = 0.0; ///< of the scale, 0 at its lower value or earlier time
        QString text;
    };
    /// What the scales show at the present size.
    struct Scales {
        double minimum = 0.0, maximum = 0.0; ///< of the value scale
        std::vector<Tick> value, time;
    };
    Scales CurrentScales();
    /// The points that are drawn, from the oldest to the newest; valid until the chart changes.
    std::array<std::span<const ChartPoint>, 2> Points();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// All in use; a set one, the table's or the palette's.
    struct Colors {
        QColor back, grid, axis, scale, muted, watermark, curve;
    };

    /// A round time of day on the axis.
    struct TimeTick {
        int column = 0;
        QString text;
    };

    template <typename T>
    void change(T& member, const T& value)
    {
        if (!(member == value)) {
            member = value;
            Redraw();
        }
    }

    // The frame (XYChart.cpp).
    /// Whether the values have a scale; before the first value there is none to speak of.
    bool hasLimits() const { return m_limits.lower != m_limits.upper; }
    void followShownValues();
    void updateCurve();
    clsChartData& drawn();
    TimeWindow timeWindow() const; ///< in columns of pixels
    static double columnAt(double time, double perDay);
    int hairline() const;
    RowScale rowScale() const;
    void composeFrame(const std::vector<TimeTick>& ticks);
    void drawCurve(const Raster& raster);
    void drawNewest(QPainter& painter) const;
    void drawEmptyText(QPainter& painter) const;
    QRectF plotArea() const; ///< m_plot in the painter's units

    // Grid and scales (XYChartScales.cpp).
    void prepareGround();
    QPixmap newestDot(double ratio) const;
    Colors chooseColors() const;
    QFont labelFont(const clsLabel& label) const;
    QColor labelColor(const clsLabel& label) const;
    void layOut();
    void computeValueAxis(int height);
    void drawGround();
    void drawTexts(QPainter& painter) const;
    void drawWatermark(QPainter& painter) const;
    void drawValueScale(QPainter& painter) const;
    void drawIntervalScale(QPainter& painter) const;
    void drawXLabel(QPainter& painter, int column, const QString& text) const;
    std::vector<Tick> intervalTicks() const;
    std::vector<TimeTick> timeTicks() const;
    void drawTimeLabels(QPainter& painter, const std::vector<TimeTick>& ticks) const;
    int mirrored(int column) const;

    clsChartData m_series;
    std::optional<clsChartData> m_held; ///< the series as it was when the held span was full
    std::optional<double> m_begin;
    double m_timeOrigin = 0.0;
    double m_currentTime = 0.0;
    std::int32_t m_xRange_ms = modChartGlobals::kXRange_ms;
    modChartCommon::ValueRange m_limits;
    bool m_limitsGiven = false;
    bool m_holdSpan = false, m_timeScale = false, m_xReversed = false;
    bool m_autoScale = true, m_yReversed = false;
    bool m_connectPoints = true, m_showZero = false;

    std::optional<std::int32_t> m_backColor, m_gridColor, m_scaleColor;
    clsLabel m_header = modChartGlobals::DefaultHeader();
    Watermarks m_watermark = modChartGlobals::DefaultWatermark();
    clsLabel m_xCaption = modChartGlobals::DefaultXCaption();
    clsLabel m_yCaption = modChartGlobals::DefaultYCaption();
    QString m_seriesLabel;
    QString m_emptyText;

    bool m_groundIsStale = true;
    bool m_isEmpty = true; ///< the last frame showed no point
    QPixmap m_newest;      ///< the dot where the curve grows
    QImage m_frame;        ///< grid and scales, and the curve while it is drawn on them
    QRect m_plot;          ///< pixels
    Colors m_colors;
    modChartCommon::Axis m_valueAxis;
    clsCurveColumns m_columns;
    clsCurvePainter m_curvePainter;
};
