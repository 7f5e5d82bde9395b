#include "chart/XYChart.h"

#include "shell/QtText.h"
#include "shell/modAPI.h"

#include <QFontMetricsF>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr double kTimeStep_s = 10.0;
constexpr int kValueDivisions = 6;
constexpr double kGap_s = 2.0; // values further apart are not joined

/// The smallest of 1, 2 and 5 times a power of ten that is not below `least`.
double roundStep(double least)
{
    const double power = std::pow(10.0, std::floor(std::log10(least)));
    for (const double mantissa : {1.0, 2.0, 5.0}) {
        if (mantissa * power >= least) {
            return mantissa * power;
        }
    }
    return 10.0 * power;
}

int decimalsOf(double step)
{
    return std::clamp(static_cast<int>(-std::floor(std::log10(step) + 1e-9)), 0, 8);
}

} // namespace

XYChart::XYChart(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
}

void XYChart::Reset()
{
    m_points.clear();
    update();
}

void XYChart::AddPoint(double time, double value)
{
    m_points.emplace_back(time, value);
    ShowTime(time);
}

void XYChart::ShowTime(double time)
{
    // A clock set back leaves points in the future, which have no place on the scale.
    while (!m_points.empty() && m_points.back().x() > time) {
        m_points.pop_back();
    }
    while (!m_points.empty() && m_points.front().x() < time - kSpan_s / kSecondsPerDay) {
        m_points.pop_front();
    }
    m_newest = time;
    update();
}

void XYChart::YTitle(const QString& title)
{
    if (m_yTitle != title) {
        m_yTitle = title;
        update();
    }
}

void XYChart::EmptyText(const QString& text)
{
    m_emptyText = text;
    update();
}

QSize XYChart::sizeHint() const
{
    return QSize(72, 30) * fontMetrics().height() / 2;
}

QSize XYChart::minimumSizeHint() const
{
    return QSize(20, 12) * fontMetrics().height();
}

void XYChart::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double line = QFontMetricsF(font()).height();
    const double labels = QFontMetricsF(font()).horizontalAdvance(QStringLiteral("-0000.000"));
    const QRectF plot = QRectF(rect()).adjusted(labels + line, 2.0 * line, -1.5 * line, -2.5 * line);
    if (m_points.empty()) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, m_emptyText);
        return;
    }
    const Range range = valueRange();
    drawValueScale(painter, plot, range);
    drawTimeScale(painter, plot);
    drawCurve(painter, plot, range);
}

XYChart::Range XYChart::valueRange() const
{
    const auto [lowest, highest] = std::ranges::minmax_element(m_points, {}, [](const QPointF& p) { return p.y(); });
    const double span = std::max(highest->y() - lowest->y(), std::max(std::fabs(highest->y()) * 1e-3, 1e-6));
    const double step = roundStep(span * 1.1 / kValueDivisions);
    const double low = std::floor((lowest->y() - 0.05 * span) / step) * step;
    const double high = std::ceil((highest->y() + 0.05 * span) / step) * step;
    return {low, high, step};
}

double XYChart::xOf(double time, const QRectF& plot) const
{
    return plot.right() + (time - m_newest) * kSecondsPerDay / kSpan_s * plot.width();
}

void XYChart::drawValueScale(QPainter& painter, const QRectF& plot, const Range& range) const
{
    const QFontMetricsF metrics(font());
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    const auto ticks = static_cast<int>(std::lround((range.high - range.low) / range.step));
    for (int i = 0; i <= ticks; ++i) {
        const double value = range.low + i * range.step;
        const double y = plot.bottom() - i * plot.height() / ticks;
        painter.setPen(QPen(palette().color(QPalette::Midlight), 1.0));
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(palette().color(QPalette::Text));
        const QRectF box(0.0, y - metrics.height(), plot.left() - metrics.height() / 2.0, 2.0 * metrics.height());
        painter.drawText(box, Qt::AlignRight | Qt::AlignVCenter, locale.toString(value, 'f', decimalsOf(range.step)));
    }
    const QRectF title(0.0, 0.0, plot.left() + metrics.height(), plot.top() - metrics.height() / 2.0);
    painter.drawText(title, Qt::AlignRight | Qt::AlignVCenter, m_yTitle);
}

void XYChart::drawTimeScale(QPainter& painter, const QRectF& plot) const
{
    const QFontMetricsF metrics(font());
    const double first = std::ceil((m_newest * kSecondsPerDay - kSpan_s) / kTimeStep_s) * kTimeStep_s;
    const double room = metrics.horizontalAdvance(QStringLiteral("00:00:00")) * 1.3;
    double labelledTo = 0.0;
    for (double second = first; second <= m_newest * kSecondsPerDay; second += kTimeStep_s) {
        const double x = xOf(second / kSecondsPerDay, plot);
        painter.setPen(QPen(palette().color(QPalette::Midlight), 1.0));
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
        if (x - room / 2.0 < labelledTo || x + room / 2.0 > width()) {
            continue;
        }
        painter.setPen(palette().color(QPalette::Text));
        const QRectF box(x - room / 2.0, plot.bottom() + metrics.height() / 2.0, room, metrics.height());
        painter.drawText(box, Qt::AlignCenter, FromUtf8(modAPI::TimeOfDayText(second / kSecondsPerDay)));
        labelledTo = x + room / 2.0;
    }
}

void XYChart::drawCurve(QPainter& painter, const QRectF& plot, const Range& range) const
{
    QPainterPath path;
    double before = 0.0;
    for (const QPointF& point : m_points) {
        const double y = plot.bottom() - (point.y() - range.low) / (range.high - range.low) * plot.height();
        const QPointF place(xOf(point.x(), plot), y);
        const bool joined = (point.x() - before) * kSecondsPerDay < kGap_s;
        joined ? path.lineTo(place) : path.moveTo(place);
        before = point.x();
    }
    painter.setClipRect(plot);
    painter.setPen(QPen(palette().color(QPalette::Link), 1.5));
    painter.drawPath(path);
}
