#include "ui/settings/EnablingRule.h"

#include "sensor/clsRVQ.h"

EditorRule RuleOf(const EditorState& state)
{
    const bool editable = !state.busy;
    const bool switches = editable && state.serial;
    const bool analog = switches && state.analogOutput;
    const bool secondSwitch = switches && !state.analogOutput;
    EditorRule rule;
    rule.Fields.fill(editable);
    for (const std::size_t field : {FieldS1On, FieldS1Off}) {
        rule.Fields[field] = switches;
    }
    for (const std::size_t field : {FieldS2On, FieldS2Off}) {
        rule.Fields[field] = secondSwitch;
    }
    for (const std::size_t field : {FieldAnalogMin, FieldAnalogMax}) {
        rule.Fields[field] = analog;
    }
    rule.Fields[FieldNodeAddress] = editable && !state.serial;
    // Deliberate: the echo parameters cannot be edited, whatever rain filter is chosen.
    for (std::size_t field = FieldDistanceWindow; field <= FieldValidMeasurements; ++field) {
        rule.Fields[field] = false;
    }
    rule.Choices.fill(editable);
    rule.Choices[ChoiceOutputMode] = switches;
    rule.Choices[ChoiceAnalogOutput] = switches;
    rule.Choices[ChoiceS1Logic] = switches;
    rule.Choices[ChoiceS2Logic] = analog;
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
