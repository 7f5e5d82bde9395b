#include "ui/widgets/PortModel.h"

#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QFont>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

using modPortEntries::PortPart;

namespace {

QString fileName(const std::string& name)
{
    return QFile::decodeName(name.c_str());
}

/// A number stays the same entry when a device comes or goes, a device without one as long as it is there.
bool isSame(const PortModel::Entry& a, const PortModel::Entry& b)
{
    return a.port == b.port && (a.port != 0 || a.address == b.address);
}

bool looksSame(const PortModel::Entry& a, const PortModel::Entry& b)
{
    const modPortScan::Device &one = a.device, &other = b.device;
    return a.part == b.part && a.address == b.address && one.names == other.names && one.maker == other.maker &&
           one.product == other.product && one.serialNumber == other.serialNumber && one.group == other.group &&
           one.mayUse == other.mayUse && one.groupMay == other.groupMay;
}

} // namespace

QString PortName(std::int32_t port)
{
    return QStringLiteral("COM %1").arg(port);
}

PortModel::PortModel(QObject* parent) : QAbstractListModel(parent)
{
    for (std::int32_t port = 1; port <= modPComm::kPortCount; ++port) {
        m_rows.push_back({{port, PortPart::Other, {}, {}}});
    }
}

void PortModel::Localise(std::int32_t language)
{
    m_language = language;
    emit dataChanged(index(0), index(rowCount() - 1));
}

void PortModel::Sort(const std::vector<Entry>& entries)
{
    beginResetModel();
    m_rows.clear();
    std::optional<PortPart> part;
    const auto addHeading = [&](PortPart next) {
        m_rows.push_back({{0, next, {}, {}}, true});
        part = next;
    };
    if (entries.empty() || entries.front().part != PortPart::Present) {
        addHeading(PortPart::Present); // it says that there is none
    }
    for (const Entry& entry : entries) {
        if (part != entry.part) {
            addHeading(entry.part);
        }
        m_rows.push_back({entry});
    }
    endResetModel();
}

void PortModel::Renew(const std::vector<Entry>& entries)
{
    for (const Entry& entry : entries) {
        int row = rowOf(entry);
        const int end = endOfPresent();
        if (entry.part == PortPart::Present && row < 0) {
            beginInsertRows({}, end, end);
            m_rows.insert(m_rows.begin() + end, Row{entry});
            endInsertRows();
            continue;
        }
        Row& known = m_rows.at(static_cast<std::size_t>(row));
        const bool isGone = known.entry.part == PortPart::Present && entry.part == PortPart::Other;
        if (isGone == known.isGone && (isGone || looksSame(known.entry, entry))) {
            continue;
        }
        if (entry.part == PortPart::Present && known.entry.part != PortPart::Present) {
            beginMoveRows({}, row, row, {}, end);
            std::rotate(m_rows.begin() + end, m_rows.begin() + row, m_rows.begin() + row + 1);
            endMoveRows();
            row = end;
        }
        Row& now = m_rows.at(static_cast<std::size_t>(row));
        now.isGone = isGone;
        if (!isGone) {
            const PortPart part = entry.part == PortPart::Present ? entry.part : now.entry.part;
            now.entry = entry;
            now.entry.part = part; // a line over the network that was set meanwhile moves with the next opening
        }
        changed(row);
    }
    for (int row = 0; row < rowCount(); ++row) {
        Row& shown = m_rows[static_cast<std::size_t>(row)];
        const bool isMissing = shown.entry.port == 0 && !shown.isHeading && !shown.isGone &&
                               std::ranges::none_of(entries, [&](const Entry& e) { return isSame(e, shown.entry); });
        if (isMissing) {
            shown.isGone = true;
            changed(row);
        }
    }
    changed(0); // its heading says whether there are any
}

void PortModel::Tell(Users users)
{
    const Users before = std::exchange(m_users, std::move(users));
    for (int row = 0; row < rowCount(); ++row) {
        const std::string& device = m_rows[static_cast<std::size_t>(row)].entry.device.device;
        const auto process = [&](const Users& known) {
            const auto user = known.find(device);
            return user == known.end() ? 0 : user->second.process;
        };
        if (process(before) != process(m_users)) {
            changed(row);
        }
    }
}

std::vector<std::string> PortModel::Devices() const
{
    std::vector<std::string> devices;
    for (const Row& row : m_rows) {
        if (row.entry.part == PortPart::Present && !row.isHeading && !row.isGone) {
            devices.push_back(row.entry.device.device);
        }
    }
    return devices;
}

std::int32_t PortModel::PortAt(int row) const
{
    return row >= 0 && row < rowCount() ? m_rows[static_cast<std::size_t>(row)].entry.port : 0;
}

