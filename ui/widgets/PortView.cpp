#include "ui/widgets/PortView.h"

#include "ui/widgets/Localise.h"
#include "ui/widgets/PortModel.h"

#include <QCursor>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>

using modPortEntries::Fit;

namespace {

constexpr int kMostCharacters = 70; // of a row; a longer one ends in dots
constexpr float kPale = 0.7F;

/// Draws the text beside the port and, below it, the details.
class PortDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyleOptionViewItem item = option;
        initStyleOption(&item, index);
        const QString name = item.text;
        item.text.clear();
        item.widget->style()->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);
        painter->save();
        index.data(PortModel::IsHeading).toBool() ? paintHeading(*painter, item, name)
                                                  : paintPort(*painter, item, name, index);
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const int line = option.fontMetrics.height(),
                  lines = index.data(PortModel::Details).toString().isEmpty() ? 1 : 2;
        return {Width(option, index), lines * line + line / 2};
    }

    static int Width(const QStyleOptionViewItem& option, const QModelIndex& index)
    {
        const QString beside = index.data(PortModel::Beside).toString();
        const int most = kMostCharacters * option.fontMetrics.averageCharWidth();
        const int widest = std::max(option.fontMetrics.horizontalAdvance(beside),
                                    option.fontMetrics.horizontalAdvance(index.data(PortModel::Details).toString()));
        return start(option) + std::min(widest, most) + gap(option);
    }

private:
    static int gap(const QStyleOptionViewItem& option) { return option.fontMetrics.height() / 2; }

    /// After the longest port name, so that the texts beside it form a column.
    static int start(const QStyleOptionViewItem& option)
    {
        QFont bold = option.font;
        bold.setBold(true);
        return QFontMetrics(bold).horizontalAdvance(PortName(modPComm::kPortCount)) + 3 * gap(option);
    }

    static QColor inkOf(const QStyleOptionViewItem& item)
    {
        const bool selected = item.state.testFlag(QStyle::State_Selected);
        const auto group = item.state.testFlag(QStyle::State_Enabled) ? QPalette::Active : QPalette::Disabled;
        return item.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
    }

    static void paintHeading(QPainter& painter, const QStyleOptionViewItem& item, const QString& name)
    {
        const QRect room = item.rect.adjusted(gap(item) / 2, 0, -gap(item) / 2, 0);
        painter.setFont(item.font);
        painter.setPen(item.palette.color(QPalette::Active, QPalette::Text));
        painter.drawText(room, Qt::AlignVCenter | Qt::TextSingleLine, name);
        const int after = room.left() + QFontMetrics(item.font).horizontalAdvance(name) + gap(item);
        painter.drawLine(after, room.center().y(), std::max(after, room.right()), room.center().y());
    }

    static void paintPort(QPainter& painter, const QStyleOptionViewItem& item, const QString& name,
                          const QModelIndex& index)
    {
        QFont plain = item.font;
        plain.setBold(false);
        const QFontMetrics metrics(plain);
        const QRect first(item.rect.left(), item.rect.top() + metrics.height() / 4, item.rect.width(),
                          metrics.height());
        const QRect beside =
            first.adjusted(index.flags().testFlag(Qt::ItemIsEnabled) ? start(item) : gap(item), 0, -gap(item) / 2, 0);
        QColor ink = inkOf(item);
        painter.setPen(ink);
        if (index.flags().testFlag(Qt::ItemIsEnabled)) {
            painter.setFont(item.font);
            painter.drawText(first.adjusted(gap(item) / 2, 0, 0, 0), Qt::AlignVCenter | Qt::TextSingleLine, name);
        }
        painter.setFont(plain);
        const auto draw = [&](const QRect& room, PortModel::Role role) {
            const QString text = metrics.elidedText(index.data(role).toString(), Qt::ElideRight, room.width());
            painter.drawText(room, Qt::AlignVCenter | Qt::TextSingleLine, text);
        };
        draw(beside, PortModel::Beside);
        ink.setAlphaF(kPale);
        painter.setPen(ink);
        draw(beside.translated(0, metrics.height()), PortModel::Details);
    }
};

} // namespace

PortView::PortView(PortModel& ports) : m_ports(ports), m_line(new QLabel(this))
{
    setItemDelegate(new PortDelegate(this));
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_line->setTextFormat(Qt::PlainText);
    m_line->setMargin(2);
    m_line->setAutoFillBackground(true);
    makeRoom();
}

