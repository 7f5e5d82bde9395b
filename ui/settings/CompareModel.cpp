#include "ui/settings/CompareModel.h"

#include "ui/widgets/QtText.h"

#include <QFont>

#include <utility>

namespace {

constexpr char kDiffers[] = "≠ ";

} // namespace

void CompareModel::Show(std::vector<CompareLine> lines)
{
    beginResetModel();
    m_lines = std::move(lines);
    endResetModel();
}

void CompareModel::Name(const QStringList& columns, const QString& differs)
{
    m_columns = columns;
    m_differs = differs;
    emit headerDataChanged(Qt::Horizontal, 0, ColumnCount - 1);
}

QStringList CompareModel::TextsOf(const CompareLine& line)
{
    return {line.name, line.code, line.unit, line.left, line.right, line.factory};
}

int CompareModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_lines.size());
}

int CompareModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant CompareModel::text(const CompareLine& line, int column) const
{
    if (line.row == nullptr) {
        return column == 0 ? line.name : QString();
    }
    if (column == ColumnTick) {
        return {};
    }
    const QString words = TextsOf(line).at(column - ColumnName);
    return column == ColumnRight && line.differs ? QString::fromUtf8(kDiffers) + words : words;
}

QVariant CompareModel::data(const QModelIndex& index, int role) const
{
    const CompareLine& line = m_lines.at(static_cast<std::size_t>(index.row()));
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole:
        return text(line, column);
    case Qt::AccessibleTextRole:
        if (column == ColumnTick && line.row != nullptr) {
            return line.name;
        }
        return column == ColumnRight && line.differs ? line.right + QStringLiteral(", ") + m_differs
                                                     : text(line, column);
    case Qt::CheckStateRole:
        if (column == ColumnTick && line.canBeSent) {
            return line.isTicked ? Qt::Checked : Qt::Unchecked;
        }
        return {};
    case Qt::ToolTipRole:
        return PlainToolTip(line.toolTip.isEmpty() && column == ColumnName ? line.name
                                                                           : line.toolTip); // can be cut off
    case Qt::FontRole: {
        QFont font;
        font.setBold(line.row == nullptr || (line.differs && (column == ColumnLeft || column == ColumnRight)));
        return font;
    }
    case Qt::TextAlignmentRole:
        return static_cast<int>((column >= ColumnLeft ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    default:
        return {};
    }
}

QVariant CompareModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) {
        return {};
    }
    const QString caption = m_columns.value(section);
    return role == Qt::ToolTipRole ? PlainToolTip(caption) : caption;
}

Qt::ItemFlags CompareModel::flags(const QModelIndex& index) const
{
    const CompareLine& line = m_lines.at(static_cast<std::size_t>(index.row()));
    if (line.row == nullptr) {
        return Qt::ItemIsEnabled;
    }
    const bool tick = index.column() == ColumnTick && line.canBeSent;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | (tick ? Qt::ItemIsUserCheckable : Qt::NoItemFlags);
}

bool CompareModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    CompareLine& line = m_lines.at(static_cast<std::size_t>(index.row()));
    if (role != Qt::CheckStateRole || index.column() != ColumnTick || !line.canBeSent) {
        return false;
    }
    line.isTicked = value.toInt() == Qt::Checked;
    emit dataChanged(index, index);
    emit Ticked(*line.row, line.isTicked);
    return true;
}