bool PortModel::IsThere(int row) const
{
    return PortAt(row) != 0 && m_rows[static_cast<std::size_t>(row)].entry.part != PortPart::Other;
}

int PortModel::RowOf(std::int32_t port) const
{
    const auto found = std::ranges::find_if(m_rows, [&](const Row& row) { return row.entry.port == port; });
    return static_cast<int>(found - m_rows.begin());
}

modPortEntries::Fit PortModel::FitOf(int row, std::string_view typed) const
{
    const Row& searched = m_rows.at(static_cast<std::size_t>(row));
    return searched.isHeading ? modPortEntries::Fit::None : modPortEntries::FitOf(searched.entry, typed);
}

int PortModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant PortModel::data(const QModelIndex& index, int role) const
{
    const Row& row = m_rows.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case Qt::DisplayRole:
        return row.isHeading         ? headingText(row)
               : row.entry.port == 0 ? fileName(row.entry.address)
                                     : PortName(row.entry.port);
    case Qt::FontRole: {
        QFont font;
        font.setBold(row.isHeading || row.entry.part != PortPart::Other);
        return font.bold() ? QVariant(font) : QVariant();
    }
    case Beside:
        return besideText(row);
    case Details:
        return detailsText(row);
    case IsHeading:
        return row.isHeading;
    case Qt::AccessibleDescriptionRole: {
        QStringList texts{besideText(row), detailsText(row)};
        texts.removeAll({});
        return texts.join(QStringLiteral(", "));
    }
    case Qt::ToolTipRole:
        return PlainToolTip(toolTip(row));
    default:
        return {};
    }
}

Qt::ItemFlags PortModel::flags(const QModelIndex& index) const
{
    return PortAt(index.row()) == 0 ? Qt::ItemNeverHasChildren
                                    : Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

QString PortModel::headingText(const Row& row) const
{
    switch (row.entry.part) {
    case PortPart::Present:
        return Text(Devices().empty() ? TextId::PortsNone : TextId::PortsPresent, m_language);
    case PortPart::Network:
        return Text(TextId::PortsNetwork, m_language);
    case PortPart::Other:
        break;
    }
    return Text(TextId::PortsOther, m_language);
}

QString PortModel::besideText(const Row& row) const
{
    if (row.isHeading || row.entry.part == PortPart::Other) {
        return {};
    }
    const QString model = FromUtf8(modPortScan::ModelOf(row.entry.device));
    if (row.entry.port == 0) {
        return Text(TextId::PortWithoutNumber, m_language).arg(model.isEmpty() ? fileName(row.entry.address) : model);
    }
    return model.isEmpty() ? fileName(row.entry.address) : model;
}

QString PortModel::detailsText(const Row& row) const
{
    if (row.isHeading || row.entry.part != PortPart::Present) {
        return {};
    }
    QStringList texts;
    if (!modPortScan::ModelOf(row.entry.device).empty()) {
        texts += fileName(row.entry.address);
    }
    texts += FromUtf8(row.entry.device.serialNumber);
    texts += stateText(row);
    texts.removeAll({});
    return texts.join(QStringLiteral(" – "));
}

QString PortModel::stateText(const Row& row) const
{
    const modPortScan::Device& device = row.entry.device;
    if (row.isGone) {
        return Text(TextId::PortGone, m_language);
    }
    if (const auto user = m_users.find(device.device); user != m_users.end()) {
        return Text(TextId::PortTakenBy, m_language).arg(FromUtf8(modPortScan::InWords(user->second)));
    }
    if (device.mayUse) {
        return {};
    }
    return device.groupMay ? Text(TextId::PortGroupOnly, m_language).arg(FromUtf8(device.group))
                           : Text(TextId::PortNotForYou, m_language);
}

QString PortModel::toolTip(const Row& row) const
{
    QStringList texts{fileName(row.entry.address)};
    if (row.entry.part == PortPart::Present && !row.isHeading) {
        texts += {besideText(row), FromUtf8(row.entry.device.serialNumber), FromUtf8(row.entry.device.position),
                  fileName(row.entry.device.StableName()), stateText(row)};
    }
    texts.removeAll({});
    texts.removeDuplicates();
    return texts.join(u'\n');
}

int PortModel::rowOf(const Entry& entry) const
{
    const auto found =
        std::ranges::find_if(m_rows, [&](const Row& row) { return !row.isHeading && isSame(row.entry, entry); });
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
}

int PortModel::endOfPresent() const
{
    const auto end = std::ranges::find_if(m_rows, [](const Row& row) { return row.entry.part != PortPart::Present; });
    return static_cast<int>(end - m_rows.begin());
}

void PortModel::changed(int row)
{
    emit dataChanged(index(row), index(row));
}
