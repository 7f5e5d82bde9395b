// Two sets of parameters side by side.
#pragma once

#include "sensor/Parameters.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ComparedRow {
    const ParameterDef* row = nullptr;
    /// Empty when the set's type of sensor has no such parameter, or no rain filter is chosen in it.
    std::optional<std::int32_t> left{}, right{};
    /// Empty for the node address, which every sensor has of its own.
    std::optional<std::int32_t> factory{};
    bool Differs() const { return left != right; }
};

/// One row for each parameter that one of the two has, in the order of the settings window's groups.
std::vector<ComparedRow> Compare(const ParameterSet& left, const ParameterSet& right);

/// The caption of the settings window's frame that holds the parameter.
TextId GroupOf(const ParameterDef& row);

/// A value as its control shows it, without its unit; UTF-8. A value that its list does not hold is its number.
std::string ShownValue(const ParameterDef& row, std::int32_t value, char decimalSeparator, std::int32_t language);

/// The factory defaults of a sensor of the same type. What a sensor has of its own stays: its node address, and that it
/// has no rain filter.
ParameterSet FactorySet(const ParameterSet& like);

/// The codes of these parameters in the order of an upload.
std::vector<std::string> CodesInOrder(std::vector<const ParameterDef*> rows);

/// The codes, in the order of an upload, of the parameters that differ and that this sensor has: what leads it from
/// `current` to `target`. Unlike an upload, it has the thresholds of Q2 while the analog output takes their place, and
/// the echo parameters of a sensor that has them.
std::vector<std::string> CodesThatLead(const ParameterSet& current, const ParameterSet& target,
                                       const SensorIdentity& sensor);

/// Why the operator cannot send a value to a sensor.
enum class SendObstacle : std::uint8_t {
    None,
    NotInSensor, ///< this sensor has no such parameter
    ReadOnly,    ///< it has, but nothing can edit it
    NoValue,     ///< the target has none
    NotValid,    ///< the target's is outside its list or its limits, or too close to its partner's
};

SendObstacle ObstacleOf(const ParameterDef& row, const ParameterSet& current, const ParameterSet& target,
                        const SensorIdentity& sensor);

/// A value that would be too close to its partner once the sensor has these values of `target`, of whose partner it
/// keeps its own; null when there is none.
const ParameterDef* TooClose(const ParameterSet& current, const ParameterSet& target,
                             const std::vector<std::string>& codes, const SensorIdentity& sensor);
