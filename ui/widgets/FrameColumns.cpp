#include "ui/widgets/FrameColumns.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

QSize wanted(const QLayoutItem& item)
{
    return item.sizeHint().expandedTo(item.minimumSize());
}

/// As narrow as it can be. A frame is never lower than it wants to be: then the frames are scrolled.
QSize least(const QLayoutItem& item)
{
    return {item.minimumSize().width(), wanted(item).height()};
}

} // namespace

FrameColumns::FrameColumns(QWidget* around, std::vector<Arrangement> arrangements)
    : QLayout(around), m_arrangements(std::move(arrangements))
{
    setContentsMargins({});
}

FrameColumns::~FrameColumns() = default;

int FrameColumns::heightForWidth(int width) const
{
    return neededBy(arrangementFor(width), least).height();
}

QSize FrameColumns::sizeHint() const
{
    return neededBy(m_arrangements.front(), wanted);
}

QSize FrameColumns::minimumSize() const
{
    return {neededBy(m_arrangements.back(), least).width(), neededBy(m_arrangements.front(), least).height()};
}

/// Each column has the width that it needs at least, and its share of what is left.
void FrameColumns::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    const Arrangement& columns = arrangementFor(rect.width());
    int spare = std::max(rect.width() - neededBy(columns, least).width(), 0);
    int left = rect.left();
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const int share = spare / static_cast<int>(columns.size() - column);
        const int width = std::min(widthOf(columns, column, least) + share, rect.width());
        int top = rect.top();
        for (int i = columns[column]; i < endOf(columns, column); ++i) {
            const int height = wanted(*itemAt(i)).height();
            itemAt(i)->setGeometry({left, top, width, height});
            top += height + spacing();
        }
        spare -= share;
        left += width + spacing();
    }
}

void FrameColumns::addItem(QLayoutItem* item)
{
    m_items.emplace_back(item);
}

int FrameColumns::count() const
{
    return static_cast<int>(m_items.size());
}

QLayoutItem* FrameColumns::itemAt(int index) const
{
    return index >= 0 && index < count() ? m_items[static_cast<std::size_t>(index)].get() : nullptr;
}

QLayoutItem* FrameColumns::takeAt(int index)
{
    if (itemAt(index) == nullptr) {
        return nullptr;
    }
    QLayoutItem* taken = m_items[static_cast<std::size_t>(index)].release();
    m_items.erase(m_items.begin() + index);
    return taken;
}

const FrameColumns::Arrangement& FrameColumns::arrangementFor(int width) const
{
    const auto fits = [&](const Arrangement& columns) { return neededBy(columns, least).width() <= width; };
    const auto found = std::ranges::find_if(m_arrangements, fits);
    return found == m_arrangements.end() ? m_arrangements.back() : *found;
}

QSize FrameColumns::neededBy(const Arrangement& columns, QSize (*sizeOf)(const QLayoutItem&)) const
{
    QSize needed(-spacing(), 0);
    for (std::size_t column = 0; column < columns.size(); ++column) {
        int height = -spacing();
        for (int i = columns[column]; i < endOf(columns, column); ++i) {
            height += sizeOf(*itemAt(i)).height() + spacing();
        }
        needed = {needed.width() + widthOf(columns, column, sizeOf) + spacing(), std::max(needed.height(), height)};
    }
    return needed;
}

int FrameColumns::endOf(const Arrangement& columns, std::size_t column) const
{
    return column + 1 < columns.size() ? std::min(columns[column + 1], count()) : count();
}

int FrameColumns::widthOf(const Arrangement& columns, std::size_t column, QSize (*sizeOf)(const QLayoutItem&)) const
{
    int width = 0;
    for (int i = columns[column]; i < endOf(columns, column); ++i) {
        width = std::max(width, sizeOf(*itemAt(i)).width());
    }
    return width;
}
