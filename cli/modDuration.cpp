#include "cli/modDuration.h"

#include "base/Days.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace modDuration {

std::optional<double> Seconds(std::string_view text)
{
    struct Unit {
        std::string_view name;
        double seconds;
    };
    static constexpr Unit kUnits[] = {{"ms", 1e-3}, {"s", 1.0}, {"min", 60.0}, {"h", 3600.0}, {"d", kSecondsPerDay}};
    constexpr double kLongest_s = 1000.0 * kSecondsPerDay;
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    if (error != std::errc{} || !std::isfinite(number)) {
        return std::nullopt;
    }
    const std::string_view name(rest, static_cast<std::size_t>(end - rest));
    for (const Unit& unit : kUnits) {
        const double seconds = number * unit.seconds;
        if (name == unit.name && seconds > 0.0 && seconds <= kLongest_s) {
            return seconds;
        }
    }
    return std::nullopt;
}

} // namespace modDuration
