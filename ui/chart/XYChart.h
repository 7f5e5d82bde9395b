// The chart of the main window: a widget with the curve of one series over time. It keeps series, axes and settings;
// ChartLayout and ChartDrawing decide how they look, and ChartFrame makes a frame cheap.
#pragma once

#include "plot/clsChartData.h"
#include "plot/clsShownValues.h"
#include "ui/chart/ChartContent.h"
#include "ui/chart/ChartFrame.h"
#include "ui/chart/modChartGlobals.h"

#include <QString>
#include <QWidget>

#include <array>
#include <optional>
#include <span>

class XYChart : public QWidget {
    Q_OBJECT

public:
    using Watermarks = ChartContent::Watermarks;

    explicit XYChart(QWidget* parent);

    /// The points that are drawn; call Redraw after changing them. A new chart has room for its x range at one point in
    /// 50 ms.
    clsChartData& Series() { return m_series; }
    const clsChartData& Series() const { return m_series; }
    /// Discards all points and makes room for maximumIndex + 1; throws as the series does.
    void InitChartData(std::int32_t maximumIndex);
    /// Discards all points and keeps the room.
    void Reset();
    // Times on the axis are places, days: see `clsTimeLine`. The labels are those of the history's clock there.
    /// Adds a point (value in the shown unit) and shows its time as the current one.
    void AddPoint(double time, double value);
    /// Leaves a gap: what comes after `time` is not joined to what came before.
    void AddGap(double time);
    /// Draws everything anew with the next paint event, scales included.
    void Redraw();

    /// Makes `time` the current one: the time axis scrolls to end there, unless its span is held.
    void ShowTime(double time);
    /// The time shown last; 0 before the first.
    double CurrentTime() const { return m_currentTime; }
    /// The time at the left end of the axis; 0 until a time is shown or set. A value that is set stays until the next
    /// ShowTime, or as long as the span is held.
    double TimeBegin() const { return m_content.begin.value_or(0.0); }
    void TimeBegin(double time);
    /// The time from which the divisions are counted when the axis shows times of day: midnight of day 0 unless set.
    /// Any midnight gives the same divisions as long as a day is a multiple of them.
    double TimeOrigin() const { return m_content.timeOrigin; }
    void TimeOrigin(double time);
    /// The span of the time axis, at least 1 ms.
    std::int32_t XRange_ms() const { return m_content.xRange_ms; }
    void XRange_ms(std::int32_t range_ms);
    /// Whether the time axis keeps its span instead of following the current time. After Reset the span begins at the
    /// next time that is shown.
    bool HoldSpan() const { return m_holdSpan; }
    void HoldSpan(bool hold);
    /// Whether the time axis shows times of day; otherwise it shows seconds before its right end.
    bool TimeScale() const { return m_content.timeScale; }
    void TimeScale(bool timeOfDay) { change(m_content.timeScale, timeOfDay); }
    /// Whether the points are those of a recording: a longer one shows times of day in any case.
    void Recorded(bool recorded) { change(m_content.isRecorded, recorded); }
    bool XReversed() const { return m_content.xReversed; }
    void XReversed(bool reversed) { change(m_content.xReversed, reversed); }

    /// With automatic scaling the limits are moved out to round values, and until YLimits sets some, they follow the
    /// shown values. Otherwise the axis has exactly the limits that were set.
    bool AutoScale() const { return m_content.autoScale; }
    void AutoScale(bool automatic) { change(m_content.autoScale, automatic); }
    /// The value axis. Limits are ignored when they are equal or have no place on a scale.
    void YLimits(double minimum, double maximum);
    // The limits that are shown; an automatic scale draws them a little further out, see VisibleLimits.
    double YMinimum() const { return m_content.limits.lower; }
    double YMaximum() const { return m_content.limits.upper; }
    bool YReversed() const { return m_content.yReversed; }
    void YReversed(bool reversed) { change(m_content.yReversed, reversed); }
    /// The ends of the value axis as they are drawn; empty before the first value.
    std::optional<std::array<double, 2>> VisibleLimits() const;
    /// The lowest and highest value within the span of the time axis; empty when it shows none.
    std::optional<std::array<double, 2>> ShownValues();
    /// The values that it shows or, while a stretch of the history is looked into, would show if it followed.
    std::optional<clsShownValues::Split> FollowedValues();
    /// Values that the limits leave out: an arrow at the edge names each of them while the chart follows.
    void Spikes(const std::vector<ChartPoint>& spikes);

    /// Whether lines join the points; otherwise the chart shows dots.
    bool ConnectPoints() const { return m_content.connectPoints; }
    void ConnectPoints(bool connect) { change(m_content.connectPoints, connect); }
    /// Whether points with the value 0 are drawn; otherwise they are gaps.
    bool ShowZeroValues() const { return m_content.showZero; }
    void ShowZeroValues(bool show) { change(m_content.showZero, show); }

    /// Colours, 0xBBGGRR. A colour that was never set is replaced by the palette's when the palette is dark.
    std::int32_t BackColor() const { return m_content.backColor.value_or(modChartGlobals::kBackColor); }
    void BackColor(std::int32_t color) { change(m_content.backColor, std::optional(color)); }
    std::int32_t GridColor() const { return m_content.gridColor.value_or(modChartGlobals::kGridColor); }
    void GridColor(std::int32_t color) { change(m_content.gridColor, std::optional(color)); }
    std::int32_t ScaleColor() const { return m_content.scaleColor.value_or(modChartGlobals::kScaleColor); }
    void ScaleColor(std::int32_t color) { change(m_content.scaleColor, std::optional(color)); }

