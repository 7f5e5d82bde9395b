// What the buttons of the settings window do, and what a transfer shows.
#include "session/modReportText.h"
#include "store/Printout.h"
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/help/Help.h"
#include "ui/settings/EnablingRule.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/NumberEdit.h"
#include "ui/widgets/QtText.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QProgressBar>

#include <algorithm>
#include <filesystem>

namespace {

constexpr std::size_t kDevice = clsConfigLibrary::kDeviceLine;

/// A name without the ending of a configuration gets it.
std::string withEnding(std::string path)
{
    const QString ending = QStringLiteral(".rvq");
    const bool lacksIt = !path.empty() && !QFile::decodeName(path.c_str()).endsWith(ending, Qt::CaseInsensitive);
    return lacksIt ? path + ending.toStdString() : path;
}

} // namespace

void frmRVQ::cmdLoad_Click()
{
    const std::string path = Boxes.FileToLoad(m_context.programFolder);
    if (!path.empty()) {
        import(path);
    }
}

void frmRVQ::import(const std::string& path)
{
    if (!mayDiscardEdits([this, path] { import(path); })) {
        return;
    }
    if (const auto line = m_context.library.Import(path)) {
        const FieldHistory::Content before = content();
        cmbConfig->addItem(FromBytes(m_context.library.Entry(*line).Description));
        cmbConfig_Click(static_cast<int>(*line));
        m_history.Chosen(before, content());
        showKept(*line);
    }
}

void frmRVQ::cmdSave_Click()
{
    const bool isDevice = cmbConfig->currentIndex() == kDevice;
    const QString proposal = isDevice ? text(TextId::DescriptionProposal) : FromBytes(selected().Description);
    QString description = Boxes.Description(proposal);
    if (description.trimmed().isEmpty()) {
        description = text(TextId::DescriptionDefault); // even after a cancel; saving continues
    }
    const std::string path =
        withEnding(Boxes.FileToSave(isDevice ? m_context.programFolder + '/' : selected().FileName));
    if (!path.empty() && mayWrite(path)) {
        saveAs(path, ToBytes(description));
    }
}

/// Asks before overwriting anything that the window has not shown.
bool frmRVQ::mayWrite(const std::string& path)
{
    const auto line = static_cast<std::size_t>(cmbConfig->currentIndex());
    const QString shownPath = QFile::decodeName(path.c_str());
    std::error_code unknown;
    const bool isForeign = !m_context.library.Find(path) && std::filesystem::exists(path, unknown);
    if (isForeign || m_context.library.WouldOverwrite(path, line)) {
        return Boxes.Overwrite(text(TextId::QuestionFileExists) + QStringLiteral(": ") + shownPath + u'\n' +
                               text(TextId::QuestionOverwrite));
    }
    if (!m_context.library.Find(path) || !m_context.library.HasChangedOnDisk(line)) {
        return true;
    }
    const ChangedAnswer answer = Boxes.Changed(text(TextId::QuestionFileChanged).arg(shownPath));
    if (answer == ChangedAnswer::TakeOther) {
        takeOther(line);
    }
    return answer == ChangedAnswer::KeepMine;
}

void frmRVQ::takeOther(std::size_t line)
{
    if (m_context.library.ReadAgain(line)) {
        cmbConfig->setItemText(static_cast<int>(line), FromBytes(m_context.library.Entry(line).Description));
        fill(m_context.library.Entry(line));
        m_history.Start(content());
    }
}

void frmRVQ::saveAs(const std::string& path, const std::string& description)
{
    const std::size_t before = m_context.library.Size();
    const std::size_t line = m_context.library.FindOrAdd(path);
    const bool isNew = m_context.library.Size() > before;
    Configuration& entry = m_context.library.Entry(line);
    const CopyOutcomes outcomes = CopyForSaving(entry.Parameters, shown());
    showOutcomes(outcomes);
    entry.Identity.DeviceType = TypeName(IsSerial(entry.Parameters));
    const QString shownPath = QFile::decodeName(path.c_str());
    const UnwrittenFile unwritten = m_context.library.Store(line, description);
    showUnwritten(unwritten);
    if (!unwritten.why) {
        for (const ParameterDef& row : ParameterTable()) {
            if (outcomes[row] != CopyOutcome::Refused) {
                settle(row);
            }
        }
        showStatus(text(TextId::StatusSavedAs).arg(QFileInfo(shownPath).fileName()));
        lblStatus->setToolTip(PlainToolTip(shownPath));
        showKept(line);
    }
    showSource(shownPath);
    if (isNew) {
        // The fields are not filled again, so that a "255" stays visible.
        cmbConfig->addItem(FromBytes(description));
        cmbConfig->setCurrentIndex(cmbConfig->count() - 1);
        m_line = cmbConfig->currentIndex();
    } else {
        // Deliberate: the current line, even when the file belongs to another one.
        cmbConfig->setItemText(cmbConfig->currentIndex(), FromBytes(description));
    }
    applyRule();
}

