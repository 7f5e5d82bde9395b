#include "ui/chart/ChartLayout.h"

#include "base/Days.h"
#include "plot/modTimeScale.h"
#include "ui/chart/modGDIAPI.h"
#include "ui/widgets/QtText.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kMsPerSecond = 1000.0;
constexpr double kRowsPerDivision = 2.6;   // lines of text
constexpr double kWidthsPerDivision = 1.7; // widths of a label
constexpr char kLeastValueLabel[] = "000.00";
constexpr char kTimeLabel[] = "00:00:00";
constexpr char kIntervalLabel[] = "-00000";
constexpr char kDurationLabel[] = "-00:00:00";
constexpr double kLongAxis_ms = 12 * 3.6e6; // from here on its divisions are those of a day
constexpr std::int32_t kMostDivisions = 12;

int toPixels(double units, double ratio)
{
    return static_cast<int>(std::lround(units * ratio));
}

/// How many divisions have room, limited to what is easy to read.
std::int32_t divisionsFor(double room, double perDivision)
{
    return static_cast<std::int32_t>(std::clamp(room / std::max(perDivision, 1.0), 2.0, double{kMostDivisions}));
}

/// The small extra is more than the rounding of the product: the newest point must not drop off the right end.
double columnAt(double time, double perDay)
{
    return std::floor(time * perDay + 1e-3);
}

} // namespace

ChartLayout::ChartLayout(const ChartContent& content, const QFont& font, const QSize& size, double ratio,
                         double leastLabels)
    : m_content(content), m_font(font), m_size(size),
      m_pixels(toPixels(size.width(), ratio), toPixels(size.height(), ratio)), m_ratio(ratio),
      m_line(QFontMetricsF(font).height()), m_labelRoom(leastLabels)
{
    placePlot();
}

/// Gives the plot the room that the texts around it leave.
void ChartLayout::placePlot()
{
    const bool hasHeader = !m_content.header.Text.empty();
    const double header = hasHeader ? QFontMetricsF(FontOf(m_content.header)).height() + m_line / 2.0 : 0.0;
    const bool captions = !m_content.yCaption.Text.empty() || !m_content.seriesLabel.isEmpty();
    // The same room whether the axis counts back or shows times with their dates, so that the plot does not jump.
    const bool twoLines =
        m_content.history != nullptr || (m_content.ShowsIntervals() && !m_content.xCaption.Text.empty());
    const bool hasTimes = m_content.history != nullptr || !m_content.ShowsIntervals();
    const double badge = m_content.badge.isEmpty() ? 0.0 : BadgeLine().bottom();
    const double top = badge + header + (captions ? 2.4 : 1.0) * m_line;
    const double bottom = (twoLines ? 3.0 : 2.0) * m_line;
    const double right = std::max(1.5 * m_line, hasTimes ? widthOf(kTimeLabel) / 2.0 : 0.0);
    const int plotTop = toPixels(top, m_ratio);
    const int plotHeight = std::max(m_pixels.height() - plotTop - toPixels(bottom, m_ratio), 0);
    computeValueAxis(plotHeight);
    m_labelRoom = std::max(m_labelRoom, computeLabels());
    const int plotLeft = toPixels(m_labelRoom + 1.5 * m_line, m_ratio);
    const int plotWidth = std::max(m_pixels.width() - plotLeft - toPixels(right, m_ratio), 0);
    m_plot = QRect(plotLeft, plotTop, plotWidth, plotHeight);
}

double ChartLayout::computeLabels() const
{
    double labels = widthOf(kLeastValueLabel);
    for (const std::string& text : m_valueAxis.tickLabels) {
        labels = std::max(labels, widthOf(FromUtf8(text)));
    }
    return labels;
}

double ChartLayout::Rescale()
{
    m_valueAxis = {};
    computeValueAxis(m_plot.height());
    return computeLabels();
}

