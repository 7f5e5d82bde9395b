#include "ui/console/TrafficModel.h"

#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFontDatabase>
#include <QGuiApplication>

#include <algorithm>

TrafficModel::TrafficModel(const clsTraffic& traffic, QObject* parent)
    : QAbstractTableModel(parent), m_traffic(traffic), m_bytesFont(QFontDatabase::systemFont(QFontDatabase::FixedFont))
{
    m_bytesFont.setPointSizeF(QGuiApplication::font().pointSizeF());
    m_handFont.setBold(true);
}

int TrafficModel::Follow(bool paused, std::uint64_t firstChanged)
{
    const int gone = dropGone();
    if (!paused) {
        takeAnew(firstChanged);
        takeNew();
    }
    return gone;
}

int TrafficModel::dropGone()
{
    const auto first = std::ranges::lower_bound(m_shown, m_traffic.First());
    const int gone = static_cast<int>(first - m_shown.begin());
    if (gone > 0) {
        beginRemoveRows({}, 0, gone - 1);
        m_shown.erase(m_shown.begin(), first);
        endRemoveRows();
    }
    return gone;
}

/// A row whose meaning has changed may no longer pass the filter, or pass it now.
void TrafficModel::takeAnew(std::uint64_t firstChanged)
{
    if (firstChanged >= m_taken) {
        return;
    }
    const int row = static_cast<int>(std::ranges::lower_bound(m_shown, firstChanged) - m_shown.begin());
    if (m_kind == Kind::Everything) {
        if (row < rowCount()) {
            emit dataChanged(index(row, 0), index(rowCount() - 1, ColumnCount - 1));
        }
        return;
    }
    if (row < rowCount()) {
        beginRemoveRows({}, row, rowCount() - 1);
        m_shown.erase(m_shown.begin() + row, m_shown.end());
        endRemoveRows();
    }
    m_taken = firstChanged;
}

void TrafficModel::takeNew()
{
    std::deque<std::uint64_t> more;
    for (std::uint64_t number = std::max(m_taken, m_traffic.First()); number < m_traffic.End(); ++number) {
        if (isShown(m_traffic.At(number))) {
            more.push_back(number);
        }
    }
    m_taken = m_traffic.End();
    if (!more.empty()) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(more.size()) - 1);
        m_shown.insert(m_shown.end(), more.begin(), more.end());
        endInsertRows();
    }
}

void TrafficModel::Filter(Direction direction, Kind kind)
{
    beginResetModel();
    m_direction = direction;
    m_kind = kind;
    m_shown.clear();
    const std::uint64_t end = m_taken; // what came while paused stays out
    for (std::uint64_t number = m_traffic.First(); number < end; ++number) {
        if (isShown(m_traffic.At(number))) {
            m_shown.push_back(number);
        }
    }
    endResetModel();
}

bool TrafficModel::isShown(const TrafficEntry& entry) const
{
    if ((m_direction == Direction::ToSensor && !IsToSensor(entry.kind)) ||
        (m_direction == Direction::FromSensor && !IsFromSensor(entry.kind))) {
        return false;
    }
    const bool isValue = entry.kind >= TrafficKind::Distance && entry.kind <= TrafficKind::TempError;
    switch (m_kind) {
    case Kind::Everything:
        return true;
    case Kind::Requests:
        return IsToSensor(entry.kind);
    case Kind::Values:
        return isValue;
    case Kind::Others:
        return entry.kind >= TrafficKind::Temperature && entry.kind <= TrafficKind::LateAnswer;
    case Kind::Damage:
        return entry.kind == TrafficKind::Damaged || entry.kind == TrafficKind::DamagedCrc;
    case Kind::NotUnderstood:
        return entry.kind == TrafficKind::Unexplained || entry.kind == TrafficKind::Discarded;
    case Kind::NoValues:
        return !isValue;
    }
    return true;
}

void TrafficModel::Localise(const modTrafficText::Style& style)
{
    m_style = style;
    m_columns = Text(TextId::TrafficColumns, style.language).split(u'|');
    m_directions = Text(TextId::TrafficDirections, style.language).split(u'|');
    if (rowCount() > 0) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
    }
    emit headerDataChanged(Qt::Horizontal, 0, ColumnCount - 1);
}

int TrafficModel::Find(const QString& text, int row, bool backwards) const
{
    const int rows = rowCount();
    for (int step = 0; step < rows; ++step) {
        const int at = ((backwards ? row - step : row + step) % rows + rows) % rows;
        const TrafficEntry* entry = entryOf(at);
        for (const int column : {ColumnText, ColumnHex, ColumnMeaning}) {
            if (entry != nullptr && textAt(*entry, column).contains(text, Qt::CaseInsensitive)) {
                return at;
            }
        }
    }
    return -1;
}

QString TrafficModel::LineAt(int row) const
{
    const TrafficEntry* entry = entryOf(row);
    return entry == nullptr ? QString() : FromUtf8(modTrafficText::FileLine(m_traffic, *entry, m_style));
}

/// Null when the ring has let it go since the last `Follow`: its place now holds one of the newest.
const TrafficEntry* TrafficModel::entryOf(int row) const
{
    const std::uint64_t number = m_shown[static_cast<std::size_t>(row)];
    return number < m_traffic.First() ? nullptr : &m_traffic.At(number);
}

int TrafficModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_shown.size());
}

int TrafficModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TrafficModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const TrafficEntry* entry = entryOf(index.row());
    if (entry == nullptr) {
        return {};
    }
    const bool isBytes = index.column() == ColumnText || index.column() == ColumnHex;
    switch (role) {
    case Qt::DisplayRole:
        return textAt(*entry, index.column());
    case Qt::ToolTipRole:
        return isBytes ? PlainToolTip(textAt(*entry, index.column())) : QString();
    case Qt::FontRole:
        return isBytes ? QVariant(m_bytesFont)
                       : (entry->kind == TrafficKind::SentByHand ? QVariant(m_handFont) : QVariant());
    default:
        return {};
    }
}

QString TrafficModel::textAt(const TrafficEntry& entry, int column) const
{
    switch (column) {
    case ColumnTime:
        return FromUtf8(modTrafficText::TimeOfDay(entry.time));
    case ColumnDirection:
        return m_directions.value(IsOfLine(entry.kind) ? 0 : IsToSensor(entry.kind) ? 1 : 2);
    case ColumnText:
        return FromUtf8(modTrafficText::Text(m_traffic.BytesOf(entry)));
    case ColumnHex:
        return FromUtf8(modTrafficText::Hex(m_traffic.BytesOf(entry)));
    default:
        return FromUtf8(modTrafficText::Meaning(m_traffic, entry, m_style));
    }
}

QVariant TrafficModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const bool isName = orientation == Qt::Horizontal && role == Qt::DisplayRole;
    return isName ? m_columns.value(section) : QAbstractTableModel::headerData(section, orientation, role);
}
