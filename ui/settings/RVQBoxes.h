// The boxes that the settings window opens: files, description, questions.
#pragma once

#include "ui/settings/frmRVQ.h"

/// The real boxes over a window. `openQuestion` points to the question that is open, if one is.
frmRVQ::Dialogs RVQBoxes(frmRVQ& window, const modGlobals::Settings& settings, QMessageBox*& openQuestion);