void ChartLayout::computeValueAxis(int height)
{
    modChartCommon::ValueRange limits = m_content.HasLimits() ? m_content.limits : modChartCommon::ValueRange{0.0, 1.0};
    limits.divisions = divisionsFor(height, kRowsPerDivision * (m_line * m_ratio));
    if (m_content.autoScale && !m_content.exactLimits) {
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
    const auto compute = m_content.exactLimits ? modChartCommon::ComputeExactAxis : modChartCommon::ComputeAxis;
    compute(m_valueAxis, limits.divisions, DecimalSeparator());
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
    // As a float the span of a stretch that is moved does not change in its last bits, and its columns can be kept.
    const double span_ms =
        m_content.look ? static_cast<double>(static_cast<float>(m_content.Span_ms())) : m_content.Span_ms();
    window.perDay = std::max(m_plot.width() - 1, 1) / (span_ms / kMsPerDay);
    window.first = columnAt(begin(), window.perDay);
    return window;
}

double ChartLayout::begin() const
{
    return m_content.look ? m_content.look->begin : m_content.begin.value_or(0.0);
}

/// The clock of what is shown.
const clsTimeLine& ChartLayout::times() const
{
    static const clsTimeLine kNoClockSet;
    return m_content.history != nullptr ? m_content.history->Times() : kNoClockSet;
}

clsHistoryCurve::View ChartLayout::HistoryView() const
{
    const TimeWindow window = Window();
    return {begin(), window.perDay, window.columns, m_content.unit_mm, m_content.showZero};
}

double ChartLayout::XOf(double place) const
{
    const double column = (place - begin()) * Window().perDay + 0.5;
    return (m_plot.left() + (m_content.xReversed ? m_plot.width() - column : column)) / m_ratio;
}

double ChartLayout::PlaceAt(double x) const
{
    const double column = x * m_ratio - m_plot.left();
    return begin() + ((m_content.xReversed ? m_plot.width() - column : column) - 0.5) / Window().perDay;
}

double ChartLayout::YOf(double value) const
{
    const RowScale rows = Rows();
    return (m_plot.top() + rows.offset + value * rows.rowsPerUnit) / m_ratio;
}

double ChartLayout::ValueAt(double y) const
{
    const RowScale rows = Rows();
    return (y * m_ratio - m_plot.top() - rows.offset) / rows.rowsPerUnit;
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

QString ChartLayout::ValueText(double value) const
{
    const auto& values = m_valueAxis.tickValues;
    const double step = values.size() > 1 ? values[1] - values[0] : 1.0;
    return FromUtf8(modChartCommon::LabelText(value, modChartCommon::LabelDecimals(step), DecimalSeparator()));
}

std::vector<ChartLayout::Tick> ChartLayout::IntervalTicks() const
{
    std::vector<Tick> ticks;
    if (!m_content.ShowsIntervals()) {
        return ticks;
    }
    const double label = widthOf(kIntervalLabel) * m_ratio;
    const std::int32_t divisions = divisionsFor(m_plot.width(), kWidthsPerDivision * label);
    const auto positionOf = [&](double seconds) {
        const double share = 1.0 + seconds * kMsPerSecond / m_content.Span_ms();
        return static_cast<int>(std::lround(share * (m_plot.width() - 1)));
    };
    if (const double span_s = intervalSpan_s(); span_s * kMsPerSecond > ChartContent::kMostPlain_ms) {
        const std::int32_t fitting =
            divisionsFor(m_plot.width(), kWidthsPerDivision * widthOf(kDurationLabel) * m_ratio);
        const double step = modTimeScale::DurationStep(span_s, fitting);
        for (double seconds = -std::floor(span_s / step) * step; seconds <= 0.0; seconds += step) {
            ticks.push_back({positionOf(seconds), FromUtf8(modTimeScale::DurationText(seconds, span_s, step))});
        }
        return ticks;
    }
    modChartCommon::Axis axis;
    axis.minimum = -m_content.Span_ms() / kMsPerSecond;
    axis.pixelEnd = m_plot.width() - 1;
    modChartCommon::ComputeAxis(axis, divisions, DecimalSeparator());
    for (std::size_t i = 0; i < axis.tickValues.size(); ++i) {
        // The ticks stand at their times; the computation may have left out a piece at the far end.
        ticks.push_back({positionOf(axis.tickValues[i]), FromUtf8(axis.tickLabels[i])});
    }
    return ticks;
}

/// To the millisecond: the last bits of a stretch's length must not change the labels.
double ChartLayout::intervalSpan_s() const
{
    return std::round(m_content.Span_ms()) / kMsPerSecond;
}

QString ChartLayout::IntervalFormat() const
{
    const double span_s = intervalSpan_s();
    if (span_s * kMsPerSecond <= ChartContent::kMostPlain_ms || !m_content.ShowsIntervals()) {
        return {};
    }
    const std::int32_t fitting = divisionsFor(m_plot.width(), kWidthsPerDivision * widthOf(kDurationLabel) * m_ratio);
    return FromUtf8(modTimeScale::DurationFormat(span_s, modTimeScale::DurationStep(span_s, fitting)));
}

std::vector<ChartLayout::Tick> ChartLayout::TimeTicks() const
{
    if (m_content.ShowsIntervals() || !(m_content.look || m_content.begin) || m_plot.isEmpty()) {
        return {};
    }
    const bool isLooked = m_content.look && !m_content.lookFollows;
    const bool isLong = std::round(m_content.Span_ms()) >= kLongAxis_ms;
    std::vector<Tick> ticks = isLooked || isLong || !ClockChanges().empty() ? timesOfAnySpan() : timesOfDay();
    makeRoom(ticks);
    return ticks;
}

std::vector<ChartLayout::Tick> ChartLayout::timesOfDay() const
{
    std::vector<Tick> ticks;
    const double from = times().TimeOf(begin()), shift = begin() - from; // no clock was set behind it
    const QString last = FromUtf8(modChartCommon::TimeLabelText(from + m_content.Span_ms() / kMsPerDay));
    if (last == QLatin1String(modChartCommon::kInvalidRange)) {
        return {{m_plot.width() / 2, last}};
    }
    const double label = widthOf(kTimeLabel) * m_ratio;
    std::int32_t divisions = divisionsFor(m_plot.width(), kWidthsPerDivision * label);
    const auto span_ms = static_cast<std::int32_t>(std::lround(m_content.Span_ms()));
    const double step = modChartCommon::TimeStep(span_ms, divisions) / kMsPerDay;
    const double perDay = Window().perDay;
    const double first = columnAt(begin(), perDay);
    QString before;
    for (double count = std::ceil((from - m_content.timeOrigin) / step);
         ticks.size() <= static_cast<std::size_t>(divisions); count += 1.0) {
        const double time = m_content.timeOrigin + count * step;
        const double column = columnAt(time + shift, perDay) - first;
        if (column >= m_plot.width()) {
            break;
        }
        if (column >= 0.0) {
            // Steps below a second would repeat the same text.
            const QString text = FromUtf8(modChartCommon::TimeLabelText(time));
            ticks.push_back({static_cast<int>(column), text != before ? text : QString()});
            before = text;
        }
    }
    return ticks;
}

std::vector<ChartLayout::Tick> ChartLayout::timesOfAnySpan() const
{
    // Wider labels have room for fewer divisions, which may have other labels.
    modTimeScale::Step step = modTimeScale::StepFor(m_content.Span_ms(), kMostDivisions);
    for (bool isSettled = false; !isSettled;) {
        const double label = widthOf(FromUtf8(modTimeScale::WidestText(step))) * m_ratio;
        const modTimeScale::Step fitting =
            modTimeScale::StepFor(m_content.Span_ms(), divisionsFor(m_plot.width(), kWidthsPerDivision * label));
        const bool isCoarser = fitting.unit > step.unit || (fitting.unit == step.unit && fitting.count > step.count);
        isSettled = !isCoarser;
        step = isCoarser ? fitting : step;
    }
    const double end = begin() + m_content.Span_ms() / kMsPerDay;
    const double perDay = Window().perDay;
    std::vector<Tick> ticks;
    for (const modTimeScale::Tick& tick : modTimeScale::TicksOf(begin(), end, times(), step, DecimalSeparator())) {
        const auto column = static_cast<int>(std::lround((tick.place - begin()) * perDay));
        if (column < m_plot.width()) {
            ticks.push_back({column, FromUtf8(tick.text), FromUtf8(tick.below)});
        }
    }
    return ticks;
}

/// Leaves out labels that would run into the one before, and dates that would run into the next.
void ChartLayout::makeRoom(std::vector<Tick>& ticks) const
{
    if (m_content.xReversed) {
        std::ranges::reverse(ticks); // from left to right
    }
    const double gap = m_line / 2.0;
    double end = -std::numeric_limits<double>::infinity();
    for (Tick& tick : ticks) {
        const double half = widthOf(tick.text) / 2.0, middle = Mirrored(tick.position) / m_ratio;
        if (middle - half < end + gap) {
            tick.text.clear();
        } else {
            end = middle + half;
        }
    }
    double next = std::numeric_limits<double>::infinity();
    const double left = -m_plot.left() / m_ratio, right = left + m_size.width();
    for (auto tick = ticks.rbegin(); tick != ticks.rend(); ++tick) {
        if (tick->below.isEmpty()) {
            continue;
        }
        const double width = widthOf(tick->below);
        const double wanted = Mirrored(tick->position) / m_ratio - width / 2.0;
        const double begin = std::clamp(wanted, left + gap, std::max(right - width - gap, left + gap));
        if (begin + width + gap > next) {
            tick->below.clear();
        } else {
            next = begin;
            tick->belowLeft = begin - left;
        }
    }
}

std::vector<ChartLayout::Tick> ChartLayout::ClockChanges() const
{
    std::vector<Tick> changes;
    if (!m_plot.isEmpty()) {
        const double end = begin() + m_content.Span_ms() / kMsPerDay;
        for (const auto& change : modTimeScale::ClockChanges(begin(), end, times())) {
            const auto column = static_cast<int>(std::floor((change.place - begin()) * Window().perDay));
            changes.push_back({std::min(column, m_plot.width() - 1), m_content.clockLabel.arg(FromUtf8(change.by))});
        }
    }
    return changes;
}
