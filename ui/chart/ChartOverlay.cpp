#include "ui/chart/ChartOverlay.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace {

constexpr double kLineWidth = 1.0;
constexpr double kDotRadius = 4.0;
constexpr double kLettersPerMark = 20.0; // of a mark's text that has all the room
constexpr double kMarkDistance = 3.0;    // marks that are closer look like one
constexpr const char* kLetters[] = {"A", "B"};

/// Counted from the left end of a window.
double columnAt(double place, const TimeWindow& window)
{
    return std::floor(place * window.perDay + 1e-3) - window.first;
}

class Overlay {
public:
    Overlay(QPainter& painter, const ChartContent& content, const ChartLayout& layout, const ChartColors& colors)
        : m_painter(painter), m_content(content), m_layout(layout), m_colors(colors), m_plot(layout.PlotArea()),
          m_metrics(layout.Font()), m_margin(layout.Line() / 4.0)
    {
        m_painter.save();
        m_painter.setFont(layout.Font());
        m_painter.setClipRect(m_plot, Qt::IntersectClip);
    }
    ~Overlay() { m_painter.restore(); }
    Overlay(const Overlay&) = delete;
    Overlay& operator=(const Overlay&) = delete;

    /// Letters stand at the lower end, flags at the upper one below the note, so that none covers another.
    void DrawCursors()
    {
        QRectF before;
        for (std::size_t i = 0; i < m_content.overlay.cursors.size(); ++i) {
            const auto& cursor = m_content.overlay.cursors[i];
            if (const auto x = cursor ? xOf(*cursor) : std::nullopt) {
                drawUpright(*x, m_colors.scale, i == 0 ? Qt::SolidLine : Qt::DashLine);
                const QString letter = QLatin1String(kLetters[i]);
                const double width =
                    std::max(m_metrics.horizontalAdvance(letter), m_metrics.height() * 0.7) + 2.0 * m_margin;
                const double last = std::max(m_plot.right() - width, m_plot.left());
                QRectF box(std::clamp(*x - width / 2.0, m_plot.left(), last),
                           m_plot.bottom() - m_metrics.height() - m_margin, width, m_metrics.height());
                if (box.intersects(before)) {
                    box.moveBottom(before.top() - m_margin);
                }
                drawBox(box, letter, m_colors.scale, m_colors.back);
                before = box;
            }
        }
    }

    /// The text of a mark ends before the next mark.
    void DrawMarks()
    {
        std::vector<std::pair<double, const ChartOverlayContent::Mark*>> seen;
        const auto& marks = m_content.overlay.marks;
        const TimeWindow window = m_layout.Window();
        const auto columnOf = [&](const ChartOverlayContent::Mark& mark) { return columnAt(mark.place, window); };
        for (auto mark = std::ranges::lower_bound(marks, 0.0, {}, columnOf); mark != marks.end(); ++mark) {
            const auto x = xOf(mark->place);
            if (!x) {
                break;
            }
            if (seen.empty() || std::fabs(*x - seen.back().first) >= kMarkDistance) {
                seen.emplace_back(*x, &*mark);
            }
        }
        std::ranges::sort(seen); // a reversed axis begins with the last
        const double top = m_plot.top() + m_metrics.height() + 3.0 * m_margin;
        for (std::size_t i = 0; i < seen.size(); ++i) {
            const auto& [x, mark] = seen[i];
            drawUpright(x, m_colors.axis, Qt::DotLine);
            drawFlag(x, top);
            const double left = x + m_metrics.height() / 2.0 + m_margin;
            const double end = i + 1 < seen.size() ? seen[i + 1].first - m_margin : m_plot.right();
            const double most = std::min(kLettersPerMark * m_metrics.averageCharWidth(), end - left);
            if (most <= 2.0 * m_margin) {
                continue;
            }
            const QString text = m_metrics.elidedText(mark->text, Qt::ElideRight, most - 2.0 * m_margin);
            const double width = m_metrics.horizontalAdvance(text) + 2.0 * m_margin;
            if (text.size() > 1 && width <= most) {
                drawBox({left, top, width, m_metrics.height()}, text, m_colors.back, m_colors.scale);
            }
        }
    }

