#include "ui/settings/frmPassport.h"

#include "base/CodePage.h"
#include "sensor/Fields.h"
#include "sensor/clsRVQ.h"
#include "session/clsWriteKeeper.h"
#include "session/modReportText.h"
#include "store/modBackup.h"
#include "store/modGlobals.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WindowPlace.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QScopedValueRollback>
#include <QSplitter>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kFollow_ms = 500;
constexpr qint64 kPiece_ms = 20;
constexpr int kWidth = 52, kHeight = 30, kDetailLines = 8; // in line heights

QString nameOf(const std::filesystem::path& passport)
{
    return QFile::decodeName(passport.stem().c_str());
}

} // namespace

frmPassport::frmPassport(QWidget& owner, const Context& context)
    : QDialog(&owner), m_context(context), m_model(new PassportModel(this)), m_reading(new QTimer(this)),
      m_version(context.writes.Version())
{
    setObjectName(QStringLiteral("frmPassport"));
    SetTextIds(this, TextId::TitlePassport);
    ChooseFile = [this](const QString& proposal) {
        return QFileDialog::getSaveFileName(this, QString(), proposal,
                                            FileFilter(text(TextId::FileTypesText), QStringLiteral("*.txt")));
    };
    auto* column = new QVBoxLayout(this);
    column->addWidget(buildChoices());
    column->addWidget(buildEntries(), 1);
    lblState = Named<QLabel>("lblState", this);
    lblState->setTextFormat(Qt::PlainText);
    lblState->setWordWrap(true);
    column->addWidget(lblState);
    column->addWidget(buildButtons());
    resize(QSize(kWidth, kHeight) * fontMetrics().height());
    new WindowPlace(*this, m_context.settings.IniFile);
    localise();
    fillSensors();
    connect(m_reading, &QTimer::timeout, this, [this] { Guarded([this] { readOn(); }); });
    auto* following = new QTimer(this);
    connect(following, &QTimer::timeout, this, [this] { Guarded([this] { Follow(); }); });
    following->start(kFollow_ms);
    openPassport();
    tblPassport->setFocus();
}

QWidget* frmPassport::buildChoices()
{
    auto* choices = new QWidget(this);
    auto* row = new QHBoxLayout(choices);
    row->setContentsMargins({});
    cmbSensor = Named<QComboBox>("cmbSensor", choices);
    cmbParameter = Named<QComboBox>("cmbParameter", choices);
    cmbSensor->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    cmbParameter->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    SetTextIds(cmbSensor, TextId::None, TextId::ToolTipPassportSensor);
    SetTextIds(cmbParameter, TextId::None, TextId::ToolTipPassportParameter);
    lblSensor = Named<QLabel>("lblSensor", choices);
    lblParameter = Named<QLabel>("lblParameter", choices);
    SetTextIds(lblSensor, TextId::CaptionPassportSensor);
    SetTextIds(lblParameter, TextId::CaptionPassportParameter);
    lblSensor->setBuddy(cmbSensor);
    lblParameter->setBuddy(cmbParameter);
    row->addWidget(lblSensor);
    row->addWidget(cmbSensor);
    row->addSpacing(fontMetrics().height());
    row->addWidget(lblParameter);
    row->addWidget(cmbParameter);
    row->addStretch(1);
    connect(cmbSensor, &QComboBox::activated, this, [this] { Guarded([this] { openPassport(); }); });
    connect(cmbParameter, &QComboBox::activated, this, [this] { Guarded([this] { cmbParameter_Click(); }); });
    return choices;
}

/// The table has no room for all changes of an upload; the box below has.
QWidget* frmPassport::buildEntries()
{
    auto* entries = new QSplitter(Qt::Vertical, this);
    tblPassport = Named<QTableView>("tblPassport", entries);
    tblPassport->setModel(m_model);
    tblPassport->setSelectionBehavior(QAbstractItemView::SelectRows);
    tblPassport->setSelectionMode(QAbstractItemView::SingleSelection);
    tblPassport->setTabKeyNavigation(false);
    tblPassport->setWordWrap(false);
    tblPassport->setShowGrid(false);
    tblPassport->setAlternatingRowColors(true);
    tblPassport->verticalHeader()->hide();
    tblPassport->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed); // else every row would be measured
    tblPassport->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    tblPassport->horizontalHeader()->setHighlightSections(false);
    tblPassport->horizontalHeader()->setSectionResizeMode(PassportModel::ColumnChanges, QHeaderView::Stretch);
    tblPassport->setMinimumHeight(fontMetrics().height() * 6);
    txtEntry = Named<QPlainTextEdit>("txtEntry", entries);
    txtEntry->setReadOnly(true);
    txtEntry->setTabChangesFocus(true);
    txtEntry->setMinimumHeight(fontMetrics().height() * (kDetailLines - 1));
    entries->setStretchFactor(0, 1);
    entries->setSizes({fontMetrics().height() * kHeight, fontMetrics().height() * kDetailLines});
    entries->setChildrenCollapsible(false);
    connect(tblPassport->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { Guarded([this] { showEntry(); }); });
    return entries;
}

