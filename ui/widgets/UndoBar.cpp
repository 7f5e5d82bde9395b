#include "ui/widgets/UndoBar.h"

#include "session/clsWriteKeeper.h"
#include "session/modReportText.h"
#include "ui/widgets/BarLayout.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/Localise.h"
#include "ui/widgets/Named.h"
#include "ui/widgets/QtText.h"
#include "ui/widgets/WrappedLabel.h"

#include <QPushButton>
#include <QToolButton>

UndoBar::UndoBar(QWidget* parent)
    : QFrame(parent), lblUndo(Named<WrappedLabel>("lblUndo", this)), cmdUndo(Named<QPushButton>("cmdUndo", this)),
      cmdDismissUndo(Named<QToolButton>("cmdDismissUndo", this))
{
    setObjectName(QStringLiteral("fraUndo"));
    LayOutBar(*this, *lblUndo, *cmdUndo, *cmdDismissUndo);
    SetTextIds(cmdUndo, TextId::ButtonUndo, TextId::ToolTipUndo);
    SetTextIds(cmdDismissUndo, TextId::None, TextId::ToolTipDismissUndo);
    connect(cmdUndo, &QPushButton::clicked, this, &UndoBar::undone);
    connect(cmdDismissUndo, &QToolButton::clicked, this, [this] {
        Guarded([this] {
            m_writes->ForgetUndo(m_serialNo);
            showText();
        });
    });
}

void UndoBar::Follow(clsWriteKeeper& writes, const std::string& serialNo, bool isUsable, std::int32_t language)
{
    cmdUndo->setEnabled(isUsable);
    if (m_writes == &writes && writes.Version() == m_version && serialNo == m_serialNo && language == m_language) {
        return;
    }
    m_writes = &writes;
    m_serialNo = serialNo;
    m_language = language;
    showText();
}

void UndoBar::showText()
{
    m_version = m_writes->Version();
    const WriteReport* write = m_writes->Undoable(m_serialNo);
    setVisible(write != nullptr);
    if (write == nullptr) {
        return;
    }
    QString what = FromUtf8(modReportText::Summary(*write, m_language, DecimalSeparator()));
    const WriteReport* last = m_writes->Last();
    if (write->kind == WriteKind::Store || (last != nullptr && last->kind == WriteKind::Store)) {
        what += u' ' + Text(TextId::NoteStoredStays, m_language);
    }
    lblUndo->setText(what);
    cmdDismissUndo->setAccessibleName(Text(TextId::ToolTipDismissUndo, m_language));
}
