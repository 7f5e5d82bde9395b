// Which controls of the settings window are enabled, as a function of the window's state.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <cstddef>

class clsRVQ;

struct EditorState {
    bool serial = true;        ///< the shown configuration belongs to a serial sensor
    bool analogOutput = false; ///< `chkAnalogOutput` is checked
    bool connected = false;    ///< a sensor answers: `CommStatus` is not 0
    bool busy = false;         ///< a transfer or another wait for the sensor is running
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

/// What `lblStatus` says without a transfer: the text id for a closed port or a silent sensor, 0 when the sensor
/// answers.
TextId ConnectionTextId(const clsRVQ& device);
