#include "ui/settings/RVQBoxes.h"

#include "session/modReportText.h"
#include "store/modGlobals.h"
#include "ui/help/Help.h"
#include "ui/settings/frmSheet.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/FileFilter.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/QtText.h"

#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

namespace {

constexpr char kPattern[] = "*.rvq";

std::string bytesOf(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

/// Shows a box whose end the window can bring about.
void ask(QMessageBox& box, QMessageBox*& openQuestion)
{
    openQuestion = &box;
    box.exec();
    openQuestion = nullptr;
}

FailureAnswer askAboutFailure(QWidget& window, std::int32_t language, const Help& help, const QString& question,
                              const QString& details, QMessageBox*& openQuestion)
{
    QMessageBox box(QMessageBox::Warning, Text(TextId::TitleWarning, language), question, QMessageBox::NoButton,
                    &window);
    box.setObjectName(QStringLiteral("dlgFailure"));
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(details);
    QPushButton* abort = box.addButton(Text(TextId::ButtonAbort, language), QMessageBox::RejectRole);
    QPushButton* retry = box.addButton(Text(TextId::ButtonRetry, language), QMessageBox::AcceptRole);
    const QAbstractButton* ignore = box.addButton(Text(TextId::ButtonIgnore, language), QMessageBox::DestructiveRole);
    QPushButton* explain = box.addButton(Text(TextId::ButtonHelp, language), QMessageBox::HelpRole);
    explain->disconnect(); // it would close the box
    QObject::connect(explain, &QPushButton::clicked, &box,
                     [&] { Guarded([&] { help.ShowHelpTopic(box, "RVQSettings#error"); }); });
    box.setDefaultButton(retry);
    box.setEscapeButton(abort);
    ask(box, openQuestion);
    if (box.clickedButton() == ignore) {
        return FailureAnswer::Ignore;
    }
    return box.clickedButton() == retry ? FailureAnswer::Retry : FailureAnswer::Abort;
}

RVQDialogs::UnsentAnswer askAboutUnsent(QWidget& window, std::int32_t language, const QString& question, bool canSend,
                                        QMessageBox*& openQuestion)
{
    QMessageBox box(QMessageBox::Question, Text(TextId::TitleWarning, language), question, QMessageBox::NoButton,
                    &window);
    box.setObjectName(QStringLiteral("dlgUnsent"));
    box.setTextFormat(Qt::PlainText);
    QPushButton* send = box.addButton(Text(TextId::ButtonReview, language), QMessageBox::AcceptRole);
    const QAbstractButton* discard = box.addButton(Text(TextId::ButtonDiscard, language), QMessageBox::DestructiveRole);
    QPushButton* keep = box.addButton(Text(TextId::ButtonKeepEditing, language), QMessageBox::RejectRole);
    send->setEnabled(canSend);
    box.setDefaultButton(keep);
    box.setEscapeButton(keep);
    ask(box, openQuestion);
    if (box.clickedButton() == send) {
        return RVQDialogs::UnsentAnswer::Send;
    }
    return box.clickedButton() == discard ? RVQDialogs::UnsentAnswer::Discard : RVQDialogs::UnsentAnswer::KeepEditing;
}

/// Closed by the window, the answer is no.
bool askYesOrNo(QWidget& window, std::int32_t language, const char* name, const QString& question,
                QMessageBox*& openQuestion)
{
    QMessageBox box(QMessageBox::Question, Text(TextId::TitleWarning, language), question, QMessageBox::NoButton,
                    &window);
    box.setObjectName(QLatin1String(name));
    box.setTextFormat(Qt::PlainText);
    const QAbstractButton* yes = box.addButton(Text(TextId::ButtonYes, language), QMessageBox::YesRole);
    QPushButton* no = box.addButton(Text(TextId::ButtonNo, language), QMessageBox::NoRole);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    ask(box, openQuestion);
    return box.clickedButton() == yes;
}

RVQDialogs::ChangedAnswer askAboutChange(QWidget& window, std::int32_t language, const QString& question)
{
    QMessageBox box(QMessageBox::Question, Text(TextId::TitleWarning, language), question, QMessageBox::NoButton,
                    &window);
    box.setObjectName(QStringLiteral("dlgChanged"));
    box.setTextFormat(Qt::PlainText);
    const QAbstractButton* mine = box.addButton(Text(TextId::ButtonKeepMine, language), QMessageBox::YesRole);
    const QAbstractButton* other = box.addButton(Text(TextId::ButtonTakeOther, language), QMessageBox::NoRole);
    QPushButton* cancel = box.addButton(Text(TextId::ButtonCancel, language), QMessageBox::RejectRole);
    box.setDefaultButton(cancel);
    box.setEscapeButton(cancel);
    box.exec();
    if (box.clickedButton() == mine) {
        return RVQDialogs::ChangedAnswer::KeepMine;
    }
    return box.clickedButton() == other ? RVQDialogs::ChangedAnswer::TakeOther : RVQDialogs::ChangedAnswer::Cancel;
}

} // namespace

RVQDialogs RVQBoxes(QWidget& window, const modGlobals::Settings& settings, const Help& help, QMessageBox*& openQuestion)
{
    RVQDialogs boxes;
    boxes.FileToLoad = [&window, &settings](const std::string& folder) {
        // Deliberate: the filter of this dialog has the title of the save dialog as its name.
        const QString types =
            FileFilter(Text(TextId::TitleSaveConfiguration, settings.Language), QLatin1String(kPattern));
        return bytesOf(QFileDialog::getOpenFileName(&window, QString(), QFile::decodeName(folder.c_str()), types));
    };
    boxes.FileToSave = [&window, &settings](const std::string& proposal) {
        const QString types =
            FileFilter(Text(TextId::FileTypesConfiguration, settings.Language), QLatin1String(kPattern));
        return bytesOf(QFileDialog::getSaveFileName(&window, QString(), QFile::decodeName(proposal.c_str()), types,
                                                    nullptr, QFileDialog::DontConfirmOverwrite));
    };
    boxes.Description = [&window, &settings](const QString& proposal) {
        bool accepted = false;
        const QString answer = QInputDialog::getText(&window, Text(TextId::TitleSaveConfiguration, settings.Language),
                                                     Text(TextId::QuestionDescription, settings.Language),
                                                     QLineEdit::Normal, proposal, &accepted);
        return accepted ? answer : QString();
    };
    boxes.Overwrite = [&window, &settings, &openQuestion](const QString& question) {
        return askYesOrNo(window, settings.Language, "dlgOverwrite", question, openQuestion);
    };
    boxes.WithoutBackup = [&window, &settings, &openQuestion](const QString& question) {
        return askYesOrNo(window, settings.Language, "dlgWithoutBackup", question, openQuestion);
    };
    boxes.Changed = [&window, &settings](const QString& question) {
        return askAboutChange(window, settings.Language, question);
    };
    boxes.Failure = [&window, &settings, &help, &openQuestion](const QString& question, const QString& details) {
        return askAboutFailure(window, settings.Language, help, question, details, openQuestion);
    };
    boxes.Unsent = [&window, &settings, &openQuestion](const QString& question, bool canSend) {
        return askAboutUnsent(window, settings.Language, question, canSend, openQuestion);
    };
    boxes.OpenSheet = [&window, &settings](const std::string& sheet) { frmSheet::Open(window, settings, sheet); };
    return boxes;
}

FailureAnswer AskAboutFailure(const RVQDialogs& boxes, TextId reasonTextId, const TransferFailure& failure,
                              std::int32_t language)
{
    const QString question = Text(TextId::QuestionTransferFailure, language) + Text(reasonTextId, language);
    const QString answers = Text(TextId::DetailAnswers, language);
    if (failure.row == nullptr) {
        return boxes.Failure(question, answers);
    }
    const std::string what = modReportText::Refusal(failure, language, DecimalSeparator());
    return boxes.Failure(question, FromUtf8(what) + QStringLiteral("\n\n") + answers);
}

bool AskAboutBackup(const RVQDialogs& boxes, const std::filesystem::path& file, std::error_code why,
                    std::int32_t language)
{
    const QString reason =
        Text(TextId::FailureNotWritten, language).arg(QFile::decodeName(file.c_str()), FileErrorText(why, language));
    return boxes.WithoutBackup(Text(TextId::QuestionNoBackup, language).arg(reason));
}

QString ProgressText(const TransferProgress& progress, std::int32_t language)
{
    const QString what = Text(progress.textId, language).trimmed();
    return progress.steps > 0 ? Text(TextId::TransferStep, language).arg(progress.step).arg(progress.steps).arg(what)
                              : what;
}
