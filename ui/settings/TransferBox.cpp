#include "ui/settings/TransferBox.h"

#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/widgets/Localise.h"

#include <QMessageBox>

#include <utility>

TransferBox::TransferBox(Context context)
    : m_context(std::move(context)),
      m_boxes(RVQBoxes(m_context.window, m_context.settings, m_context.help, m_question)),
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
    return !m_context.device.Wait().Ended && AskAboutBackup(m_boxes, file, why, m_context.settings.Language);
}

FailureAnswer TransferBox::AskAboutFailure(TextId reasonTextId, const TransferFailure& failure)
{
    return m_context.device.Wait().Ended
               ? FailureAnswer::Abort
               : ::AskAboutFailure(m_boxes, reasonTextId, failure, m_context.settings.Language);
}

QString TransferBox::text(TextId id) const
{
    return Text(id, m_context.settings.Language);
}
