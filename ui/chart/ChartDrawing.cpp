// Grid, scales and texts of the chart: everything that stands still while the curve moves, and the time axis in times
// of day, which moves along.
#include "base/Days.h"
#include "ui/chart/XYChart.h"
#include "ui/chart/modGDIAPI.h"
#include "ui/widgets/QtText.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

using modGDIAPI::ColorOf;
using modGDIAPI::FillPixels;
using modGDIAPI::Mixed;

namespace {

constexpr double kMsPerSecond = 1000.0;
constexpr double kGridShare = 0.28; // of the grid colour in a grid line: calm, below the curve
constexpr double kAxisShare = 0.75;
constexpr double kScaleShare = 0.85;
constexpr double kMutedShare = 0.6;
constexpr double kWatermarkShare = 0.1;
constexpr double kRowsPerDivision = 2.6;   // lines of text
constexpr double kWidthsPerDivision = 1.7; // widths of a label
constexpr char kLeastValueLabel[] = "000.00";
constexpr char kTimeLabel[] = "00:00:00";
constexpr char kIntervalLabel[] = "-00000";

int toPixels(double units, double ratio)
{
    return static_cast<int>(std::lround(units * ratio));
}

/// So many divisions have room, but no more than a reader likes.
std::int32_t divisionsFor(double room, double perDivision)
{
    return static_cast<std::int32_t>(std::clamp(room / std::max(perDivision, 1.0), 2.0, 12.0));
}

} // namespace

void XYChart::prepareGround()
{
    const double ratio = devicePixelRatioF();
    const QSize size(toPixels(width(), ratio), toPixels(height(), ratio));
    if (!m_groundIsStale && m_frame.size() == size && m_frame.devicePixelRatio() == ratio) {
        return;
    }
    m_groundIsStale = false;
    m_columns = {};
    m_frame = QImage(size, QImage::Format_RGB32);
    m_frame.setDevicePixelRatio(ratio);
    m_curvePainter.Forget();
    m_colors = chooseColors();
    layOut();
    drawGround();
    m_newest = newestDot(ratio);
}

XYChart::Colors XYChart::chooseColors() const
{
    const QColor base = palette().color(QPalette::Base);
    const QColor text = palette().color(QPalette::Text);
    const bool fromPalette = modGDIAPI::IsDark(base);
    const auto chosen = [&](const std::optional<std::int32_t>& set, std::int32_t table, const QColor& ofPalette) {
        return fromPalette && !set ? ofPalette : ColorOf(set.value_or(table));
    };
    Colors colors;
    colors.back = chosen(m_backColor, modChartGlobals::kBackColor, base);
    const QColor grid = chosen(m_gridColor, modChartGlobals::kGridColor, Mixed(text, base, 0.5));
    const QColor scale = chosen(m_scaleColor, modChartGlobals::kScaleColor, text);
    colors.grid = Mixed(grid, colors.back, kGridShare);
    colors.axis = Mixed(grid, colors.back, kAxisShare);
    colors.scale = Mixed(scale, colors.back, kScaleShare);
    colors.muted = Mixed(scale, colors.back, kMutedShare);
    colors.watermark = Mixed(scale, colors.back, kWatermarkShare);
    colors.curve = ColorOf(modGDIAPI::IsDark(colors.back) ? modChartGlobals::kCurveColorOnDark
                                                          : modChartGlobals::kCurveColorOnLight);
    return colors;
}

QFont XYChart::labelFont(const clsLabel& label) const
{
    return modGDIAPI::FontOf(label, font());
}

QColor XYChart::labelColor(const clsLabel& label) const
{
    if (label.Color == modChartGlobals::kScaleColor) {
        return m_colors.scale;
    }
    if (label.Color == modChartGlobals::kWatermarkColor && modGDIAPI::IsDark(m_colors.back)) {
        return m_colors.watermark;
    }
    return ColorOf(label.Color);
}

