// What the buttons of the comparison do: send, copy, print, save.
#include "base/CodePage.h"
#include "base/modFiles.h"
#include "session/clsTransfer.h"
#include "session/clsWriteKeeper.h"
#include "session/modReportText.h"
#include "store/modCompareText.h"
#include "store/modGlobals.h"
#include "ui/help/Help.h"
#include "ui/settings/RVQBoxes.h"
#include "ui/settings/TransferBox.h"
#include "ui/settings/frmCompare.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QScopedValueRollback>
#include <QTableView>

#include <algorithm>

namespace {

constexpr std::size_t kMostReportLines = 4;

std::vector<std::string> fieldsOf(const QStringList& texts)
{
    std::vector<std::string> fields;
    for (const QString& text : texts) {
        fields.push_back(text.toStdString());
    }
    return fields;
}

} // namespace

/// Space acts on all selected rows alike: it ticks them, or unticks them when all are ticked.
void frmCompare::tickSelected()
{
    QModelIndexList ticks;
    for (const QModelIndex& index : tblCompare->selectionModel()->selectedRows(CompareModel::ColumnTick)) {
        if (index.flags().testFlag(Qt::ItemIsUserCheckable)) {
            ticks += index;
        }
    }
    const auto isTicked = [](const QModelIndex& index) { return index.data(Qt::CheckStateRole) == Qt::Checked; };
    const bool all = std::ranges::all_of(ticks, isTicked);
    for (const QModelIndex& index : ticks) {
        m_model->setData(index, all ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
    }
}

bool frmCompare::offersTicks() const
{
    return m_context.send && kindOf(Left) == SetKind::Sensor;
}

/// In the order in which an upload sends them.
std::vector<std::string> frmCompare::tickedCodes() const
{
    std::vector<const ParameterDef*> rows;
    for (const CompareLine& line : m_lines) {
        if (line.canBeSent && m_ticked[*line.row]) {
            rows.push_back(line.row);
        }
    }
    std::ranges::sort(rows, {}, &ParameterDef::codeId);
    std::vector<std::string> codes;
    for (const ParameterDef* row : rows) {
        codes.emplace_back(row->code);
    }
    return codes;
}

int frmCompare::hiddenTicks() const
{
    return static_cast<int>(std::ranges::count_if(
        m_lines, [this](const CompareLine& line) { return line.canBeSent && m_ticked[*line.row] && !isShown(line); }));
}

/// Why nothing can be sent at this moment; None when it can.
TextId frmCompare::whyNotNow() const
{
    if (!isConnected()) {
        return TextId::StatusNoConnection;
    }
    if (m_context.device->Identity().SerialNo != m_serialNo) {
        return TextId::CompareOtherSensor;
    }
    const clsRVQ::WaitState& wait = m_context.device->Wait();
    return wait.Running || wait.InTick || wait.Ended ? TextId::CompareBusy : TextId::None;
}

void frmCompare::cmdSendChosen_Click()
{
    if (m_isSending || !offersTicks()) {
        return;
    }
    if (const TextId why = whyNotNow(); why != TextId::None) {
        tell(text(why));
        return;
    }
    FollowDevice(); // what the sensor works with may have changed since the last look
    if (const int hidden = hiddenTicks(); hidden > 0) {
        txtSearch->clear(); // what is sent has been seen
        tell(text(TextId::CompareHiddenTicks).arg(hidden));
        return;
    }
    const auto codes = tickedCodes();
    const ParameterDef* row =
        TooClose(m_sides[Left].edited.set, m_sides[Right].edited.set, codes, m_context.device->Identity());
    if (row != nullptr) {
        tell(text(TextId::CompareTooClose).arg(text(row->labelId).trimmed()));
    } else if (!codes.empty()) {
        send(codes);
    }
}

void frmCompare::send(const std::vector<std::string>& codes)
{
    const ParameterSet target = m_sides[Right].edited.set;
    tell({});
    lblReport->hide();
    prgTransfer->setRange(0, 0);
    lblProgress->clear();
    m_closesAfterwards = false;
    m_report.reset();
    {
        const QScopedValueRollback sending(m_isSending, true);
        applyRule();
        cmdCancel->setEnabled(true);
        cmdCancel->setFocus();
        m_context.send(target, codes);
    }
    takeReport();
}

void frmCompare::ShowReport(const WriteReport& report)
{
    if (m_isSending) {
        m_report = report;
    }
}

void frmCompare::takeReport()
{
    const bool isVerified = m_report && m_report->result == WriteResult::Verified;
    if (m_closesAfterwards || isVerified) {
        applyRule();
        done(isVerified ? Accepted : Rejected);
        return;
    }
    if (m_report) {
        tellReport(*m_report);
        for (const ValueReport& value : m_report->values) {
            const bool isUnsent = value.outcome == ValueOutcome::NotSent || value.outcome == ValueOutcome::Refused ||
                                  value.outcome == ValueOutcome::Unanswered;
            m_ticked[*value.row] = m_ticked[*value.row] && isUnsent;
        }
    }
    FollowDevice();
    compare();
    tblCompare->setFocus();
}

void frmCompare::tellReport(const WriteReport& report)
{
    QStringList lines{FromUtf8(modReportText::Summary(report, m_context.settings.Language, m_decimalSeparator))};
    for (const std::string& line : modReportText::Lines(report, m_decimalSeparator, m_context.settings.Language)) {
        lines += FromUtf8(line);
    }
    lblReport->setToolTip(PlainToolTip(lines.join(u'\n')));
    lblReport->setAccessibleDescription(lines.join(u'\n'));
    if (lines.size() > static_cast<qsizetype>(kMostReportLines)) {
        lines = lines.mid(0, kMostReportLines) << QStringLiteral("…");
    }
    lblReport->setText(lines.join(u'\n'));
    lblReport->show();
}

void frmCompare::ShowProgress(const TransferProgress& progress)
{
    prgTransfer->setRange(0, progress.steps);
    prgTransfer->setValue(progress.step);
    lblProgress->setText(ProgressText(progress, m_context.settings.Language));
}

void frmCompare::cmdCancel_Click()
{
    if (m_isSending && m_context.cancel) {
        m_context.cancel();
        cmdCancel->setEnabled(false);
    }
}

/// The shown rows under their columns, or the selected ones of them.
void frmCompare::copy(bool selected)
{
    const QItemSelectionModel& selection = *tblCompare->selectionModel();
    const bool all = !selected || !selection.hasSelection();
    modCompareText::Lines lines{fieldsOf(columns().mid(CompareModel::ColumnName))};
    for (int i = 0; i < m_model->rowCount(); ++i) {
        const CompareLine& line = m_model->Lines()[static_cast<std::size_t>(i)];
        if (line.row != nullptr && (all || selection.isRowSelected(i))) {
            lines.push_back(fieldsOf(CompareModel::TextsOf(line)));
        }
    }
    QApplication::clipboard()->setText(QString::fromStdString(modCompareText::TabSeparated(lines)));
}

/// The shown rows with their headings; a mark stands before each that differs.
void frmCompare::cmdPrint_Click()
{
    modCompareText::Lines lines{fieldsOf(columns())};
    for (const CompareLine& line : m_model->Lines()) {
        if (line.row == nullptr) {
            lines.push_back({});
            lines.push_back({line.name.toStdString()});
        } else {
            lines.push_back(
                fieldsOf(QStringList(line.differs ? QStringLiteral("*") : QString()) + CompareModel::TextsOf(line)));
        }
    }
    const QString title = windowTitle() + QStringLiteral("\n\n") + lblSummary->text() + QStringLiteral("\n\n");
    const QString sheet = title + QString::fromStdString(modCompareText::Aligned(lines));
    const std::filesystem::path file = modCompareText::SheetFile(m_context.programFolder);
    std::error_code why;
    if (!modFiles::Replace(file, ToBytes(sheet), why)) {
        tell(text(TextId::FailureNotWritten)
                 .arg(QFile::decodeName(file.c_str()), FileErrorText(why, m_context.settings.Language)));
        return;
    }
    tell({});
    Boxes.OpenSheet(file);
}

/// The shown rows; the group is a column.
void frmCompare::cmdSave_Click()
{
    const std::string path = Boxes.FileToSave(m_context.programFolder + '/' + "Compare.csv");
    if (path.empty()) {
        return;
    }
    modCompareText::Lines lines{
        fieldsOf(QStringList(text(TextId::CompareGroup)) + columns().mid(CompareModel::ColumnName))};
    for (const CompareLine& line : m_model->Lines()) {
        if (line.row != nullptr) {
            const QString group = text(GroupOf(*line.row)).remove(u'&');
            lines.push_back(fieldsOf(QStringList(group) + CompareModel::TextsOf(line)));
        }
    }
    const std::string table = modCompareText::Csv(lines);
    const QString name = QFile::decodeName(path.c_str());
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(table.data(), static_cast<qint64>(table.size())) < 0 ||
        !CommitFile(file)) {
        tell(text(TextId::FailureNotWritten).arg(name, FileErrorText(file.errorString(), m_context.settings.Language)));
        return;
    }
    tell(text(TextId::CompareSaved).arg(name));
}

void frmCompare::cmdHelp_Click()
{
    m_context.help.ShowHelpTopic(*this, "RVQSettings#compare");
}
