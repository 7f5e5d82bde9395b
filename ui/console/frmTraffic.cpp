#include "ui/console/frmTraffic.h"

#include "session/clsSession.h"
#include "session/modHandSending.h"
#include "store/modGlobals.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"
#include "ui/widgets/WrappedLabel.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QScrollBar>
#include <QShortcut>
#include <QStandardPaths>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kFollow_ms = 250;
constexpr int kWidth = 56, kHeight = 30; // in line heights
constexpr int kHexCharacters = 22, kTextCharacters = 17;

/// Shows the wait cursor as long as it exists.
class WaitCursor {
public:
    WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

clsTraffic& watched(clsSession& session)
{
    session.WatchTraffic(true);
    return *session.Traffic();
}

} // namespace

frmTraffic::frmTraffic(QWidget& owner, clsSession& session, const modGlobals::Settings& settings)
    : QDialog(&owner), m_session(session), m_settings(settings), m_model(new TrafficModel(watched(session), this))
{
    setObjectName(QStringLiteral("frmTraffic"));
    setWindowFlags(windowFlags() | Qt::WindowMinMaxButtonsHint);
    SetTextIds(this, TextId::TitleTraffic);
    ChooseFile = [this](const QString& proposal) {
        return QFileDialog::getSaveFileName(this, text(TextId::TitleTrafficSave), proposal,
                                            FileFilter(text(TextId::FileTypesText), QStringLiteral("*.txt")));
    };
    auto* column = new QVBoxLayout(this);
    column->addLayout(buildChoices());
    buildTable();
    column->addWidget(tblTraffic, 1);
    column->addLayout(buildHand());
    lblHand = Named<WrappedLabel>("lblHand", this);
    column->addWidget(lblHand);
    lblState = Named<WrappedLabel>("lblState", this);
    column->addLayout(buildButtons());
    resize(QSize(kWidth, kHeight) * fontMetrics().height());
    new WindowPlace(*this, m_settings.IniFile);
    localise();
    auto* following = new QTimer(this);
    connect(following, &QTimer::timeout, this, [this] { Guarded([this] { Follow(); }); });
    following->start(kFollow_ms);
    Follow();
    tblTraffic->setFocus();
}

frmTraffic::~frmTraffic()
{
    delete m_model; // it looks at what goes now
    m_session.WatchTraffic(false);
}

QHBoxLayout* frmTraffic::buildChoices()
{
    auto* row = new QHBoxLayout;
    lblDirection = Named<QLabel>("lblDirection", this);
    cmbDirection = Named<QComboBox>("cmbDirection", this);
    lblKind = Named<QLabel>("lblKind", this);
    cmbKind = Named<QComboBox>("cmbKind", this);
    for (QComboBox* list : {cmbDirection, cmbKind}) {
        list->setSizeAdjustPolicy(QComboBox::AdjustToContents);
        connect(list, &QComboBox::activated, this, [this] { Guarded([this] { filter(); }); });
    }
    SetTextIds(lblDirection, TextId::CaptionTrafficDirection);
    SetTextIds(lblKind, TextId::CaptionTrafficKind);
    SetTextIds(cmbDirection, TextId::None, TextId::ToolTipTrafficDirection);
    SetTextIds(cmbKind, TextId::None, TextId::ToolTipTrafficKind);
    lblDirection->setBuddy(cmbDirection);
    lblKind->setBuddy(cmbKind);
    chkPause = Named<QCheckBox>("chkPause", this);
    SetTextIds(chkPause, TextId::CheckTrafficPause, TextId::ToolTipTrafficPause);
    connect(chkPause, &QCheckBox::clicked, this, [this] { Guarded([this] { Follow(); }); });
    txtSearch = Named<QLineEdit>("txtSearch", this);
    SetTextIds(txtSearch, TextId::None, TextId::ToolTipTrafficSearch);
    txtSearch->setClearButtonEnabled(true);
    connect(txtSearch, &QLineEdit::returnPressed, this, [this] { Guarded([this] { find(false); }); });
    connect(new QShortcut(QKeySequence::FindNext, this), &QShortcut::activated, this,
            [this] { Guarded([this] { find(false); }); });
    connect(new QShortcut(QKeySequence::FindPrevious, this), &QShortcut::activated, this,
            [this] { Guarded([this] { find(true); }); });
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, txtSearch,
            [this] { txtSearch->setFocus(Qt::ShortcutFocusReason); });
    row->addWidget(lblDirection);
    row->addWidget(cmbDirection);
    row->addWidget(lblKind);
    row->addWidget(cmbKind);
    row->addWidget(txtSearch, 1);
    row->addWidget(chkPause);
    return row;
}

