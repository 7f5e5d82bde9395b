#include "ui/chart/ChartFrame.h"

#include "ui/chart/ChartOverlay.h"
#include "ui/chart/modGDIAPI.h"

#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kLineWidth = ChartDrawing::kLineWidth;
constexpr double kNewestWidth = 6.0;

} // namespace

void ChartFrame::Prepare(const QFont& font, const QPalette& palette, const QSize& size, double ratio)
{
    const bool isSized = m_layout && m_layout->Size() == size && m_layout->Ratio() == ratio;
    if (m_isStale || !isSized) {
        m_isStale = false;
        m_columns = {};
        m_curvePainter.Forget();
        m_colors = ColorsOf(m_content, palette);
        m_layout.emplace(m_content, font, size, ratio);
        m_picture = QImage(m_layout->Pixels(), QImage::Format_RGB32);
        m_picture.setDevicePixelRatio(ratio);
        m_newest = newestDot(ratio);
        if (!m_picture.isNull()) {
            QPainter painter(&m_picture);
            ChartDrawing(m_content, *m_layout, m_colors).DrawGround(painter);
        }
    }
    m_timeTicks = m_layout->TimeTicks();
}

bool ChartFrame::Compose(const clsChartData& series)
{
    if (m_layout->Plot().isEmpty()) {
        return false;
    }
    const Raster raster = modGDIAPI::RasterOf(m_picture, m_layout->Plot(), m_content.xReversed);
    if (m_content.timeScale || !m_content.connectPoints || !m_content.begin) {
        m_curvePainter.Erase(raster);
    }
    for (const ChartLayout::Tick& tick : m_timeTicks) {
        const int end = std::min(tick.position + m_layout->Hairline(), raster.width);
        for (int column = tick.position; column < end; ++column) {
            m_curvePainter.DrawUpright(raster, column, m_colors.grid.rgb());
        }
    }
    if (!m_content.begin) {
        return false;
    }
    const double ratio = m_layout->Ratio();
    const std::uint32_t color = m_colors.curve.rgb();
    if (!m_content.connectPoints) {
        m_curvePainter.DrawDots(raster, series.Readable(), m_layout->Window(), m_layout->Rows(),
                                {ChartDrawing::kDotWidth * ratio, color}, m_content.showZero);
        return true;
    }
    m_columns.Update(series, m_layout->FineWindow(), m_content.showZero);
    m_curvePainter.DrawLines(raster, m_columns, m_layout->Rows(), {kLineWidth * ratio, color});
    return !m_columns.Spans().empty();
}

void ChartFrame::Paint(QPainter& painter) const
{
    painter.drawImage(QPointF(), m_picture);
    ChartDrawing(m_content, *m_layout, m_colors).DrawTimeLabels(painter, m_timeTicks);
}

void ChartFrame::PaintNewest(QPainter& painter, const ChartPoint& newest) const
{
    const QRect& plot = m_layout->Plot();
    const auto place = PlaceOf(newest, m_layout->Window(), m_layout->Rows(), plot.height(), m_content.showZero);
    if (!place) {
        return;
    }
    const QPoint centre(plot.left() + m_layout->Mirrored(static_cast<int>(place->column)),
                        plot.top() + static_cast<int>(place->row));
    painter.drawPixmap(QPointF(centre - m_newest.rect().center()) / m_layout->Ratio(), m_newest);
}

/// The picture of the dot at the newest value; its middle is the middle of a pixel.
QPixmap ChartFrame::newestDot(double ratio) const
{
    const double radius = (kNewestWidth + kLineWidth) / 2.0;
    const int side = 2 * static_cast<int>(std::ceil((radius + kLineWidth) * ratio)) + 1;
    QPixmap dot(side, side);
    dot.fill(Qt::transparent);
    dot.setDevicePixelRatio(ratio);
    QPainter painter(&dot);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(m_colors.back, kLineWidth));
    painter.setBrush(m_colors.curve);
    painter.drawEllipse(QPointF(side, side) / ratio / 2.0, radius, radius);
    return dot;
}

void ChartFrame::PaintNote(QPainter& painter, const QString& text) const
{
    const double line = m_layout->Line();
    const QRectF room = m_layout->PlotArea().adjusted(line, line, -line, -line);
    if (text.isEmpty() || room.width() <= 0.0) {
        return;
    }
    constexpr int kFlags = Qt::AlignCenter | Qt::TextWordWrap;
    const QRectF box = painter.boundingRect(room, kFlags, text);
    painter.fillRect(box.adjusted(-line, -line / 2.0, line, line / 2.0), m_colors.back);
    painter.setPen(m_colors.muted);
    painter.drawText(room, kFlags, text);
}

QRect ChartFrame::CurveArea() const
{
    if (!m_layout || m_layout->Plot().isEmpty()) {
        return {};
    }
    const double reach = kNewestWidth + kLineWidth; // the dot may touch the edge
    return m_layout->PlotArea().adjusted(-reach, -reach, reach, reach).toAlignedRect();
}

double ChartFrame::ValueAt(double y) const
{
    const RowScale rows = m_layout ? m_layout->Rows() : RowScale();
    return m_layout ? (y * m_layout->Ratio() - m_layout->Plot().top() - rows.offset) / rows.rowsPerUnit : 0.0;
}

double ChartFrame::YOf(double value) const
{
    const RowScale rows = m_layout ? m_layout->Rows() : RowScale();
    return m_layout ? (m_layout->Plot().top() + rows.offset + value * rows.rowsPerUnit) / m_layout->Ratio() : 0.0;
}

void ChartFrame::PaintOverlay(QPainter& painter) const
{
    if (m_layout) {
        DrawOverlay(painter, m_content, *m_layout, m_colors);
        DrawPointed(painter, m_content, *m_layout, m_colors);
    }
}
