// What an editor shows of a configuration, how a typed text is checked, and how the shown values get back into a
// configuration.
#pragma once

#include "sensor/Parameters.h"
#include "texts/TextId.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct ParameterSet;
struct SensorIdentity;

/// A numbered text box. Limits and the value of an empty box are in stored units: the shown number times 10 to the
/// power of `decimals`.
struct FieldDef {
    std::string_view code; ///< the parameter that it edits, where its caption and its member are found
    std::int32_t minimum, maximum, emptyValue;
    int decimals;
    std::string_view unit; ///< UTF-8
};
inline constexpr auto kFields = std::to_array<FieldDef>({
    {"701", -32768, 32767, 0, 0, "mm"},
    {"702", -32768, 32767, 1000, 3, ""},
    {"801", -100, 500, 200, 1, "°C"},
    {"802", 800, 1200, 1013, 0, "hPa"},
    {"501", -1000000, 1000000, 10000, 0, "mm"},
    {"502", -1000000, 1000000, 9900, 0, "mm"},
    {"504", -1000000, 1000000, 1000, 0, "mm"},
    {"505", -1000000, 1000000, 900, 0, "mm"},
    {"401", -1000000, 1000000, 1000, 0, "mm"},
    {"402", -1000000, 1000000, 9000, 0, "mm"},
    {"610", 0, 125, 0, 0, ""},
    {"352", 1, 20000, 20000, 0, "mm"},
    {"353", 0, 1023, 512, 0, ""},
    {"354", 1, 2000, 1000, 0, "mm"},
    {"355", 1, 10, 1, 0, ""},
});
/// Boxes that a rule names.
enum FieldIndex : std::size_t {
    FieldOffset = 0,
    FieldScaleFactor = 1,
    FieldTemperature = 2,
    FieldAirPressure = 3,
    FieldS1On = 4,
    FieldS1Off = 5,
    FieldS2On = 6,
    FieldS2Off = 7,
    FieldAnalogMin = 8,
    FieldAnalogMax = 9,
    FieldNodeAddress = 10,
    FieldDistanceWindow = 11,
    FieldValidMeasurements = 14,
};

enum class ChoiceKind : std::uint8_t { List, Check, Label };

/// A list box (its index is the stored value), a check box (1 or 0), or a caption that shows a logic.
struct ChoiceDef {
    std::string_view code;
    ChoiceKind kind;
    std::span<const TextId> names;                    ///< of the values
    std::span<const std::string_view> sameNames = {}; ///< instead, where they are the same in every language

    constexpr std::int32_t Count() const { return static_cast<std::int32_t>(names.size() + sameNames.size()); }
};
inline constexpr std::array kOutputModeNames{TextId::OutputModeContinuous, TextId::OutputModeSingle,
                                             TextId::OutputModeOnRequest};
inline constexpr std::array kLogicNames{TextId::LogicNegative, TextId::LogicPositive};
inline constexpr std::array kStateNames{TextId::StateOff, TextId::StateOn};
inline constexpr auto kChoices = std::to_array<ChoiceDef>({
    {"601", ChoiceKind::List, {}, kBaudrateTexts},
    {"603", ChoiceKind::List, kOutputModeNames},
    {"101", ChoiceKind::List, {}, kOutputFormatTexts},
    {"111", ChoiceKind::List, {}, kUnitNamesLong},
    {"301", ChoiceKind::List, {}, kAverageDepthTexts},
    {"302", ChoiceKind::List, {}, kTimeOutNames},
    {"304", ChoiceKind::Check, kStateNames},
    {"305", ChoiceKind::Check, kStateNames},
    {"306", ChoiceKind::Check, kStateNames},
    {"311", ChoiceKind::Check, kStateNames},
    {"351", ChoiceKind::List, {}, kRainFilterTexts},
    {"403", ChoiceKind::Check, kStateNames},
    {"503", ChoiceKind::Label, kLogicNames},
    {"506", ChoiceKind::List, kLogicNames},
});
enum ChoiceIndex : std::size_t {
    ChoiceBaudrate,
    ChoiceOutputMode,
    ChoiceOutputFormat,
    ChoiceDistanceUnit,
    ChoiceAverageDepth,
    ChoiceTimeOut,
    ChoiceMovingAverage,
    ChoiceAutostart,
    ChoiceEchoCheck,
    ChoiceBlanking,
    ChoiceRainFilter,
    ChoiceAnalogOutput,
    ChoiceS1Logic,
    ChoiceS2Logic,
};

/// What the controls show of one configuration.
struct ShownSettings {
    bool serial = true; ///< else of a Profibus sensor, whose switch and analog controls are empty
    std::array<std::string, kFields.size()> texts;
    std::array<std::int32_t, kChoices.size()> choices{}; ///< -1: nothing selected
};

/// What the text box of a sensor without a node address shows.
inline constexpr std::string_view kNoAddress = "n/a";
/// Deliberate: what a box shows whose number was refused when the values were copied.
inline constexpr std::string_view kRefusedText = "255";

/// A parameter's caption.
TextId LabelId(std::string_view code);
/// What a value of a list, check box or logic is called, UTF-8; empty outside the list.
std::string_view ChoiceText(std::size_t choice, std::int32_t value, std::int32_t language);

/// A stored value of the field as its box shows it.
std::string FieldText(const FieldDef& field, std::int32_t stored, char decimalSeparator);

/// What a box shows when it loses the focus, or on Enter: the typed number within its limits and in its format. Comma
/// and point both count as the decimal separator. A text that is no number counts as an empty one. Not for a box that
/// is disabled.
std::string CheckedText(std::size_t field, std::string_view typed, char decimalSeparator);

/// What the controls show for a configuration. A list shows nothing for a value that it does not hold.
ShownSettings ShownOf(const ParameterSet& set, char decimalSeparator);

/// The stored value of a box's text as copying takes it; nothing when it is out of range or no number. Scaling factor
/// and temperature read comma and point; the others read a point and stop where the number stops, so that letters are
/// 0. Rules over two boxes are not looked at.
std::optional<std::int32_t> StoredValue(std::size_t field, std::string_view text);

/// What became of the boxes when the values were copied; `Skipped` for those that the shown type of sensor has not.
enum class CopyOutcome : std::uint8_t { Skipped, Stored, Refused };
using CopyOutcomes = std::array<CopyOutcome, kFields.size()>;

/// Copies the shown values into a configuration before it is saved or sent. A refused number leaves the old value
/// standing and does not keep the next ones from being copied; the window shows `kRefusedText` for it. Of two boxes
/// that must lie apart, the second is compared with what is stored for the first by then. A list without a selection is
/// not copied, the rain filter apart, where "none" is a choice.
CopyOutcomes CopyInto(ParameterSet& set, const ShownSettings& shown);
/// The same into a set that is about to be saved: it becomes one of the shown type of sensor.
CopyOutcomes CopyForSaving(ParameterSet& set, const ShownSettings& shown);

/// A shown value that is not the sensor's.
struct Difference {
    std::string_view code;
    std::string sensorText; ///< the sensor's value as its control would show it, with its unit; UTF-8
};
/// What differs from the set that the sensor has last reported. Values that only one of the two types of sensor has are
/// left out.
std::vector<Difference> Differences(const ShownSettings& shown, const ParameterSet& set, const SensorIdentity& sensor,
                                    char decimalSeparator, std::int32_t language);
