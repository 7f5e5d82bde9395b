#include "cli/modPlayedTime.h"

#include "base/Days.h"
#include "base/IsoTime.h"
#include "cli/modDuration.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace modPlayedTime {

double PlayedTime::TimeIn(double first) const
{
    switch (kind) {
    case Kind::TimeOfDay:
        return std::floor(first) + days;
    case Kind::FromBeginning:
        return first + days;
    case Kind::Time:
        break;
    }
    return days;
}

double PlayedTime::EndIn(double first, double from) const
{
    const double end = TimeIn(first);
    return kind == Kind::TimeOfDay && end < std::max(first, from) ? end + 1.0 : end;
}

std::optional<PlayedTime> Parse(std::string_view text)
{
    if (const auto seconds = modDuration::Seconds(text)) {
        return PlayedTime{PlayedTime::Kind::FromBeginning, *seconds / kSecondsPerDay};
    }
    constexpr std::size_t kDay = 10, kWithoutSeconds = 16; // "2026-11-20", "2026-11-20T14:03"
    const bool isTimeOfDay = text.find(':') < kDay;
    std::string whole = isTimeOfDay ? "2000-01-01T" + std::string(text) : std::string(text);
    if (whole.size() > kDay && whole[kDay] == ' ') {
        whole[kDay] = 'T';
    }
    whole += whole.size() == kDay ? "T00:00:00" : whole.size() == kWithoutSeconds ? ":00" : "";
    const auto time = TimeOfIso(whole);
    if (!time || time->offset_min) {
        return std::nullopt;
    }
    return isTimeOfDay ? PlayedTime{PlayedTime::Kind::TimeOfDay, time->time - std::floor(time->time)}
                       : PlayedTime{PlayedTime::Kind::Time, time->time};
}

} // namespace modPlayedTime
