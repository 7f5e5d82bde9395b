#include "session/modReadingText.h"

#include "base/Days.h"
#include "base/Numbers.h"
#include "sensor/Parameters.h"

#include <cmath>

namespace {

constexpr double kSecondsPerHour = 3600.0;
constexpr std::int64_t kMsPerSecond = 1000;

/// "3 min 20 s"; the smaller figure is left out when it is 0.
std::string twoFigures(std::int64_t figure, std::int64_t perLarger, const char* larger, const char* smaller)
{
    std::string text = std::to_string(figure / perLarger) + larger;
    if (figure % perLarger != 0) {
        text += " " + std::to_string(figure % perLarger) + smaller;
    }
    return text;
}

} // namespace

std::string modReadingText::Length(double mm, std::int32_t unit, int moreDecimals, char decimalSeparator)
{
    const UnitDef& shown = UnitOf(unit);
    return FixedText(mm / shown.millimetres, shown.decimals + moreDecimals, decimalSeparator) + " " +
           std::string(shown.name);
}

std::string modReadingText::LengthPer(double mm, const char* per, std::int32_t unit, char decimalSeparator)
{
    return Length(mm, unit, 1, decimalSeparator) + "/" + per;
}

std::string modReadingText::Share(std::int64_t part, std::int64_t whole, char decimalSeparator)
{
    if (whole <= 0) {
        return "–";
    }
    const double thousandths = std::floor(static_cast<double>(part) * 1000.0 / static_cast<double>(whole));
    return FixedText(thousandths / 10.0, 1, decimalSeparator) + " %";
}

std::string modReadingText::Difference(double days, char decimalSeparator)
{
    const double seconds = days * kSecondsPerDay;
    const double size = std::fabs(seconds);
    if (size < 1.0) {
        return FixedText(seconds * static_cast<double>(kMsPerSecond), 1, decimalSeparator) + " ms";
    }
    return size < kSecondsPerHour ? FixedText(seconds, 3, decimalSeparator) + " s"
                                  : FixedText(seconds / kSecondsPerHour, 4, decimalSeparator) + " h";
}

std::string modReadingText::Roughly(double days)
{
    const auto seconds = static_cast<std::int64_t>(std::floor(days * kSecondsPerDay + 1e-3));
    if (seconds < 60) {
        return std::to_string(seconds) + " s";
    }
    if (seconds < 3600) {
        return twoFigures(seconds, 60, " min", " s");
    }
    return seconds < 86400 ? twoFigures(seconds / 60, 60, " h", " min") : twoFigures(seconds / 3600, 24, " d", " h");
}

std::string modReadingText::TimeOfDay(double time, char decimalSeparator)
{
    const double day = kMsPerDay;
    const auto ms = static_cast<std::int64_t>(std::fmod(std::round((time - std::floor(time)) * day), day));
    std::string text;
    AppendPadded(text, ms / kMsPerSecond / 3600, 2);
    text += ':';
    AppendPadded(text, ms / kMsPerSecond / 60 % 60, 2);
    text += ':';
    AppendPadded(text, ms / kMsPerSecond % 60, 2);
    text += decimalSeparator;
    AppendPadded(text, ms % kMsPerSecond, 3);
    return text;
}
