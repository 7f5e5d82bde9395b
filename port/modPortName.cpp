#include "cli/modPortName.h"

#include "base/Numbers.h"
#include "cli/clsArguments.h"
#include "port/modLineUrl.h"

#include <algorithm>
#include <system_error>

namespace modPortName {

namespace {

bool isNumber(std::string_view text)
{
    return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

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

std::int32_t NumberOf(std::string_view typed, modPComm::PortDevices& devices, const Places& places)
{
    if (typed.empty()) {
        throw UsageError("--port takes a number, a device, a stable name or an address");
    }
    if (isNumber(typed)) {
        const std::int32_t number = WholeNumber(typed).value_or(0);
        if (number < 1 || number > modPComm::kPortCount) {
            throw UsageError("--port takes a number from 1 to " + std::to_string(modPComm::kPortCount) + ", not \"" +
                             std::string(typed) + "\"");
        }
        return number;
    }
    const bool isUrl = modLineUrl::IsUrl(typed);
    if (isUrl && !modLineUrl::Parse(typed)) {
        throw UsageError("--port: \"" + std::string(typed) +
                         "\" is not the address of a line; expected tcp://host:port or rfc2217://host:port");
    }
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
