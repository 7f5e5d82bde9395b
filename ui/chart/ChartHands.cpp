#include "ui/chart/ChartHands.h"

#include "ui/chart/ChartPanel.h"
#include "ui/widgets/Guarded.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QRubberBand>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using Step = ChartPanel::Step;

namespace {

constexpr double kNotch = 120.0;            // eighths of a degree, a notch of a usual wheel
constexpr double kNotchPixels = 50.0;       // of a touch pad
constexpr double kFactorPerNotch = 0.8;     // of the length that stays
constexpr double kMostNotches = 10.0;       // of one event
constexpr double kPage = 0.8, kNudge = 0.1; // of a window
constexpr int kFew = 10, kMany = 100;       // samples

/// Notches upwards and to the right, whole or not.
QPointF notchesOf(const QWheelEvent& event)
{
    QPointF notches = QPointF(event.angleDelta()) / kNotch;
    if (notches.isNull()) {
        notches = QPointF(event.pixelDelta()) / kNotchPixels;
    }
    return {std::clamp(notches.x(), -kMostNotches, kMostNotches), std::clamp(notches.y(), -kMostNotches, kMostNotches)};
}

std::int32_t samplesPerKey(Qt::KeyboardModifiers modifiers)
{
    if (!modifiers.testFlag(Qt::ControlModifier)) {
        return 1;
    }
    return modifiers.testFlag(Qt::ShiftModifier) ? kMany : kFew;
}

} // namespace

ChartHands::ChartHands(ChartPanel& chart)
    : QObject(&chart), m_chart(chart), m_band(new QRubberBand(QRubberBand::Rectangle, &chart))
{
    chart.setMouseTracking(true);
    chart.installEventFilter(this);
}

bool ChartHands::eventFilter(QObject* watched, QEvent* event)
{
    bool isHandled = false;
    if (watched == &m_chart) {
        Guarded([&] { isHandled = handle(*event); });
    }
    return isHandled || QObject::eventFilter(watched, event);
}

bool ChartHands::handle(QEvent& event)
{
    switch (event.type()) {
    case QEvent::MouseButtonPress:
        return press(static_cast<const QMouseEvent&>(event));
    case QEvent::MouseMove:
        move(static_cast<const QMouseEvent&>(event));
        return true;
    case QEvent::MouseButtonRelease:
        if (static_cast<const QMouseEvent&>(event).button() != Qt::LeftButton) {
            return false;
        }
        release();
        return true;
    case QEvent::MouseButtonDblClick:
        if (static_cast<const QMouseEvent&>(event).button() != Qt::LeftButton) {
            return false;
        }
        if (static_cast<const QMouseEvent&>(event).position().x() < m_chart.PlotArea().left()) {
            m_chart.ChooseLimits(); // on the value axis
        } else {
            m_chart.Fit();
        }
        return true;
    case QEvent::Leave:
        if (!m_chart.Reader().IsByKeys()) {
            m_chart.Point({});
        }
        return false;
    case QEvent::Wheel:
        event.accept();
        return turn(static_cast<const QWheelEvent&>(event));
    case QEvent::KeyPress:
        return key(static_cast<const QKeyEvent&>(event));
    case QEvent::NativeGesture: {
        const auto& gesture = static_cast<const QNativeGestureEvent&>(event);
        if (gesture.gestureType() != Qt::ZoomNativeGesture) {
            return false;
        }
        m_chart.ZoomTime(Step::Wheel, m_chart.PlaceAt(gesture.position().x()),
                         1.0 / std::max(1.0 + gesture.value(), 0.1));
        return true;
    }
    case QEvent::Hide:
        drop();
        return false;
    default:
        return false;
    }
}

bool ChartHands::press(const QMouseEvent& event)
{
    const QPointF at = event.position();
    if (event.button() != Qt::LeftButton || !m_chart.PlotArea().contains(at)) {
        return false;
    }
    m_from = at;
    m_grip = Grip::Pressed;
    if (event.modifiers().testFlag(Qt::ControlModifier)) {
        m_grip = Grip::Rectangle;
    } else if (const auto cursor = m_chart.Reader().Near(at.x())) {
        m_grip = Grip::Cursor;
        m_cursor = *cursor;
    }
    return true;
}

