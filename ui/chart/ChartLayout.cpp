#include "ui/chart/ChartLayout.h"

#include "base/Days.h"
#include "ui/chart/modGDIAPI.h"
#include "ui/widgets/QtText.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kMsPerSecond = 1000.0;
constexpr double kRowsPerDivision = 2.6;   // lines of text
constexpr double kWidthsPerDivision = 1.7; // widths of a label
constexpr char kLeastValueLabel[] = "000.00";
constexpr char kTimeLabel[] = "00:00:00";
constexpr char kIntervalLabel[] = "-00000";

int toPixels(double units, double ratio)
{
    return static_cast<int>(std::lround(units * ratio));
}

/// How many divisions have room, limited to what is easy to read.
std::int32_t divisionsFor(double room, double perDivision)
{
    return static_cast<std::int32_t>(std::clamp(room / std::max(perDivision, 1.0), 2.0, 12.0));
}

/// The small extra is more than the rounding of the product: the newest point must not drop off the right end.
double columnAt(double time, double perDay)
{
    return std::floor(time * perDay + 1e-3);
}

} // namespace

ChartLayout::ChartLayout(const ChartContent& content, const QFont& font, const QSize& size, double ratio)
    : m_content(content), m_font(font), m_size(size),
      m_pixels(toPixels(size.width(), ratio), toPixels(size.height(), ratio)), m_ratio(ratio),
      m_line(QFontMetricsF(font).height())
{
    placePlot();
}

/// Gives the plot the room that the texts around it leave.
void ChartLayout::placePlot()
{
    const bool hasHeader = !m_content.header.Text.empty();
    const double header = hasHeader ? QFontMetricsF(FontOf(m_content.header)).height() + m_line / 2.0 : 0.0;
    const bool captions = !m_content.yCaption.Text.empty() || !m_content.seriesLabel.isEmpty();
    const bool xCaption = !m_content.timeScale && !m_content.xCaption.Text.empty();
    const double badge = m_content.badge.isEmpty() ? 0.0 : BadgeLine().bottom();
    const double top = badge + header + (captions ? 2.4 : 1.0) * m_line;
    const double bottom = (xCaption ? 3.0 : 2.0) * m_line;
    const double right = std::max(1.5 * m_line, m_content.timeScale ? widthOf(kTimeLabel) / 2.0 : 0.0);
    const int plotTop = toPixels(top, m_ratio);
    const int plotHeight = std::max(m_pixels.height() - plotTop - toPixels(bottom, m_ratio), 0);
    computeValueAxis(plotHeight);
    double labels = widthOf(kLeastValueLabel);
    for (const std::string& text : m_valueAxis.tickLabels) {
        labels = std::max(labels, widthOf(FromUtf8(text)));
    }
    const int plotLeft = toPixels(labels + 1.5 * m_line, m_ratio);
    const int plotWidth = std::max(m_pixels.width() - plotLeft - toPixels(right, m_ratio), 0);
    m_plot = QRect(plotLeft, plotTop, plotWidth, plotHeight);
}

void ChartLayout::computeValueAxis(int height)
{
    modChartCommon::ValueRange limits = m_content.HasLimits() ? m_content.limits : modChartCommon::ValueRange{0.0, 1.0};
    limits.divisions = divisionsFor(height, kRowsPerDivision * (m_line * m_ratio));
    if (m_content.autoScale) {
        limits = modChartCommon::RoundLimits(limits);
        // Limits that lie on steps must not be lost to the last bit of a division.
        const double little = 1e-9 * modChartCommon::RoundStep(limits.upper - limits.lower, limits.divisions);
        limits.lower -= little;
        limits.upper += little;
    }
    m_valueAxis.minimum = limits.lower;
    m_valueAxis.maximum = limits.upper;
    m_valueAxis.reversed = m_content.yReversed ? 1 : 0;
    m_valueAxis.pixelStart = height - 1;
    m_valueAxis.pixelEnd = 0;
    modChartCommon::ComputeAxis(m_valueAxis, limits.divisions, DecimalSeparator());
}

QRectF ChartLayout::PlotArea() const
{
    return {m_plot.left() / m_ratio, m_plot.top() / m_ratio, m_plot.width() / m_ratio, m_plot.height() / m_ratio};
}

QRectF ChartLayout::BadgeLine() const
{
    return {m_line / 2.0, m_line / 2.0, m_size.width() - m_line, 1.4 * m_line};
}

