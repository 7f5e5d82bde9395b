// How the chart is looked into and read: the ways of its view, and what lies over the curve.
#include "base/Days.h"
#include "sensor/Parameters.h"
#include "session/clsSession.h"
#include "session/modLargestJump.h"
#include "session/modReadingText.h"
#include "store/modGlobals.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/PlaceText.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QAccessible>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace {

constexpr qint64 kPause_ms = 700; // ends a run of the wheel
constexpr std::int32_t kLeastRemembered_ms = 1000;
constexpr double kAroundJump_s = 30.0;

} // namespace

clsView::Scene ChartPanel::scene() const
{
    const bool hasData = Source() != nullptr && !Source()->IsEmpty();
    return {.all = hasData ? std::optional(Source()->Range()) : std::nullopt,
            .followed = ShownRange(),
            .isLive = !m_isPlayed};
}

void ChartPanel::followHistory()
{
    const double unit_mm = UnitOf(m_session->ShownUnit()).millimetres;
    const clsHistory* shown = &m_session->Shown();
    if (shown != Source() || Unit_mm() != unit_mm) {
        if (shown != Source()) {
            forgetLooking();
        }
        Source(shown, unit_mm);
        showLimits(); // they are kept in millimetres
    }
}

/// The history may be gone already.
void ChartPanel::forgetLooking()
{
    Source(nullptr, Unit_mm());
    m_view.Begin();
    m_view.Update({.all = {}, .followed = ShownRange(), .isLive = !m_isPlayed});
    m_reader.Forget();
    showView();
}

void ChartPanel::begin(Step step)
{
    const bool goesOn = step == m_lastStep && m_sinceStep.isValid() && m_sinceStep.elapsed() < kPause_ms;
    if (step == Step::New || (step != Step::Same && !goesOn)) {
        m_view.Keep();
    }
    m_lastStep = step;
    m_sinceStep.start();
}

template <typename Change>
void ChartPanel::look(Step step, Change change)
{
    m_view.Update(scene());
    begin(step);
    change();
    showView();
}

void ChartPanel::showView()
{
    if (!m_view.Look()) {
        followSpan();
    }
    rememberSpan();
    Look(m_view.Look());
    showLimits();
    m_reader.Update();
    showOverlay();
    emit Looked();
}

/// The next start follows with it. What is too short to see anything move is not worth it.
void ChartPanel::rememberSpan()
{
    const std::int32_t span_ms = m_view.FollowsAll() ? 0 : m_view.FollowedSpan_ms();
    if (m_settings != nullptr && (span_ms == 0 || span_ms >= kLeastRemembered_ms)) {
        m_settings->Span_ms = span_ms;
    }
}

/// A recording has the span that playback has given it.
void ChartPanel::followSpan()
{
    constexpr std::int32_t kLongest_ms = std::numeric_limits<std::int32_t>::max();
    FollowAll(!m_isPlayed && m_view.FollowsAll() && m_view.FollowedSpan_ms() == kLongest_ms);
    if (!m_isPlayed && XRange_ms() != m_view.FollowedSpan_ms()) {
        XRange_ms(m_view.FollowedSpan_ms());
    }
}

/// Limits that the operator has given stay while the chart is looked into.
void ChartPanel::showLimits()
{
    const auto& held = m_view.Held_mm();
    std::optional<std::array<double, 2>> limits;
    if (held) {
        limits = {held->front() / Unit_mm(), held->back() / Unit_mm()};
    } else if (m_settings != nullptr && !m_settings->AutoScale) {
        limits = {m_settings->yMin, m_settings->yMax};
    }
    LookLimits(limits);
    const bool wasHeld = std::exchange(m_holdsLimits, held.has_value());
    if (limits && (held || wasHeld)) {
        AutoScale(false);
        YLimits(limits->front(), limits->back());
    } else if (wasHeld) {
        AutoScale(true);
        m_session->Loop().FitRange();
    }
}

clsView::Limits ChartPanel::shownLimits_mm() const
{
    if (m_view.Held_mm()) {
        return *m_view.Held_mm();
    }
    const QRectF plot = PlotArea();
    const double one = ValueAt(plot.top()) * Unit_mm(), other = ValueAt(plot.bottom()) * Unit_mm();
    return {std::min(one, other), std::max(one, other)};
}

void ChartPanel::Freeze(bool freeze)
{
    if (freeze != IsFrozen() && (!freeze || scene().all)) {
        look(Step::New, [&] { freeze ? m_view.Freeze() : m_view.Follow(); });
    }
}