void ChartHands::move(const QMouseEvent& event)
{
    m_at = event.position();
    if (!event.buttons().testFlag(Qt::LeftButton)) {
        drop(); // also where somebody else has got the release
    }
    const bool isFar = (m_at - m_from).manhattanLength() >= QApplication::startDragDistance();
    switch (m_grip) {
    case Grip::None:
        point(m_at);
        break;
    case Grip::Pressed:
        if (isFar) {
            m_grip = Grip::Moving;
            m_place = m_chart.PlaceAt(m_from.x());
            m_value = m_chart.ValueAt(m_from.y());
            m_chart.setCursor(Qt::ClosedHandCursor);
            m_chart.Point({});
            m_chart.Move(Step::New, m_place - m_chart.PlaceAt(m_at.x()), m_value - m_chart.ValueAt(m_at.y()));
        }
        break;
    case Grip::Moving:
        drag(m_at);
        break;
    case Grip::Rectangle:
        if (isFar || m_band->isVisible()) {
            if (!m_band->isVisible() && !m_chart.Hold()) { // under the rectangle nothing moves
                m_grip = Grip::None;
                break;
            }
            const QRect plot = m_chart.PlotArea().toAlignedRect();
            m_band->setGeometry(QRectF(m_from, m_at).normalized().toRect() & plot);
            m_band->show();
        }
        break;
    case Grip::Cursor:
        m_chart.DragCursor(m_cursor, m_at.x());
        break;
    }
}

/// What was grasped stays under the pointer.
void ChartHands::drag(const QPointF& to)
{
    m_chart.Move(Step::Same, m_place - m_chart.PlaceAt(to.x()), m_value - m_chart.ValueAt(to.y()));
}

void ChartHands::point(const QPointF& at)
{
    const bool isInside = m_chart.PlotArea().contains(at);
    m_chart.Point(isInside ? std::optional(at.x()) : std::nullopt);
    if (isInside && m_chart.Reader().Near(at.x())) {
        m_chart.setCursor(Qt::SplitHCursor);
    } else {
        m_chart.unsetCursor();
    }
}

void ChartHands::release()
{
    const Grip grip = m_grip;
    const QRectF band = m_band->isVisible() ? QRectF(m_band->geometry()) : QRectF();
    if (grip == Grip::Rectangle && band.width() > 2.0 && band.height() > 2.0) {
        const double one = m_chart.PlaceAt(band.left()), other = m_chart.PlaceAt(band.right());
        m_chart.ShowRectangle({std::min(one, other), std::max(one, other)}, m_chart.ValueAt(band.top()),
                              m_chart.ValueAt(band.bottom()));
    }
    drop();
    if (grip == Grip::Moving) {
        m_chart.Settle();
        point(m_at);
    }
}

/// A rectangle that was given up, or was too small, leaves nothing behind.
void ChartHands::drop()
{
    m_grip = Grip::None;
    m_band->hide();
    m_chart.LetGo();
    m_chart.unsetCursor();
}

bool ChartHands::turn(const QWheelEvent& event)
{
    const QPointF notches = notchesOf(event);
    const QPointF at = event.position();
    const bool isShifted = event.modifiers().testFlag(Qt::ShiftModifier);
    if (isShifted) { // some systems turn the wheel sideways then
        const double notch = notches.y() != 0.0 ? notches.y() : notches.x();
        m_chart.ZoomValues(Step::Wheel, m_chart.ValueAt(at.y()), std::pow(kFactorPerNotch, notch));
    } else if (std::fabs(notches.x()) > std::fabs(notches.y())) {
        m_chart.Move(Step::Wheel, -notches.x() * kNudge * m_chart.ShownRange().Length());
        m_chart.Settle();
    } else if (notches.y() != 0.0) {
        m_chart.ZoomTime(Step::Wheel, m_chart.PlaceAt(at.x()), std::pow(kFactorPerNotch, notches.y()));
    }
    if (m_grip == Grip::None) {
        point(at);
    }
    return true;
}

bool ChartHands::key(const QKeyEvent& event)
{
    const PlaceRange shown = m_chart.ShownRange();
    const double middle = (shown.begin + shown.end) / 2.0;
    if (event.modifiers().testFlag(Qt::AltModifier)) {
        return false;
    }
    switch (event.key()) {
    case Qt::Key_Space:
        m_chart.Freeze(!m_chart.IsFrozen());
        return true;
    case Qt::Key_Left:
        m_chart.StepSample(-samplesPerKey(event.modifiers()));
        return true;
    case Qt::Key_Right:
        m_chart.StepSample(samplesPerKey(event.modifiers()));
        return true;
    case Qt::Key_PageUp:
        m_chart.Move(Step::Keys, -kPage * shown.Length());
        return true;
    case Qt::Key_PageDown:
        m_chart.Move(Step::Keys, kPage * shown.Length());
        m_chart.Settle();
        return true;
    case Qt::Key_Plus:
        m_chart.ZoomTime(Step::Keys, middle, kFactorPerNotch);
        return true;
    case Qt::Key_Minus:
        m_chart.ZoomTime(Step::Keys, middle, 1.0 / kFactorPerNotch);
        return true;
    case Qt::Key_End:
        m_chart.Freeze(false);
        return true;
    case Qt::Key_Escape:
        if (m_grip == Grip::Moving) {
            m_chart.Back();
        }
        drop();
        m_chart.StopReading();
        return true;
    default:
        return false;
    }
}
