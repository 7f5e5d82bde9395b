// What the settings window does around a write: review, comparison and the way back.
#include "ui/settings/frmRVQ.h"

void frmRVQ::cmdReview_Click() {}

void frmRVQ::cmdCompare_Click() {}

void frmRVQ::cmdUndo_Click()
{
    m_transfer.UndoLast();
}
