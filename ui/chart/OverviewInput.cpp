// What mouse, wheel and keys do on the overview, and what it tells those who cannot see it.
#include "session/clsSession.h"
#include "session/modReadingText.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/Overview.h"
#include "ui/chart/PlaceText.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using modOverview::Part;

namespace {

constexpr double kReach = 5.0;    // units around a gap
constexpr double kKeyStep = 0.25; // of the chart's window
constexpr double kZoom = 1.25;    // for a notch of the wheel, or a key
constexpr double kNotch = 120.0;  // of the wheel

} // namespace

void Overview::show(const PlaceRange& range)
{
    m_chart->ShowRange(range);
    describe();
    refresh();
}

void Overview::follow()
{
    m_chart->Freeze(false);
    describe();
    refresh();
}

void Overview::showAll()
{
    m_chart->Fit();
    describe();
    refresh();
}

void Overview::goTo(double place)
{
    const PlaceRange shown = m_chart->ShownRange();
    show(modOverview::Moved(shown, place - (shown.begin + shown.end) / 2.0, all()));
}

void Overview::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || isEmpty()) {
        event->ignore();
        return;
    }
    Guarded([&] {
        const double x = event->position().x();
        const QRectF shown = frame();
        Part part = modOverview::PartAt(x, shown.left(), shown.right());
        if (part == Part::Outside) {
            goTo(placeAt(x));
            part = Part::Inside; // and it can be dragged from there
        }
        m_drag = Drag{part, placeAt(x), m_chart->ShownRange()};
    });
}

void Overview::mouseMoveEvent(QMouseEvent* event)
{
    if (isEmpty()) {
        unsetCursor();
        return;
    }
    Guarded([&] {
        const double x = event->position().x();
        if (!m_drag) {
            const QRectF shown = frame();
            const Part part = modOverview::PartAt(x, shown.left(), shown.right());
            setCursor(markAt(event->position()) ? Qt::PointingHandCursor
                      : part == Part::Outside   ? Qt::ArrowCursor
                      : part == Part::Inside    ? Qt::OpenHandCursor
                                                : Qt::SizeHorCursor);
            return;
        }
        if (m_drag->part == Part::Inside) {
            setCursor(Qt::ClosedHandCursor);
            show(modOverview::Moved(m_drag->range, placeAt(x) - m_drag->place, all()));
        } else {
            show(modOverview::Stretched(m_drag->range, m_drag->part, placeAt(x), all()));
        }
    });
}

void Overview::mouseReleaseEvent(QMouseEvent* /*event*/)
{
    Guarded([&] {
        const bool hasMoved = m_drag && m_drag->part == Part::Inside && m_chart->ShownRange() != m_drag->range;
        m_drag.reset();
        unsetCursor();
        if (hasMoved && isLive() && xOf(m_chart->ShownRange().end) >= band().right() - 1.0) {
            follow(); // the newest value is in sight again
        }
    });
}

void Overview::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || isEmpty()) {
        return;
    }
    Guarded([&] {
        m_drag.reset();
        if (const auto mark = markAt(event->position())) {
            editMark(*mark);
        } else {
            showAll();
        }
    });
}

void Overview::wheelEvent(QWheelEvent* event)
{
    const double notches = event->angleDelta().y() / kNotch;
    event->accept(); // the page does not scroll
    if (isEmpty() || notches == 0.0) {
        return;
    }
    Guarded([&] {
        const PlaceRange shown = m_chart->ShownRange();
        const double pointed = placeAt(event->position().x());
        const bool isInside = pointed >= shown.begin && pointed <= shown.end;
        show(modOverview::Zoomed(shown, isInside ? pointed : (shown.begin + shown.end) / 2.0, std::pow(kZoom, -notches),
                                 all()));
    });
}

void Overview::keyPressEvent(QKeyEvent* event)
{
    bool isTaken = false;
    if (!isEmpty()) {
        Guarded([&] { isTaken = markByKey(*event) || moveByKey(*event); });
    }
    if (!isTaken) {
        QWidget::keyPressEvent(event);
    }
}