    void DrawNote()
    {
        const QString& note = m_content.overlay.note;
        if (note.isEmpty() || m_plot.isEmpty()) {
            return;
        }
        const QString text = m_metrics.elidedText(note, Qt::ElideRight, m_plot.width() - 4.0 * m_margin);
        const double width = m_metrics.horizontalAdvance(text) + 2.0 * m_margin;
        const QRectF box(m_plot.right() - m_margin - width, m_plot.top() + m_margin, width, m_metrics.height());
        drawBox(box, text, m_colors.back, m_colors.scale);
        m_painter.setPen(QPen(m_colors.axis, kLineWidth));
        m_painter.setBrush(Qt::NoBrush);
        m_painter.drawRect(box);
    }

    void DrawPointed()
    {
        const auto& pointed = m_content.overlay.pointed;
        const auto x = pointed ? xOf(pointed->place) : std::nullopt;
        if (!x) {
            return;
        }
        const RowScale rows = m_layout.Rows();
        const double y = (m_layout.Plot().top() + rows.offset + pointed->value * rows.rowsPerUnit) / m_layout.Ratio();
        if (!(y >= m_plot.top() && y <= m_plot.bottom())) {
            return;
        }
        drawUpright(*x, m_colors.axis, Qt::SolidLine);
        m_painter.drawLine(QPointF(m_plot.left(), y), QPointF(m_plot.right(), y));
        m_painter.setRenderHint(QPainter::Antialiasing);
        m_painter.setPen(QPen(m_colors.scale, 1.5 * kLineWidth));
        m_painter.setBrush(m_colors.back);
        m_painter.drawEllipse(QPointF(*x, y), kDotRadius, kDotRadius);
    }

private:
    /// The middle of a place's column; none outside the plot.
    std::optional<double> xOf(double place) const
    {
        const TimeWindow window = m_layout.Window();
        const double column = columnAt(place, window);
        if (!(column >= 0.0 && column < m_layout.Plot().width())) {
            return {};
        }
        return (m_layout.Plot().left() + m_layout.Mirrored(static_cast<int>(column)) + 0.5) / m_layout.Ratio();
    }

    void drawUpright(double x, const QColor& color, Qt::PenStyle style)
    {
        m_painter.setPen(QPen(color, kLineWidth, style));
        m_painter.drawLine(QPointF(x, m_plot.top()), QPointF(x, m_plot.bottom()));
    }

    void drawFlag(double x, double top)
    {
        const double size = m_metrics.height() / 2.0;
        m_painter.setRenderHint(QPainter::Antialiasing);
        m_painter.setPen(Qt::NoPen);
        m_painter.setBrush(m_colors.scale);
        m_painter.drawPolygon(QPolygonF({{x, top}, {x + size, top + size / 2.0}, {x, top + size}}));
        m_painter.setRenderHint(QPainter::Antialiasing, false);
    }

    void drawBox(const QRectF& box, const QString& text, const QColor& ground, const QColor& letters)
    {
        m_painter.fillRect(box, ground);
        m_painter.setPen(letters);
        m_painter.drawText(box, Qt::AlignCenter, text);
    }

    QPainter& m_painter;
    const ChartContent& m_content;
    const ChartLayout& m_layout;
    const ChartColors& m_colors;
    QRectF m_plot;
    QFontMetricsF m_metrics;
    double m_margin;
};

} // namespace

void DrawOverlay(QPainter& painter, const ChartContent& content, const ChartLayout& layout, const ChartColors& colors)
{
    const ChartOverlayContent& shown = content.overlay;
    if (shown.marks.empty() && shown.note.isEmpty() && !shown.cursors[0] && !shown.cursors[1]) {
        return;
    }
    Overlay overlay(painter, content, layout, colors);
    overlay.DrawMarks();
    overlay.DrawCursors();
    overlay.DrawNote();
}

void DrawPointed(QPainter& painter, const ChartContent& content, const ChartLayout& layout, const ChartColors& colors)
{
    if (content.overlay.pointed) {
        Overlay(painter, content, layout, colors).DrawPointed();
    }
}
