// Which sets the comparison offers, and which two it shows.
#include "base/IsoTime.h"
#include "session/clsWriteKeeper.h"
#include "store/clsConfigLibrary.h"
#include "store/modBackup.h"
#include "store/modConfigFile.h"
#include "store/modGlobals.h"
#include "ui/settings/TransferBox.h"
#include "ui/settings/frmCompare.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QStandardItemModel>
#include <QTableView>

#include <algorithm>

namespace {

constexpr std::size_t kSeconds = 19; // "2026-11-20T14:03:05"

QString fileName(const std::filesystem::path& file)
{
    return QFile::decodeName(file.c_str());
}

QString timeText(double time)
{
    return FromUtf8(IsoText(time).substr(0, kSeconds)).replace(u'T', u' ');
}

} // namespace

void frmCompare::offerSets()
{
    for (QComboBox* list : m_lists) {
        list->addItem(QString()); // asks for another file; it stays the last one
    }
    if (m_context.device != nullptr) {
        offer({.kind = SetKind::Sensor});
    }
    if (m_context.window) {
        offer({.kind = SetKind::Window});
    }
    for (const NamedSet& state : m_context.states) {
        offer({.kind = SetKind::State, .name = state.name, .set = state.set});
    }
    offer({.kind = SetKind::Factory});
    for (std::size_t line = 1; m_context.library != nullptr && line < m_context.library->Size(); ++line) {
        const Configuration& entry = m_context.library->Entry(line);
        offer({SetKind::Configuration, FromBytes(entry.Description), entry.FileName, entry.Parameters});
    }
    if (m_context.writes == nullptr || m_context.device == nullptr) {
        return;
    }
    const std::string& serialNo = m_context.device->Identity().SerialNo;
    for (const modBackup::Backup& backup : modBackup::List(m_context.writes->Kept().backups, serialNo)) {
        offer({.kind = SetKind::Backup, .name = timeText(backup.time), .file = backup.file});
    }
}

void frmCompare::offer(Offered offered)
{
    for (QComboBox* list : m_lists) {
        const int item = list->count() - 1;
        list->insertItem(item, nameOf(offered));
        list->setItemData(item, fileName(offered.file), Qt::ToolTipRole);
    }
    m_offered.push_back(std::move(offered));
}

QString frmCompare::nameOf(const Offered& offered) const
{
    switch (offered.kind) {
    case SetKind::Sensor:
        return text(TextId::CompareSensor).arg(QString()).trimmed();
    case SetKind::Window:
        return text(TextId::CompareWindow);
    case SetKind::Factory:
        return text(TextId::CompareFactory);
    case SetKind::Backup:
        return text(TextId::CompareBackup).arg(offered.name);
    case SetKind::Configuration:
    case SetKind::State:
    case SetKind::File:
        break;
    }
    return offered.name;
}

int frmCompare::itemOf(SetKind kind, int number) const
{
    for (std::size_t item = 0; item < m_offered.size(); ++item) {
        if (m_offered[item].kind == kind && number-- == 0) {
            return static_cast<int>(item);
        }
    }
    return -1;
}

frmCompare::SetKind frmCompare::kindOf(SideIndex side) const
{
    return m_offered.at(static_cast<std::size_t>(std::max(m_sides[side].item, 0))).kind;
}

bool frmCompare::Choose(SetKind left, SetKind right, int leftNumber, int rightNumber)
{
    const auto before = m_sides;
    const bool chosen = choose(Left, itemOf(left, leftNumber)) && choose(Right, itemOf(right, rightNumber));
    if (!chosen) {
        m_sides = before;
    }
    m_ticked = {};
    showSides();
    return chosen;
}

bool frmCompare::Review(SetKind right, int number)
{
    if (!Choose(SetKind::Sensor, right, 0, number)) {
        return false;
    }
    for (const CompareLine& line : m_lines) {
        m_ticked[*line.row] = line.canBeSent;
    }
    SetTextIds(this, TextId::TitleReview);
    setWindowTitle(text(TextId::TitleReview));
    showLines();
    tblCompare->setFocus();
    return true;
}

