// One row for each parameter of the sensor, with everything that is known about it. The rows are in
// `sensor/ParameterTable.inc`; a new parameter is a new row there.
#pragma once

#include "sensor/ParameterSet.h"
#include "sensor/ValueLists.h"
#include "texts/TextId.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// For which sensors the dump and the configuration files hold a parameter.
enum class ParameterGroup : std::uint8_t { Common, EchoFilter, SerialOnly };

/// How the settings window shows a parameter: a box for a number, a list whose index is the stored value, a check box
/// (1 or 0), or a caption that shows a logic.
enum class ControlKind : std::uint8_t { Number, List, Check, Label };

/// A part of the settings window and of the settings sheet.
enum class SettingsSection : std::uint8_t {
    Interface,
    Measurement,
    Correction,
    Analog,
    FirstSwitch,
    SecondLogic,
    SecondSwitch,
    RainAndEcho,
};

/// When the control of a parameter may be used: for a type of sensor, or for a serial one with its analog output on or
/// off.
enum class EditableWhen : std::uint8_t { Always, Serial, Profibus, AnalogOn, AnalogOff, Never };

struct ParameterDef {
    std::int32_t ParameterSet::*value;
    std::int32_t defaultValue;                     ///< for a new set and, clamped to the limits, for an empty box
    std::int32_t codeId;                           ///< the order in which an upload goes through the codes
    std::string_view code;                         ///< three digits, in commands and in the dump
    std::string_view key;                          ///< in configuration files
    std::optional<std::int32_t> missingKeyValue{}; ///< for a file without the key, if it is not the default
    ParameterGroup group = ParameterGroup::Common;
    std::span<const std::string_view> wireTexts{}; ///< empty: the value travels as a decimal number
    TextId labelId;                                ///< caption
    std::span<const TextId> names{};               ///< of the values; else `sameNames`, else the wire texts
    std::span<const std::string_view> sameNames{}; ///< the same in every language
    struct Limits {
        std::int32_t minimum = 0, maximum = 0;
    } limits{}; ///< of a number, both accepted, in stored units: the shown number times 10 to the power of `decimals`
    struct Distance {
        std::int32_t ParameterSet::*partner = nullptr; ///< a row above
        std::int32_t least = 0;
    } apart{}; ///< another parameter, whose value must be at least this far away
    int decimals = 0;
    std::string_view unit{}; ///< UTF-8
    ControlKind control = ControlKind::Number;
    std::string_view controlName{}; ///< of every control except a number box
    std::int32_t number;            ///< of the number box, as in its name; else among lists, check boxes and captions
    SettingsSection section;
    EditableWhen editable = EditableWhen::Always;
    std::int32_t sheetLine = 0; ///< within the section of the settings sheet, from 1; 0: not on it
    std::size_t sheetTabs = 0;  ///< between caption and value on the sheet; 0: as many as align it
};

inline constexpr std::size_t kParameterCount = sizeof(ParameterSet) / sizeof(std::int32_t); // one member for each row

/// All parameters in the order of a configuration file.
std::span<const ParameterDef> ParameterTable();

/// The row of a three-digit code; null for any other text.
const ParameterDef* ParameterOfCode(std::string_view code);

/// The row of a member of the set.
const ParameterDef& RowOf(std::int32_t ParameterSet::*value);

/// A value for each parameter, reached by its row.
template <typename T>
class PerParameter {
public:
    T& operator[](const ParameterDef& row) { return m_values.at(indexOf(row)); }
    const T& operator[](const ParameterDef& row) const { return m_values.at(indexOf(row)); }
    T& operator[](std::int32_t ParameterSet::*value) { return (*this)[RowOf(value)]; }
    const T& operator[](std::int32_t ParameterSet::*value) const { return (*this)[RowOf(value)]; }
    bool operator==(const PerParameter&) const = default;

private:
    static std::size_t indexOf(const ParameterDef& row)
    {
        return static_cast<std::size_t>(&row - ParameterTable().data());
    }

    std::array<T, kParameterCount> m_values{};
};

/// What the set command for a code carries: the wire text of the value or the value as a decimal number.
/// Empty for an unknown code, "999" and "000" among them.
std::string WireValue(const ParameterSet& set, std::string_view code);

inline constexpr std::int32_t kUsualRate = 9600; // bit/s

/// Index 0..5 of the parameter `Baudrate` as bit/s; 0 for any other.
std::int32_t RateOfIndex(std::int32_t index);

/// The rate in bit/s if the sensor supports it, else `kUsualRate`.
std::int32_t SensorRate(std::int32_t rate);

struct UnitDef {
    std::string_view name;
    double millimetres; ///< in one unit
    int decimals;       ///< shown for a distance
};
inline constexpr std::array<UnitDef, 7> kUnits{{{"mm", 1.0, 0},
                                                {"m", 1000.0, 3},
                                                {"in", 25.4, 3},
                                                {"ft", 304.8, 4},
                                                {"yd", 914.4, 4},
                                                {"mi", 1609344.0, 8},
                                                {"nm", 1852000.0, 8}}};

/// The unit of a `DistanceUnit`; metres for an index outside 0..6, as in the set command.
const UnitDef& UnitOf(std::int32_t distanceUnit);