/// Where the plot lies: what the texts around it leave.
void XYChart::layOut()
{
    const double ratio = m_frame.devicePixelRatio();
    const QFontMetricsF metrics(font());
    const double line = metrics.height();
    const double header = m_header.Text.empty() ? 0.0 : QFontMetricsF(labelFont(m_header)).height() + line / 2.0;
    const bool captions = !m_yCaption.Text.empty() || !m_seriesLabel.isEmpty();
    const bool xCaption = !m_timeScale && !m_xCaption.Text.empty();
    const double top = header + (captions ? 2.4 : 1.0) * line;
    const double bottom = (xCaption ? 3.0 : 2.0) * line;
    const double right = std::max(1.5 * line, m_timeScale ? metrics.horizontalAdvance(kTimeLabel) / 2.0 : 0.0);
    const int plotTop = toPixels(top, ratio);
    const int plotHeight = std::max(m_frame.height() - plotTop - toPixels(bottom, ratio), 0);
    computeValueAxis(plotHeight);
    double labels = metrics.horizontalAdvance(kLeastValueLabel);
    for (const std::string& text : m_valueAxis.tickLabels) {
        labels = std::max(labels, metrics.horizontalAdvance(FromUtf8(text)));
    }
    const int plotLeft = toPixels(labels + 1.5 * line, ratio);
    const int plotWidth = std::max(m_frame.width() - plotLeft - toPixels(right, ratio), 0);
    m_plot = QRect(plotLeft, plotTop, plotWidth, plotHeight);
}

void XYChart::computeValueAxis(int height)
{
    const double line = QFontMetricsF(font()).height() * m_frame.devicePixelRatio();
    modChartCommon::ValueRange limits = hasLimits() ? m_limits : modChartCommon::ValueRange{0.0, 1.0};
    limits.divisions = divisionsFor(height, kRowsPerDivision * line);
    if (m_autoScale) {
        limits = modChartCommon::RoundLimits(limits);
        // Limits that lie on steps must not lose one by the last bit of a division.
        const double little = 1e-9 * modChartCommon::RoundStep(limits.upper - limits.lower, limits.divisions);
        limits.lower -= little;
        limits.upper += little;
    }
    m_valueAxis.minimum = limits.lower;
    m_valueAxis.maximum = limits.upper;
    m_valueAxis.reversed = m_yReversed ? 1 : 0;
    m_valueAxis.pixelStart = height - 1;
    m_valueAxis.pixelEnd = 0;
    modChartCommon::ComputeAxis(m_valueAxis, limits.divisions, DecimalSeparator());
}

void XYChart::drawGround()
{
    m_frame.fill(m_colors.back);
    if (m_plot.isEmpty()) {
        return;
    }
    QPainter painter(&m_frame);
    painter.setFont(font());
    drawWatermark(painter);
    drawValueScale(painter);
    if (!m_timeScale) {
        drawIntervalScale(painter);
    }
    const int thickness = hairline();
    FillPixels(painter, {m_plot.left() - thickness, m_plot.top(), thickness, m_plot.height()}, m_colors.axis);
    FillPixels(painter, {m_plot.left() - thickness, m_plot.bottom() + 1, m_plot.width() + thickness, thickness},
               m_colors.axis);
    drawTexts(painter);
}