void frmRVQ::cmdDelete_Click()
{
    if (!mayDiscardEdits([this] { cmdDelete_Click(); })) {
        return;
    }
    const int line = cmbConfig->currentIndex();
    UnwrittenFile unwritten;
    if (const auto above = m_context.library.Delete(static_cast<std::size_t>(line), unwritten)) {
        cmbConfig->removeItem(line);
        cmbConfig_Click(static_cast<int>(*above));
        m_history.Start(content());
        showUnwritten(unwritten);
    }
}

void frmRVQ::cmdDownload_Click()
{
    if (mayDiscardEdits([this] { cmdDownload_Click(); })) {
        m_transfer.Download();
    }
}

void frmRVQ::cmdUpload_Click()
{
    const ShownSettings typed = shown();
    const ParameterSet& entry = m_context.library.Device().Parameters;
    const CopyOutcomes outcomes = CopyInto(m_context.library.Device().Parameters, typed);
    m_notValid.clear();
    for (const ParameterDef& row : ParameterTable()) {
        if (outcomes[row] == CopyOutcome::Refused) {
            const std::string name = modReportText::NameAndCode(row, m_context.settings.Language);
            m_notValid += text(TextId::ReportLineNotValid)
                              .arg(FromUtf8(name), FromBytes(typed.texts[row]), valueText(row, entry.*row.value));
        }
    }
    showOutcomes(outcomes);
    m_transfer.Upload();
}

void frmRVQ::cmdSaveSettings_Click()
{
    m_transfer.StoreInSensor();
}

void frmRVQ::cmdSetDefaults_Click()
{
    if (mayDiscardEdits([this] { cmdSetDefaults_Click(); })) {
        m_transfer.SetDefaults();
    }
}

void frmRVQ::cmdPrint_Click()
{
    SheetTexts sheet;
    sheet.serial = m_serial;
    sheet.SerialNo = ToBytes(lblSerialNo->text());
    sheet.SWVersion = ToBytes(lblSWVersion->text());
    sheet.SWBuild = ToBytes(lblSWBuild->text());
    sheet.DeviceType = ToBytes(lblDeviceType->text());
    for (const ParameterDef& row : ParameterTable()) {
        switch (row.control) {
        case ControlKind::Number:
            sheet.values[row] = ToBytes(BoxOf(row)->text());
            break;
        case ControlKind::Check:
            sheet.values[row].assign(1, CheckOf(row)->isChecked() ? '1' : '0');
            break;
        case ControlKind::List:
            sheet.values[row] = ToBytes(ListOf(row)->currentText());
            break;
        case ControlKind::Label:
            sheet.values[row] = ToBytes(LabelOf(row)->text());
            break;
        }
    }
    sheet.values[&ParameterSet::S2Logic] = ToBytes(lblS2Logic->text()); // the caption, not the list
    const std::string file = SheetFile(m_context.programFolder);
    UnwrittenFile unwritten{file};
    const bool written = WriteSheet(m_context.programFolder, sheet, m_context.settings.Language, unwritten.why);
    showUnwritten(unwritten);
    if (written) {
        Boxes.OpenSheet(file);
    }
}

/// Shows which file could not be written, and why; clears the line when all files were written.
void frmRVQ::showUnwritten(const UnwrittenFile& unwritten)
{
    ShowStatusText(TextId::None);
    ShowFailed(static_cast<bool>(unwritten.why));
    if (unwritten.why) {
        showStatus(text(TextId::FailureNotWritten)
                       .arg(QFile::decodeName(unwritten.file.c_str()),
                            FileErrorText(unwritten.why, m_context.settings.Language)));
    }
    if (unwritten.isList && m_context.tellUnkept) {
        m_context.tellUnkept(lblStatus->text());
    }
}