    /// Texts. An empty text is not drawn and takes no room; a black one takes the colour of the scales.
    const clsLabel& Header() const { return m_content.header; }
    void Header(const clsLabel& label) { change(m_content.header, label); }
    const Watermarks& Watermark() const { return m_content.watermark; }
    void Watermark(const Watermarks& labels) { change(m_content.watermark, labels); }
    /// The caption of the time axis appears only below seconds: times of day explain themselves.
    const clsLabel& XCaption() const { return m_content.xCaption; }
    void XCaption(const clsLabel& label) { change(m_content.xCaption, label); }
    void XTitle(const QString& text) { change(m_content.xCaption.Text, text.toStdString()); }
    const clsLabel& YCaption() const { return m_content.yCaption; }
    void YCaption(const clsLabel& label) { change(m_content.yCaption, label); }
    void YTitle(const QString& text) { change(m_content.yCaption.Text, text.toStdString()); }
    const QString& SeriesLabel() const { return m_content.seriesLabel; }
    void SeriesLabel(const QString& text) { change(m_content.seriesLabel, text); }
    /// A short text in an outlined box in the top left corner, outside the plot; empty for none.
    const QString& Badge() const { return m_content.badge; }
    void Badge(const QString& text) { change(m_content.badge, text); }
    /// What the time axis says where the clock was set; %1 becomes by how much, such as "+1 h".
    void ClockLabel(const QString& text) { change(m_content.clockLabel, text); }
    /// A text in the middle while no point is shown.
    void EmptyText(const QString& text) { change(m_emptyText, text); }
    const QString& EmptyText() const { return m_emptyText; }
    /// The same where values are shown, but no distance is among them.
    void NoDistanceText(const QString& text) { change(m_noDistanceText, text); }

    /// What the next frame shows; first brings the limits and the read pointer of the series up to date. Valid until
    /// the chart changes.
    struct Shown {
        const ChartContent& content;
        const clsChartData& series;
    };
    Shown NextFrame();
    /// The points that are drawn, from the oldest to the newest; valid until the chart changes.
    std::array<std::span<const ChartPoint>, 2> Points();

    /// The history that can be looked into, and the length of the shown unit in millimetres; none: there is nothing to
    /// look into. It must outlive its use. The chart that follows, or holds its span, draws from it, too, when its span
    /// reaches further back than the points.
    void Source(const clsHistory* history, double unit_mm);
    const clsHistory* Source() const { return m_content.history; }
    double Unit_mm() const { return m_content.unit_mm; }
    /// The stretch of the history that is shown instead of the newest points; none while the chart follows. A stretch
    /// of less than 1 ms is widened; one without numbers is ignored.
    void Look(const std::optional<PlaceRange>& look);
    const std::optional<PlaceRange>& Look() const { return m_look; }
    /// While the chart follows, its time axis goes from the beginning of the history to the current time.
    bool FollowAll() const { return m_followAll; }
    void FollowAll(bool all);
    /// Limits that the value axis keeps while the chart is looked into; none: it fits what is seen.
    void LookLimits(const std::optional<std::array<double, 2>>& limits);
    const std::optional<std::array<double, 2>>& LookLimits() const { return m_lookLimits; }
    /// The stretch of the time axis that the plot shows, following or not.
    PlaceRange ShownRange() const;
    /// What is drawn over the curve.
    const ChartOverlayContent& Overlay() const { return m_content.overlay; }
    void Overlay(const ChartOverlayContent& overlay);

    // Where the plot lies in the widget, and what lies where in it. Units; the plot is empty before the first frame.
    QRectF PlotArea() const;
    double PlaceAt(double x) const;
    double XOf(double place) const;
    double ValueAt(double y) const;
    double YOf(double value) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    template <typename T>
    void change(T& member, const T& value)
    {
        if (!(member == value)) {
            member = value;
            Redraw();
        }
    }

    /// The two sets of limits of the value axis: of the chart that follows, and of what is looked at.
    using Limits = modChartCommon::ValueRange;

    void settle();
    void fitLimits();
    void fitLooked();
    std::optional<PlaceRange> followedPlaces() const;
    void paintInstead(QPainter& painter);
    void paintDot(QPainter& painter);
    std::optional<clsShownValues::Split> valuesOf(const std::optional<PlaceRange>& places, clsHistoryCurve& curve);
    void updateCurve();
    const clsChartData& drawn() const { return m_held ? *m_held : m_series; }
    clsChartData& drawn() { return m_held ? *m_held : m_series; }

    clsChartData m_series;
    std::optional<clsChartData> m_held; ///< the series when the held span became full
    std::optional<PlaceRange> m_look;
    std::optional<std::array<double, 2>> m_lookLimits;
    Limits m_limits;                      ///< of the chart that follows
    std::optional<Limits> m_lookedLimits; ///< of what is looked at
    double m_lookedLength = 0.0;          ///< the length of the stretch for which they were found
    std::vector<ChartPoint> m_spikes;
    clsHistoryCurve m_followed; ///< what would be shown
    ChartContent m_content;
    double m_currentTime = 0.0;
    bool m_limitsGiven = false, m_holdSpan = false, m_followAll = false;
    QString m_emptyText, m_noDistanceText;
    ChartFrame m_frame{m_content};
};
