#include "ui/settings/PassportModel.h"

#include "ui/widgets/Localise.h"

#include <QElapsedTimer>

#include <algorithm>
#include <functional>

namespace {

constexpr qint64 kPiece_ms = 20;
constexpr std::size_t kMostRead = std::size_t{1} << 21;   // bytes of lines
constexpr qsizetype kLongestCell = 400, kMostInCell = 20; // more has no room anyway
constexpr qsizetype kMostToolTipLines = 30;

PassportModel::Codes codesOf(const modPassport::Entry& entry)
{
    PassportModel::Codes codes;
    for (const modPassport::Change& change : entry.changes) {
        if (const ParameterDef* row = ParameterOfCode(change.code)) {
            codes.set(static_cast<std::size_t>(row - ParameterTable().data()));
        }
    }
    return codes;
}

} // namespace

void PassportModel::Open(const std::filesystem::path& file)
{
    beginResetModel();
    m_reader = std::make_unique<clsPassportReader>(file);
    m_lines.clear();
    m_shown.clear();
    m_read.clear();
    m_changed.reset();
    m_unreadable = 0;
    endResetModel();
}

bool PassportModel::ReadOn()
{
    QElapsedTimer timer;
    timer.start();
    const std::size_t before = m_lines.size();
    const auto take = [this](std::string_view line, const clsPassportReader::Place& place) {
        if (const auto entry = modPassport::EntryOf(line)) {
            m_lines.push_back({place, codesOf(*entry)});
        } else {
            ++m_unreadable;
        }
        return true;
    };
    bool goesOn = m_reader != nullptr;
    while (goesOn && timer.elapsed() < kPiece_ms) {
        goesOn = m_reader->Step(take);
    }
    std::vector<std::size_t> added;
    for (std::size_t i = before; i < m_lines.size(); ++i) {
        m_changed |= m_lines[i].changed;
        if (isShown(m_lines[i])) {
            added.push_back(i);
        }
    }
    if (!added.empty()) {
        const int first = rowCount();
        beginInsertRows({}, first, first + static_cast<int>(added.size()) - 1);
        m_shown.insert(m_shown.end(), added.begin(), added.end());
        endInsertRows();
    }
    return goesOn;
}

bool PassportModel::isShown(const Line& line) const
{
    return !m_only || line.changed.test(*m_only);
}

void PassportModel::Filter(const ParameterDef* row)
{
    beginResetModel();
    m_only = row == nullptr ? std::nullopt : std::optional(static_cast<std::size_t>(row - ParameterTable().data()));
    m_shown.clear();
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        if (isShown(m_lines[i])) {
            m_shown.push_back(i);
        }
    }
    endResetModel();
}

void PassportModel::Localise(const PassportText::Style& style)
{
    beginResetModel();
    m_style = style;
    endResetModel();
}

std::optional<modPassport::Entry> PassportModel::EntryAt(int row) const
{
    if (row < 0 || row >= rowCount()) {
        return std::nullopt;
    }
    const std::size_t line = m_shown[static_cast<std::size_t>(row)];
    if (const auto found = m_read.find(line); found != m_read.end()) {
        return found->second;
    }
    const clsPassportReader::Place& place = m_lines[line].place;
    m_readBytes += place.length;
    if (m_readBytes > kMostRead) {
        m_read.clear();
        m_readBytes = place.length;
    }
    return m_read.emplace(line, modPassport::EntryOf(m_reader->LineAt(place))).first->second;
}

std::optional<std::int64_t> PassportModel::PlaceAt(int row) const
{
    return row < 0 || row >= rowCount() ? std::nullopt
                                        : std::optional(m_lines[m_shown[static_cast<std::size_t>(row)]].place.offset);
}

int PassportModel::RowAt(std::int64_t place) const
{
    const auto found = std::ranges::lower_bound(m_shown, place, std::greater(),
                                                [this](std::size_t line) { return m_lines[line].place.offset; });
    const bool isThere = found != m_shown.end() && m_lines[*found].place.offset == place;
    return isThere ? static_cast<int>(found - m_shown.begin()) : -1;
}

int PassportModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_shown.size());
}

int PassportModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant PassportModel::data(const QModelIndex& index, int role) const
{
    const bool isText = role == Qt::DisplayRole || role == Qt::ToolTipRole;
    const auto entry = isText && index.isValid() ? EntryAt(index.row()) : std::nullopt;
    if (!entry) {
        return {};
    }
    if (role == Qt::DisplayRole) {
        return textAt(*entry, index.column());
    }
    QStringList lines = PassportText::Whole(*entry, m_style).split(u'\n');
    if (lines.size() > kMostToolTipLines) {
        lines = lines.first(kMostToolTipLines) + QStringList(QStringLiteral("…"));
    }
    return QStringLiteral("<p style='white-space:pre'>%1</p>").arg(lines.join(u'\n').toHtmlEscaped());
}

QString PassportModel::textAt(const modPassport::Entry& entry, int column) const
{
    switch (column) {
    case ColumnTime:
        return PassportText::Time(entry.time);
    case ColumnEvent:
        return PassportText::EventName(entry.event, m_style.language);
    case ColumnUser:
        return QString::fromStdString(entry.user).simplified().left(kLongestCell);
    case ColumnChanges:
        return changesText(entry);
    default:
        return PassportText::Result(entry, m_style.language);
    }
}

/// Of a filtered table, only the changes of its parameter.
QString PassportModel::changesText(const modPassport::Entry& entry) const
{
    QStringList texts;
    if (m_only) {
        for (const modPassport::Change& change : entry.changes) {
            if (change.code == ParameterTable()[*m_only].code) {
                texts += PassportText::ChangeText(change, m_style);
            }
        }
    } else {
        texts = PassportText::Lines(entry, m_style).mid(0, kMostInCell);
    }
    return texts.join(QStringLiteral("; ")).left(kLongestCell);
}

QVariant PassportModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return {};
    }
    return Text(TextId::PassportColumns, m_style.language).section(u'|', section, section);
}
