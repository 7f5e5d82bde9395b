#include "ui/settings/TransferBox.h"

#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/settings/RVQBoxes.h"
#include "ui/widgets/FileErrors.h"
#include "ui/widgets/Localise.h"

#include <QFile>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

TransferBox::TransferBox(Context context)
    : m_context(std::move(context)),
      m_transfer(m_context.device, m_context.library.Device(), *this, m_context.pumpEvents, m_context.writes)
{}

void TransferBox::CloseQuestion()
{
    if (m_question != nullptr) {
        m_question->reject();
    }
}

void TransferBox::ShowFailure(TextId textId, TextId reasonTextId)
{
    m_context.showFailure(text(textId).arg(text(reasonTextId)));
}

void TransferBox::ShowProgress(const TransferProgress& progress)
{
    m_context.showProgress(progress);
}

bool TransferBox::MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why)
{
    const QString question = text(TextId::QuestionNoBackup)
                                 .arg(QFile::decodeName(file.c_str()), FileErrorText(why, m_context.settings.Language));
    QMessageBox box(QMessageBox::Warning, text(TextId::TitleWarning), question, QMessageBox::NoButton,
                    &m_context.window);
    box.setObjectName(QStringLiteral("dlgSendWithoutBackup"));
    const QAbstractButton* yes = box.addButton(text(TextId::ButtonYes), QMessageBox::YesRole);
    QPushButton* no = box.addButton(text(TextId::ButtonNo), QMessageBox::NoRole);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    m_question = &box;
    box.exec();
    m_question = nullptr;
    return box.clickedButton() == yes;
}

FailureAnswer TransferBox::AskAboutFailure(TextId reasonTextId)
{
    if (m_context.device.Wait().Ended) {
        return FailureAnswer::Abort;
    }
    const RVQDialogs boxes = RVQBoxes(m_context.window, m_context.settings, m_question);
    return boxes.Failure(text(TextId::QuestionTransferFailure) + text(reasonTextId));
}

QString TransferBox::text(TextId id) const
{
    return Text(id, m_context.settings.Language);
}
