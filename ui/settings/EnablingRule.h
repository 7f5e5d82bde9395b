// Which controls of the settings window may be used, as a function of what they depend on.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <cstddef>

class clsRVQ;

struct EditorState {
    bool serial = true;        ///< the shown configuration is one of a serial sensor
    bool analogOutput = false; ///< `chkAnalogOutput` is checked
    bool connected = false;    ///< a sensor answers: `CommStatus` is not 0
    bool busy = false;         ///< a transfer or another wait for the sensor runs
    std::size_t line = 0;      ///< selected in `cmbConfig`
};

struct EditorRule {
    PerParameter<bool> Controls;
    bool Transfer = false; ///< `cmdUpload`, `cmdDownload`, `cmdSetDefaults`, `cmdSaveSettings`
    bool Delete = false;
    bool Other = false; ///< `cmbConfig`, `cmdLoad`, `cmdSave`, `cmdPrint`, `cmdClose` and the window's close box
    bool operator==(const EditorRule&) const = default;
};

EditorRule RuleOf(const EditorState& state);

/// What `lblStatus` says without a transfer: the text id of a closed port or a silent sensor, 0 when one answers.
TextId ConnectionTextId(const clsRVQ& device);
