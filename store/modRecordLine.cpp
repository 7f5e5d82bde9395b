#include "store/modRecordLine.h"

#include "base/Numbers.h"
#include "sensor/Parameters.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>

namespace modRecordLine {

namespace {

using namespace std::chrono;

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

struct TimeOfDay {
    int hours, minutes, seconds, milliseconds;
};

TimeOfDay timeOfDay(double time)
{
    // Deliberate: each part is cut off, not rounded, so that a time can come out one millisecond low.
    const double hours = (time - std::floor(time)) * 24.0;
    const double minutes = (hours - std::floor(hours)) * 60.0;
    const double seconds = (minutes - std::floor(minutes)) * 60.0;
    const double milliseconds = (seconds - std::floor(seconds)) * 1000.0;
    return {static_cast<int>(hours), static_cast<int>(minutes), static_cast<int>(seconds),
            static_cast<int>(milliseconds)};
}

bool isInCalendar(double day)
{
    return day >= kFirstDay && day < kEndOfDays;
}

double timeOf(double date, double seconds, double milliseconds)
{
    return date + seconds / kSecondsPerDay + milliseconds / kMsPerDay;
}

void appendDateTime(std::string& line, double time)
{
    const double day = std::floor(time);
    if (!isInCalendar(day)) {
        throw std::invalid_argument("a time outside the calendar cannot be recorded");
    }
    const year_month_day date{kDayZero + days{static_cast<int>(day)}};
    AppendPadded(line, static_cast<int>(static_cast<unsigned>(date.day())), 2);
    line += '.';
    AppendPadded(line, static_cast<int>(static_cast<unsigned>(date.month())), 2);
    line += '.';
    AppendPadded(line, static_cast<int>(date.year()), 4);
    const TimeOfDay parts = timeOfDay(time);
    line += ' ';
    AppendPadded(line, parts.hours, 2);
    line += ':';
    AppendPadded(line, parts.minutes, 2);
    line += ':';
    AppendPadded(line, parts.seconds, 2);
    line += ','; // whatever the locale
    AppendPadded(line, parts.milliseconds, 3);
}

void appendDistance(std::string& line, const Measurement& measurement)
{
    if (const MeasurementKind kind = KindInLine(measurement); kind != MeasurementKind::Distance) {
        line += NameOf(kind);
    } else {
        line += std::to_string(measurement.value_mm);
        line += " mm";
    }
}

void appendTemperature(std::string& line, std::string_view number)
{
    constexpr unsigned char kFirstPrintable = 0x20, kDelete = 0x7F;
    for (const char c : number) {
        const auto byte = static_cast<unsigned char>(c);
        const bool disturbs = byte < kFirstPrintable || byte == kDelete || c == ';' || c == ':';
        line += disturbs ? '?' : c;
    }
    line += " \xB0"
            "C";
}

/// The number in one part of a date; no calendar needs more than 16 bits.
std::optional<int> partOfDate(std::optional<std::int32_t> number)
{
    constexpr std::int32_t kLimit = std::numeric_limits<std::int16_t>::max();
    return number && *number >= -kLimit && *number <= kLimit ? std::optional<int>(*number) : std::nullopt;
}

/// The day of a date whose month and day may lie outside the calendar's: the 13th month is next year's January. A year
/// of two digits lies in 1930 to 2029.
std::optional<double> dayOf(int yearNumber, int monthNumber, int dayNumber)
{
    if (yearNumber >= 0 && yearNumber < 100) {
        yearNumber += yearNumber < 30 ? 2000 : 1900;
    }
    const int monthCount = yearNumber * 12 + monthNumber - 1;
    const int wholeYears = (monthCount >= 0 ? monthCount : monthCount - 11) / 12;
    if (wholeYears < 0 || wholeYears > 10100) {
        return std::nullopt;
    }
    const auto monthOfYear = static_cast<unsigned>(monthCount - wholeYears * 12 + 1);
    const sys_days first{year{wholeYears} / month{monthOfYear} / day{1}};
    const double number = static_cast<double>((first - kDayZero).count() + dayNumber - 1);
    return number >= kFirstDay && number < kEndOfDays ? std::optional(number) : std::nullopt;
}

/// The date of "15.11.2026"; `previous` for a text of fewer than three parts. A day of three digits or a fourth part
/// comes from a line that was cut off: "115.11.2026", "15.11.2015.11.2026".
std::optional<double> dateOf(std::string_view text, double previous)
{
    const auto first = text.find('.');
    const auto second = first == std::string_view::npos ? first : text.find('.', first + 1);
    if (second == std::string_view::npos) {
        return previous;
    }
    constexpr std::size_t kDayLength = 2;
    const std::string_view years = text.substr(second + 1);
    if (first > kDayLength || contains(years, ".")) {
        return std::nullopt;
    }
    const auto dayNumber = partOfDate(WholeNumber(text.substr(0, first)));
    const auto monthNumber = partOfDate(RoundHalfToEven(Val(text.substr(first + 1, second - first - 1))));
    const auto yearNumber = partOfDate(RoundHalfToEven(Val(years)));
    if (!dayNumber || !monthNumber || !yearNumber) {
        return std::nullopt;
    }
    return dayOf(*yearNumber, *monthNumber, *dayNumber);
}

/// The seconds of "13:05:07" or "13:05".
std::optional<double> secondsOfDay(std::string_view text)
{
    constexpr std::int32_t kEnds[] = {24, 60, 60};
    constexpr std::int32_t kWeights[] = {3600, 60, 1};
    std::int32_t seconds = 0;
    std::size_t part = 0;
    for (bool more = true; more; ++part) {
        const auto colon = text.find(':');
        const auto number = WholeNumber(text.substr(0, colon));
        if (part == std::size(kEnds) || !number || *number < 0 || *number >= kEnds[part]) {
            return std::nullopt;
        }
        seconds += *number * kWeights[part];
        more = colon != std::string_view::npos;
        text.remove_prefix(more ? colon + 1 : text.size());
    }
    return part >= 2 ? std::optional(static_cast<double>(seconds)) : std::nullopt;
}

/// Whether "13:05:07" stands in a field where no time belongs.
bool holdsTime(std::string_view field)
{
    return std::ranges::count(field, ':') >= 2;
}

/// The second field: what was measured.
bool takeDistance(std::string_view field, RecordedValue& value)
{
    if (contains(field, NameOf(MeasurementKind::NoEcho)) || contains(field, NameOf(MeasurementKind::TempError))) {
        value.kind =
            contains(field, NameOf(MeasurementKind::NoEcho)) ? MeasurementKind::NoEcho : MeasurementKind::TempError;
        return true;
    }
    field = Trimmed(field);
    const auto blank = field.find(' ');
    const auto number = blank == std::string_view::npos ? std::nullopt : WholeNumber(field.substr(0, blank));
    value.kind = MeasurementKind::Distance;
    value.value_mm = number.value_or(0);
    return number.has_value();
}

} // namespace

double TimeInLine(double time)
{
    const double day = std::floor(time);
    if (!isInCalendar(day)) {
        return time;
    }
    const TimeOfDay parts = timeOfDay(time);
    return timeOf(day, parts.hours * 3600 + parts.minutes * 60 + parts.seconds, parts.milliseconds);
}

/// What the display shows.
MeasurementKind KindInLine(const Measurement& measurement)
{
    // Deliberate: "TempErr!" in an ASCII format is recorded as "No Echo", because it has the value of "No Echo".
    const bool inWords = !IsBinary(measurement.outputFormat) && measurement.value == kMarkerNoEcho;
    return inWords || measurement.value == 0.0 ? MeasurementKind::NoEcho : KindOf(measurement);
}

bool HasTemperature(std::string_view temperature)
{
    return contains(temperature, " ");
}

std::string RecordLine(const Measurement& measurement, std::string_view temperature)
{
    const auto blank = temperature.find(' ');
    if (blank == std::string_view::npos) {
        throw std::invalid_argument("no temperature to record");
    }
    std::string line;
    appendDateTime(line, measurement.time);
    line += "; ";
    appendDistance(line, measurement);
    line += "; ";
    appendTemperature(line, temperature.substr(0, blank));
    line += "\r\n";
    return line;
}

bool clsLineParser::Parse(std::string_view line, RecordedValue& value)
{
    m_head.clear(); // a line that breaks off after its time leaves that of another line in `m_headTime`
    const auto first = line.find(';');
    if (first == std::string_view::npos || !takeTime(line.substr(0, first), value.time)) {
        return false;
    }
    const std::string_view rest = line.substr(first + 1);
    const auto second = rest.find(';');
    const std::string_view distance = rest.substr(0, second);
    value.temperature = {};
    value.sameTemperature = false;
    value.sameSecond = false;
    if (second != std::string_view::npos) {
        const std::string_view third = rest.substr(second + 1);
        value.temperature = Trimmed(third.substr(0, third.find(';')));
    }
    // The line was cut off after its time, and another one follows.
    const bool runsOn = holdsTime(distance) || holdsTime(value.temperature);
    if (runsOn || !takeDistance(distance, value)) {
        return false;
    }
    remember(line, value);
    return true;
}

/// Another time of day, "13:05:08,", on the date of the line before.
bool clsLineParser::takeSecond(const char* head)
{
    constexpr std::size_t kDateLength = 11; // "15.11.2026 "
    const char* const time = head + kDateLength;
    if (std::memcmp(head, m_head.data(), kDateLength) != 0 || time[2] != ':' || time[5] != ':' || time[8] != ',') {
        return false;
    }
    for (const std::size_t digit : {0U, 1U, 3U, 4U, 6U, 7U}) {
        if (!isDigit(time[digit])) {
            return false;
        }
    }
    const auto number = [time](std::size_t at) { return (time[at] - '0') * 10 + (time[at + 1] - '0'); };
    if (number(0) >= 24 || number(3) >= 60 || number(6) >= 60) {
        return false;
    }
    m_head.replace(kDateLength, kHeadLength - kDateLength, time, kHeadLength - kDateLength);
    m_headTime = m_date + (number(0) * 3600 + number(3) * 60 + number(6)) / kSecondsPerDay;
    return true;
}

/// The first field: the date up to the first blank, the time of day up to the first comma, the milliseconds.
bool clsLineParser::takeTime(std::string_view field, double& time)
{
    const auto blank = field.find(' ');
    const auto comma = field.find(',');
    if (blank == std::string_view::npos || comma == std::string_view::npos || comma < blank) {
        return false;
    }
    const std::string_view dateText = field.substr(0, blank);
    const auto date = dateText == m_dateText ? std::optional(m_date) : dateOf(dateText, m_date);
    const auto seconds = secondsOfDay(Trimmed(field.substr(blank + 1, comma - blank - 1)));
    const auto milliseconds = WholeNumber(field.substr(comma + 1));
    if (!date || !seconds || !milliseconds) {
        return false;
    }
    m_date = *date;
    m_dateText = dateText;
    m_headTime = timeOf(m_date, *seconds, 0.0);
    time = timeOf(m_date, *seconds, *milliseconds);
    return true;
}

/// Remembers what the next lines will most likely have in common with this one.
void clsLineParser::remember(std::string_view line, const RecordedValue& value)
{
    const bool usual = line.find(' ') == 10 && line.find(',') + 1 == kHeadLength; // "15.11.2026 13:05:07,"
    if (!usual || value.temperature.empty() || value.temperature.size() > kLongestTemperature) {
        return;
    }
    m_head = line.substr(0, kHeadLength);
    m_tail = kUnit;
    m_tail += value.temperature;
    m_tail += kLineEnd;
}

} // namespace modRecordLine
