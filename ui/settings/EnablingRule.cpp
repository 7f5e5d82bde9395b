#include "ui/settings/EnablingRule.h"

#include "sensor/clsRVQ.h"

namespace {

bool isEditable(EditableWhen when, const EditorState& state)
{
    switch (when) {
    case EditableWhen::Always:
        return true;
    case EditableWhen::Serial:
        return state.serial;
    case EditableWhen::Profibus:
        return !state.serial;
    case EditableWhen::AnalogOn:
        return state.serial && state.analogOutput;
    case EditableWhen::AnalogOff:
        return state.serial && !state.analogOutput;
    case EditableWhen::Never:
        break;
    }
    return false;
}

} // namespace

EditorRule RuleOf(const EditorState& state)
{
    const bool editable = !state.busy;
    EditorRule rule;
    for (const ParameterDef& row : ParameterTable()) {
        rule.Controls[row] = editable && isEditable(row.editable, state);
    }
    rule.Transfer = editable && state.connected;
    rule.Delete = editable && state.line >= 1;
    rule.Other = editable;
    return rule;
}

TextId ConnectionTextId(const clsRVQ& device)
{
    if (!device.PortIsOpen()) {
        return TextId::StatusPortNotOpen;
    }
    return device.CommStatus() == DialogueNone ? TextId::StatusNoConnection : TextId::None;
}