void ChartPanel::ShowRange(const PlaceRange& range)
{
    look(Step::Range, [&] { m_view.Show(range); });
}

void ChartPanel::Span(std::int32_t span_ms)
{
    look(Step::New, [&] { m_view.Span(span_ms / kMsPerDay); });
}

std::optional<std::int32_t> ChartPanel::FollowedSpan_ms() const
{
    if (m_isPlayed || IsFrozen()) {
        return std::nullopt;
    }
    return m_view.FollowsAll() ? 0 : m_view.FollowedSpan_ms();
}

void ChartPanel::Fit()
{
    look(Step::New, [this] { m_view.Fit(); });
}

void ChartPanel::Back()
{
    m_view.Update(scene());
    m_view.Back();
    m_lastStep = Step::New;
    showView();
}

void ChartPanel::Forward()
{
    m_view.Update(scene());
    m_view.Forward();
    m_lastStep = Step::New;
    showView();
}

void ChartPanel::ZoomTime(Step step, double place, double factor)
{
    look(step, [&] { m_view.Zoom(place, factor); });
}

void ChartPanel::ZoomValues(Step step, double value, double factor)
{
    look(step, [&] { m_view.ZoomValues(value * Unit_mm(), factor, shownLimits_mm()); });
}

void ChartPanel::Move(Step step, double days, double values)
{
    if (!scene().all) {
        return;
    }
    look(step, [&] {
        m_view.Move(days);
        if (m_view.Held_mm() && values != 0.0) {
            const double by = values * Unit_mm();
            m_view.Hold({m_view.Held_mm()->front() + by, m_view.Held_mm()->back() + by});
        }
    });
}

void ChartPanel::Settle()
{
    look(Step::Same, [this] { m_view.Settle(); });
}

/// That is no step yet.
bool ChartPanel::Hold()
{
    m_heldForRectangle.reset();
    if (!scene().all) {
        return false;
    }
    if (!IsFrozen()) {
        m_view.Update(scene());
        m_view.Freeze();
        m_heldForRectangle = m_view.Look();
        showView();
    }
    return true;
}

void ChartPanel::LetGo()
{
    if (const auto held = std::exchange(m_heldForRectangle, {}); held && held == m_view.Look()) {
        m_view.Follow();
        showView();
    }
}

void ChartPanel::ShowRectangle(const PlaceRange& range, double value, double otherValue)
{
    if (!scene().all) {
        return;
    }
    LetGo(); // so that the way back leads there
    look(Step::New, [&] {
        m_view.Show(range);
        m_view.Hold({value * Unit_mm(), otherValue * Unit_mm()});
    });
}

QString ChartPanel::ToggleCursor(int cursor)
{
    const bool isDone = m_reader.Toggle(cursor);
    showOverlay();
    emit Looked();
    return isDone ? QString() : Text(TextId::CursorNoValue, m_language);
}

QString ChartPanel::ShowLargestJump()
{
    const auto jump = scene().all ? modLargestJump::Find(*Source(), ShownRange()) : std::nullopt;
    if (!jump) {
        return Text(TextId::JumpNone, m_language);
    }
    m_reader.Set(jump->from, jump->to);
    look(Step::New, [&] {
        const double middle = (jump->from + jump->to) / 2.0;
        m_view.Show({middle - kAroundJump_s / kSecondsPerDay, middle + kAroundJump_s / kSecondsPerDay});
    });
    const auto size_mm = static_cast<double>(jump->Size_mm());
    return Text(TextId::JumpFound, m_language)
        .arg(FromUtf8(modReadingText::Length(size_mm, ShownUnit(), 0, DecimalSeparator())),
             FromUtf8(modReadingText::TimeOfDay(Source()->Times().TimeOf(jump->to), 3, DecimalSeparator())));
}

void ChartPanel::DragCursor(int cursor, double x)
{
    m_reader.Drag(cursor, x);
    showOverlay();
    emit Looked();
}

void ChartPanel::Point(std::optional<double> x)
{
    const auto before = m_reader.Pointed();
    m_reader.Point(x);
    if (m_reader.Pointed() != before) {
        showOverlay();
    }
}

void ChartPanel::StepSample(std::int32_t samples)
{
    const auto reading = m_reader.Step(samples);
    if (!reading) {
        return;
    }
    const PlaceRange shown = ShownRange();
    if (reading->place < shown.begin || reading->place > shown.end) {
        Move(Step::Keys, reading->place - (shown.begin + shown.end) / 2.0);
    }
    showOverlay();
    emit Looked();
    QAccessibleValueChangeEvent event(this, ReadingText(reading));
    QAccessible::updateAccessibility(&event);
}

