// What is to be sent to a sensor, and whether it may: the checks that the fields and the comparison of the windows
// make.
#pragma once

#include "sensor/Parameters.h"

#include <cstdint>
#include <string>
#include <vector>

namespace modPlan {

struct Plan {
    ParameterSet target;
    std::vector<std::string> codes{}; ///< in the order of an upload
    bool isRefused = false;           ///< some value may not be sent: nothing is sent
    struct Remark {
        std::string text;      ///< UTF-8
        bool isReason = false; ///< why it is refused; else good to know
    };
    std::vector<Remark> remarks{};
};

/// Sends what these rows have in `target`. Each one that the sensor has not got, that cannot be changed, or that is too
/// close to its partner is refused.
Plan OfValues(const ParameterSet& current, const ParameterSet& target, const std::vector<const ParameterDef*>& rows,
              const SensorIdentity& sensor, std::int32_t language);

/// Leads the sensor from `current` to `target`. What a sensor of this type has not got, or what nothing can change, is
/// left out, with a remark; a value outside its limits or too close to its partner is refused.
Plan Leading(const ParameterSet& current, const ParameterSet& target, const SensorIdentity& sensor,
             std::int32_t language);

/// "Offset (701): 0 → 5 mm", one line for each code.
std::vector<std::string> Lines(const ParameterSet& current, const Plan& plan, std::int32_t language);

} // namespace modPlan
