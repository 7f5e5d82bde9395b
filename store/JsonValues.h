// What our JSON files have in common: how they are read whatever they hold, and how a sensor stands in them. Header
// only: the modules that include it are the only ones that know JSON.
#pragma once

#include "base/CodePage.h"
#include "sensor/Parameters.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace JsonValues {

using nlohmann::json;
using nlohmann::ordered_json; // keeps the order of its keys, but finds one slowly: for writing only

/// Brackets of our files are nested less deep.
inline constexpr std::size_t kDeepest = 16;

struct SensorText {
    const char* key;
    std::string SensorIdentity::*text;
};
inline constexpr SensorText kSensorTexts[] = {
    {"type", &SensorIdentity::DeviceType},   {"serial", &SensorIdentity::SerialNo},
    {"version", &SensorIdentity::SWVersion}, {"build", &SensorIdentity::SWBuild},
    {"date", &SensorIdentity::SWDate},       {"attenuator", &SensorIdentity::Attenuator}};

inline ordered_json SensorOf(const SensorIdentity& identity)
{
    ordered_json sensor;
    for (const auto& [key, text] : kSensorTexts) {
        sensor[key] = Utf8Of(identity.*text);
    }
    return sensor;
}

// Reading. A value of a wrong type is as good as none.

/// Whether brackets are nested deeper than in any file of ours.
inline bool IsDeep(std::string_view text)
{
    std::size_t depth = 0;
    bool isText = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isText && c == '\\') {
            ++i;
        } else if (c == '"') {
            isText = !isText;
        } else if (!isText && (c == '[' || c == '{')) {
            if (++depth > kDeepest) {
                return true;
            }
        } else if (!isText && (c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return false;
}

/// The value of a key; null, which fits nothing, when there is none.
inline const json& ValueOf(const json& object, const char* key)
{
    static const json none;
    const auto found = object.find(key); // the end in what is not an object
    return found == object.end() ? none : *found;
}

inline void ReadText(const json& value, std::string& text)
{
    if (const auto* found = value.get_ptr<const json::string_t*>()) {
        text = *found;
    }
}

/// A whole number between two others.
inline std::optional<std::int64_t> WholeOf(const json& value, std::int64_t least, std::int64_t most)
{
    const auto* number = value.get_ptr<const json::number_integer_t*>();
    // A number above 63 bits is kept without a sign, and would read as a negative one.
    const bool fits = number != nullptr && (*number >= 0 || !value.is_number_unsigned());
    return fits && *number >= least && *number <= most ? std::optional(*number) : std::nullopt;
}

inline void ReadSensor(const json& sensor, SensorIdentity& identity)
{
    for (const auto& [key, member] : kSensorTexts) {
        std::string text = Utf8Of(identity.*member);
        ReadText(ValueOf(sensor, key), text);
        identity.*member = CodePageBytes(text);
    }
}

/// Numbers by their codes, as the set holds them: indexes of lists among them.
inline void ReadParameters(const json& parameters, ParameterSet& set)
{
    for (const ParameterDef& row : ParameterTable()) {
        const bool isIndex = !row.wireTexts.empty();
        const std::int64_t least = isIndex ? 0 : std::numeric_limits<std::int32_t>::min();
        const std::int64_t most = isIndex ? std::ssize(row.wireTexts) - 1 : std::numeric_limits<std::int32_t>::max();
        const json& value = ValueOf(parameters, std::string(row.code).c_str());
        set.*row.value = static_cast<std::int32_t>(WholeOf(value, least, most).value_or(set.*row.value));
    }
}

} // namespace JsonValues
