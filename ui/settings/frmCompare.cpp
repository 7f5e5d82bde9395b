// The rows of the comparison, and what the window does as a whole.
#include "ui/settings/frmCompare.h"

#include "session/clsTransfer.h"
#include "store/modGlobals.h"
#include "ui/settings/RVQBoxes.h"
#include "ui/settings/TransferBox.h"
#include "ui/settings/frmSheet.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/InputGuards.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QTableView>
#include <QTimer>

#include <algorithm>

namespace {

constexpr int kFollow_ms = 200;
constexpr char kNone[] = "–";

} // namespace

frmCompare::frmCompare(QWidget* owner, const Context& context)
    : QDialog(owner), m_context(context), m_decimalSeparator(DecimalSeparator()), m_model(new CompareModel(this))
{
    setObjectName(QStringLiteral("frmCompare"));
    if (!m_context.send && m_context.device != nullptr && m_context.library != nullptr && m_context.pumpEvents) {
        m_own = std::make_unique<TransferBox>(
            TransferBox::Context{.window = *this,
                                 .device = *m_context.device,
                                 .library = *m_context.library,
                                 .settings = m_context.settings,
                                 .help = m_context.help,
                                 .pumpEvents = m_context.pumpEvents,
                                 .writes = m_context.writes,
                                 .showProgress = [this](const TransferProgress& progress) { ShowProgress(progress); },
                                 .showFailure = [this](const QString& failure) { tell(failure); },
                                 .showReport = [this](const WriteReport& report) { ShowReport(report); }});
        m_context.send = [this](const ParameterSet& target, const std::vector<std::string>& codes) {
            m_own->Send(target, codes);
        };
        m_context.cancel = [this] { m_own->Cancel(); };
    }
    buildForm();
    new WindowPlace(*this, m_context.settings.IniFile);
    QMessageBox* none = nullptr;
    Boxes.FileToLoad = RVQBoxes(*this, m_context.settings, m_context.help, none).FileToLoad;
    Boxes.OpenSheet = [this](const std::string& sheet) { frmSheet::Open(*this, m_context.settings, sheet); };
    Boxes.FileToSave = [this](const std::string& proposal) {
        QFileDialog box(this, QString(), QFile::decodeName(proposal.c_str()),
                        FileFilter(text(TextId::CompareCsvType), QStringLiteral("*.csv")));
        box.setAcceptMode(QFileDialog::AcceptSave);
        box.setDefaultSuffix(QStringLiteral("csv"));
        const bool isChosen = box.exec() == Accepted && !box.selectedFiles().isEmpty();
        return isChosen ? QFile::encodeName(box.selectedFiles().front()).toStdString() : std::string();
    };
    KeepWheelFromLists(*this);
    offerSets();
    localise();
    connectControls();
    FollowDevice();
    const bool hasSensor = isConnected();
    Choose(hasSensor ? SetKind::Sensor : SetKind::Factory, m_context.window ? SetKind::Window : SetKind::Factory);
}

frmCompare::~frmCompare() = default;

void frmCompare::connectControls()
{
    for (const SideIndex side : {Left, Right}) {
        connect(m_lists[side], &QComboBox::activated, this,
                [this, side](int item) { Guarded([&] { list_Click(side, item); }); });
        m_lists[side]->installEventFilter(this);
    }
    const auto filter = [this] { Guarded([this] { showLines(); }); };
    connect(chkOnlyDifferences, &QCheckBox::clicked, this, filter);
    connect(txtSearch, &QLineEdit::textChanged, this, filter);
    connect(m_model, &CompareModel::Ticked, this, [this](const ParameterDef& row, bool isTicked) {
        Guarded([&] {
            m_ticked[row] = isTicked;
            applyRule();
        });
    });
    chkOnlyDifferences->installEventFilter(this);
    txtSearch->installEventFilter(this);
    tblCompare->installEventFilter(this);
    connectButton(cmdSendChosen, &frmCompare::cmdSendChosen_Click);
    connectButton(cmdCancel, &frmCompare::cmdCancel_Click);
    connectButton(cmdCopy, &frmCompare::cmdCopy_Click);
    connectButton(cmdPrint, &frmCompare::cmdPrint_Click);
    connectButton(cmdSave, &frmCompare::cmdSave_Click);
    connectButton(cmdHelp, &frmCompare::cmdHelp_Click);
    connectButton(cmdClose, &frmCompare::reject);
    auto* search = new QShortcut(QKeySequence::Find, this);
    connect(search, &QShortcut::activated, txtSearch, [this] {
        txtSearch->setFocus(Qt::ShortcutFocusReason);
        txtSearch->selectAll();
    });
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this] { Guarded([this] { FollowDevice(); }); });
    timer->start(kFollow_ms);
}

