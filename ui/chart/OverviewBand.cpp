#include "ui/chart/OverviewBand.h"

#include "base/Days.h"
#include "session/modOverview.h"
#include "ui/chart/ChartColors.h"
#include "ui/chart/modGDIAPI.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kTint = 0.25;               // of the colour of the scales in the ground of a gap
constexpr int kNarrowestGap = 2;             // pixels
constexpr std::size_t kMostLookedInto = 256; // columns whose short gaps are looked at
constexpr double kThinnest = 1.5;            // of the band, units
constexpr double kMargin = 0.1;              // above and below the band, of its height

/// The rows of values in a picture.
struct Rows {
    double top = 0.0, perMillimetre = 0.0;
    std::int32_t maximum = 0;
    double operator()(std::int32_t value) const
    {
        return top + (static_cast<double>(maximum) - static_cast<double>(value)) * perMillimetre;
    }
};

Rows rowsOf(const std::vector<ValueSummary>& columns, int height)
{
    std::int32_t lowest = 0, highest = 0;
    bool isFirst = true;
    for (const ValueSummary& column : columns) {
        if (column.valid > 0) {
            lowest = isFirst ? column.minimum : std::min(lowest, column.minimum);
            highest = isFirst ? column.maximum : std::max(highest, column.maximum);
            isFirst = false;
        }
    }
    const double margin = std::ceil(height * kMargin);
    const double span = static_cast<double>(highest) - static_cast<double>(lowest);
    if (!(span > 0.0)) {
        return {std::floor(height / 2.0), 0.0, highest};
    }
    return {margin, (height - 1.0 - 2.0 * margin) / span, highest};
}

} // namespace

void OverviewBand::Draw(const clsHistory& history, const PlaceRange& all, bool showZero, const QSize& size,
                        double ratio, const ChartColors& colors)
{
    const QSize pixels = (QSizeF(size) * ratio).toSize().expandedTo(QSize(1, 1));
    if (m_picture.size() != pixels) {
        m_picture = QImage(pixels, QImage::Format_RGB32);
    }
    m_picture.setDevicePixelRatio(1.0);
    m_picture.fill(colors.back);
    m_window.columns = pixels.width();
    m_window.perDay = pixels.width() / all.Length();
    m_window.first = std::floor(all.begin * m_window.perDay);
    history.Columns(m_window, showZero, m_columns);
    findGaps(history, all);
    findClockChanges(history.Times(), all, kApart * ratio / m_window.perDay);
    {
        QPainter painter(&m_picture);
        drawGaps(painter, all, colors);
        drawColumns(painter, std::max(qRound(kThinnest * ratio), 2), colors.curve);
    }
    m_picture.setDevicePixelRatio(ratio);
}

/// A gap narrower than a column is hidden by the values beside it; only that the line was lost is said all the same.
void OverviewBand::findGaps(const clsHistory& history, const PlaceRange& all)
{
    const double column = 1.0 / m_window.perDay;
    m_gaps = history.GapsIn(all, column);
    std::size_t lookedInto = 0;
    std::vector<HistoryGap> shortOnes;
    for (std::size_t i = 0; i < m_columns.size() && lookedInto < kMostLookedInto; ++i) {
        if (m_columns[i].gaps == 0) {
            continue;
        }
        ++lookedInto;
        const double begin = (m_window.first + static_cast<double>(i)) / m_window.perDay;
        for (const HistoryGap& gap : history.GapsIn({begin, begin + column}, 0.0)) {
            if (gap.reason == GapReason::LineLost && gap.range.Length() < column) {
                shortOnes.push_back(gap);
            }
        }
    }
    m_gaps.insert(m_gaps.end(), shortOnes.begin(), shortOnes.end());
    const auto open = modOverview::OpenGaps(history, column);
    m_gaps.insert(m_gaps.end(), open.begin(), open.end());
}

void OverviewBand::findClockChanges(const clsTimeLine& times, const PlaceRange& all, double apart)
{
    m_clockChanges.clear();
    auto changes = modTimeScale::ClockChanges(all.begin, all.end, times);
    while (!changes.empty()) {
        m_clockChanges.push_back(changes.front());
        changes = modTimeScale::ClockChanges(changes.front().place + apart, all.end, times);
    }
}

void OverviewBand::drawGaps(QPainter& painter, const PlaceRange& all, const ChartColors& colors) const
{
    const QColor tint = modGDIAPI::Mixed(colors.scale, colors.back, kTint);
    for (const HistoryGap& gap : m_gaps) {
        if (gap.range.Length() * m_window.perDay < 1.0) {
            continue;
        }
        const double begin = std::max(gap.range.begin, all.begin), end = std::min(gap.range.end, all.end);
        const int left = static_cast<int>(std::lround((begin - all.begin) * m_window.perDay));
        const int right = static_cast<int>(std::lround((end - all.begin) * m_window.perDay));
        const QRect area(left, 0, std::max(right - left, kNarrowestGap), m_picture.height());
        painter.fillRect(area, modGDIAPI::Mixed(tint, colors.back, 0.5));
        painter.fillRect(area, QBrush(colors.axis, Qt::BDiagPattern));
    }
}

void OverviewBand::drawColumns(QPainter& painter, int thinnest, const QColor& color) const
{
    const Rows rows = rowsOf(m_columns, m_picture.height());
    painter.setPen(color);
    std::int32_t before = 0;
    int columnBefore = -1;
    for (int i = 0; i < static_cast<int>(m_columns.size()); ++i) {
        const ValueSummary& column = m_columns[static_cast<std::size_t>(i)];
        if (column.valid == 0) {
            continue;
        }
        double top = rows(column.maximum), bottom = rows(column.minimum);
        if (column.joinsBefore && columnBefore == i - 1) {
            top = std::min(top, rows(before));
            bottom = std::max(bottom, rows(before));
        } else if (column.joinsBefore && columnBefore >= 0) {
            const int from = static_cast<int>(std::lround(rows(before)));
            const int to = static_cast<int>(std::lround(rows(column.first)));
            for (int row = 0; row < thinnest; ++row) { // as thick as a column is high
                painter.drawLine(columnBefore, from + row, i, to + row);
            }
        }
        const int row = static_cast<int>(std::lround(top));
        const int height = std::max(static_cast<int>(std::lround(bottom)) - row + 1, thinnest);
        painter.fillRect(QRect(i, row, 1, height), color);
        before = column.last;
        columnBefore = i;
    }
}
