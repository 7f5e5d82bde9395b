#include "base/IsoTime.h"

#include "base/Days.h"
#include "base/Numbers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

namespace {

using namespace std::chrono;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Takes a number of exactly this many digits and the character behind it, if one is wanted, from the front of a text.
std::optional<int> takeNumber(std::string_view& text, std::size_t digits, char behind = '\0')
{
    const std::size_t length = digits + (behind == '\0' ? 0 : 1);
    if (text.size() < length || !std::ranges::all_of(text.substr(0, digits), isDigit) ||
        (behind != '\0' && text[digits] != behind)) {
        return std::nullopt;
    }
    const auto number = WholeNumber(text.substr(0, digits));
    text.remove_prefix(length);
    return number;
}

/// Takes ".250"; 0 when there is none.
std::optional<double> takeFraction(std::string_view& text)
{
    if (text.empty() || text.front() != '.') {
        return 0.0;
    }
    const auto end = std::min(text.find_first_not_of("0123456789", 1), text.size());
    const double fraction = Val(text.substr(0, end));
    text.remove_prefix(end);
    return end > 1 ? std::optional(fraction) : std::nullopt;
}

/// Whether the rest of a text is an offset, or nothing; it goes to `offset_min`.
bool takeOffset(std::string_view text, std::optional<std::int32_t>& offset_min)
{
    if (text.empty()) {
        return true;
    }
    if (text == "Z") {
        offset_min = 0;
        return true;
    }
    const char sign = text.front();
    text.remove_prefix(1);
    const auto hours = takeNumber(text, 2, ':'), minutes = takeNumber(text, 2);
    if ((sign != '+' && sign != '-') || !hours || !minutes || !text.empty() || *hours > 23 || *minutes > 59) {
        return false;
    }
    offset_min = (*hours * 60 + *minutes) * (sign == '-' ? -1 : 1);
    return true;
}

} // namespace

std::string IsoText(double time, char decimalSign)
{
    constexpr double kLast = kEndOfDays - 0.5 / kMsPerDay; // what is rounded must not leave the calendar
    if (!(time >= kFirstDay && time < kLast)) {
        return {};
    }
    // A day's fraction is more than precise enough to give back milliseconds.
    const auto total = static_cast<std::int64_t>(std::llround(time * kMsPerDay));
    const sys_time<milliseconds> point = sys_time<milliseconds>(kDayZero) + milliseconds(total);
    const auto midnight = floor<days>(point);
    const year_month_day date{midnight};
    const hh_mm_ss clock{point - midnight};
    std::string text;
    AppendPadded(text, static_cast<int>(date.year()), 4);
    text += '-';
    AppendPadded(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    AppendPadded(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    AppendPadded(text, clock.hours().count(), 2);
    text += ':';
    AppendPadded(text, clock.minutes().count(), 2);
    text += ':';
    AppendPadded(text, clock.seconds().count(), 2);
    text += decimalSign;
    AppendPadded(text, clock.subseconds().count(), 3);
    return text;
}

std::string IsoOffset(std::int32_t offset_min)
{
    std::string text(1, offset_min < 0 ? '-' : '+');
    AppendPadded(text, std::abs(offset_min) / 60, 2);
    text += ':';
    AppendPadded(text, std::abs(offset_min) % 60, 2);
    return text;
}

std::optional<IsoTime> TimeOfIso(std::string_view text)
{
    const auto yearNumber = takeNumber(text, 4, '-'), monthNumber = takeNumber(text, 2, '-'),
               dayNumber = takeNumber(text, 2, 'T');
    const auto hour = takeNumber(text, 2, ':'), minute = takeNumber(text, 2, ':'), second = takeNumber(text, 2);
    const auto fraction = takeFraction(text);
    IsoTime read;
    if (!yearNumber || !monthNumber || !dayNumber || !hour || !minute || !second || !fraction ||
        !takeOffset(text, read.offset_min) || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    const year_month_day date{year{*yearNumber}, month{static_cast<unsigned>(*monthNumber)},
                              day{static_cast<unsigned>(*dayNumber)}};
    if (!date.ok()) {
        return std::nullopt;
    }
    read.time = static_cast<double>((sys_days{date} - kDayZero).count()) +
                (*hour * 3600 + *minute * 60 + *second + *fraction) / kSecondsPerDay;
    return IsoText(read.time).empty() ? std::nullopt : std::optional(read);
}
