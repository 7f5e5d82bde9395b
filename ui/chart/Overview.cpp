#include "ui/chart/Overview.h"

#include "base/Days.h"
#include "session/clsSession.h"
#include "ui/chart/ChartColors.h"
#include "ui/chart/ChartContent.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/PlaceText.h"
#include "ui/chart/modGDIAPI.h"
#include "ui/widgets/FocusMark.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"

#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kRedrawEvery_ms = 250;
constexpr int kRedrawLoadingEvery_ms = 50; // a recording grows by millions of lines meanwhile
constexpr double kSign = 4.0;              // half the width of a sign, units
constexpr double kGrip = 4.0;              // width of a handle, units
constexpr double kVeil = 0.55;             // over what the chart does not show
constexpr double kVisible = 3.0;           // the least contrast of the curve below it
constexpr double kShortestAll_s = 1.0;     // of the overview's axis

QPolygonF flag(double x, double top)
{
    return QPolygonF({{x - kSign, top}, {x + kSign, top}, {x, top + 1.6 * kSign}});
}

/// The ground's colour, as dense as the curve can bear.
QColor veilOf(const ChartColors& colors)
{
    constexpr double kStep = 0.05;
    double veil = kVeil;
    while (veil > 0.0 &&
           modGDIAPI::Contrast(modGDIAPI::Mixed(colors.curve, colors.back, 1.0 - veil), colors.back) < kVisible) {
        veil -= kStep;
    }
    QColor color = colors.back;
    color.setAlphaF(static_cast<float>(std::max(veil, 0.0)));
    return color;
}

} // namespace

Overview::Overview(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

Overview::~Overview()
{
    if (m_session != nullptr) {
        m_session->Leave(*this);
    }
}

void Overview::Follow(clsSession& session, ChartPanel& chart)
{
    m_session = &session;
    m_chart = &chart;
    session.Listen(*this);
    connect(&chart, &ChartPanel::Looked, this, [this] { Guarded([this] { refresh(); }); });
    auto* timer = new QTimer(this); // the session does not tick while a recording is loaded
    connect(timer, &QTimer::timeout, this, [this] { Guarded([this] { refresh(); }); });
    timer->start(kRedrawEvery_ms);
}

void Overview::Localise(std::int32_t language)
{
    m_language = language;
    setAccessibleName(Text(TextId::AccessibleOverview, language));
    describe();
    update();
}

QSize Overview::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * 20, fontMetrics().height() * 3};
}

/// Has drawn anew what has changed: the frame at once, the band a few times a second.
void Overview::refresh()
{
    const Drawn now = present();
    const bool isDue = isDueAfter(kRedrawEvery_ms, now) || now.size > 2 * m_drawn.size;
    if (now != m_drawn && isDue) {
        m_sinceDrawn.invalidate(); // the band is drawn with the next paint event
        update();
    } else if (frame() != m_shownFrame) {
        update();
    }
}

/// Paints at once: a paint event would wait for the display, and the display for who loads to handle events again. By
/// then a short recording is there.
void Overview::PlaybackGoesOn()
{
    const Drawn now = present();
    if (now != m_drawn && isDueAfter(kRedrawLoadingEvery_ms, now)) {
        m_sinceDrawn.invalidate();
        repaint();
    }
}

Overview::Drawn Overview::present() const
{
    const clsHistory& shown = m_session->Shown();
    return {&shown, shown.Version(), m_session->MarksVersion(), shown.Size(), m_chart->ShowZeroValues()};
}

/// Whether a band that has only grown is drawn anew.
bool Overview::isDueAfter(int time_ms, const Drawn& now) const
{
    return !m_sinceDrawn.isValid() || m_sinceDrawn.hasExpired(time_ms) || now.history != m_drawn.history ||
           now.marks != m_drawn.marks;
}

bool Overview::isEmpty() const
{
    return m_session == nullptr || m_session->Shown().IsEmpty();
}

/// Whether values are added, so that the newest can be followed.
bool Overview::isLive() const
{
    return &m_session->Shown() == &m_session->History();
}

PlaceRange Overview::all() const
{
    const PlaceRange range = m_session->Shown().Range();
    const double missing = std::max(kShortestAll_s / kSecondsPerDay - range.Length(), 0.0);
    return {range.begin - missing / 2.0, range.end + missing / 2.0};
}

/// Below the plot of the chart, which lies in the same column.
QRectF Overview::band() const
{
    const double line = fontMetrics().height();
    const QRectF plot = m_chart == nullptr ? QRectF() : m_chart->PlotArea();
    const double left = plot.width() > 0.0 ? std::round(plot.left()) : line / 2.0;
    const double right = plot.width() > 0.0 ? std::round(plot.right()) : width() - line / 2.0;
    return {left, 2.0, std::max(right - left, 1.0), std::max(height() - line - 4.0, 1.0)};
}

double Overview::xOf(double place) const
{
    const QRectF area = band();
    const PlaceRange range = all();
    return area.left() + std::clamp((place - range.begin) / range.Length(), 0.0, 1.0) * area.width();
}

double Overview::placeAt(double x) const
{
    const QRectF area = band();
    const PlaceRange range = all();
    return range.begin + std::clamp((x - area.left()) / area.width(), 0.0, 1.0) * range.Length();
}

QRectF Overview::frame() const
{
    if (isEmpty()) {
        return {};
    }
    const QRectF area = band();
    const PlaceRange shown = m_chart->ShownRange();
    const double left = xOf(shown.begin);
    return {left, area.top(), std::max(xOf(shown.end) - left, 1.0), area.height()};
}

