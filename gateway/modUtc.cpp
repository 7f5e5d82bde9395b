#include "gateway/modUtc.h"

#include "base/Days.h"
#include "base/IsoTime.h"

#include <cmath>

namespace {

constexpr double kEpoch = 25569.0; // 1970-01-01 in days since 1899-12-30

} // namespace

namespace modUtc {

std::string Text(double time)
{
    std::string text = IsoText(time);
    if (!text.empty()) {
        text += 'Z';
    }
    return text;
}

std::uint64_t EpochOf(double time)
{
    const bool isInCalendar = time >= kEpoch && time < kEndOfDays;
    return isInCalendar ? static_cast<std::uint64_t>(std::llround((time - kEpoch) * kMsPerDay)) : 0;
}

double TimeOfEpoch(std::uint64_t epoch_ms)
{
    return kEpoch + static_cast<double>(epoch_ms) / kMsPerDay;
}

} // namespace modUtc