void ChartPanel::StopReading()
{
    m_reader.Unchoose();
    Point({});
}

void ChartPanel::showOverlay()
{
    ChartOverlayContent overlay;
    overlay.cursors = m_reader.Cursors();
    followMarks();
    overlay.marks = m_marks;
    overlay.note = note();
    if (const auto& pointed = m_reader.Pointed(); pointed && pointed->value_mm) {
        overlay.pointed = {pointed->place, *pointed->value_mm / Unit_mm()};
    }
    Overlay(overlay);
    emit Pointed();
}

/// There may be thousands, and the pointer moves often.
void ChartPanel::followMarks()
{
    if (m_session == nullptr || m_marksVersion == m_session->MarksVersion()) {
        return;
    }
    m_marksVersion = m_session->MarksVersion();
    m_marks.clear();
    for (const auto& mark : m_session->Marks()) {
        m_marks.push_back({mark.place, FromUtf8(mark.text)});
    }
}

/// A recording does not go on, so nothing falls behind.
QString ChartPanel::note() const
{
    QStringList notes;
    if (IsFrozen()) {
        notes += m_isPlayed
                     ? coarseNote()
                     : Text(TextId::NoteBehind, m_language).arg(FromUtf8(modReadingText::Roughly(m_view.Behind())));
    }
    if (HoldSpan()) {
        notes += Text(TextId::NoteSpanHeld, m_language);
    }
    notes.removeAll(QString());
    return notes.join(QStringLiteral(" – "));
}

/// Stretches of a very long recording that are not read again while so much of it is seen.
QString ChartPanel::coarseNote() const
{
    const auto columns = static_cast<std::int32_t>(PlotArea().width());
    const bool isCoarse = columns > 0 && Source() != nullptr && Source()->IsCoarse(ShownRange(), columns);
    return isCoarse ? Text(TextId::NoteCoarse, m_language) : QString();
}

PlaceRange ChartPanel::RangeOfStatistics() const
{
    const auto& [a, b] = m_reader.Cursors();
    return a && b ? PlaceRange{std::min(*a, *b), std::max(*a, *b)} : ShownRange();
}

std::int32_t ChartPanel::ShownUnit() const
{
    return m_session != nullptr ? m_session->ShownUnit() : 0;
}

QString ChartPanel::ReadingText(const std::optional<ChartReader::Reading>& reading) const
{
    if (!reading || Source() == nullptr || Source()->IsEmpty()) {
        return {};
    }
    const QString what =
        reading->gap
            ? FromUtf8(modReadingText::Reason(*reading->gap, m_language))
            : FromUtf8(modReadingText::Length(reading->value_mm.value_or(0), ShownUnit(), 0, DecimalSeparator()));
    return PlaceText(*Source(), reading->place, 3) + QStringLiteral("   ") + what;
}

std::optional<ChartReader::Reading> ChartPanel::ReadAloud() const
{
    if (Source() == nullptr || Source()->IsEmpty()) {
        return {};
    }
    if (const auto chosen = m_reader.Chosen(); chosen && HasCursor(*chosen)) {
        return m_reader.OfCursor(*chosen);
    }
    if (m_reader.Pointed()) {
        return m_reader.Pointed();
    }
    const auto newest = Source()->NearestDistance(Source()->Range().end);
    if (!newest) {
        return {};
    }
    const HistoryEntry entry = Source()->At(*newest);
    return ChartReader::Reading{.place = entry.place, .value_mm = entry.value_mm};
}

QString ChartPanel::Describe() const
{
    if (Source() == nullptr || Source()->IsEmpty()) {
        return EmptyText();
    }
    const char separator = DecimalSeparator();
    const PlaceRange shown = ShownRange();
    const clsView::Limits limits = shownLimits_mm();
    const auto length = [&](double mm) { return FromUtf8(modReadingText::Length(mm, ShownUnit(), 0, separator)); };
    const auto clock = [&](double place) {
        return FromUtf8(modReadingText::TimeOfDay(Source()->Times().TimeOf(place), 3, separator));
    };
    const auto newest = Source()->NearestDistance(Source()->Range().end);
    return Text(IsFrozen() ? TextId::DescriptionLooking : TextId::DescriptionFollowing, m_language)
        .arg(FromUtf8(modReadingText::Difference(shown.Length(), separator)), clock(shown.begin), clock(shown.end),
             length(limits[0]), length(limits[1]),
             newest ? length(Source()->At(*newest).value_mm) : QStringLiteral("–"));
}
