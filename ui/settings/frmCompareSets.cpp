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

#include <QAbstractItemView>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QStandardItemModel>
#include <QTableView>

#include <algorithm>
#include <iterator>

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
    fillLists();
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
    offerBackups();
}

/// All that there are: those of the connected sensor first, the others with their serial numbers.
std::vector<frmCompare::Offered> frmCompare::backups() const
{
    std::vector<Offered> found;
    const std::filesystem::path folder =
        m_context.writes == nullptr ? std::filesystem::path() : m_context.writes->Kept().backups;
    if (folder.empty()) {
        return found;
    }
    const bool isKnown = m_context.device != nullptr && !m_context.device->Identity().SerialNo.empty();
    const std::string own = isKnown ? modBackup::NameOf(m_context.device->Identity().SerialNo) : std::string();
    std::vector<std::string> sensors;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (modBackup::NameOf(name) == name) { // else it is none of ours
            sensors.push_back(name);
        }
    }
    std::ranges::sort(sensors, {}, [&](const std::string& name) { return std::pair(name != own, name); });
    for (const std::string& name : sensors) {
        const QString prefix = name == own ? QString() : FromBytes(name) + QStringLiteral(", ");
        for (const modBackup::Backup& backup : modBackup::List(folder, name)) {
            found.push_back({.kind = SetKind::Backup, .name = prefix + timeText(backup.time), .file = backup.file});
        }
    }
    return found;
}

/// Lists the backups anew, before the files that the operator has added. A shown one stays even when its file has gone.
/// False when nothing has changed.
bool frmCompare::offerBackups()
{
    const auto isBackup = [](const Offered& offered) { return offered.kind == SetKind::Backup; };
    const auto isSame = [](const Offered& one, const Offered& other) {
        return one.file == other.file && one.name == other.name;
    };
    std::vector<Offered> found = backups();
    for (const Side& side : m_sides) {
        const Offered* shown = side.item < 0 ? nullptr : &m_offered[static_cast<std::size_t>(side.item)];
        if (shown != nullptr && isBackup(*shown) &&
            std::ranges::find(found, shown->file, &Offered::file) == found.end()) {
            found.push_back(*shown);
        }
    }
    std::vector<Offered> before;
    std::ranges::copy_if(m_offered, std::back_inserter(before), isBackup);
    if (std::ranges::equal(before, found, isSame)) {
        return false;
    }
    std::vector<Offered> all;
    const auto take = [&](bool isFile) {
        std::ranges::copy_if(m_offered, std::back_inserter(all), [&](const Offered& offered) {
            return !isBackup(offered) && (offered.kind == SetKind::File) == isFile;
        });
    };
    take(false);
    const std::size_t first = all.size();
    all.insert(all.end(), found.begin(), found.end());
    take(true);
    for (Side& side : m_sides) {
        const auto item = static_cast<std::size_t>(std::max(side.item, 0));
        if (side.item >= 0 && isBackup(m_offered[item])) {
            side.item = static_cast<int>(std::ranges::find(all, m_offered[item].file, &Offered::file) - all.begin());
        } else if (item >= first) { // a file
            side.item += static_cast<int>(found.size()) - static_cast<int>(before.size());
        }
    }
    m_offered = std::move(all);
    fillLists();
    return true;
}

/// The item after the sets asks for another file.
void frmCompare::fillLists()
{
    for (const SideIndex side : {Left, Right}) {
        m_lists[side]->clear();
        for (const Offered& offered : m_offered) {
            m_lists[side]->addItem(nameOf(offered));
            m_lists[side]->setItemData(m_lists[side]->count() - 1, PlainToolTip(fileName(offered.file)),
                                       Qt::ToolTipRole);
        }
        m_lists[side]->addItem(text(TextId::CompareOtherFile));
        m_lists[side]->setCurrentIndex(m_sides[side].item);
    }
    enableSensor();
}

void frmCompare::enableSensor()
{
    if (const int item = itemOf(SetKind::Sensor, 0); item >= 0) {
        for (QComboBox* list : m_lists) {
            static_cast<QStandardItemModel*>(list->model())->item(item)->setEnabled(isConnected());
        }
    }
}

void frmCompare::offer(Offered offered)
{
    for (QComboBox* list : m_lists) {
        const int item = list->count() - 1;
        list->insertItem(item, nameOf(offered));
        list->setItemData(item, PlainToolTip(fileName(offered.file)), Qt::ToolTipRole);
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
        m_lists[side]->setToolTip(PlainToolTip(m_lists[side]->currentText()));
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
    const std::pair offeredFor(m_context.writes == nullptr ? 0 : m_context.writes->Version(),
                               device.Identity().SerialNo);
    const bool isListOpen =
        std::ranges::any_of(m_lists, [](const QComboBox* list) { return list->view()->isVisible(); });
    if (m_offeredFor != offeredFor && !m_isSending && !isListOpen) {
        m_offeredFor = offeredFor;
        if (offerBackups()) {
            showSides();
        }
    }
    const Followed now{isConnected(), device.Wait().Running, device.Identity().SerialNo};
    if (now != m_followed) {
        m_followed = now;
        const int item = itemOf(SetKind::Sensor, 0);
        enableSensor();
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
