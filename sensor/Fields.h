// What an editor shows of a configuration, how a typed text is checked, and how the shown values get back into a
// configuration.
#pragma once

#include "sensor/Parameters.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The rows in the order of the window's controls: lists, check boxes and captions by their number, then the boxes for
/// numbers by theirs.
std::span<const ParameterDef* const> RowsByControl();

/// The `objectName` of the parameter's control.
std::string ControlName(const ParameterDef& row);

/// Whether the type of sensor has the parameter.
bool IsShown(const ParameterDef& row, bool serial);

/// What the controls show of one configuration.
struct ShownSettings {
    bool serial = true;                 ///< else of a Profibus sensor, whose switch and analog controls are empty
    PerParameter<std::string> texts;    ///< in the boxes for numbers
    PerParameter<std::int32_t> choices; ///< in the others; -1: nothing selected
};

/// What the text box of a sensor without a node address shows.
inline constexpr std::string_view kNoAddress = "n/a";
/// Deliberate: what a box shows whose number was refused when the values were copied.
inline constexpr std::string_view kRefusedText = "255";

/// How many values a list, check box or logic has.
std::int32_t ValueCount(const ParameterDef& row);
/// What one of them is called, UTF-8; empty outside the list.
std::string ValueName(const ParameterDef& row, std::int32_t value, std::int32_t language);

/// A shown value with its unit, if it has one; UTF-8.
std::string WithUnit(const ParameterDef& row, std::string text);
/// A stored number as its box shows it.
std::string NumberText(const ParameterDef& row, std::int32_t stored, char decimalSeparator);

/// What a box shows when it loses the focus, or on Enter: the typed number within its limits and in its format. Comma
/// and point both count as the decimal separator. A text that is no number counts as an empty one. Not for a box that
/// is disabled.
std::string CheckedText(const ParameterDef& row, std::string_view typed, char decimalSeparator);

/// What the controls show for a configuration. A list shows nothing for a value that it does not hold.
ShownSettings ShownOf(const ParameterSet& set, char decimalSeparator);

/// The stored value of a box's text as copying takes it; nothing when it is out of range or no number. Scaling factor
/// and temperature read comma and point; the others read a point and stop where the number stops, so that letters are
/// 0. Rules over two boxes are not looked at.
std::optional<std::int32_t> StoredValue(const ParameterDef& row, std::string_view text);

/// What became of the boxes when the values were copied; `Skipped` for those that the shown type of sensor has not.
enum class CopyOutcome : std::uint8_t { Skipped, Stored, Refused };
using CopyOutcomes = PerParameter<CopyOutcome>;

/// Copies the shown values into a configuration before it is saved or sent. A refused number leaves the old value
/// standing and does not keep the next ones from being copied; the window shows `kRefusedText` for it. Of two boxes
/// that must lie apart, the second is compared with what is stored for the first by then. A list without a selection is
/// not copied, the rain filter apart, where "none" is a choice.
CopyOutcomes CopyInto(ParameterSet& set, const ShownSettings& shown);
/// The same into a set that is about to be saved: it becomes one of the shown type of sensor.
CopyOutcomes CopyForSaving(ParameterSet& set, const ShownSettings& shown);

/// A shown value that is not the sensor's.
struct Difference {
    const ParameterDef* row;
    std::string sensorText; ///< the sensor's value as its control would show it, with its unit; UTF-8
};
/// What differs from the set that the sensor has last reported. Values that only one of the two types of sensor has are
/// left out. Boxes for numbers come first, each kind by its numbers.
std::vector<Difference> Differences(const ShownSettings& shown, const ParameterSet& set, const SensorIdentity& sensor,
                                    char decimalSeparator, std::int32_t language);