QPushButton* frmPassport::addButton(const char* name, TextId tag, TextId toolTip)
{
    auto* button = Named<QPushButton>(name, this);
    button->setAutoDefault(false); // Enter in the table must not send
    SetTextIds(button, tag, toolTip);
    return button;
}

QWidget* frmPassport::buildButtons()
{
    auto* buttons = new QWidget(this);
    auto* row = new QHBoxLayout(buttons);
    row->setContentsMargins({});
    cmdCompare = addButton("cmdCompare", TextId::ButtonPassportCompare, TextId::ToolTipPassportCompare);
    cmdRestore = addButton("cmdRestore", TextId::ButtonPassportRestore, TextId::ToolTipPassportRestore);
    cmdExport = addButton("cmdExport", TextId::ButtonPassportExport, TextId::ToolTipPassportExport);
    cmdClose = addButton("cmdClose", TextId::ButtonClose, TextId::None);
    for (QPushButton* button : {cmdCompare, cmdRestore, cmdExport}) {
        row->addWidget(button);
    }
    row->addStretch(1);
    row->addWidget(cmdClose);
    connect(cmdCompare, &QPushButton::clicked, this, [this] { Guarded([this] { cmdCompare_Click(); }); });
    connect(cmdRestore, &QPushButton::clicked, this, [this] { Guarded([this] { cmdRestore_Click(); }); });
    connect(cmdExport, &QPushButton::clicked, this, [this] { Guarded([this] { cmdExport_Click(); }); });
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    return buttons;
}

void frmPassport::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        Guarded([this] {
            const int row = tblPassport->currentIndex().row();
            localise();
            tblPassport->selectRow(row);
            showNews();
        });
    }
    QDialog::changeEvent(event);
}

void frmPassport::localise()
{
    m_style = {DecimalSeparator(), m_context.settings.Language};
    m_news.clear();
    LocaliseForm(*this, m_style.language);
    m_model->Localise(m_style);
    fillParameters();
    cmbSensor->setAccessibleName(text(TextId::CaptionPassportSensor).remove(u'&').remove(u':'));
    cmbParameter->setAccessibleName(text(TextId::CaptionPassportParameter).remove(u'&').remove(u':'));
    tblPassport->setAccessibleName(text(TextId::AccessiblePassport));
    txtEntry->setAccessibleName(text(TextId::AccessiblePassportEntry));
    // As wide as what they hold, whichever entries are seen.
    int widest = 0;
    for (int event = 0; event <= static_cast<int>(modPassport::Event::Single); ++event) {
        const QString name = PassportText::EventName(static_cast<modPassport::Event>(event), m_style.language);
        widest = std::max(widest, fontMetrics().horizontalAdvance(name));
    }
    const int margin = fontMetrics().height();
    tblPassport->setColumnWidth(PassportModel::ColumnTime,
                                fontMetrics().horizontalAdvance(PassportText::Time(0.0)) + margin);
    tblPassport->setColumnWidth(PassportModel::ColumnEvent, widest + margin);
    tblPassport->setColumnWidth(PassportModel::ColumnUser, fontMetrics().averageCharWidth() * 12);
    int results = 0;
    for (const char* result : {"verified", "differs", "failed"}) {
        modPassport::Entry entry;
        entry.result = result;
        results = std::max(results, fontMetrics().horizontalAdvance(PassportText::Result(entry, m_style.language)));
    }
    tblPassport->setColumnWidth(PassportModel::ColumnResult, results + 2 * margin);
}

/// The connected sensor's passport is chosen first, else the one that was written last.
void frmPassport::fillSensors()
{
    const std::filesystem::path& folder = m_context.writes.Kept().passports;
    const std::filesystem::path before = chosenFile();
    std::filesystem::path chosen = before;
    std::filesystem::file_time_type newest = std::filesystem::file_time_type::min();
    cmbSensor->clear();
    for (const std::filesystem::path& file : modPassport::List(folder)) {
        cmbSensor->addItem(nameOf(file), QFile::decodeName(file.c_str()));
        std::error_code unknown;
        const auto time = std::filesystem::last_write_time(file, unknown);
        if (before.empty() && !unknown && time > newest) {
            newest = time;
            chosen = file;
        }
    }
    if (before.empty() && m_context.device.CommStatus() != DialogueNone) {
        const auto own = modPassport::FileOf(folder, m_context.device.Identity().SerialNo);
        chosen = cmbSensor->findData(QFile::decodeName(own.c_str())) < 0 ? chosen : own;
    }
    cmbSensor->setCurrentIndex(std::max(cmbSensor->findData(QFile::decodeName(chosen.c_str())), 0));
    cmbSensor->setEnabled(cmbSensor->count() > 1);
}