/// Header, captions and the name of the series.
void XYChart::drawTexts(QPainter& painter) const
{
    const double line = QFontMetricsF(font()).height();
    const QRectF plot = plotArea();
    const auto draw = [&](const clsLabel& label, const QRectF& box, int flags) {
        painter.setFont(labelFont(label));
        painter.setPen(labelColor(label));
        painter.drawText(box, flags, FromUtf8(label.Text));
    };
    const double headerHeight = QFontMetricsF(labelFont(m_header)).height();
    draw(m_header, QRectF(0.0, line / 2.0, width(), headerHeight), Qt::AlignCenter);
    const QRectF above(line / 2.0, plot.top() - 2.0 * line, plot.right() - line / 2.0, line);
    const double captionWidth = QFontMetricsF(labelFont(m_yCaption)).horizontalAdvance(FromUtf8(m_yCaption.Text));
    const double scaleEnd = plot.left() - line / 2.0;
    draw(m_yCaption, above.adjusted(std::max(scaleEnd - captionWidth - line / 2.0, 0.0), 0.0, 0.0, 0.0),
         Qt::AlignLeft | Qt::AlignVCenter);
    if (!m_timeScale) {
        const QRectF below(plot.left(), plot.bottom() + 1.75 * line, plot.width(), line);
        draw(m_xCaption, below, Qt::AlignCenter);
    }
    if (!m_seriesLabel.isEmpty()) {
        painter.setFont(font());
        painter.setPen(m_colors.scale);
        painter.drawText(above, Qt::AlignRight | Qt::AlignVCenter, m_seriesLabel);
        const double end = above.right() - QFontMetricsF(font()).horizontalAdvance(m_seriesLabel) - line / 2.0;
        painter.setPen(QPen(m_colors.curve, 2.0, Qt::SolidLine, Qt::RoundCap));
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawLine(QPointF(end - 1.2 * line, above.center().y()), QPointF(end, above.center().y()));
        painter.setRenderHint(QPainter::Antialiasing, false);
    }
}

/// The labels one below the other, behind everything else.
void XYChart::drawWatermark(QPainter& painter) const
{
    double total = 0.0;
    for (const clsLabel& label : m_watermark) {
        total += label.Text.empty() ? 0.0 : QFontMetricsF(labelFont(label)).height();
    }
    const QRectF plot = plotArea();
    double top = plot.center().y() - total / 2.0;
    for (const clsLabel& label : m_watermark) {
        if (label.Text.empty()) {
            continue;
        }
        const double lineHeight = QFontMetricsF(labelFont(label)).height();
        painter.setFont(labelFont(label));
        painter.setPen(labelColor(label));
        painter.drawText(QRectF(plot.left(), top, plot.width(), lineHeight), Qt::AlignCenter, FromUtf8(label.Text));
        top += lineHeight;
    }
    painter.setFont(font());
}

void XYChart::drawValueScale(QPainter& painter) const
{
    const double ratio = m_frame.devicePixelRatio();
    const double line = QFontMetricsF(font()).height();
    const int thickness = hairline();
    painter.setPen(m_colors.scale);
    for (std::size_t i = 0; i < m_valueAxis.tickValues.size(); ++i) {
        const std::int32_t offset = m_valueAxis.tickPositions[i];
        const int row = m_plot.top() + m_valueAxis.pixelStart + (m_valueAxis.reversed != 0 ? -offset : offset);
        FillPixels(painter, {m_plot.left(), row - thickness / 2, m_plot.width(), thickness}, m_colors.grid);
        if (hasLimits()) {
            const QRectF box(0.0, row / ratio - line, m_plot.left() / ratio - line / 2.0, 2.0 * line);
            painter.drawText(box, Qt::AlignRight | Qt::AlignVCenter, FromUtf8(m_valueAxis.tickLabels[i]));
        }
    }
}

/// The seconds before the right end.
std::vector<XYChart::Tick> XYChart::intervalTicks() const
{
    const double label = QFontMetricsF(font()).horizontalAdvance(kIntervalLabel) * m_frame.devicePixelRatio();
    modChartCommon::Axis axis;
    axis.minimum = -m_xRange_ms / kMsPerSecond;
    axis.pixelEnd = m_plot.width() - 1;
    modChartCommon::ComputeAxis(axis, divisionsFor(m_plot.width(), kWidthsPerDivision * label), DecimalSeparator());
    std::vector<Tick> ticks;
    for (std::size_t i = 0; i < axis.tickValues.size(); ++i) {
        // The ticks stand where the time is; the computation may have left out a piece at the far end.
        ticks.push_back({1.0 + axis.tickValues[i] * kMsPerSecond / m_xRange_ms, FromUtf8(axis.tickLabels[i])});
    }
    return ticks;
}