void frmTraffic::buildTable()
{
    tblTraffic = Named<QTableView>("tblTraffic", this);
    tblTraffic->setModel(m_model);
    tblTraffic->setSelectionBehavior(QAbstractItemView::SelectRows);
    tblTraffic->setSelectionMode(QAbstractItemView::ExtendedSelection);
    tblTraffic->setTabKeyNavigation(false);
    tblTraffic->setWordWrap(false);
    tblTraffic->setShowGrid(false);
    tblTraffic->setAlternatingRowColors(true);
    tblTraffic->verticalHeader()->hide();
    tblTraffic->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed); // else every row would be measured
    tblTraffic->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 5 / 4);
    tblTraffic->horizontalHeader()->setHighlightSections(false);
    tblTraffic->horizontalHeader()->setStretchLastSection(true);
    tblTraffic->setMinimumHeight(fontMetrics().height() * 6);
    // Only a scrolled list is left where it is: with more rows, or in a larger window, it is away from its end by
    // itself.
    const QScrollBar* bar = tblTraffic->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this, [this, bar](int value) { m_isAtEnd = value == bar->maximum(); });
    auto* copy = new QShortcut(QKeySequence::Copy, tblTraffic, nullptr, nullptr, Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this, [this] { Guarded([this] { cmdCopy_Click(); }); });
}

QHBoxLayout* frmTraffic::buildHand()
{
    auto* row = new QHBoxLayout;
    chkHand = Named<QCheckBox>("chkHand", this);
    SetTextIds(chkHand, TextId::CheckHand, TextId::ToolTipHand);
    txtHand = Named<QLineEdit>("txtHand", this);
    SetTextIds(txtHand, TextId::None, TextId::ToolTipHandText);
    row->addWidget(chkHand);
    row->addWidget(txtHand, 1);
    cmdSend = addButton("cmdSend", TextId::ButtonHandSend, TextId::ToolTipHandSend, *row);
    connect(chkHand, &QCheckBox::clicked, this, [this] { Guarded([this] { showHand(); }); });
    connect(txtHand, &QLineEdit::textChanged, this, [this] { Guarded([this] { showHand(); }); });
    connect(txtHand, &QLineEdit::returnPressed, this, [this] { Guarded([this] { cmdSend_Click(); }); });
    connect(cmdSend, &QPushButton::clicked, this, [this] { Guarded([this] { cmdSend_Click(); }); });
    return row;
}

QHBoxLayout* frmTraffic::buildButtons()
{
    auto* row = new QHBoxLayout;
    row->addWidget(lblState, 1);
    cmdCopy = addButton("cmdCopy", TextId::ButtonTrafficCopy, TextId::ToolTipTrafficCopy, *row);
    cmdSave = addButton("cmdSave", TextId::ButtonTrafficSave, TextId::ToolTipTrafficSave, *row);
    cmdClose = addButton("cmdClose", TextId::ButtonClose, TextId::None, *row);
    connect(cmdCopy, &QPushButton::clicked, this, [this] { Guarded([this] { cmdCopy_Click(); }); });
    connect(cmdSave, &QPushButton::clicked, this, [this] { Guarded([this] { cmdSave_Click(); }); });
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    return row;
}

