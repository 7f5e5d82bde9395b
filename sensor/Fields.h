// How an editor shows a configuration, how typed text is checked, and how the shown values get back into a
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
/// Whether this sensor reports the parameter.
bool IsReported(const ParameterDef& row, const ParameterSet& set, const SensorIdentity& sensor);

/// What the controls show for one configuration.
struct ShownSettings {
    bool serial = true;                 ///< else a Profibus sensor, whose switch and analog controls are empty
    PerParameter<std::string> texts;    ///< in the boxes for numbers
    PerParameter<std::int32_t> choices; ///< in the other controls; -1: nothing selected
};

/// The text in the node address box of a sensor that has no node address.
inline constexpr std::string_view kNoAddress = "n/a";
/// Deliberate: a box shows this text when its number was refused while the values were copied.
inline constexpr std::string_view kRefusedText = "255";

/// How many values a list, check box or logic has.
std::int32_t ValueCount(const ParameterDef& row);
/// The name of one value, UTF-8; empty outside the list.
std::string ValueName(const ParameterDef& row, std::int32_t value, std::int32_t language);

/// A shown value with its unit, if it has one; UTF-8.
std::string WithUnit(const ParameterDef& row, std::string text);
/// A stored number as its box shows it.
std::string NumberText(const ParameterDef& row, std::int32_t stored, char decimalSeparator);

/// The text of a box after it loses the focus or on Enter: the typed number within its limits and in its format. Comma
/// and point both count as the decimal separator. A text that is not a number counts as empty. Not for disabled boxes.
std::string CheckedText(const ParameterDef& row, std::string_view typed, char decimalSeparator);

/// What the controls show for a configuration. A list shows nothing for a value that it does not hold.
ShownSettings ShownOf(const ParameterSet& set, char decimalSeparator);

/// The value that copying stores for the text of a box; empty when it is out of range or not a number. Scaling factor
/// and temperature accept comma and point. The others accept a point and stop reading where the number ends, so letters
/// are 0. Rules that involve two boxes are not checked.
std::optional<std::int32_t> StoredValue(const ParameterDef& row, std::string_view text);

/// What became of a box when the values were copied; `Skipped` when the shown type of sensor does not have it.
enum class CopyOutcome : std::uint8_t { Skipped, Stored, Refused };
using CopyOutcomes = PerParameter<CopyOutcome>;

/// Copies the shown values into a configuration before it is saved or sent. A refused number leaves the old value in
/// place and does not stop the copying; its box shows `kRefusedText`. When two values must keep a distance,
/// the second is compared with the value stored for the first by then. A list without a selection is not copied, except
/// the rain filter, where "none" is a choice.
CopyOutcomes CopyInto(ParameterSet& set, const ShownSettings& shown);
/// The same for a set that is about to be saved; it becomes a set of the shown type of sensor.
CopyOutcomes CopyForSaving(ParameterSet& set, const ShownSettings& shown);

/// A shown value that differs from the sensor's.
struct Difference {
    const ParameterDef* row;
    std::string sensorText; ///< the sensor's value as its control would show it, with its unit; UTF-8
};
/// The shown values that differ from the set that the sensor reported last. Values that only one of the two types of
/// sensor has are left out. Number boxes come first; each kind is in the order of its numbers.
std::vector<Difference> Differences(const ShownSettings& shown, const ParameterSet& set, const SensorIdentity& sensor,
                                    char decimalSeparator, std::int32_t language);