bool frmCompare::choose(SideIndex side, int item)
{
    EditedSet edited;
    if (item < 0 || !readSet(m_offered.at(static_cast<std::size_t>(item)), edited)) {
        return false;
    }
    m_sides[side] = {item, edited};
    if (kindOf(side) == SetKind::Sensor) {
        m_serialNo = m_context.device->Identity().SerialNo;
    }
    return true;
}

/// False, with a message where there is something to say, when the set cannot be had.
bool frmCompare::readSet(const Offered& offered, EditedSet& into)
{
    switch (offered.kind) {
    case SetKind::Sensor:
        into.set = m_context.device->Parameters();
        return isConnected();
    case SetKind::Window:
        into = m_context.window();
        return true;
    case SetKind::Factory:
        return true; // depends on the other side
    case SetKind::Configuration: {
        const auto line = m_context.library->Find(offered.file.native());
        into.set = line ? m_context.library->Entry(*line).Parameters : offered.set;
        return true;
    }
    case SetKind::State:
    case SetKind::File:
        into.set = offered.set;
        return true;
    case SetKind::Backup:
        break;
    }
    return readFile(offered.file, into.set);
}

/// A file without a description is none of ours, or broken.
bool frmCompare::readFile(const std::filesystem::path& file, ParameterSet& into)
{
    Configuration configuration;
    configuration.FileName = file.native();
    modConfigFile::Read(configuration);
    if (configuration.Description.empty()) {
        tell(text(TextId::CompareNoConfiguration).arg(fileName(file)));
        return false;
    }
    into = configuration.Parameters;
    return true;
}

void frmCompare::list_Click(SideIndex side, int item)
{
    tell({});
    if (item == static_cast<int>(m_offered.size())) {
        item = -1;
        const std::filesystem::path file = Boxes.FileToLoad(m_context.programFolder);
        Offered offered{.kind = SetKind::File, .name = QFileInfo(fileName(file)).fileName(), .file = file};
        if (!file.empty() && readFile(file, offered.set)) {
            item = static_cast<int>(m_offered.size());
            offer(std::move(offered));
        }
    }
    if (choose(side, item)) {
        m_ticked = {}; // they were chosen for other values
    }
    showSides();
}

void frmCompare::showSides()
{
    for (const SideIndex side : {Left, Right}) {
        m_lists[side]->setCurrentIndex(m_sides[side].item);
        m_lists[side]->setToolTip(m_lists[side]->currentText());
    }
    compare();
}

/// Factory defaults are those of the other side's type of sensor.
void frmCompare::readSides()
{
    for (const SideIndex side : {Left, Right}) {
        const SideIndex other = side == Left ? Right : Left;
        if (kindOf(side) == SetKind::Factory) {
            m_sides[side].edited.set =
                FactorySet(kindOf(other) == SetKind::Factory ? ParameterSet() : m_sides[other].edited.set);
        }
    }
}

bool frmCompare::isConnected() const
{
    return m_context.device != nullptr && m_context.device->CommStatus() != DialogueNone;
}

void frmCompare::FollowDevice()
{
    if (m_context.device == nullptr) {
        return;
    }
    const clsRVQ& device = *m_context.device;
    if (device.Wait().Ended) {
        if (m_own != nullptr) {
            m_own->CloseQuestion();
        }
        reject();
        return;
    }
    const Followed now{isConnected(), device.Wait().Running, device.Identity().SerialNo};
    if (now != m_followed) {
        m_followed = now;
        const int item = itemOf(SetKind::Sensor, 0);
        for (QComboBox* list : m_lists) {
            static_cast<QStandardItemModel*>(list->model())->item(item)->setEnabled(now.isConnected);
        }
        const bool shows = m_sides[Left].item == item || m_sides[Right].item == item;
        if (shows && now.isConnected && now.serialNo != m_serialNo) {
            tell(text(TextId::CompareOtherSensor));
        }
        applyRule();
    }
    bool hasChanged = false;
    for (const SideIndex side : {Left, Right}) {
        Side& shown = m_sides[side];
        const bool follows = shown.item >= 0 && kindOf(side) == SetKind::Sensor && now.isConnected &&
                             now.serialNo == m_serialNo && !now.isBusy && !m_isSending;
        if (follows && shown.edited.set != device.Parameters()) {
            shown.edited.set = device.Parameters();
            hasChanged = true;
        }
    }
    if (hasChanged) {
        compare();
    }
}