void XYChart::drawIntervalScale(QPainter& painter) const
{
    const int thickness = hairline();
    painter.setPen(m_colors.scale);
    for (const Tick& tick : intervalTicks()) {
        const int column = static_cast<int>(std::lround(tick.share * (m_plot.width() - 1)));
        FillPixels(painter,
                   {m_plot.left() + mirrored(column) - thickness / 2, m_plot.top(), thickness, m_plot.height()},
                   m_colors.grid);
        drawXLabel(painter, column, tick.text);
    }
}

XYChart::Scales XYChart::CurrentScales()
{
    if (m_autoScale && !m_limitsGiven) {
        followShownValues();
    }
    prepareGround();
    Scales scales{m_valueAxis.minimum, m_valueAxis.maximum, {}, {}};
    for (std::size_t i = 0; i < m_valueAxis.tickValues.size(); ++i) {
        scales.value.push_back({(m_valueAxis.tickValues[i] - scales.minimum) / (scales.maximum - scales.minimum),
                                hasLimits() ? FromUtf8(m_valueAxis.tickLabels[i]) : QString()});
    }
    if (!m_timeScale) {
        scales.time = intervalTicks();
    }
    for (const TimeTick& tick : timeTicks()) {
        scales.time.push_back({tick.column / std::max(m_plot.width() - 1.0, 1.0), tick.text});
    }
    return scales;
}

void XYChart::drawXLabel(QPainter& painter, int column, const QString& text) const
{
    const double ratio = m_frame.devicePixelRatio();
    const double line = QFontMetricsF(font()).height();
    const double label = QFontMetricsF(font()).horizontalAdvance(text);
    const double centre = (m_plot.left() + mirrored(column) + 0.5) / ratio;
    if (centre - label / 2.0 >= 0.0 && centre + label / 2.0 <= width()) {
        painter.drawText(QRectF(centre - label, (m_plot.bottom() + 1) / ratio + line / 2.0, 2.0 * label, line),
                         Qt::AlignCenter, text);
    }
}

/// The round times of day within the span; empty when the axis shows seconds or no time was shown yet.
std::vector<XYChart::TimeTick> XYChart::timeTicks() const
{
    std::vector<TimeTick> ticks;
    if (!m_timeScale || !m_begin || m_plot.isEmpty()) {
        return ticks;
    }
    const QString last = FromUtf8(modChartCommon::TimeLabelText(*m_begin + m_xRange_ms / kMsPerDay));
    if (last == QLatin1String(modChartCommon::kInvalidRange)) {
        return {{m_plot.width() / 2, last}};
    }
    const double label = QFontMetricsF(font()).horizontalAdvance(kTimeLabel) * m_frame.devicePixelRatio();
    std::int32_t divisions = divisionsFor(m_plot.width(), kWidthsPerDivision * label);
    const double step = modChartCommon::TimeStep(m_xRange_ms, divisions) / kMsPerDay;
    const TimeWindow window = timeWindow();
    for (double count = std::ceil((*m_begin - m_timeOrigin) / step);
         ticks.size() <= static_cast<std::size_t>(divisions); count += 1.0) {
        const double time = m_timeOrigin + count * step;
        const double column = columnAt(time, window.perDay) - window.first;
        if (column >= m_plot.width()) {
            break;
        }
        if (column >= 0.0) {
            ticks.push_back({static_cast<int>(column), FromUtf8(modChartCommon::TimeLabelText(time))});
        }
    }
    return ticks;
}

void XYChart::drawTimeLabels(QPainter& painter, const std::vector<TimeTick>& ticks) const
{
    painter.setPen(m_colors.scale);
    QString before;
    for (const TimeTick& tick : ticks) {
        // Steps below a second give the same text several times.
        if (tick.text != before) {
            drawXLabel(painter, tick.column, tick.text);
        }
        before = tick.text;
    }
}

int XYChart::mirrored(int column) const
{
    return m_xReversed ? m_plot.width() - 1 - column : column;
}
