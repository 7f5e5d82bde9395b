// The marks on the overview: found by the mouse, chosen by keys, changed and removed.
#include "session/clsSession.h"
#include "ui/chart/ChartPanel.h"
#include "ui/chart/Overview.h"
#include "ui/chart/frmMark.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kReach = 5.0; // units around a mark

} // namespace

bool Overview::markByKey(const QKeyEvent& event)
{
    if (event.modifiers() == Qt::ControlModifier && (event.key() == Qt::Key_Left || event.key() == Qt::Key_Right)) {
        chooseMark(event.key() == Qt::Key_Left ? -1 : 1);
        return true;
    }
    const auto mark = chosen();
    if (!mark) {
        return false;
    }
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_F2:
        editMark(*mark);
        return true;
    case Qt::Key_Delete:
        removeMark(*mark);
        return true;
    default:
        return false;
    }
}

/// Goes to the mark before or after the chosen one, or the middle of the chart's window.
void Overview::chooseMark(int step)
{
    const auto marks = m_session->Marks();
    if (marks.empty()) {
        return;
    }
    const PlaceRange shown = m_chart->ShownRange();
    const auto count = static_cast<std::ptrdiff_t>(marks.size());
    std::ptrdiff_t next = 0;
    if (const auto mark = chosen()) {
        next = static_cast<std::ptrdiff_t>(*mark) + step;
    } else {
        const double middle = (shown.begin + shown.end) / 2.0;
        const auto behind = std::ranges::lower_bound(marks, middle, {}, &clsSession::Mark::place);
        next = behind - marks.begin() - (step < 0 ? 1 : 0);
    }
    m_mark = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(next, 0, count - 1));
    m_markVersion = m_session->MarksVersion();
    goTo(marks[*m_mark].place);
    update();
}

std::optional<std::size_t> Overview::chosen() const
{
    return m_session != nullptr && m_markVersion == m_session->MarksVersion() ? m_mark : std::nullopt;
}

void Overview::editMark(std::size_t mark)
{
    const bool wasChosen = chosen() == mark;
    const std::size_t count = m_session->Marks().size();
    tell(EditMark(*window(), *m_session, mark, m_language));
    if (wasChosen && count == m_session->Marks().size()) {
        m_markVersion = m_session->MarksVersion();
    }
    describe();
    refresh();
}

void Overview::removeMark(std::size_t mark)
{
    tell(RemoveMark(*m_session, mark, m_language));
    m_mark.reset();
    describe();
    refresh();
}

void Overview::tell(const QString& message) const
{
    if (!message.isEmpty() && News) {
        News(message);
    }
}

void Overview::contextMenuEvent(QContextMenuEvent* event)
{
    Guarded([&] {
        const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
        const auto mark = isEmpty() ? std::nullopt : byKey ? chosen() : markAt(event->pos());
        if (!mark) {
            event->ignore();
            return;
        }
        const std::uint64_t version = m_session->MarksVersion();
        auto* menu = Named<QMenu>("mnuMark", this);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        const auto item = [&](const char* name, TextId text, const std::function<void()>& act) {
            auto* action = Named<QAction>(name, Text(text, m_language), menu);
            menu->addAction(action);
            connect(action, &QAction::triggered, this, [this, version, act] {
                Guarded([&] {
                    if (version == m_session->MarksVersion()) {
                        act();
                    }
                });
            });
        };
        item("mnuMarkGoTo", TextId::MenuMarkGoTo, [this, mark] { goTo(m_session->Marks()[*mark].place); });
        item("mnuMarkEdit", TextId::MenuMarkEdit, [this, mark] { editMark(*mark); });
        item("mnuMarkRemove", TextId::MenuMarkRemove, [this, mark] { removeMark(*mark); });
        const double x = xOf(m_session->Marks()[*mark].place);
        menu->popup(byKey ? mapToGlobal(QPoint(qRound(x), height() / 2)) : event->globalPos());
    });
}

std::optional<std::size_t> Overview::markAt(const QPointF& point) const
{
    const QRectF area = band();
    if (isEmpty() || point.y() < area.top() || point.y() > area.bottom()) {
        return std::nullopt;
    }
    const auto marks = m_session->Marks();
    std::optional<std::size_t> nearest;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const double distance = std::abs(xOf(marks[i].place) - point.x());
        if (distance <= kReach && (!nearest || distance < std::abs(xOf(marks[*nearest].place) - point.x()))) {
            nearest = i;
        }
    }
    return nearest;
}