void PortView::Localise(std::int32_t language)
{
    m_language = language;
    setAccessibleName(Text(TextId::PortsAccessible, language));
    showSearch();
}

bool PortView::TakeKey(const QKeyEvent& key)
{
    constexpr Qt::KeyboardModifiers kOthers = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    if (!m_typed.isEmpty() && key.key() == Qt::Key_Escape) {
        search({});
        return true;
    }
    if (!m_typed.isEmpty() && key.key() == Qt::Key_Backspace) {
        search(m_typed.chopped(1));
        return true;
    }
    const QString text = key.text();
    const bool isText = !text.isEmpty() && text.front().isPrint() && (key.modifiers() & kOthers) == 0;
    if (!isText || (m_typed.isEmpty() && text == QLatin1String(" "))) {
        return false;
    }
    search(m_typed + text);
    return true;
}

void PortView::FitWidth()
{
    QStyleOptionViewItem option;
    option.initFrom(this);
    int widest = m_line->sizeHint().width();
    for (int row = 0; row < m_ports.rowCount(); ++row) {
        widest = std::max(widest, PortDelegate::Width(option, m_ports.index(row)));
    }
    setMinimumWidth(widest + 2 * style()->pixelMetric(QStyle::PM_ScrollBarExtent));
}

QModelIndex PortView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const int last = m_ports.rowCount() - 1;
    const int to = action == MoveHome ? 0 : action == MoveEnd ? last : QListView::moveCursor(action, modifiers).row();
    const int step = action == MoveHome || action == MoveDown || action == MoveNext || action == MovePageDown ? 1 : -1;
    for (const int direction : {step, -step}) {
        for (int row = to; row >= 0 && row <= last; row += direction) {
            if (isChoice(row)) {
                return m_ports.index(row);
            }
        }
    }
    return {};
}

bool PortView::isChoice(int row) const
{
    return !isRowHidden(row) && m_ports.index(row).flags().testFlag(Qt::ItemIsEnabled);
}

void PortView::resizeEvent(QResizeEvent* event)
{
    QListView::resizeEvent(event);
    const QRect inner = viewport()->geometry();
    m_line->setGeometry(inner.left(), inner.top() - m_line->sizeHint().height(), inner.width(),
                        m_line->sizeHint().height());
}

void PortView::changeEvent(QEvent* event)
{
    QListView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        makeRoom();
    }
}

QModelIndex PortView::anchor() const
{
    const QModelIndex pointed = indexAt(viewport()->mapFromGlobal(QCursor::pos()));
    return pointed.isValid() ? pointed : currentIndex();
}

void PortView::keep(const QModelIndex& row, int top)
{
    if (!m_typed.isEmpty()) {
        search(m_typed); // rows that have come may fit
    }
    doItemsLayout();
    if (row.isValid()) {
        verticalScrollBar()->setValue(verticalScrollBar()->value() + visualRect(row).top() - top);
    }
}

void PortView::search(const QString& typed)
{
    const bool isNew = typed != m_typed;
    m_typed = typed;
    const std::string text = typed.toStdString();
    int best = -1, heading = -1;
    Fit bestFit = Fit::None;
    for (int row = 0; row < m_ports.rowCount(); ++row) {
        if (m_ports.index(row).data(PortModel::IsHeading).toBool()) {
            heading = row;
            setRowHidden(row, !typed.isEmpty());
            continue;
        }
        const Fit fit = m_ports.FitOf(row, text);
        setRowHidden(row, fit == Fit::None);
        if (fit != Fit::None && heading >= 0) {
            setRowHidden(heading, false);
        }
        if (fit > bestFit && m_ports.PortAt(row) != 0) {
            best = row;
            bestFit = fit;
        }
    }
    m_hasFound = bestFit != Fit::None;
    if (isNew && !typed.isEmpty()) {
        setCurrentIndex(best < 0 ? QModelIndex() : m_ports.index(best));
    }
    if (isNew && currentIndex().isValid()) {
        scrollTo(currentIndex());
    }
    showSearch();
}

void PortView::showSearch()
{
    QString text = Text(TextId::PortsSearch, m_language);
    if (!m_typed.isEmpty()) {
        text = Text(TextId::PortsSearching, m_language)
                   .arg(m_hasFound ? m_typed : Text(TextId::PortsNotFound, m_language).arg(m_typed));
    }
    ShowText(*m_line, text);
    setAccessibleDescription(text);
}

void PortView::makeRoom()
{
    setViewportMargins(0, m_line->sizeHint().height(), 0, 0);
}
