#include "plot/modTimeScale.h"

#include "base/Days.h"
#include "base/Numbers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <span>

namespace modTimeScale {

namespace {

using namespace std::chrono;
using Unit = Step::Unit;

constexpr std::int64_t kSecond = 10000; // in tenths of a millisecond, the finest that a clock's step has
constexpr std::int64_t kMinute = 60 * kSecond, kHour = 60 * kMinute, kDay = 24 * kHour;
constexpr double kDaysOfMonth = 30.5, kDaysOfYear = 365.25;
constexpr double kLastBits = 1e-6;
constexpr double kRounded = 0.05 / kMsPerDay; // days, of a moment
constexpr double kUnseen = 1e-4;              // of a stretch
constexpr std::size_t kMostTicks = 200;
constexpr std::ptrdiff_t kMostChanges = 5; // so many signs can be told apart

constexpr std::int64_t kClockSteps[] = {1,       2,           5,           10,           20,           50,
                                        100,     200,         500,         1000,         2000,         5000,
                                        kSecond, 2 * kSecond, 5 * kSecond, 10 * kSecond, 15 * kSecond, 30 * kSecond,
                                        kMinute, 2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute,
                                        kHour,   2 * kHour,   3 * kHour,   6 * kHour,    12 * kHour};
constexpr std::int64_t kDaySteps[] = {1, 2, 5, 10};
constexpr std::int64_t kMonthSteps[] = {1, 2, 3, 6};
constexpr double kDurationSteps_s[] = {1,   2,    5,    10,   15,    30,    60,    120,   300,    600,
                                       900, 1800, 3600, 7200, 10800, 21600, 43200, 86400, 172800, 432000};

/// A moment of the clock, split as its texts need it.
struct Moment {
    std::int64_t day = 0;  ///< since 1899-12-30
    std::int64_t fine = 0; ///< tenths of a millisecond since midnight
};

Moment momentOf(double time)
{
    Moment moment{static_cast<std::int64_t>(std::floor(time))};
    moment.fine = std::llround((time - std::floor(time)) * static_cast<double>(kDay));
    if (moment.fine >= kDay) {
        ++moment.day;
        moment.fine -= kDay;
    }
    return moment;
}

double timeOf(const Moment& moment)
{
    return static_cast<double>(moment.day) + static_cast<double>(moment.fine) / static_cast<double>(kDay);
}

year_month_day dateOf(std::int64_t day)
{
    return year_month_day(kDayZero + days(day));
}

std::int64_t dayOf(const year_month_day& date)
{
    return (sys_days(date) - kDayZero).count();
}

bool isOfCalendar(double time)
{
    return time >= kFirstDay && time < kEndOfDays;
}

/// The first tick at or after a time.
Moment firstTick(double time, const Step& step)
{
    const Moment from = momentOf(time);
    const bool isLater = from.fine > 0;
    if (step.unit == Unit::Clock) {
        Moment first{from.day, (from.fine + step.count - 1) / step.count * step.count};
        if (first.fine >= kDay) {
            first = {from.day + 1, 0};
        }
        return first;
    }
    const auto date = dateOf(from.day);
    const int year = static_cast<int>(date.year());
    const auto count = static_cast<int>(step.count);
    if (step.unit == Unit::Year) {
        const auto wanted = [&](int y) { return dayOf(std::chrono::year(y) / January / 1); };
        int first = year / count * count;
        while (wanted(first) < from.day + (isLater ? 1 : 0)) {
            first += count;
        }
        return {wanted(first), 0};
    }
    if (step.unit == Unit::Month) {
        int months = (year * 12 + static_cast<int>(static_cast<unsigned>(date.month())) - 1) / count * count;
        const auto wanted = [](int m) { return dayOf(std::chrono::year(m / 12) / month(unsigned(m % 12) + 1) / 1); };
        while (wanted(months) < from.day + (isLater ? 1 : 0)) {
            months += count;
        }
        return {wanted(months), 0};
    }
    // Days are counted from the first of each month; the last step of a month may be longer by less than a step.
    for (std::int64_t day = from.day + (isLater ? 1 : 0);; ++day) {
        const auto inMonth = static_cast<int>(static_cast<unsigned>(dateOf(day).day())) - 1;
        if (inMonth % count == 0 && (inMonth == 0 || dateOf(day + count - 1).month() == dateOf(day).month())) {
            return {day, 0};
        }
    }
}

std::string dayText(const year_month_day& date)
{
    std::string text;
    AppendPadded(text, static_cast<unsigned>(date.day()), 2);
    text += '.';
    AppendPadded(text, static_cast<unsigned>(date.month()), 2);
    return text += '.';
}

std::string clockText(std::int64_t fine, bool withSeconds)
{
    std::string text;
    AppendPadded(text, fine / kHour, 2);
    text += ':';
    AppendPadded(text, fine / kMinute % 60, 2);
    if (withSeconds) {
        text += ':';
        AppendPadded(text, fine / kSecond % 60, 2);
    }
    return text;
}

int decimalsOf(std::int64_t count)
{
    int decimals = 4;
    for (; decimals > 0 && count % 10 == 0; count /= 10) {
        --decimals;
    }
    return decimals;
}

std::string fractionText(std::int64_t fine, std::int64_t count, char decimalSeparator)
{
    std::string digits;
    AppendPadded(digits, fine % kSecond, 4);
    return decimalSeparator + digits.substr(0, static_cast<std::size_t>(std::max(decimalsOf(count), 1)));
}

Tick tickAt(const Moment& moment, const Step& step, char decimalSeparator)
{
    const auto date = dateOf(moment.day);
    Tick tick;
    std::string year;
    AppendPadded(year, static_cast<int>(date.year()), 4);
    if (step.unit == Unit::Year) {
        tick.text = year;
    } else if (step.unit != Unit::Clock) {
        tick.text = dayText(date);
        tick.below = year;
    } else if (step.count < kSecond) {
        tick.text = fractionText(moment.fine, step.count, decimalSeparator);
        tick.below = dayText(date) + year + ' ' + clockText(moment.fine, true);
    } else {
        tick.text = clockText(moment.fine, step.count < kMinute);
        tick.below = dayText(date) + year;
    }
    return tick;
}

std::string changeText(double forward_s)
{
    const double size = std::round(std::fabs(forward_s));
    const double size_ms = std::max(std::round(std::fabs(forward_s) * 1000.0), 1.0);
    const auto text = [forward_s](double count, const char* unit) {
        std::string change(1, forward_s < 0 ? '-' : '+');
        change += FixedText(std::round(count), 0, '.');
        return change += unit;
    };
    if (size > 3000.0 && std::fabs(std::remainder(size, 3600.0)) < 60.0) {
        return text(size / 3600.0, " h");
    }
    if (size >= 120.0) {
        return text(size / 60.0, " min");
    }
    return size_ms < 1000.0 ? text(size_ms, " ms") : text(size, " s");
}

} // namespace

Step StepFor(double span_ms, std::int32_t divisions)
{
    divisions = std::max(divisions, 1);
    // In tenths of a millisecond; a span that is a whole number of steps may be longer in its last bits.
    const double perDivision = span_ms * (static_cast<double>(kSecond) / 1000.0) / divisions * (1.0 - kLastBits);
    for (const std::int64_t count : kClockSteps) {
        if (static_cast<double>(count) >= perDivision) {
            return {Unit::Clock, count};
        }
    }
    const double divisionInDays = perDivision / static_cast<double>(kDay);
    for (const std::int64_t count : kDaySteps) {
        if (static_cast<double>(count) >= divisionInDays) {
            return {Unit::Day, count};
        }
    }
    for (const std::int64_t count : kMonthSteps) {
        if (static_cast<double>(count) * kDaysOfMonth >= divisionInDays) {
            return {Unit::Month, count};
        }
    }
    std::int64_t power = 1;
    for (; power < 10000; power *= 10) {
        for (const std::int64_t mantissa : {1, 2, 5}) {
            if (static_cast<double>(mantissa * power) * kDaysOfYear >= divisionInDays) {
                return {Unit::Year, mantissa * power};
            }
        }
    }
    return {Unit::Year, power};
}

std::string WidestText(const Step& step)
{
    if (step.unit == Unit::Year) {
        return "0000";
    }
    if (step.unit != Unit::Clock) {
        return "00.00.";
    }
    if (step.count < kSecond) {
        std::string fraction(static_cast<std::size_t>(std::max(decimalsOf(step.count), 1)) + 1, '0');
        fraction.front() = '.';
        return fraction;
    }
    return step.count < kMinute ? "00:00:00" : "00:00";
}

std::vector<Tick> TicksOf(double begin, double end, const clsTimeLine& times, const Step& step, char decimalSeparator)
{
    std::vector<Tick> ticks;
    std::string below;
    const std::span<const clsTimeLine::Stretch> stretches = times.Stretches();
    auto behind = std::ranges::upper_bound(stretches, begin, {}, &clsTimeLine::Stretch::begin);
    const auto ofPlaces = std::ranges::upper_bound(behind, stretches.end(), end, {}, &clsTimeLine::Stretch::begin);
    const bool isEven = ofPlaces - behind > kMostChanges;
    const Step shown = isEven && step.unit == Unit::Clock ? Step{step.unit, std::max(step.count, kSecond)} : step;
    const auto ofPart = [&](double from, double to, bool isLast, double shift) {
        double time = from - shift;
        while (isOfCalendar(time) && ticks.size() < kMostTicks) {
            const Moment moment = firstTick(time, step);
            const double place = timeOf(moment) + shift;
            if (!isOfCalendar(timeOf(moment)) || (isLast ? place > to : place >= to)) {
                return;
            }
            time = timeOf({moment.day, moment.fine + 1}); // the next one lies at least that much later
            // A moment is rounded, and a stretch may be as short as a few of them.
            if (place < from - std::min(kRounded, kUnseen * (to - from))) {
                continue;
            }
            const double said = isEven ? times.TimeOf(place) : timeOf(moment);
            if (!isOfCalendar(said)) {
                return;
            }
            Tick tick = tickAt(isEven ? momentOf(said) : moment, shown, decimalSeparator);
            tick.place = place;
            if (tick.below == below) {
                tick.below.clear();
            } else {
                below = tick.below;
            }
            ticks.push_back(std::move(tick));
        }
    };
    if (isEven) {
        ofPart(begin, end, true, 0.0);
        return ticks;
    }
    double from = begin;
    double shift = stretches.empty() ? 0.0 : behind == stretches.begin() ? behind->shift : std::prev(behind)->shift;
    for (; behind != stretches.end() && behind->begin <= end && ticks.size() < kMostTicks; ++behind) {
        ofPart(from, behind->begin, false, shift);
        from = behind->begin;
        shift = behind->shift;
    }
    ofPart(from, end, true, shift);
    return ticks;
}

std::vector<ClockChange> ClockChanges(double begin, double end, const clsTimeLine& times)
{
    std::vector<ClockChange> changes;
    const std::span<const clsTimeLine::Stretch> stretches = times.Stretches();
    auto change = std::ranges::lower_bound(stretches, begin, {}, &clsTimeLine::Stretch::begin);
    change = change == stretches.begin() && change != stretches.end() ? std::next(change) : change;
    for (; change != stretches.end() && change->begin <= end && std::ssize(changes) < kMostChanges; ++change) {
        changes.push_back({change->begin, changeText((std::prev(change)->shift - change->shift) * kSecondsPerDay)});
    }
    return changes;
}

double DurationStep(double span_s, std::int32_t divisions)
{
    for (const double step : kDurationSteps_s) {
        if (span_s / step <= std::max(divisions, 1)) {
            return step;
        }
    }
    for (double power = 10.0;; power *= 10.0) {
        for (const double mantissa : {1.0, 2.0, 5.0}) {
            const double step = mantissa * power * kSecondsPerDay;
            if (!(span_s / step > std::max(divisions, 1))) {
                return step;
            }
        }
    }
}

std::string DurationText(double seconds, double span_s, double step_s)
{
    const auto whole = static_cast<std::int64_t>(std::llround(std::fabs(seconds)));
    std::string text = seconds < 0.0 && whole > 0 ? "-" : "";
    if (DurationFormat(span_s, step_s) == "d") {
        return text + FixedText(std::round(static_cast<double>(whole) / kSecondsPerDay), 0, '.') + " d";
    }
    if (DurationFormat(span_s, step_s) == "min:s") {
        AppendPadded(text, whole / 60, 1);
    } else {
        AppendPadded(text, whole / 3600, 1);
        text += ':';
        AppendPadded(text, whole / 60 % 60, 2);
    }
    text += ':';
    AppendPadded(text, whole % 60, 2);
    return text;
}

std::string DurationFormat(double span_s, double step_s)
{
    return step_s >= kSecondsPerDay ? "d" : span_s < 3600.0 ? "min:s" : "h:min:s";
}

} // namespace modTimeScale