void frmCompare::connectButton(const QPushButton* button, void (frmCompare::*act)())
{
    connect(button, &QPushButton::clicked, this, [this, act] { Guarded([&] { (this->*act)(); }); });
}

/// Enter in a list, in the search or on the check box must not send: nobody means that there.
bool frmCompare::eventFilter(QObject* watched, QEvent* event)
{
    const bool isList = watched == cmbLeft || watched == cmbRight;
    if (isList && (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress)) {
        Guarded([this] {
            if (offerBackups()) { // it may be about to open
                showSides();
            }
        });
    }
    if (event->type() != QEvent::KeyPress) {
        return QDialog::eventFilter(watched, event);
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    const bool isEnter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
    if (watched != tblCompare) {
        if (isEnter && watched == txtSearch) {
            tblCompare->setFocus();
        }
        return isEnter;
    }
    if (key->matches(QKeySequence::Copy)) {
        Guarded([this] { copy(true); });
        return true;
    }
    if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier) {
        Guarded([this] { tickSelected(); });
        return true;
    }
    return false;
}

void frmCompare::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] { localise(); });
    }
    QDialog::changeEvent(event);
}

void frmCompare::reject()
{
    if (m_isSending) {
        m_closesAfterwards = true;
        cmdCancel_Click();
        return;
    }
    QDialog::reject();
}

void frmCompare::closeEvent(QCloseEvent* event)
{
    if (m_isSending) {
        event->ignore();
        reject();
        return;
    }
    QDialog::closeEvent(event);
}

void frmCompare::localise()
{
    LocaliseForm(*this, m_context.settings.Language);
    for (QComboBox* list : m_lists) {
        for (std::size_t item = 0; item < m_offered.size(); ++item) {
            list->setItemText(static_cast<int>(item), nameOf(m_offered[item]));
        }
        list->setItemText(static_cast<int>(m_offered.size()), text(TextId::CompareOtherFile));
    }
    cmbLeft->setAccessibleName(text(TextId::CaptionCompareLeft).remove(u'&'));
    cmbRight->setAccessibleName(text(TextId::CaptionCompareRight).remove(u'&'));
    txtSearch->setAccessibleName(text(TextId::CaptionCompareSearch).remove(u'&'));
    tblCompare->setAccessibleName(windowTitle());
    compare();
}

/// Compares the two sides anew. Ticks stay where a value can still be sent.
void frmCompare::compare()
{
    m_lines.clear();
    readSides();
    for (const ComparedRow& compared : Compare(m_sides[Left].edited.set, m_sides[Right].edited.set)) {
        m_lines.push_back(lineOf(compared));
    }
    m_model->Name(columns(), text(TextId::AccessibleCompareDiffers));
    tblCompare->setColumnHidden(CompareModel::ColumnTick, !offersTicks());
    showLines();
}

CompareLine frmCompare::lineOf(const ComparedRow& compared) const
{
    const ParameterDef& row = *compared.row;
    const auto isRefused = [&](SideIndex side) {
        return std::ranges::find(m_sides[side].edited.refused, &row) != m_sides[side].edited.refused.end();
    };
    CompareLine line{.row = &row,
                     .name = text(row.labelId).trimmed(),
                     .code = FromUtf8(row.code),
                     .unit = FromUtf8(row.unit),
                     .left = valueText(row, compared.left),
                     .right = valueText(row, compared.right),
                     .factory = valueText(row, compared.factory),
                     .differs = compared.Differs() || isRefused(Left) || isRefused(Right)};
    for (const SideIndex side : {Left, Right}) {
        if (isRefused(side)) {
            (side == Left ? line.left : line.right) = text(TextId::CompareNotValid);
        }
    }
    if (line.differs && offersTicks()) {
        line.toolTip = obstacleText(row);
        line.canBeSent = line.toolTip.isEmpty();
        line.isTicked = line.canBeSent && m_ticked[row];
    }
    return line;
}

QString frmCompare::valueText(const ParameterDef& row, const std::optional<std::int32_t>& value) const
{
    return value ? FromUtf8(ShownValue(row, *value, m_decimalSeparator, m_context.settings.Language))
                 : QString::fromUtf8(kNone);
}