void Overview::paintEvent(QPaintEvent* /*event*/)
{
    Guarded([this] {
        QPainter painter(this);
        const ChartColors colors = ColorsOf(ChartContent(), palette());
        painter.fillRect(rect(), colors.back);
        const QRectF area = band();
        if (isEmpty()) {
            painter.setPen(colors.axis);
            painter.drawRect(area.adjusted(0.5, 0.5, -0.5, -0.5));
            painter.setPen(colors.muted);
            painter.drawText(area, Qt::AlignCenter, Text(TextId::ChartEmpty, m_language));
            return;
        }
        const QSize size = area.size().toSize();
        const QSize pixels = (QSizeF(size) * devicePixelRatioF()).toSize();
        if (!m_sinceDrawn.isValid() || m_band.Picture().size() != pixels) {
            m_drawn = present();
            m_band.Draw(m_session->Shown(), all(), m_drawn.showZero, size, devicePixelRatioF(), colors);
            m_sinceDrawn.start();
        }
        painter.drawImage(area.topLeft(), m_band.Picture());
        drawFrame(painter, colors);
        m_shownFrame = frame();
        drawSigns(painter, colors);
        drawLabels(painter, colors);
        if (hasFocus()) {
            PaintFocus(painter, *this, rect().adjusted(1, 0, -1, 0), colors.back);
        }
    });
}

/// The face of a clock where it was set, a cross where the line was lost, a flag for each mark.
void Overview::drawSigns(QPainter& painter, const ChartColors& colors) const
{
    const QRectF area = band();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colors.scale, 1.5));
    for (const HistoryGap& gap : m_band.Gaps()) {
        if (gap.reason == GapReason::LineLost) {
            const QPointF centre(xOf((gap.range.begin + gap.range.end) / 2.0), area.bottom() - kSign - 2.0);
            painter.drawLine(centre - QPointF(kSign, kSign) * 0.8, centre + QPointF(kSign, kSign) * 0.8);
            painter.drawLine(centre - QPointF(kSign, -kSign) * 0.8, centre + QPointF(kSign, -kSign) * 0.8);
        }
    }
    painter.setPen(QPen(colors.scale, 1.0));
    painter.setBrush(colors.back);
    for (const modTimeScale::ClockChange& change : m_band.ClockChanges()) {
        const QPointF centre(xOf(change.place), area.bottom() - kSign - 2.0);
        painter.drawEllipse(centre, kSign, kSign);
        painter.drawPolyline(
            QPolygonF({centre - QPointF(0.0, 0.7 * kSign), centre, centre + QPointF(0.6 * kSign, 0.0)}));
    }
    const auto marks = m_session->Marks();
    const PlaceRange range = all();
    const auto choice = chosen();
    double last = -kSign;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const double x = std::round(xOf(marks[i].place)) + 0.5;
        if (marks[i].place < range.begin || marks[i].place > range.end) {
            continue; // what it belongs to is not there yet
        }
        if (x - last < 1.0 && choice != i) {
            continue; // not to be told from the one before
        }
        last = x;
        painter.setPen(QPen(colors.scale, choice == i ? 2.0 : 1.0));
        painter.drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
        painter.setBrush(choice == i ? colors.back : colors.scale);
        painter.drawPolygon(flag(x, area.top()));
    }
    painter.setBrush(Qt::NoBrush);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void Overview::drawFrame(QPainter& painter, const ChartColors& colors) const
{
    const QRectF area = band(), shown = frame();
    const QColor veil = veilOf(colors);
    painter.fillRect(QRectF(area.topLeft(), QPointF(shown.left(), area.bottom())), veil);
    painter.fillRect(QRectF(QPointF(shown.right(), area.top()), area.bottomRight()), veil);
    painter.setPen(colors.axis);
    painter.drawRect(area.adjusted(0.5, 0.5, -0.5, -0.5));
    const double left = std::min(shown.left(), area.right() - 2.0);
    const QRectF outline(left, shown.top(), std::max(shown.width(), 2.0), shown.height());
    painter.setPen(QPen(colors.scale, 2.0, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.drawRect(outline);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colors.back, 1.0));
    painter.setBrush(colors.scale);
    for (const double x : {outline.left(), outline.right()}) {
        painter.drawRoundedRect(QRectF(x - kGrip, outline.center().y() - 2.0 * kGrip, 2.0 * kGrip, 4.0 * kGrip), 2, 2);
        painter.drawLine(QPointF(x, outline.center().y() - kGrip), QPointF(x, outline.center().y() + kGrip));
    }
    painter.setBrush(Qt::NoBrush);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void Overview::drawLabels(QPainter& painter, const ChartColors& colors) const
{
    const clsHistory& shown = m_session->Shown();
    const PlaceRange range = shown.Range();
    const QRectF area = band();
    QRectF below(area.left(), area.bottom() + 1.0, area.width(), height() - area.bottom() - 1.0);
    const QString begin = PlaceText(shown, range.begin, 0), end = PlaceText(shown, range.end, 0);
    painter.setPen(colors.scale);
    painter.drawText(below, Qt::AlignLeft | Qt::AlignVCenter, begin);
    painter.drawText(below, Qt::AlignRight | Qt::AlignVCenter, end);
    QString note;
    if (const auto before = shown.ThinnedBefore()) {
        note = Text(TextId::OverviewThinned, m_language).arg(PlaceText(shown, *before, 0));
    } else if (shown.Unreadable() > 0) {
        note = Text(TextId::OverviewUnread, m_language);
    }
    const QFontMetrics metrics = painter.fontMetrics();
    const int gap = metrics.height();
    below.adjust(metrics.horizontalAdvance(begin) + gap, 0, -metrics.horizontalAdvance(end) - gap, 0);
    if (!note.isEmpty() && below.width() > 0.0) {
        painter.drawText(below, Qt::AlignCenter, metrics.elidedText(note, Qt::ElideRight, qFloor(below.width())));
    }
}
