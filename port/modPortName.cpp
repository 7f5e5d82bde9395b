#include "port/modPortName.h"

#include "base/Numbers.h"
#include "port/modLineUrl.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>

namespace modPortName {

bool IsNumber(std::string_view typed)
{
    return std::ranges::all_of(typed, [](char c) { return c >= '0' && c <= '9'; });
}

std::string DeviceOf(std::string_view name, const Places& places)
{
    if (name.find('/') != name.npos) {
        return std::string(name);
    }
    std::error_code error;
    for (const auto& folder : {places.byId, places.byPath}) {
        if (std::filesystem::exists(folder / name, error)) {
            return folder / name;
        }
    }
    return places.devices / name;
}

std::string ProblemOf(std::string_view typed, std::string_view option)
{
    const std::string name(option);
    const std::string quoted = std::string("\"").append(typed).append("\"");
    if (typed.empty()) {
        return name + " takes a number, a device, a stable name or an address";
    }
    if (modLineUrl::IsUrl(typed) && !modLineUrl::Parse(typed)) {
        return name + ": " + quoted + " is not the address of a line; expected tcp://host:port or rfc2217://host:port";
    }
    const std::int32_t number = IsNumber(typed) ? WholeNumber(typed).value_or(0) : 1;
    const bool isGood = number >= 1 && number <= modPComm::kPortCount;
    return isGood ? "" : name + " takes a number from 1 to " + std::to_string(modPComm::kPortCount) + ", not " + quoted;
}

std::int32_t NumberOf(std::string_view typed, modPComm::PortDevices& devices, const Places& places)
{
    if (const std::string problem = ProblemOf(typed, "port"); !problem.empty()) {
        throw std::invalid_argument(problem);
    }
    if (IsNumber(typed)) {
        return *WholeNumber(typed);
    }
    const bool isUrl = modLineUrl::IsUrl(typed);
    const std::string device = isUrl ? std::string(typed) : DeviceOf(typed, places);
    for (std::int32_t number = 1; number <= modPComm::kPortCount; ++number) {
        if (devices.DeviceOf(number) == device) {
            return number;
        }
    }
    devices.Override(modPComm::kPortCount, device);
    return modPComm::kPortCount;
}

} // namespace modPortName
