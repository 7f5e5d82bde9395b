#include "ui/main/UndoRun.h"

#include "session/clsSession.h"
#include "store/modGlobals.h"
#include "ui/main/MessagePanel.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Waiting.h"

#include <QMessageBox>

UndoRun::UndoRun(QWidget& window, clsSession& session, Configuration& entry, const modGlobals::Settings& settings,
                 const Help& help, MessagePanel& messages)
    : m_settings(settings), m_messages(messages), m_boxes(RVQBoxes(window, settings, help, m_question)),
      m_transfer(session.Device(), entry, *this, PumpEvents, &session.Writes())
{}

void UndoRun::Unload()
{
    m_unloading = true;
    if (m_question != nullptr) {
        m_question->reject();
    }
}

void UndoRun::ShowStatusText(TextId textId)
{
    if (textId != TextId::None) {
        m_messages.ShowMessage(text(textId));
    }
}

void UndoRun::ShowFailure(TextId textId, TextId reasonTextId)
{
    m_messages.ShowFailure(text(textId).arg(text(reasonTextId)));
}

void UndoRun::ShowProgress(const TransferProgress& progress)
{
    m_messages.ShowMessage(ProgressText(progress, m_settings.Language));
}

void UndoRun::ShowReport(const WriteReport& report)
{
    m_messages.ShowReport(report);
}

bool UndoRun::MayWriteWithoutBackup(const std::filesystem::path& file, std::error_code why)
{
    return !m_unloading && AskAboutBackup(m_boxes, file, why, m_settings.Language);
}

FailureAnswer UndoRun::AskAboutFailure(TextId reasonTextId, const TransferFailure& failure)
{
    return m_unloading ? FailureAnswer::Abort : ::AskAboutFailure(m_boxes, reasonTextId, failure, m_settings.Language);
}

QString UndoRun::text(TextId id) const
{
    return Text(id, m_settings.Language);
}