bool Overview::moveByKey(const QKeyEvent& event)
{
    const PlaceRange shown = m_chart->ShownRange(), whole = all();
    const double step = shown.Length() * kKeyStep, middle = (shown.begin + shown.end) / 2.0;
    const bool stretches = event.modifiers().testFlag(Qt::ShiftModifier);
    const auto move = [&](double days) { show(modOverview::Moved(shown, days, whole)); };
    switch (event.key()) {
    case Qt::Key_Left:
    case Qt::Key_Right: {
        const double days = event.key() == Qt::Key_Left ? -step : step;
        if (stretches) {
            show(modOverview::Stretched(shown, Part::End, std::min(shown.end, whole.end) + days, whole));
        } else {
            move(days);
        }
        break;
    }
    case Qt::Key_PageUp:
        move(-shown.Length());
        break;
    case Qt::Key_PageDown:
        move(shown.Length());
        break;
    case Qt::Key_Plus:
    case Qt::Key_Minus:
        show(modOverview::Zoomed(shown, middle, event.key() == Qt::Key_Plus ? 1.0 / kZoom : kZoom, whole));
        break;
    case Qt::Key_Home:
        move(whole.begin - shown.begin);
        break;
    case Qt::Key_End:
        if (isLive()) {
            follow();
        } else {
            move(whole.end - shown.end);
        }
        break;
    default:
        return false;
    }
    return true;
}

QString Overview::ExplanationAt(const QPointF& point) const
{
    if (isEmpty()) {
        return {};
    }
    const clsHistory& shown = m_session->Shown();
    if (const auto mark = markAt(point)) {
        const clsSession::Mark& found = m_session->Marks()[*mark];
        return Text(TextId::OverviewMark, m_language).arg(PlaceText(shown, found.place), FromUtf8(found.text));
    }
    for (const modTimeScale::ClockChange& change : m_band.ClockChanges()) {
        if (std::abs(xOf(change.place) - point.x()) <= kReach) {
            return PlaceText(shown, change.place) + u'\n' +
                   Text(TextId::ChartClockSet, m_language).arg(FromUtf8(change.by));
        }
    }
    for (const HistoryGap& gap : m_band.Gaps()) {
        const bool isShort = gap.range.Length() < kReach / band().width() * all().Length();
        const double reach = isShort ? kReach : 0.0;
        if (point.x() >= xOf(gap.range.begin) - reach && point.x() <= xOf(gap.range.end) + reach) {
            return Text(TextId::OverviewGap, m_language)
                .arg(PlaceText(shown, gap.range.begin), PlaceText(shown, gap.range.end),
                     FromUtf8(modReadingText::Reason(gap.reason, m_language)));
        }
    }
    return PlaceText(shown, placeAt(point.x())) + u'\n' + Text(TextId::ToolTipOverview, m_language);
}

bool Overview::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Home) {
        event->accept(); // here it is the beginning, in the rest of the window it fits the chart
        return true;
    }
    if (event->type() == QEvent::ToolTip) {
        Guarded([&] {
            auto* help = static_cast<QHelpEvent*>(event);
            QToolTip::showText(help->globalPos(), ExplanationAt(help->pos()).toHtmlEscaped().replace(u'\n', "<br>"),
                               this);
        });
        return true;
    }
    return QWidget::event(event);
}

void Overview::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        m_sinceDrawn.invalidate();
        updateGeometry();
        update();
    }
    QWidget::changeEvent(event);
}

void Overview::focusInEvent(QFocusEvent* event)
{
    Guarded([this] { describe(); });
    QWidget::focusInEvent(event);
}

QString Overview::Description() const
{
    if (isEmpty()) {
        return Text(TextId::ChartEmpty, m_language);
    }
    const clsHistory& history = m_session->Shown();
    const PlaceRange range = history.Range(), shown = m_chart->ShownRange();
    const auto clamped = [&](double place) { return PlaceText(history, std::clamp(place, range.begin, range.end)); };
    QString text = Text(TextId::OverviewShown, m_language)
                       .arg(clamped(range.begin), clamped(range.end), clamped(shown.begin), clamped(shown.end))
                       .arg(m_session->Marks().size());
    if (const auto choice = chosen()) {
        const clsSession::Mark& mark = m_session->Marks()[*choice];
        text = Text(TextId::OverviewMark, m_language).arg(PlaceText(history, mark.place), FromUtf8(mark.text)) + ". " +
               text;
    }
    return text;
}

/// A screen reader says it when the operator comes here or has moved something, not with each value.
void Overview::describe()
{
    if (m_session != nullptr) {
        setAccessibleDescription(Description());
    }
}