/// Says so when the file has to be loaded again after the next start.
void frmRVQ::showKept(std::size_t line)
{
    if (!m_context.library.ComesBack(line)) {
        m_statusId = TextId::None;
        showStatus(
            text(TextId::FailureNotListed).arg(QFile::decodeName(m_context.library.Entry(line).FileName.c_str())));
        ShowFailed(true);
    }
}

void frmRVQ::cmdHelp_Click()
{
    m_context.help.ShowHelpTopic(*this, "RVQSettings");
}

void frmRVQ::cmdClose_Click()
{
    reject();
}

void frmRVQ::ShowBusy(bool busy)
{
    if (busy) {
        m_focus = focusWidget();
        m_report.reset();
        showReport();
    } else {
        lblProgress->hide();
        prgTransfer->hide();
    }
    showInformation();
    // The result of the transfer stays until the connection changes.
    m_followed = stateOf(m_context.device);
    m_connection = ConnectionTextId(m_context.device);
    applyRule();
    if (!busy && m_focus != nullptr) {
        m_focus->setFocus(); // all controls were disabled
    }
}

void frmRVQ::ShowStatusText(TextId textId)
{
    m_statusId = textId;
    m_reasonId = TextId::None;
    if (textId == TextId::None) {
        m_failure = {};
    }
    showStatus(statusText());
}

void frmRVQ::ShowFailure(TextId textId, TextId reasonTextId)
{
    m_statusId = textId;
    m_reasonId = reasonTextId;
    m_failure = {textId, reasonTextId};
    showStatus(statusText());
    ShowFailed(true);
}

QString frmRVQ::statusText() const
{
    return m_reasonId == TextId::None ? text(m_statusId) : text(m_statusId).arg(text(m_reasonId));
}

void frmRVQ::showStatus(const QString& status)
{
    lblStatus->setText(status);
    lblStatus->setToolTip(PlainToolTip(status));
}

void frmRVQ::ShowFailed(bool failed)
{
    QPalette colors;
    if (failed) {
        const bool dark = palette().color(QPalette::Window).lightness() < 128;
        colors.setColor(QPalette::WindowText, dark ? QColor(255, 120, 120) : QColor(190, 0, 0));
    }
    lblStatus->setPalette(colors);
}

void frmRVQ::ShowProgress(const TransferProgress& progress)
{
    prgTransfer->setRange(0, progress.steps);
    prgTransfer->setValue(progress.step);
    lblProgress->setText(ProgressText(progress, m_context.settings.Language));
    lblProgress->show();
    prgTransfer->show();
    if (m_comparison != nullptr) {
        m_comparison->ShowProgress(progress);
    }
}

FailureAnswer frmRVQ::AskAboutFailure(TextId reasonTextId, const TransferFailure& failure)
{
    const FailureAnswer answer = m_unloading
                                     ? FailureAnswer::Abort
                                     : ::AskAboutFailure(Boxes, reasonTextId, failure, m_context.settings.Language);
    activateComparison();
    return answer;
}

void frmRVQ::ShowReport(const WriteReport& report)
{
    takeReport(report);
    if (m_comparison != nullptr) {
        m_comparison->ShowReport(report);
    }
}

bool frmRVQ::MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why)
{
    const bool may = !m_unloading && AskAboutBackup(Boxes, file, why, m_context.settings.Language);
    activateComparison();
    return may;
}

/// The keys go back to the review that is sending, not to this window, which takes no input meanwhile.
void frmRVQ::activateComparison()
{
    if (m_comparison != nullptr) {
        m_comparison->activateWindow();
    }
}

void frmRVQ::SelectDeviceEntry()
{
    FollowDevice();
    cmbConfig_Click(kDevice);
    m_history.Start(content());
}

void frmRVQ::FillFromDeviceEntry()
{
    cmbConfig->setCurrentIndex(kDevice);
    fill(m_context.library.Device());
    m_history.Start(content());
}
