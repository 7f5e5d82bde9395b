#include "ui/chart/ChartPicture.h"

#include "base/Days.h"
#include "ui/chart/XYChart.h"
#include "ui/chart/modGDIAPI.h"
#include "ui/widgets/QtText.h"

#include <QFontInfo>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kGridWidth = 0.6, kAxisWidth = 1.0, kCurveWidth = 1.4, kDotWidth = 2.4;

class Picture {
public:
    Picture(QPainter& painter, XYChart& chart, const QSize& size)
        : m_painter(painter), m_chart(chart), m_size(size), m_font(chart.font()), m_scales(chart.CurrentScales())
    {
        // In the painter's units, whatever the resolution of what it paints on.
        m_font.setPixelSize(std::max(QFontInfo(chart.font()).pixelSize(), 1));
        m_line = QFontMetricsF(m_font).height();
        m_back = modGDIAPI::ColorOf(chart.BackColor());
        m_scale = modGDIAPI::ColorOf(chart.ScaleColor());
        m_grid = modGDIAPI::ColorOf(chart.GridColor());
    }

    void Draw()
    {
        layOut();
        m_painter.fillRect(QRectF(QPointF(), m_size), m_back);
        drawScale(m_scales.value, Qt::Vertical);
        drawScale(m_scales.time, Qt::Horizontal);
        m_painter.setPen(QPen(m_grid, kAxisWidth));
        m_painter.drawPolyline(QPolygonF({m_plot.topLeft(), m_plot.bottomLeft(), m_plot.bottomRight()}));
        drawTexts();
        drawCurve();
    }

private:
    double widthOf(const QString& text) const { return QFontMetricsF(m_font).horizontalAdvance(text); }

    void layOut()
    {
        double labels = widthOf(QStringLiteral("00000")); // half a time of day fits too
        for (const XYChart::Tick& tick : m_scales.value) {
            labels = std::max(labels, widthOf(tick.text));
        }
        const double top = (m_chart.Header().Text.empty() ? 2.4 : 4.4) * m_line;
        m_plot = QRectF(labels + 1.5 * m_line, top, 0.0, 0.0);
        m_plot.setRight(std::max(m_size.width() - 2.0 * m_line, m_plot.left() + 1.0));
        m_plot.setBottom(std::max(m_size.height() - 3.0 * m_line, m_plot.top() + 1.0));
    }

    double shareOf(double value) const { return (value - m_scales.minimum) / (m_scales.maximum - m_scales.minimum); }

    QPointF pointAt(double time, double value) const
    {
        const double x = (time - m_chart.TimeBegin()) / (m_chart.XRange_ms() / kMsPerDay);
        const double y = shareOf(value);
        return {m_plot.left() + (m_chart.XReversed() ? 1.0 - x : x) * m_plot.width(),
                m_plot.top() + (m_chart.YReversed() ? y : 1.0 - y) * m_plot.height()};
    }

    void drawScale(const std::vector<XYChart::Tick>& ticks, Qt::Orientation orientation)
    {
        m_painter.setFont(m_font);
        for (const XYChart::Tick& tick : ticks) {
            const bool across = orientation == Qt::Horizontal;
            const bool reversed = across ? m_chart.XReversed() : !m_chart.YReversed();
            const double share = reversed ? 1.0 - tick.share : tick.share;
            const double x = m_plot.left() + share * m_plot.width(), y = m_plot.top() + share * m_plot.height();
            m_painter.setPen(QPen(modGDIAPI::Mixed(m_grid, Qt::white, 0.4), kGridWidth));
            m_painter.drawLine(across ? QLineF(x, m_plot.top(), x, m_plot.bottom())
                                      : QLineF(m_plot.left(), y, m_plot.right(), y));
            m_painter.setPen(m_scale);
            const QRectF below(x - 5.0 * m_line, m_plot.bottom() + 0.4 * m_line, 10.0 * m_line, m_line);
            const QRectF beside(0.0, y - m_line, m_plot.left() - 0.5 * m_line, 2.0 * m_line);
            const Qt::Alignment alignment = Qt::AlignVCenter | (across ? Qt::AlignHCenter : Qt::AlignRight);
            m_painter.drawText(across ? below : beside, static_cast<int>(alignment), tick.text);
        }
    }