/// Enter belongs to the boxes.
QPushButton* frmTraffic::addButton(const char* name, TextId tag, TextId toolTip, QHBoxLayout& row)
{
    auto* button = Named<QPushButton>(name, this);
    SetTextIds(button, tag, toolTip);
    button->setAutoDefault(false);
    row.addWidget(button);
    return button;
}

void frmTraffic::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] { localise(); });
    }
    QDialog::changeEvent(event);
}

void frmTraffic::localise()
{
    m_news.clear();
    LocaliseForm(*this, m_settings.Language);
    m_model->Localise({m_settings.Language, DecimalSeparator()});
    fill(*cmbDirection, TextId::TrafficDirectionChoices);
    fill(*cmbKind, TextId::TrafficKindChoices);
    cmbDirection->setAccessibleName(text(TextId::CaptionTrafficDirection).remove(u'&').remove(u':'));
    cmbKind->setAccessibleName(text(TextId::CaptionTrafficKind).remove(u'&').remove(u':'));
    txtSearch->setPlaceholderText(text(TextId::PlaceholderTrafficSearch));
    txtSearch->setAccessibleName(text(TextId::AccessibleTrafficSearch));
    txtHand->setAccessibleName(text(TextId::AccessibleHandText));
    tblTraffic->setAccessibleName(text(TextId::AccessibleTraffic));
    QFont bold = font(); // as what was sent by hand
    bold.setBold(true);
    const auto widthOf = [this](const QString& sample, const QFont& sampleFont) {
        return QFontMetrics(sampleFont).horizontalAdvance(sample) + fontMetrics().height();
    };
    int directions = 0;
    for (const QString& name : text(TextId::TrafficDirections).split(u'|')) {
        directions = std::max(directions, widthOf(name, bold));
    }
    tblTraffic->setColumnWidth(TrafficModel::ColumnTime, widthOf(QStringLiteral("00:00:00.000"), bold));
    tblTraffic->setColumnWidth(TrafficModel::ColumnDirection, directions);
    tblTraffic->setColumnWidth(TrafficModel::ColumnText, widthOf(QString(kTextCharacters, u'0'), font()));
    tblTraffic->setColumnWidth(TrafficModel::ColumnHex, widthOf(QString(kHexCharacters, u'0'), font()));
    showState();
    showHand();
}

void frmTraffic::fill(QComboBox& list, TextId choices) const
{
    const int before = std::max(list.currentIndex(), 0);
    list.clear();
    list.addItems(text(choices).split(u'|'));
    list.setCurrentIndex(before);
}

void frmTraffic::filter()
{
    m_news.clear();
    m_model->Filter(static_cast<TrafficModel::Direction>(cmbDirection->currentIndex()),
                    static_cast<TrafficModel::Kind>(cmbKind->currentIndex()));
    tblTraffic->scrollToBottom();
    showState();
}

void frmTraffic::Follow()
{
    follow(chkPause->isChecked());
}

/// The list follows its end unless it was scrolled up; then its rows stay where they are. While paused it only lets go
/// what the ring no longer has.
void frmTraffic::follow(bool isPaused)
{
    QScrollBar* bar = tblTraffic->verticalScrollBar();
    const std::uint64_t changed = isPaused ? m_session.Traffic()->End() : m_session.Traffic()->TakeChanged();
    const int before = bar->value(), rows = m_model->rowCount();
    const int gone = m_model->Follow(isPaused, changed);
    if (m_isAtEnd && !isPaused) {
        if (m_model->rowCount() != rows || gone > 0 || bar->value() != bar->maximum()) {
            tblTraffic->scrollToBottom();
        }
    } else if (gone > 0) {
        bar->setValue(std::max(before - gone, 0));
    }
    showState();
    showHand();
}

void frmTraffic::showState()
{
    const clsTraffic& traffic = *m_session.Traffic();
    QStringList parts{text(TextId::TrafficCount).arg(m_model->rowCount()).arg(traffic.End() - traffic.First())};
    if (chkPause->isChecked()) {
        parts += text(TextId::TrafficPaused).arg(m_model->NotShown());
    }
    parts += m_news;
    parts.removeAll(QString());
    ShowText(*lblState, parts.join(u' '));
}