/// Those that have changed come first: "when did it change?"
void frmPassport::fillParameters()
{
    const ParameterDef* before = chosenParameter();
    m_listed = m_model->Changed();
    cmbParameter->clear();
    cmbParameter->addItem(text(TextId::PassportAllParameters));
    for (const bool hasChanged : {true, false}) {
        if (!hasChanged && m_listed.any()) {
            cmbParameter->insertSeparator(cmbParameter->count());
        }
        for (const ParameterDef* row : RowsByControl()) {
            if (m_listed.test(static_cast<std::size_t>(row - ParameterTable().data())) == hasChanged) {
                cmbParameter->addItem(FromUtf8(modReportText::NameAndCode(*row, m_style.language)),
                                      FromUtf8(row->code));
            }
        }
    }
    const int index = before == nullptr ? 0 : cmbParameter->findData(FromUtf8(before->code));
    cmbParameter->setCurrentIndex(std::max(index, 0));
}

void frmPassport::openPassport(std::optional<std::int64_t> kept)
{
    m_news.clear();
    m_kept = kept;
    m_model->Open(chosenFile());
    m_reading->start(0);
    readOn();
}

void frmPassport::readOn()
{
    if (!m_model->ReadOn()) {
        m_reading->stop();
    }
    const int kept = m_kept ? m_model->RowAt(*m_kept) : -1;
    if (kept >= 0 || !m_reading->isActive() || tblPassport->currentIndex().isValid()) {
        m_kept.reset();
    }
    if (!m_kept && !tblPassport->currentIndex().isValid() && m_model->rowCount() > 0) {
        tblPassport->selectRow(std::max(kept, 0));
    }
    if (m_listed != m_model->Changed() && !m_reading->isActive()) {
        fillParameters();
    }
    showEntry();
    showNews();
}

void frmPassport::cmbParameter_Click()
{
    m_model->Filter(chosenParameter());
    tblPassport->selectRow(0);
    showEntry();
    showNews();
}

void frmPassport::Follow()
{
    if (m_version != m_context.writes.Version()) {
        m_version = m_context.writes.Version();
        const std::filesystem::path file = chosenFile();
        const auto kept = m_kept ? m_kept : m_model->PlaceAt(tblPassport->currentIndex().row());
        fillSensors();
        openPassport(file == chosenFile() ? kept : std::nullopt);
    }
    showRule();
}

void frmPassport::reject()
{
    m_closesAfterwards = m_isExporting;
    if (!m_isExporting) {
        QDialog::reject();
    }
}

void frmPassport::showEntry()
{
    const auto entry = chosenEntry();
    const QString whole = entry ? PassportText::Whole(*entry, m_style) : QString();
    if (txtEntry->toPlainText() != whole) {
        txtEntry->setPlainText(whole);
    }
    showRule();
}

void frmPassport::showNews()
{
    QStringList parts;
    if (cmbSensor->count() == 0) {
        parts += text(TextId::PassportNone);
    } else if (const std::error_code why = m_model->Why()) {
        parts += text(TextId::PassportUnread).arg(FileErrorText(why, m_style.language));
    } else {
        const TextId words = m_reading->isActive() ? TextId::PassportReading : TextId::PassportEntries;
        parts += text(words).arg(m_model->rowCount());
    }
    if (m_model->Unreadable() > 0) {
        parts += m_model->Unreadable() == 1 ? text(TextId::PassportOneUnreadable)
                                            : text(TextId::PassportUnreadable).arg(m_model->Unreadable());
    }
    if (m_context.writes.PassportFailure()) {
        parts +=
            text(TextId::PassportNotWritten).arg(FileErrorText(m_context.writes.PassportFailure(), m_style.language));
    }
    parts += m_news;
    parts.removeAll(QString());
    ShowText(*lblState, parts.join(u' '));
}

void frmPassport::showRule()
{
    const auto entry = chosenEntry();
    const bool hasState = entry && entry->set;
    cmdCompare->setEnabled(Compare && hasState);
    cmdRestore->setEnabled(Restore && hasState && isConnected() && !m_context.device.Wait().Running);
    cmdExport->setEnabled(m_model->rowCount() > 0 && !m_isExporting);
}