    void drawTexts()
    {
        const QRectF above(0.0, m_plot.top() - 2.0 * m_line, m_plot.right(), m_line);
        m_painter.setFont(m_font);
        m_painter.setPen(m_scale);
        const QString unit = FromUtf8(m_chart.YCaption().Text);
        m_painter.drawText(above.adjusted(std::max(m_plot.left() - m_line - widthOf(unit), 0.0), 0, 0, 0),
                           Qt::AlignLeft | Qt::AlignVCenter, unit);
        if (!m_chart.TimeScale()) {
            m_painter.drawText(QRectF(m_plot.left(), m_plot.bottom() + 1.6 * m_line, m_plot.width(), m_line),
                               Qt::AlignCenter, FromUtf8(m_chart.XCaption().Text));
        }
        drawSeriesLabel(above);
        QFont bold = m_font;
        bold.setBold(true);
        bold.setPixelSize(static_cast<int>(std::lround(1.3 * bold.pixelSize())));
        m_painter.setFont(bold);
        m_painter.drawText(QRectF(0.0, 0.5 * m_line, m_size.width(), 1.5 * m_line), Qt::AlignCenter,
                           FromUtf8(m_chart.Header().Text));
    }

    void drawSeriesLabel(const QRectF& above)
    {
        m_painter.drawText(above, Qt::AlignRight | Qt::AlignVCenter, m_chart.SeriesLabel());
        const double end = above.right() - widthOf(m_chart.SeriesLabel()) - 0.5 * m_line;
        m_painter.setPen(QPen(modGDIAPI::ColorOf(modChartGlobals::kCurveColorOnLight), 1.5 * kCurveWidth));
        m_painter.drawLine(QPointF(end - 1.2 * m_line, above.center().y()), QPointF(end, above.center().y()));
        m_painter.setPen(m_scale);
    }

    void drawCurve()
    {
        m_painter.save();
        m_painter.setClipRect(m_plot);
        m_painter.setRenderHint(QPainter::Antialiasing);
        const QColor ink = modGDIAPI::ColorOf(modChartGlobals::kCurveColorOnLight);
        m_painter.setPen(
            QPen(ink, m_chart.ConnectPoints() ? kCurveWidth : kDotWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        QPolygonF run;
        double before = 0.0;
        for (const auto part : m_chart.Points()) {
            for (const ChartPoint& point : part) {
                const bool shown = IsShown(point, m_chart.ShowZeroValues());
                if (!shown || point.x < before) {
                    drawRun(run);
                }
                if (shown) {
                    run += pointAt(point.x, point.y);
                    before = point.x;
                }
            }
        }
        drawRun(run);
        m_painter.restore();
    }

    /// Points that are joined, one alone being a dot.
    void drawRun(QPolygonF& run)
    {
        // What lies outside would only make the file longer; the neighbours of what lies inside lead the line out.
        QPolygonF inside;
        for (qsizetype i = 0; i < run.size(); ++i) {
            const auto visible = [&](qsizetype at) {
                const qsizetype index = std::clamp<qsizetype>(at, 0, run.size() - 1);
                return run[index].x() >= m_plot.left() && run[index].x() <= m_plot.right();
            };
            if (visible(i - 1) || visible(i) || visible(i + 1)) {
                inside += run[i];
            }
        }
        if (inside.size() > 1 && m_chart.ConnectPoints()) {
            m_painter.drawPolyline(inside);
        } else {
            m_painter.drawPoints(inside);
        }
        run.clear();
    }

    QPainter& m_painter;
    XYChart& m_chart;
    QSizeF m_size;
    QFont m_font;
    double m_line = 0.0; ///< height of a line of text
    QColor m_back, m_scale, m_grid;
    QRectF m_plot;
    const XYChart::Scales m_scales;
};

} // namespace

void DrawChart(QPainter& painter, XYChart& chart, const QSize& size)
{
    Picture(painter, chart, size).Draw();
}
