// What the settings window does around a write: review, comparison and the way back.
#include "store/clsConfigLibrary.h"
#include "store/modGlobals.h"
#include "ui/settings/frmRVQ.h"
#include "ui/widgets/Guarded.h"
#include "ui/widgets/InputGuards.h"
#include "ui/widgets/Localise.h"

#include <QTimer>

#include <utility>

/// What an upload would send, and the numbers that it would leave out. The boxes stay as they are.
frmCompare::EditedSet frmRVQ::editedSet() const
{
    const bool isConnected = m_context.device.CommStatus() != DialogueNone;
    frmCompare::EditedSet edited{isConnected ? m_context.device.Parameters() : selected().Parameters};
    const CopyOutcomes outcomes = CopyForSaving(edited.set, shown());
    for (const ParameterDef& row : ParameterTable()) {
        if (outcomes[row] == CopyOutcome::Refused) {
            edited.refused.push_back(&row);
        }
    }
    return edited;
}

frmCompare& frmRVQ::newComparison()
{
    m_inputBlock.reset();
    m_afterSending = nullptr;
    delete m_comparison;
    m_comparison = new frmCompare(this, {.settings = m_context.settings,
                                         .help = m_context.help,
                                         .device = &m_context.device,
                                         .library = &m_context.library,
                                         .programFolder = m_context.programFolder,
                                         .window = [this] { return editedSet(); },
                                         .writes = m_context.writes,
                                         .send =
                                             [this](const ParameterSet& target, const std::vector<std::string>& codes) {
                                                 m_notValid.clear();
                                                 m_transfer.SendChosen(target, codes);
                                             },
                                         .cancel = [this] { m_transfer.Cancel(); }});
    return *m_comparison;
}

/// This window takes no input meanwhile, so that what is compared does not change.
void frmRVQ::openComparison(frmCompare& comparison)
{
    m_inputBlock = std::make_unique<InputBlock>(*this, comparison);
    comparison.setAttribute(Qt::WA_DeleteOnClose);
    connect(&comparison, &QDialog::finished, this, [this] {
        m_inputBlock.reset();
        // Only after the comparison is done with its own click.
        QTimer::singleShot(0, this, [this, then = std::exchange(m_afterSending, nullptr)] {
            Guarded([&] {
                if (then && edits().empty()) {
                    then();
                }
            });
        });
    });
    connect(this, &QDialog::finished, &comparison, &frmCompare::reject);
    comparison.show();
}

void frmRVQ::cmdReview_Click()
{
    frmCompare& comparison = newComparison();
    if (comparison.Review(frmCompare::SetKind::Window) && comparison.Differing() > 0) {
        openComparison(comparison);
        return;
    }
    delete m_comparison;
    for (const ParameterDef* row : edits()) {
        settle(*row); // the sensor has it already
    }
    ShowFailed(false);
    ShowStatusText(TextId::CompareNothing);
}

void frmRVQ::cmdCompare_Click()
{
    openComparison(newComparison());
}

void frmRVQ::cmdUndo_Click()
{
    m_transfer.UndoLast();
}