QFont ChartLayout::FontOf(const clsLabel& label) const
{
    return modGDIAPI::FontOf(label, m_font);
}

double ChartLayout::widthOf(const QString& text) const
{
    return QFontMetricsF(m_font).horizontalAdvance(text);
}

int ChartLayout::Hairline() const
{
    return std::max(static_cast<int>(std::lround(m_ratio)), 1);
}

/// Columns are counted from day 0 and the axis moves by whole columns, so a column keeps its points, and its look,
/// while it scrolls.
TimeWindow ChartLayout::Window() const
{
    TimeWindow window;
    window.columns = m_plot.width();
    window.perDay = std::max(m_plot.width() - 1, 1) / (m_content.Span_ms() / kMsPerDay);
    const double begin = m_content.look ? m_content.look->begin : m_content.begin.value_or(0.0);
    window.first = columnAt(begin, window.perDay);
    return window;
}

TimeWindow ChartLayout::FineWindow() const
{
    TimeWindow fine = Window();
    fine.first *= clsCurvePainter::kFineColumns;
    fine.perDay *= clsCurvePainter::kFineColumns;
    fine.columns *= clsCurvePainter::kFineColumns;
    return fine;
}

RowScale ChartLayout::Rows() const
{
    const double middleOfRow = m_valueAxis.pixelStart + 0.5;
    if (m_valueAxis.reversed != 0) {
        return {middleOfRow + m_valueAxis.maximum * m_valueAxis.pixelsPerUnit, -m_valueAxis.pixelsPerUnit};
    }
    return {middleOfRow - m_valueAxis.minimum * m_valueAxis.pixelsPerUnit, m_valueAxis.pixelsPerUnit};
}

std::vector<ChartLayout::Tick> ChartLayout::ValueTicks() const
{
    std::vector<Tick> ticks;
    for (std::size_t i = 0; i < m_valueAxis.tickValues.size(); ++i) {
        const std::int32_t offset = m_valueAxis.tickPositions[i];
        ticks.push_back({m_valueAxis.pixelStart + (m_valueAxis.reversed != 0 ? -offset : offset),
                         m_content.HasLimits() ? FromUtf8(m_valueAxis.tickLabels[i]) : QString()});
    }
    return ticks;
}

std::vector<ChartLayout::Tick> ChartLayout::IntervalTicks() const
{
    std::vector<Tick> ticks;
    if (m_content.timeScale) {
        return ticks;
    }
    const double label = widthOf(kIntervalLabel) * m_ratio;
    modChartCommon::Axis axis;
    axis.minimum = -m_content.xRange_ms / kMsPerSecond;
    axis.pixelEnd = m_plot.width() - 1;
    modChartCommon::ComputeAxis(axis, divisionsFor(m_plot.width(), kWidthsPerDivision * label), DecimalSeparator());
    for (std::size_t i = 0; i < axis.tickValues.size(); ++i) {
        // The ticks stand at their times; the computation may have left out a piece at the far end.
        const double share = 1.0 + axis.tickValues[i] * kMsPerSecond / m_content.xRange_ms;
        ticks.push_back({static_cast<int>(std::lround(share * (m_plot.width() - 1))), FromUtf8(axis.tickLabels[i])});
    }
    return ticks;
}

std::vector<ChartLayout::Tick> ChartLayout::TimeTicks() const
{
    std::vector<Tick> ticks;
    if (!m_content.timeScale || !m_content.begin || m_plot.isEmpty()) {
        return ticks;
    }
    const double begin = *m_content.begin;
    const QString last = FromUtf8(modChartCommon::TimeLabelText(begin + m_content.xRange_ms / kMsPerDay));
    if (last == QLatin1String(modChartCommon::kInvalidRange)) {
        return {{m_plot.width() / 2, last}};
    }
    const double label = widthOf(kTimeLabel) * m_ratio;
    std::int32_t divisions = divisionsFor(m_plot.width(), kWidthsPerDivision * label);
    const double step = modChartCommon::TimeStep(m_content.xRange_ms, divisions) / kMsPerDay;
    const TimeWindow window = Window();
    for (double count = std::ceil((begin - m_content.timeOrigin) / step);
         ticks.size() <= static_cast<std::size_t>(divisions); count += 1.0) {
        const double time = m_content.timeOrigin + count * step;
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