/// In UTF-8: in the code page a character that it lacks would be a question mark, which can be sent.
std::string frmTraffic::typed() const
{
    return txtHand->text().toStdString();
}

/// Why nothing can be sent, or what will be.
void frmTraffic::showHand()
{
    const bool isOn = chkHand->isChecked();
    const std::string command = typed();
    TextId problem = modHandSending::ProblemOf(command);
    problem = problem == TextId::None ? m_session.ObstacleByHand(command) : problem;
    const TextId will = modHandSending::IsFrame(command) ? TextId::HandWillRead : TextId::HandWillSend;
    const QString sent = FromUtf8(modTrafficText::Text(modHandSending::BytesOf(command)));
    txtHand->setEnabled(isOn);
    cmdSend->setEnabled(isOn && problem == TextId::None);
    ShowText(*lblHand, !isOn ? QString() : problem == TextId::None ? text(will).arg(sent) : text(problem));
}

void frmTraffic::find(bool backwards)
{
    if (txtSearch->text().isEmpty()) {
        return;
    }
    const WaitCursor waiting;
    follow(true);
    const QModelIndex present = tblTraffic->currentIndex();
    const int from = present.isValid() ? present.row() + (backwards ? -1 : 1) : 0;
    const int row = m_model->Find(txtSearch->text(), from, backwards);
    m_news = row < 0 ? text(TextId::TrafficNotFound) : QString();
    if (row >= 0) {
        tblTraffic->selectRow(row);
        tblTraffic->scrollTo(m_model->index(row, 0), QAbstractItemView::PositionAtCenter);
    }
    showState();
}

void frmTraffic::cmdCopy_Click()
{
    const WaitCursor waiting;
    follow(true);
    QModelIndexList chosen = tblTraffic->selectionModel()->selectedRows();
    std::sort(chosen.begin(), chosen.end());
    QString lines;
    for (const QModelIndex& index : chosen) {
        lines += m_model->LineAt(index.row()) + u'\n';
    }
    for (int row = 0; chosen.isEmpty() && row < m_model->rowCount(); ++row) {
        lines += m_model->LineAt(row) + u'\n';
    }
    QApplication::clipboard()->setText(lines);
}

void frmTraffic::cmdSave_Click()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    QString name = ChooseFile(folder + QStringLiteral("/traffic.txt"));
    if (name.isEmpty()) {
        return;
    }
    name += QFileInfo(name).suffix().isEmpty() ? QStringLiteral(".txt") : QString();
    const WaitCursor waiting;
    const clsTraffic& traffic = *m_session.Traffic();
    const std::string program =
        (QStringLiteral("Orvex Monitor ") + QCoreApplication::applicationVersion()).toStdString();
    QSaveFile file(name);
    bool isWritten = file.open(QIODevice::WriteOnly);
    std::string piece = modTrafficText::FileHeader(program, m_settings.Language);
    for (std::uint64_t number = traffic.First(); isWritten && number < traffic.End(); ++number) {
        piece += modTrafficText::FileLine(traffic, traffic.At(number), {m_settings.Language, '.'}) + '\n';
        isWritten = file.write(piece.data(), static_cast<qint64>(piece.size())) == static_cast<qint64>(piece.size());
        piece.clear();
    }
    isWritten = isWritten && CommitFile(file);
    m_news = isWritten
                 ? text(TextId::TrafficSaved).arg(traffic.End() - traffic.First()).arg(name)
                 : text(TextId::FailureNotSaved).arg(name, FileErrorText(file.errorString(), m_settings.Language));
    showState();
}

void frmTraffic::cmdSend_Click()
{
    const std::string command = typed();
    if (chkHand->isChecked() && modHandSending::ProblemOf(command) == TextId::None &&
        m_session.ObstacleByHand(command) == TextId::None) {
        m_session.SendByHand(command);
        txtHand->selectAll();
    }
    showHand();
}

QString frmTraffic::text(TextId id) const
{
    return Text(id, m_settings.Language);
}