QString frmCompare::obstacleText(const ParameterDef& row) const
{
    const EditedSet& target = m_sides[Right].edited;
    if (std::ranges::find(target.refused, &row) != target.refused.end()) {
        return text(TextId::CompareObstacleRefused);
    }
    switch (ObstacleOf(row, m_sides[Left].edited.set, target.set, m_context.device->Identity())) {
    case SendObstacle::None:
        return {};
    case SendObstacle::NotInSensor:
        return text(TextId::CompareObstacleNotInSensor);
    case SendObstacle::ReadOnly:
        return text(TextId::CompareObstacleReadOnly);
    case SendObstacle::NoValue:
        return text(TextId::CompareObstacleNoValue);
    case SendObstacle::NotValid:
        break;
    }
    return text(TextId::CompareObstacleNotValid);
}

/// By name in either language, code, or key in a file.
bool frmCompare::isFound(const ParameterDef& row) const
{
    const QString searched = txtSearch->text().trimmed();
    const QString texts[] = {Text(row.labelId, LanguageGerman), Text(row.labelId, LanguageEnglish), FromUtf8(row.code),
                             FromUtf8(row.key)};
    return std::ranges::any_of(texts, [&](const QString& t) { return t.contains(searched, Qt::CaseInsensitive); });
}

bool frmCompare::isShown(const CompareLine& line) const
{
    return (line.differs || !chkOnlyDifferences->isChecked()) && isFound(*line.row);
}

void frmCompare::showLines()
{
    const QModelIndex current = tblCompare->currentIndex();
    const auto& before = m_model->Lines();
    const ParameterDef* currentRow =
        current.isValid() ? before.at(static_cast<std::size_t>(current.row())).row : nullptr;
    std::vector<CompareLine> shown;
    TextId group = TextId::None;
    for (const CompareLine& line : m_lines) {
        if (!isShown(line)) {
            continue;
        }
        if (GroupOf(*line.row) != group) {
            group = GroupOf(*line.row);
            shown.push_back({.row = nullptr, .name = text(group).remove(u'&')});
        }
        shown.push_back(line);
        shown.back().isTicked = line.canBeSent && m_ticked[*line.row];
    }
    m_model->Show(std::move(shown));
    tblCompare->clearSpans();
    const bool hasTicks = offersTicks();
    int selected = -1;
    for (int i = 0; i < m_model->rowCount(); ++i) {
        const ParameterDef* row = m_model->Lines()[static_cast<std::size_t>(i)].row;
        if (row == nullptr) {
            tblCompare->setSpan(i, 0, 1, CompareModel::ColumnCount);
        } else if (selected < 0 || row == currentRow) {
            selected = i;
        }
    }
    if (selected >= 0) {
        tblCompare->setCurrentIndex(
            m_model->index(selected, hasTicks ? CompareModel::ColumnTick : CompareModel::ColumnName));
    }
    applyRule();
}

int frmCompare::Differing() const
{
    return static_cast<int>(std::ranges::count_if(m_lines, &CompareLine::differs));
}

void frmCompare::applyRule()
{
    const std::size_t ticked = tickedCodes().size();
    lblSummary->setText(text(TextId::CompareSummary).arg(Differing()).arg(m_lines.size()));
    cmdSendChosen->setVisible(offersTicks());
    cmdSendChosen->setText(ticked == 1 ? text(TextId::ButtonSendOne) : text(TextId::ButtonSendChosen).arg(ticked));
    cmdSendChosen->setEnabled(ticked > 0 && !m_isSending);
    for (QWidget* widget : std::initializer_list<QWidget*>{cmbLeft, cmbRight, tblCompare, cmdPrint, cmdSave}) {
        widget->setEnabled(!m_isSending);
    }
    for (QWidget* widget : std::initializer_list<QWidget*>{lblProgress, prgTransfer, cmdCancel}) {
        widget->setVisible(m_isSending);
    }
}

QStringList frmCompare::columns() const
{
    QStringList names = text(TextId::CompareColumns).split(u'|');
    for (const SideIndex side : {Left, Right}) {
        const bool isSensor = kindOf(side) == SetKind::Sensor;
        names.insert(3 + static_cast<int>(side),
                     isSensor ? text(TextId::CompareSensor).arg(FromBytes(m_serialNo)) : m_lists[side]->currentText());
    }
    names.prepend(QString()); // the ticks
    return names;
}

QString frmCompare::text(TextId id) const
{
    return Text(id, m_context.settings.Language);
}

void frmCompare::tell(const QString& message)
{
    lblStatus->setText(message);
    lblStatus->setVisible(!message.isEmpty());
}