std::filesystem::path frmPassport::chosenFile() const
{
    return QFile::encodeName(cmbSensor->currentData().toString()).toStdString();
}

const ParameterDef* frmPassport::chosenParameter() const
{
    return ParameterOfCode(cmbParameter->currentData().toString().toStdString());
}

std::optional<modPassport::Entry> frmPassport::chosenEntry() const
{
    return m_model->EntryAt(tblPassport->currentIndex().row());
}

/// What the sensor worked with after the chosen entry.
std::optional<Configuration> frmPassport::chosenState() const
{
    const auto entry = chosenEntry();
    if (!entry || !entry->set) {
        return std::nullopt;
    }
    Configuration state;
    state.Parameters = *entry->set;
    state.Identity = entry->identity;
    if (entry->event != modPassport::Event::Identity) {
        const auto identity = modPassport::Newest(chosenFile(), modPassport::Event::Identity);
        state.Identity = identity ? identity->identity : SensorIdentity();
        state.Identity.DeviceType = TypeName(IsSerial(state.Parameters));
    }
    state.Description =
        CodePageBytes((nameOf(chosenFile()) + QStringLiteral(", ") + PassportText::Time(entry->time)).toStdString());
    return state;
}

/// Whether the sensor of the chosen passport answers now.
bool frmPassport::isConnected() const
{
    return m_context.device.CommStatus() != DialogueNone &&
           modBackup::NameOf(m_context.device.Identity().SerialNo) == chosenFile().stem().string();
}

void frmPassport::cmdCompare_Click()
{
    if (const auto state = chosenState(); state && Compare) {
        Compare(*state, text(TextId::PassportState).arg(FromBytes(state->Description)));
    }
}

void frmPassport::cmdRestore_Click()
{
    if (const auto state = chosenState(); state && Restore && isConnected()) {
        Restore(*state);
    }
}

void frmPassport::cmdExport_Click()
{
    const QString proposal =
        QFile::decodeName(chosenFile().parent_path().c_str()) + u'/' + nameOf(chosenFile()) + QStringLiteral(".txt");
    const QString file = ChooseFile(proposal);
    if (file.isEmpty()) {
        return;
    }
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    {
        const QScopedValueRollback exporting(m_isExporting, true);
        showRule();
        m_news = exportTo(QFileInfo(file).suffix().isEmpty() ? file + QStringLiteral(".txt") : file);
    }
    QGuiApplication::restoreOverrideCursor();
    showNews();
    showRule();
    if (m_closesAfterwards) {
        reject();
    }
}

/// Writes the shown entries, oldest first; returns the outcome in words. With a long passport, the windows
/// handle their events meanwhile, and this one may be closed, which ends it.
QString frmPassport::exportTo(const QString& file)
{
    const PassportText::Style style = m_style;
    QElapsedTimer sinceEvents;
    sinceEvents.start();
    const auto goesOn = [&] {
        if (sinceEvents.elapsed() > kPiece_ms) {
            QCoreApplication::processEvents();
            sinceEvents.start();
        }
        return !m_closesAfterwards;
    };
    const auto failed = [&](const QString& why) {
        return text(TextId::FailureNotSaved).arg(file, FileErrorText(why, m_style.language));
    };
    std::error_code unknown;
    if (std::filesystem::equivalent(QFile::encodeName(file).toStdString(), chosenFile(), unknown)) {
        return text(TextId::PassportOntoItself);
    }
    QSaveFile target(file);
    if (!target.open(QIODevice::WriteOnly)) {
        return failed(target.errorString());
    }
    const ParameterDef* only = chosenParameter();
    const auto has = [&](const modPassport::Change& change) { return change.code == only->code; };
    int written = 0;
    const modPassport::ReadOutcome outcome = modPassport::Read(chosenFile(), [&](const modPassport::Entry& entry) {
        if (!goesOn()) {
            return false;
        }
        if (only != nullptr && !std::ranges::any_of(entry.changes, has)) {
            return true;
        }
        ++written;
        const QByteArray line = PassportText::Whole(entry, style).toUtf8() + '\n';
        return target.write(line) == line.size();
    });
    if (m_closesAfterwards) {
        return {};
    }
    if (outcome.why) {
        return text(TextId::PassportUnread).arg(FileErrorText(outcome.why, m_style.language));
    }
    return CommitFile(target) ? text(TextId::PassportExported).arg(written).arg(file) : failed(target.errorString());
}

QString frmPassport::text(TextId id) const
{
    return Text(id, m_context.settings.Language);
}
